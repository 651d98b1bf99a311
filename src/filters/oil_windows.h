#pragma once

// Two ways to keep the histogram of a window while it moves over a picture, a sample at a time. Both start at
// the left of a row, step to the right, and take notice of samples that change.

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
    explicit OilBands(int64_t levels)
        : running(levels == 0), stride(RaisedToMultiple(std::max<int64_t>(levels, 1), kBandStep)) {
        for (size_t v = 0; v < band.size(); ++v)
            band[v] = static_cast<uint8_t>(levels * static_cast<int64_t>(v) / 256);
    }

    bool running;
    int64_t stride;  // bands from one channel's histogram to the next
    std::array<uint8_t, 256> band{};
};

/// Histograms of all channels of family F, and the sample that each band counts.
template <class F, class Word>
class OilHistogram {
  public:
    static constexpr int64_t kChannels = kSamplesOf<F>;

    static constexpr Word One(uint8_t sample) { return (Word{1} << ToneBand<Word>::kShift) + sample; }

    static void Add(Word* histogram, const OilBands& bands, const uint8_t* pixel) {
        for (int64_t channel = 0; channel < kChannels; ++channel)
            histogram[channel * bands.stride + bands.band[pixel[channel]]] += One(pixel[channel]);
    }

    static void Remove(Word* histogram, const OilBands& bands, const uint8_t* pixel) {
        for (int64_t channel = 0; channel < kChannels; ++channel)
            histogram[channel * bands.stride + bands.band[pixel[channel]]] -= One(pixel[channel]);
    }
};

/// What both ways are made of; sizes in pixels.
struct OilGeometry {
    int64_t width;
    int64_t height;
    int64_t range;
};

/// Each column has a histogram of the rows that the window reaches, which changes by two samples from row to
/// row; the window's is the sum of its columns', and changes by two of those from pixel to pixel. The cost
/// does not depend on the range.
template <class F, class WordType>
class OilColumns {
  public:
    using Word = WordType;
    using Histogram = OilHistogram<F, Word>;

    OilColumns(const OilGeometry& geometry, const OilBands& bands)
        : geometry_(geometry),
          bands_(bands),
          words_(Histogram::kChannels * bands.stride),
          columns_(MakeZeroedBytes(
              SaturatedMultiply(geometry.width + 1, words_ * static_cast<int64_t>(sizeof(Word))))),
          row_(geometry.width, Histogram::kChannels) {}

    [[nodiscard]] explicit operator bool() const { return columns_ != nullptr && row_; }

    /// Moves to row `y`, the one below the row before; the first is 0. False if a row cannot be had.
    [[nodiscard]] bool MoveTo(int64_t y, RowSource<F>& from) {
        const auto& [width, height, range] = geometry_;
        for (int64_t entering = y == 0 ? 0 : y + range; entering <= std::min(y + range, height - 1);
             ++entering) {
            if (!ForEachPixel(from, entering, &Histogram::Add)) return false;
        }
        return y - range - 1 < 0 || ForEachPixel(from, y - range - 1, &Histogram::Remove);
    }

    /// Adds the columns left of the first window's last one.
    void Start(Word* window) {
        for (int64_t x = 0; x < std::min(geometry_.range, geometry_.width); ++x)
            kernels_.slide(window, Column(x), Column(-1), words_);
    }

    void Step(Word* window, int64_t x) {
        kernels_.slide(window, Column(x + geometry_.range), Column(x - geometry_.range - 1), words_);
    }

    /// Pixel `x` of row `y`, which the window reaches, is going to change.
    void Take(int64_t x, int64_t, const uint8_t* pixel) { Histogram::Remove(Column(x), bands_, pixel); }
    /// It has changed.
    void Put(int64_t x, int64_t, const uint8_t* pixel) { Histogram::Add(Column(x), bands_, pixel); }

  private:
    /// An empty one for columns outside.
    [[nodiscard]] Word* Column(int64_t x) const {
        const bool inside = x >= 0 && x < geometry_.width;
        return reinterpret_cast<Word*>(columns_.get()) + (inside ? x : geometry_.width) * words_;
    }

    bool ForEachPixel(RowSource<F>& from, int64_t y, void (*work)(Word*, const OilBands&, const uint8_t*)) {
        if (!from.Read(y, 0, geometry_.width, row_.Samples())) return false;
        for (int64_t x = 0; x < geometry_.width; ++x)
            work(Column(x), bands_, row_.Samples() + x * Histogram::kChannels);
        return true;
    }

    OilGeometry geometry_;
    const OilBands& bands_;
    int64_t words_;
    ZeroedBytes columns_;
    PackedRow row_;
    OilKernels<Word> kernels_ = ActiveOilKernels<Word>();
};

/// The rows that the window reaches are kept, and from pixel to pixel the window's histogram changes by the
/// samples of two columns. The cost grows with the range and not with the number of bands.
template <class F>
class OilRows {
  public:
    using Word = uint32_t;
    using Histogram = OilHistogram<F, Word>;

    /// Ranges up to this one.
    static constexpr int64_t kMostRange = 31;
    static_assert((2 * kMostRange + 1) * (2 * kMostRange + 1) <= ToneBand<Word>::kMostSamples);

    OilRows(const OilGeometry& geometry, const OilBands& bands)
        : geometry_(geometry),
          bands_(bands),
          rows_(MakeZeroedBytes((2 * geometry.range + 1) * geometry.width * Histogram::kChannels)) {}

    [[nodiscard]] explicit operator bool() const { return rows_ != nullptr; }

    [[nodiscard]] bool MoveTo(int64_t y, RowSource<F>& from) {
        const auto& [width, height, range] = geometry_;
        const int64_t last = std::min(y + range, height - 1);
        for (int64_t entering = y == 0 ? 0 : y + range; entering <= last; ++entering) {
            if (!from.Read(entering, 0, width, Row(entering))) return false;
        }
        count_ = 0;
        for (int64_t row = std::max<int64_t>(y - range, 0); row <= last; ++row)
            reached_[static_cast<size_t>(count_++)] = Row(row);
        return true;
    }

    void Start(Word* window) {
        for (int64_t x = 0; x < std::min(geometry_.range, geometry_.width); ++x)
            Enter(window, x);
    }

    void Step(Word* window, int64_t x) {
        const auto& [width, height, range] = geometry_;
        if (x + range < width) Enter(window, x + range);
        if (x - range - 1 >= 0) Leave(window, x - range - 1);
    }

    void Take(int64_t, int64_t, const uint8_t*) {}
    void Put(int64_t x, int64_t y, const uint8_t* pixel) {
        std::memcpy(Row(y) + x * Histogram::kChannels, pixel, static_cast<size_t>(Histogram::kChannels));
    }

  private:
    [[nodiscard]] uint8_t* Row(int64_t y) const {
        return rows_.get() + y % (2 * geometry_.range + 1) * geometry_.width * Histogram::kChannels;
    }

    void Enter(Word* window, int64_t x) {
        for (int64_t i = 0; i < count_; ++i)
            Histogram::Add(window, bands_, reached_[static_cast<size_t>(i)] + x * Histogram::kChannels);
    }

    void Leave(Word* window, int64_t x) {
        for (int64_t i = 0; i < count_; ++i)
            Histogram::Remove(window, bands_, reached_[static_cast<size_t>(i)] + x * Histogram::kChannels);
    }

    OilGeometry geometry_;
    const OilBands& bands_;
    ZeroedBytes rows_;
    int64_t count_ = 0;
    std::array<const uint8_t*, 2 * kMostRange + 1> reached_{};
};

}  // namespace trv
