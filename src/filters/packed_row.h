#pragma once

// A row of one image's channels in memory of the filter's own: the channels of a family side by side, in the
// family's order, without padding and wherever they lay in the image. So the work of a filter on a row is
// written once for all layouts, and never sees more of an image than its samples.

#include <algorithm>
#include <cstdint>

#include "filters/lanes.h"
#include "image/destination.h"
#include "image/pixel_loop.h"
#include "image/row_readers.h"
#include "image/store_overlap.h"
#include "platform/memory.h"

namespace trv {

/// Samples of a row of pixels with `channels` of them each.
class PackedRow {
  public:
    /// Zeros; nothing, and then not usable, if there is no memory.
    PackedRow(int64_t pixels, int64_t channels) : bytes_(MakeZeroedBytes(pixels * channels)) {}

    [[nodiscard]] explicit operator bool() const { return bytes_ != nullptr; }
    [[nodiscard]] uint8_t* Samples() const { return bytes_.get(); }
    void Swap(PackedRow& other) { bytes_.swap(other.bytes_); }

  private:
    ZeroedBytes bytes_;
};

/// How many samples a pixel of a family has.
template <class F>
inline constexpr int64_t kSamplesOf = static_cast<int64_t>(F::channels.size());

/// Moves the channels of family F out of rows of an image.
template <class F>
class RowSource {
  public:
    explicit RowSource(PictureTRV& image) : RowSource(image, PlacesOf<F>(image)) {}

    /// `count` pixels from pixel `x` of row `y` on; false if the row cannot be had.
    [[nodiscard]] bool Read(int64_t y, int64_t x, int64_t count, uint8_t* samples) {
        const uint8_t* row = FetchRow(image_, y);
        if (row == nullptr) return false;
        converter_.Convert(row + x * image_.PixelSize, samples, count);
        return true;
    }

    [[nodiscard]] PictureTRV& Image() const { return image_; }

  private:
    RowSource(PictureTRV& image, const PixelPlaces& places)
        : image_(image), converter_(ToLanes(places, LanesInOrder(places))) {}

    PictureTRV& image_;
    SpanConverter converter_;
};

/// Moves channels of family F into rows of an image; the other bytes of its pixels stay as they are.
template <class F>
class RowTarget {
  public:
    explicit RowTarget(PictureTRV& image) : RowTarget(image, PlacesOf<F>(image)) {}

    /// `count` pixels from pixel `x` of row `y` on; no effect if the row cannot be had.
    void Write(int64_t y, int64_t x, int64_t count, const uint8_t* samples) {
        if (uint8_t* row = FetchRow(image_, y)) {
            converter_.Convert(samples, row + x * image_.PixelSize, count);
        }
    }

    [[nodiscard]] PictureTRV& Image() const { return image_; }

  private:
    RowTarget(PictureTRV& image, const PixelPlaces& places)
        : image_(image), converter_(FromLanes(places, LanesInOrder(places))) {}

    PictureTRV& image_;
    SpanConverter converter_;
};

/// Whether what a filter of family F writes at a pixel of `dest` may be what it has yet to read at another
/// pixel of `source`: both show the same memory in different ways, or channels of one image, whose offsets a
/// program has moved, or its rows meet in it.
template <class F>
[[nodiscard]] bool WritesAhead(PictureTRV& source, PictureTRV& dest) {
    return &dest != &source ? MayShareMemory(dest, source)
                            : !PlacesOf<F>(dest).AreApart() || RowsMayOverlap(dest);
}

/// The frame of filters whose result at a pixel depends on that pixel alone: calls `work(samples, x, y,
/// count)` with runs of packed pixels of `source`, to be changed in place, and stores them in `dest`. Runs
/// are whole rows unless that would show. Without memory nothing is written.
template <class F, class Work>
void ChangePackedRows(PictureTRV& source, PictureTRV& dest, Work&& work) {
    const Rectangle common = CommonRectangle(dest, source);
    if (common.IsEmpty()) return;
    const int64_t step = WritesAhead<F>(source, dest) ? 1 : common.width;
    PackedRow run(step, kSamplesOf<F>);
    if (!run) return;
    RowSource<F> from(source);
    RowTarget<F> to(dest);
    for (int64_t y = 0; y < common.height; ++y) {
        for (int64_t x = 0; x < common.width; x += step) {
            if (!from.Read(y, x, step, run.Samples())) break;
            work(run.Samples(), x, y, step);
            to.Write(y, x, step, run.Samples());
        }
    }
}

}  // namespace trv
