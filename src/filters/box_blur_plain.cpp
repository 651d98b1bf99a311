#include <algorithm>

#include "filters/box_blur_task.h"
#include "frame/debug_log.h"
#include "image/checked_math.h"
#include "image/row_pair.h"
#include "platform/memory.h"

namespace trv {

namespace {

/// Samples of a row wherever they lie.
struct SampleRow {
    const uint8_t* pixels;
    int64_t step;
    const int64_t* offsets;

    [[nodiscard]] const uint8_t* Address(int64_t x, size_t channel) const {
        return pixels + x * step + offsets[channel];
    }
};

constexpr int64_t kPacked[kMostChannels] = {0, 1, 2, 3, 4};

/// From this pixel on the sums of a gray row are traced.
constexpr int64_t kFirstTracedPixel = 201;

class PlainBlur {
  public:
    explicit PlainBlur(const BoxBlurTask& task)
        : task_(task), written_(task.Written()), channels_(task.sourcePlaces.channels) {}

    /// False without memory.
    [[nodiscard]] bool Allocate() {
        const int64_t samples =
            SaturatedMultiply(std::max<int64_t>(written_.width, 1), static_cast<int64_t>(channels_));
        columns_ = MakeZeroedBytes(SaturatedMultiply(samples, sizeof(uint64_t)));
        row_ = MakeZeroedBytes(samples);
        return columns_ != nullptr && row_ != nullptr;
    }

    void Vertical() {
        const int64_t height = task_.source.Height;
        for (int64_t y = 0; y <= std::min(task_.radius, height - 1); ++y)
            AddRow(y, static_cast<uint64_t>(TimesInFirstWindow(y, height, task_.radius)));
        TRV_LOG("Vertical");
        for (int64_t y = 0; y < written_.height; ++y) {
            WriteMeans(y);
            AddRow(std::max<int64_t>(y - task_.radius, 0), ~uint64_t{0});
            AddRow(std::min(y + task_.radius + 1, height - 1), 1);
        }
    }

    void Horizontal() {
        RowPair rows(task_.dest, task_.source);
        for (int64_t y = 0; y < written_.height; ++y) {
            if (task_.vertical) {
                if (uint8_t* to = FetchRow(task_.dest, y)) BlurRow(y, Packed(to), to);
            } else if (rows.Fetch(y, y)) {
                BlurRow(y, {rows.from, task_.source.PixelSize, task_.sourcePlaces.offsets.data()}, rows.to);
            }
        }
    }

  private:
    [[nodiscard]] uint64_t* Columns() const { return reinterpret_cast<uint64_t*>(columns_.get()); }

    /// The mean of a window's sum. If the images share pixels, a sum can take part in what it never added and
    /// leave the range of sums.
    [[nodiscard]] uint8_t Mean(uint64_t sum) const {
        const auto divisor = static_cast<uint64_t>(task_.divisor);
        return sum < divisor * 256 ? static_cast<uint8_t>(sum / divisor) : 0;
    }

    /// Adds a source row to the column sums so many times, all ones for -1.
    void AddRow(int64_t y, uint64_t times) {
        const uint8_t* row = FetchRow(task_.source, y);
        if (row == nullptr) return;
        uint64_t* sum = Columns();
        for (int64_t x = 0; x < written_.width; ++x, row += task_.source.PixelSize) {
            for (size_t c = 0; c < channels_; ++c)
                *sum++ += row[task_.sourcePlaces.offsets[c]] * times;
        }
    }

    void WriteMeans(int64_t y) {
        uint8_t* row = FetchRow(task_.dest, y);
        if (row == nullptr) return;
        const uint64_t* sum = Columns();
        for (int64_t x = 0; x < written_.width; ++x, row += task_.dest.PixelSize) {
            for (size_t c = 0; c < channels_; ++c)
                row[task_.destPlaces.offsets[c]] = Mean(*sum++);
        }
    }

    /// The samples of a row of the destination, which is about to be overwritten.
    SampleRow Packed(const uint8_t* from) {
        uint8_t* to = row_.get();
        for (int64_t x = 0; x < written_.width; ++x, from += task_.dest.PixelSize) {
            for (size_t c = 0; c < channels_; ++c)
                *to++ = from[task_.destPlaces.offsets[c]];
        }
        return {row_.get(), static_cast<int64_t>(channels_), kPacked};
    }

    void BlurRow(int64_t y, const SampleRow& from, uint8_t* to) {
        const int64_t pixels = task_.RowPixels();
        uint64_t sums[kMostChannels]{};
        for (int64_t x = 0; x <= std::min(task_.radius, pixels - 1); ++x) {
            const auto times = static_cast<uint64_t>(TimesInFirstWindow(x, pixels, task_.radius));
            for (size_t c = 0; c < channels_; ++c)
                sums[c] += *from.Address(x, c) * times;
        }
        if (y == 0) TraceSums(sums);
        for (int64_t x = 0; x < written_.width; ++x, to += task_.dest.PixelSize) {
            const int64_t in = std::min(x + task_.radius + 1, pixels - 1);
            const int64_t out = std::max<int64_t>(x - task_.radius, 0);
            for (size_t c = 0; c < channels_; ++c)
                to[task_.destPlaces.offsets[c]] = Mean(sums[c]);
            if (y == 0 && x >= kFirstTracedPixel) TracePixel(x, sums[0], from.Address(in, 0), to);
            for (size_t c = 0; c < channels_; ++c)
                sums[c] += static_cast<uint64_t>(*from.Address(in, c)) - *from.Address(out, c);
        }
    }

    // Of gray only the one sum, of colours three, whatever they are called.
    void TraceSums(const uint64_t* sums) const {
        if (channels_ < 3) {
            TRV_LOG("tg", sums[0]);
            return;
        }
        TRV_LOG("tr", sums[0]);
        TRV_LOG("tg", sums[1]);
        TRV_LOG("tb", sums[2]);
    }

    void TracePixel(int64_t x, uint64_t sum, const uint8_t* pixel, const uint8_t* to) const {
        if (channels_ != 1) return;
        TRV_LOG("i", x);
        TRV_LOG("tg", sum);
        TRV_LOG("pixel", pixel);
        TRV_LOG("pixel value", static_cast<int32_t>(*pixel));
        TRV_LOG("drowG", to + task_.destPlaces.offsets[0]);
    }

    const BoxBlurTask& task_;
    const Rectangle written_;
    const size_t channels_;
    ZeroedBytes columns_;
    ZeroedBytes row_;
};

}  // namespace

void BoxBlurPlain(const BoxBlurTask& task) {
    PlainBlur blur(task);
    if (!blur.Allocate()) return;
    TRV_LOG("Vertical prepare");
    if (task.vertical) blur.Vertical();
    TRV_LOG("horizontal");
    if (task.horizontal) blur.Horizontal();
}

}  // namespace trv
