#include "filters/diffuse.h"

#include "filters/displacement.h"
#include "filters/filter_frame.h"
#include "image/noise.h"

namespace trv {

namespace {

template <class F>
void Diffuse(PictureTRV& source, PictureTRV& dest, int64_t level) {
    const auto fromOffsets = F::Offsets(source);
    const auto toOffsets = F::Offsets(dest);
    const Rectangle common = CommonRectangle(dest, source);
    const Displacement displacement(level);
    // A mapped image has one window, which each row moves.
    const bool oneWindow = &dest == &source && source.IsMapping != 0;
    const int64_t fromStep = source.PixelSize;
    const int64_t toStep = dest.PixelSize;
    UniformIntegers chance;
    for (int64_t y = 0; y < common.height; ++y) {
        uint8_t* to = FetchRow(dest, y);
        for (int64_t x = 0; x < common.width && to != nullptr; ++x) {
            const int64_t fromX = displacement.Place(chance.Next(), x, source.Width);
            const uint8_t* from = FetchRow(source, displacement.Place(chance.Next(), y, source.Height));
            if (from == nullptr) continue;
            std::array<uint8_t, fromOffsets.size()> samples;
            for (size_t i = 0; i < samples.size(); ++i)
                samples[i] = from[fromX * fromStep + fromOffsets[i]];
            if (oneWindow) to = FetchRow(dest, y);
            if (to == nullptr) break;
            for (size_t i = 0; i < samples.size(); ++i)
                to[x * toStep + toOffsets[i]] = samples[i];
        }
    }
}

}  // namespace

HostObject rbDiffuseFilter(HostObject me, HostObject dest, int64_t level) {
    TRV_LOG("DifuseFilter", level);
    return RunFilter(
        me, dest, {FilterTest::Valid, FilterTest::ByteSamples},
        [&](PictureTRV& from, PictureTRV& to) {
            DispatchFamily(from.IsGray != 0, from.IsRGB != 0, false, from.HasAlpha != 0, [&]<class F>(F) {
                TRV_LOG((FamilyLabel<"DifuseFilter", F>()));
                Diffuse<F>(from, to, level);
            });
        },
        DestLine::Omitted);
}

}  // namespace trv
