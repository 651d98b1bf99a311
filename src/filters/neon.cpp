#include "filters/neon.h"

#include <cstring>

#include "filters/filter_frame.h"
#include "filters/packed_row.h"
#include "filters/style_kernels.h"
#include "image/block_bytes.h"

namespace trv {

namespace {

/// Reads rows of an image with the bytes behind their last pixel, as far as the row goes, in place of one
/// more.
template <class F>
class WideRows {
  public:
    explicit WideRows(PictureTRV& image)
        : rows_(image), offsets_(F::Offsets(image)), end_(image.Width * image.PixelSize), bytes_(image) {}

    /// The samples of row `y`, all black if it cannot be had.
    void Read(int64_t y, uint8_t* samples) {
        PictureTRV& image = rows_.Image();
        const int64_t count = image.Width * kSamplesOf<F>;
        if (!rows_.Read(y, 0, image.Width, samples)) {
            Blacken(samples);
            return;
        }
        const uint8_t* row = FetchRow(image, y);
        const int64_t rowBytes = row == nullptr ? 0 : bytes_.Available(row, image.RowSize);
        for (size_t i = 0; i < offsets_.size(); ++i) {
            const int64_t place = end_ + offsets_[i];
            samples[count + static_cast<int64_t>(i)] = place < rowBytes ? row[place] : 0;
        }
    }

    void Blacken(uint8_t* samples) {
        std::memset(samples, 0, static_cast<size_t>((rows_.Image().Width + 1) * kSamplesOf<F>));
    }

  private:
    RowSource<F> rows_;
    std::array<int64_t, F::channels.size()> offsets_;
    int64_t end_;
    BlockBytes bytes_;
};

template <class F>
void Neon(PictureTRV& source, PictureTRV& dest) {
    constexpr int64_t kChannels = kSamplesOf<F>;
    TRV_LOG("uw", source.Width);
    TRV_LOG("uh", source.Height);
    PackedRow row(source.Width + 1, kChannels);
    PackedRow below(source.Width + 1, kChannels);
    PackedRow result(source.Width, kChannels);
    // Rows that run upwards have a negative size, for which there is no memory either.
    if (!row || !below || !result || source.RowSize < 0) return;
    const Rectangle common = CommonRectangle(dest, source);
    WideRows<F> from(source);
    RowTarget<F> to(dest);
    const StyleKernels& kernels = ActiveStyleKernels();
    from.Read(0, row.Samples());
    for (int64_t y = 0; y < source.Height; ++y) {
        TRV_LOG("y", y);
        if (y + 1 < source.Height) {
            from.Read(y + 1, below.Samples());
        } else {
            from.Blacken(below.Samples());
        }
        kernels.glow(row.Samples(), row.Samples() + kChannels, below.Samples(), result.Samples(),
                     source.Width * kChannels);
        if (y < common.height) to.Write(y, 0, common.width, result.Samples());
        row.Swap(below);
    }
}

}  // namespace

HostObject rbNeonFilter(HostObject me, HostObject dest) {
    TRV_LOG("NeonFilter");
    return RunFilter(
        me, dest, {FilterTest::Valid, FilterTest::ByteSamples},
        [](PictureTRV& from, PictureTRV& to) {
            DispatchFamily(from, [&]<class F>(F) {
                TRV_LOG((FamilyLabel<"NeonFilter", F>()));
                Neon<F>(from, to);
            });
        },
        DestLine::Omitted);
}

}  // namespace trv
