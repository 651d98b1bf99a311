#pragma once

// The oil filter's way over a picture of one family. Each column has a histogram of the rows that the window
// reaches, which changes by two samples from row to row; the window's histogram is the sum of its columns'
// and changes by two of those from pixel to pixel.

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>

#include "filters/oil_kernels.h"
#include "filters/packed_row.h"
#include "image/checked_math.h"

namespace trv {

/// How samples are sorted into tone bands. Without levels all samples go to one band, which is never emptied.
struct OilBands {
    explicit OilBands(int64_t levels) : running(levels == 0), count(std::max<int64_t>(levels, 1)) {
        for (size_t v = 0; v < band.size(); ++v)
            band[v] = static_cast<uint8_t>(levels * static_cast<int64_t>(v) / 256);
    }

    bool running;
    int64_t count;
    std::array<uint8_t, 256> band{};
};

template <class F, class Word>
class OilPainter {
  public:
    /// `range` in pixels, 0 to the larger side of the source.
    OilPainter(PictureTRV& source, PictureTRV& dest, const OilBands& bands, int64_t range)
        : from_(source),
          to_(dest),
          bands_(bands),
          range_(range),
          width_(source.Width),
          height_(source.Height),
          shown_(CommonRectangle(dest, source)),
          inPlace_(&dest == &source) {}

    /// Paints a destination that is the source itself or shares nothing with it. Ends at a row that cannot be
    /// had, and without memory before the first.
    void Paint() {
        if (!Allocate(width_)) return;
        for (int64_t y = 0; y < std::min(range_, height_); ++y) {
            if (!Enter(y)) return;
        }
        for (int64_t y = 0; y < (bands_.running ? height_ : shown_.height); ++y) {
            if (y + range_ < height_ && !Enter(y + range_)) return;
            if (y - range_ > 0 && !Leave(y - range_ - 1)) return;
            if (inPlace_ && !from_.Read(y, 0, width_, row_.get())) return;
            PaintRow();
            if (y < shown_.height) to_.Write(y, 0, shown_.width, painted_.get());
        }
    }

    /// Paints, in reading order and each window from the pixels as they are then, a destination that shows
    /// the source's pixels in another way. Each window is read as a whole.
    void PaintInOrder() {
        if (!Allocate(0)) return;
        for (int64_t y = 0; y < (bands_.running ? height_ : shown_.height); ++y) {
            for (int64_t x = 0; x < (bands_.running ? width_ : shown_.width); ++x) {
                if (!ReadWindow(x, y)) return;
                Choose(painted_.get());
                if (y < shown_.height && x < shown_.width) to_.Write(y, x, 1, painted_.get());
            }
        }
    }

  private:
    static constexpr int64_t kChannels = kSamplesOf<F>;

    static constexpr Word One(uint8_t sample) { return (Word{1} << ToneBand<Word>::kShift) + sample; }

    /// Words of a histogram of all channels.
    [[nodiscard]] int64_t Words() const { return kChannels * bandStep_; }
    [[nodiscard]] Word* Column(int64_t x) const {
        const bool inside = x >= 0 && x < width_;
        return reinterpret_cast<Word*>(histograms_.get()) + (inside ? x + 2 : 1) * Words();
    }
    [[nodiscard]] Word* Window() const { return reinterpret_cast<Word*>(histograms_.get()); }
    [[nodiscard]] Word& BandOf(Word* histogram, int64_t channel, uint8_t sample) const {
        return histogram[channel * bandStep_ + bands_.band[sample]];
    }

    /// The window's histogram, an empty one for columns outside, those of the columns.
    bool Allocate(int64_t columns) {
        const auto wordBytes = static_cast<int64_t>(sizeof(Word));
        histograms_ = MakeZeroedBytes(SaturatedMultiply(columns + 2, Words() * wordBytes));
        row_ = MakeZeroedBytes(width_ * kChannels);
        painted_ = MakeZeroedBytes(width_ * kChannels);
        return histograms_ != nullptr && row_ != nullptr && painted_ != nullptr;
    }

    bool Enter(int64_t y) {
        return ForEachSample(y, [](Word& band, Word one) { band += one; });
    }

    bool Leave(int64_t y) {
        return ForEachSample(y, [](Word& band, Word one) { band -= one; });
    }

    template <class Work>
    bool ForEachSample(int64_t y, Work&& work) {
        if (!from_.Read(y, 0, width_, row_.get())) return false;
        const uint8_t* sample = row_.get();
        Word* column = Column(0);
        for (int64_t x = 0; x < width_; ++x, column += Words()) {
            for (int64_t channel = 0; channel < kChannels; ++channel, ++sample)
                work(BandOf(column, channel, *sample), One(*sample));
        }
        return true;
    }

    void PaintRow() {
        std::memset(static_cast<void*>(Window()), 0, static_cast<size_t>(Words()) * sizeof(Word));
        for (int64_t x = 0; x < std::min(range_, width_); ++x)
            kernels_.slide(Window(), Column(x), Column(-1), Words());
        const int64_t end = bands_.running ? width_ : shown_.width;
        for (int64_t x = 0; x < end; ++x) {
            kernels_.slide(Window(), Column(x + range_), Column(x - range_ - 1), Words());
            uint8_t* painted = painted_.get() + x * kChannels;
            Choose(painted);
            if (inPlace_) Replace(x, row_.get() + x * kChannels, painted);
        }
    }

    /// What was written counts from now on.
    void Replace(int64_t x, const uint8_t* old, const uint8_t* painted) {
        for (int64_t channel = 0; channel < kChannels; ++channel) {
            for (Word* histogram : {Window(), Column(x)}) {
                BandOf(histogram, channel, old[channel]) -= One(old[channel]);
                BandOf(histogram, channel, painted[channel]) += One(painted[channel]);
            }
        }
    }

    /// The results of the window as it is.
    void Choose(uint8_t* painted) {
        for (int64_t channel = 0; channel < kChannels; ++channel) {
            const Word* histogram = Window() + channel * bandStep_;
            const Word band =
                bands_.running ? histogram[0] : histogram[kernels_.fullest(histogram, bandStep_)];
            auto count = static_cast<uint64_t>(band >> ToneBand<Word>::kShift);
            auto sum = static_cast<uint64_t>(band & ((Word{1} << ToneBand<Word>::kShift) - 1));
            if (bands_.running) {
                auto& [allCount, allSum] = totals_[static_cast<size_t>(channel)];
                count = allCount += count;
                sum = allSum += sum;
            }
            painted[channel] = count == 0 ? 255 : static_cast<uint8_t>(sum / count);
        }
    }

    bool ReadWindow(int64_t x, int64_t y) {
        std::memset(static_cast<void*>(Window()), 0, static_cast<size_t>(Words()) * sizeof(Word));
        const int64_t left = std::max<int64_t>(x - range_, 0);
        const int64_t columns = std::min(x + range_, width_ - 1) - left + 1;
        const int64_t last = std::min(y + range_, height_ - 1);
        for (int64_t row = std::max<int64_t>(y - range_, 0); row <= last; ++row) {
            if (!from_.Read(row, left, columns, row_.get())) return false;
            for (int64_t i = 0; i < columns * kChannels; ++i)
                BandOf(Window(), i % kChannels, row_.get()[i]) += One(row_.get()[i]);
        }
        return true;
    }

    struct Total {
        uint64_t count = 0;
        uint64_t sum = 0;
    };

    RowSource<F> from_;
    RowTarget<F> to_;
    const OilBands& bands_;
    int64_t range_;
    int64_t width_;
    int64_t height_;
    Rectangle shown_;
    bool inPlace_;
    int64_t bandStep_ = RaisedToMultiple(bands_.count, kBandStep);
    OilKernels<Word> kernels_ = ActiveOilKernels<Word>();
    ZeroedBytes histograms_;
    ZeroedBytes row_;
    ZeroedBytes painted_;
    std::array<Total, F::channels.size()> totals_;
};

}  // namespace trv
