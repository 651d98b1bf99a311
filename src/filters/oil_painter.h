#pragma once

// The oil filter's way over a picture of family F, with the histogram of the window kept by `Windows`.

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "filters/oil_windows.h"
#include "filters/shared_pixels.h"

namespace trv {

template <class F, class Windows>
class OilPainter {
  public:
    using Word = typename Windows::Word;
    using Histogram = OilHistogram<F, Word>;

    /// `range` in pixels, 0 to the larger side of the source.
    OilPainter(PictureTRV& source, PictureTRV& dest, const OilBands& bands, int64_t range)
        : from_(source),
          to_(dest),
          bands_(bands),
          shown_(CommonRectangle(dest, source)),
          visited_(bands.running ? WholeImage(source) : shown_),
          range_(range),
          inOrder_(WritesAhead<F>(source, dest)),
          inPlace_(&dest == &source),
          shared_(source, dest),
          windows_({source.Width, source.Height, range}, bands),
          window_(MakeZeroedBytes(kChannels * bands.stride * static_cast<int64_t>(sizeof(Word)))),
          old_(source.Width, kChannels),
          painted_(source.Width, kChannels) {}

    /// Ends at a row that cannot be had, and without memory before the first.
    void Paint() {
        if (!windows_ || window_ == nullptr || !old_ || !painted_ || !shared_) return;
        for (int64_t y = 0; y < visited_.height; ++y) {
            if (!windows_.MoveTo(y, from_)) return;
            if (!(inOrder_ ? PaintRowInOrder(y) : PaintRow(y))) return;
        }
    }

  private:
    static constexpr int64_t kChannels = kSamplesOf<F>;

    [[nodiscard]] Word* Window() const { return reinterpret_cast<Word*>(window_.get()); }

    /// Goes to the left of the row that the windows have moved to.
    void StartRow() {
        std::memset(static_cast<void*>(Window()), 0,
                    static_cast<size_t>(kChannels * bands_.stride) * sizeof(Word));
        windows_.Start(Window());
    }

    /// Into the source itself or where nothing is shared with it.
    [[nodiscard]] bool PaintRow(int64_t y) {
        if (inPlace_ && !from_.Read(y, 0, visited_.width, old_.Samples())) return false;
        StartRow();
        for (int64_t x = 0; x < visited_.width; ++x) {
            windows_.Step(Window(), x);
            uint8_t* painted = painted_.Samples() + x * kChannels;
            Choose(painted);
            if (!inPlace_) continue;
            Take(x, x, y, old_.Samples() + x * kChannels);
            Put(x, x, y, painted);
        }
        if (y < shown_.height) to_.Write(y, 0, shown_.width, painted_.Samples());
        return true;
    }

    /// Pixel by pixel, into a destination that shows pixels of the source in another way.
    [[nodiscard]] bool PaintRowInOrder(int64_t y) {
        StartRow();
        shared_.MoveTo(y, std::max<int64_t>(y - range_, 0), std::min(y + range_, from_.Image().Height - 1));
        for (int64_t x = 0; x < visited_.width; ++x) {
            windows_.Step(Window(), x);
            Choose(painted_.Samples());
            if (y >= shown_.height || x >= shown_.width) continue;
            const auto take = [&](int64_t sourceX, int64_t sourceY, const uint8_t* pixel) {
                Take(x, sourceX, sourceY, pixel);
            };
            const auto put = [&](int64_t sourceX, int64_t sourceY, const uint8_t* pixel) {
                Put(x, sourceX, sourceY, pixel);
            };
            if (!shared_.ForEach(x, take)) return false;
            to_.Write(y, x, 1, painted_.Samples());
            if (!shared_.ForEach(x, put)) return false;
        }
        return true;
    }

    // What is written counts from then on: while the window is that of column `at`, a pixel of the source
    // that the windows hold changes.

    void Take(int64_t at, int64_t x, int64_t y, const uint8_t* pixel) {
        windows_.Take(x, y, pixel);
        if (std::abs(x - at) <= range_) Histogram::Remove(Window(), bands_, pixel);
    }

    void Put(int64_t at, int64_t x, int64_t y, const uint8_t* pixel) {
        windows_.Put(x, y, pixel);
        if (std::abs(x - at) <= range_) Histogram::Add(Window(), bands_, pixel);
    }

    /// The results of the window as it is.
    void Choose(uint8_t* painted) {
        for (int64_t channel = 0; channel < kChannels; ++channel) {
            const Word* histogram = Window() + channel * bands_.stride;
            const Word band = histogram[bands_.running ? 0 : kernels_.fullest(histogram, bands_.stride)];
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

    struct Total {
        uint64_t count = 0;
        uint64_t sum = 0;
    };

    RowSource<F> from_;
    RowTarget<F> to_;
    const OilBands& bands_;
    Rectangle shown_;    // what is written
    Rectangle visited_;  // what has a window
    int64_t range_;
    bool inOrder_;
    bool inPlace_;
    SharedPixels<F> shared_;
    Windows windows_;
    OilKernels<Word> kernels_ = ActiveOilKernels<Word>();
    ZeroedBytes window_;
    PackedRow old_;
    PackedRow painted_;
    std::array<Total, F::channels.size()> totals_;
};

}  // namespace trv
