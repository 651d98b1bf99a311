#include "filters/engrave.h"

#include <algorithm>
#include <cstring>

#include "filters/filter_frame.h"
#include "filters/packed_row.h"
#include "filters/style_kernels.h"

namespace trv {

namespace {

/// Reads `count` pixels of row `y` that lie `shift` pixels from x, x + 1 and so on, those beyond the row's
/// ends as the last ones there.
template <class F>
bool ReadShifted(RowSource<F>& source, int64_t y, int64_t x, int64_t shift, int64_t count, uint8_t* samples) {
    constexpr int64_t kChannels = kSamplesOf<F>;
    const int64_t last = source.Image().Width - 1;
    const int64_t first = x + shift;
    const int64_t before = std::clamp<int64_t>(-first, 0, count);
    const int64_t behind = std::clamp<int64_t>(first + count - 1 - last, 0, count);
    const int64_t inside = std::max<int64_t>(count - before - behind, 0);
    if (inside > 0 && !source.Read(y, first + before, inside, samples + before * kChannels)) return false;
    const auto repeat = [&](int64_t at, int64_t begin, int64_t end) {
        if (begin < end && !source.Read(y, at, 1, samples + begin * kChannels)) return false;
        for (int64_t i = begin + 1; i < end; ++i)
            std::memcpy(samples + i * kChannels, samples + begin * kChannels, kChannels);
        return true;
    };
    return repeat(0, 0, before) && repeat(last, count - behind, count);
}

template <class F>
void Engrave(PictureTRV& source, PictureTRV& dest, int64_t level) {
    // From a side's length on, everything is compared with the corner.
    const int64_t reach = std::max(source.Width, source.Height);
    const int64_t shift = std::clamp(level, -reach, reach);
    const Rectangle common = CommonRectangle(dest, source);
    if (common.IsEmpty()) return;
    // In a picture's own rows, what lies ahead is still as it was.
    const bool inOrder = WritesAhead<F>(source, dest) || (&dest == &source && shift < 0);
    const int64_t step = inOrder ? 1 : common.width;
    PackedRow row(step, kSamplesOf<F>);
    PackedRow other(step, kSamplesOf<F>);
    if (!row || !other) return;
    RowSource<F> from(source);
    RowTarget<F> to(dest);
    const StyleKernels& kernels = ActiveStyleKernels();
    for (int64_t y = 0; y < common.height; ++y) {
        const int64_t otherY = std::clamp<int64_t>(y + shift, 0, source.Height - 1);
        for (int64_t x = 0; x < common.width; x += step) {
            if (!from.Read(y, x, step, row.Samples())) break;
            if (!ReadShifted(from, otherY, x, shift, step, other.Samples())) break;
            kernels.relief(row.Samples(), other.Samples(), step * kSamplesOf<F>);
            to.Write(y, x, step, row.Samples());
        }
    }
}

}  // namespace

HostObject rbEngraveFilter(HostObject me, HostObject dest, int64_t level) {
    TRV_LOG("EngraveFilter", level);
    return RunFilter(
        me, dest, {FilterTest::Valid, FilterTest::ByteSamples},
        [&](PictureTRV& from, PictureTRV& to) {
            DispatchFamily(from.IsGray != 0, from.IsRGB != 0, false, from.HasAlpha != 0, [&]<class F>(F) {
                TRV_LOG((FamilyLabel<"EngraveFilter", F>()));
                Engrave<F>(from, to, level);
            });
        },
        DestLine::Omitted);
}

}  // namespace trv
