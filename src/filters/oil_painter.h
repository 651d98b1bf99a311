#pragma once

// The oil filter's way over a picture of family F, with the histogram of the window kept by `Windows`.

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>

#include "filters/oil_windows.h"

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
          inPlace_(&dest == &source),
          windows_({source.Width, source.Height, range}, bands),
          window_(MakeZeroedBytes(kChannels * bands.stride * static_cast<int64_t>(sizeof(Word)))),
          old_(source.Width, kChannels),
          painted_(source.Width, kChannels) {}

    /// Paints a destination that is the source itself or shares nothing with it. Ends at a row that cannot be
    /// had, and without memory before the first.
    void Paint() {
        if (!HasMemory()) return;
        for (int64_t y = 0; y < visited_.height; ++y) {
            if (!windows_.MoveTo(y, from_)) return;
            if (inPlace_ && !from_.Read(y, 0, visited_.width, old_.Samples())) return;
            PaintRow();
            if (y < shown_.height) to_.Write(y, 0, shown_.width, painted_.Samples());
        }
    }

    /// Paints in reading order, each window from the pixels as they are then.
    void PaintRereading() {
        if (!HasMemory()) return;
        for (int64_t y = 0; y < visited_.height; ++y) {
            for (int64_t x = 0; x < visited_.width; ++x) {
                Empty();
                if (!windows_.Read(Window(), x, y, from_)) return;
                Choose(painted_.Samples());
                if (y < shown_.height && x < shown_.width) to_.Write(y, x, 1, painted_.Samples());
            }
        }
    }

  private:
    static constexpr int64_t kChannels = kSamplesOf<F>;

    [[nodiscard]] bool HasMemory() const { return windows_ && window_ != nullptr && old_ && painted_; }
    [[nodiscard]] Word* Window() const { return reinterpret_cast<Word*>(window_.get()); }
    void Empty() {
        std::memset(static_cast<void*>(Window()), 0,
                    static_cast<size_t>(kChannels * bands_.stride) * sizeof(Word));
    }

    void PaintRow() {
        Empty();
        windows_.Start(Window());
        for (int64_t x = 0; x < visited_.width; ++x) {
            windows_.Step(Window(), x);
            uint8_t* painted = painted_.Samples() + x * kChannels;
            Choose(painted);
            if (inPlace_) Replace(x, old_.Samples() + x * kChannels, painted);
        }
    }

    /// What was written counts from now on.
    void Replace(int64_t x, const uint8_t* old, const uint8_t* painted) {
        windows_.Replace(x, old, painted);
        Histogram::Remove(Window(), bands_, old);
        Histogram::Add(Window(), bands_, painted);
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
    bool inPlace_;
    Windows windows_;
    OilKernels<Word> kernels_ = ActiveOilKernels<Word>();
    ZeroedBytes window_;
    PackedRow old_;
    PackedRow painted_;
    std::array<Total, F::channels.size()> totals_;
};

}  // namespace trv
