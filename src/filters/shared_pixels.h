#pragma once

// Which pixels of one image change when a pixel of another one is written that reaches the same bytes:
// through another view, in another layout, over rows that reach into each other, or through channels that
// meet.

#include <algorithm>
#include <cstdint>

#include "filters/packed_row.h"
#include "image/row_set.h"

namespace trv {

/// Finds the pixels of `source` that have a byte in common with one of `dest`, both in the channels of family
/// F.
template <class F>
class SharedPixels {
  public:
    SharedPixels(PictureTRV& source, PictureTRV& dest)
        : source_(source),
          dest_(dest),
          from_(source),
          pixel_(1, kSamplesOf<F>),
          reads_(PlacesOf<F>(source).Extent()),
          writes_(PlacesOf<F>(dest).Extent()) {}

    /// False without memory.
    [[nodiscard]] explicit operator bool() const { return static_cast<bool>(pixel_); }

    /// Goes to row `y` of the destination, and looks no further than the rows `first` to `last` of the
    /// source.
    void MoveTo(int64_t y, int64_t first, int64_t last) {
        first_ = last + 1;
        last_ = last;
        const uint8_t* row = FetchRow(dest_, y);
        if (row == nullptr) return;
        written_ = SpotOf(dest_, row).position;
        const auto shares = [&](int64_t sourceY) {
            const uint8_t* other = FetchRow(source_, sourceY);
            if (other == nullptr) return false;
            const int64_t read = SpotOf(source_, other).position;
            return written_ + writes_.first <= read + (source_.Width - 1) * source_.PixelSize + reads_.last &&
                   read + reads_.first <= written_ + (dest_.Width - 1) * dest_.PixelSize + writes_.last;
        };
        for (first_ = first; first_ <= last && !shares(first_);)
            ++first_;
        while (last_ > first_ && !shares(last_))
            --last_;
    }

    /// Calls `work(x, y, samples)` with each pixel of the source in these rows that shares a byte with pixel
    /// `x` of the destination's row, as it is now. False if a row cannot be had.
    template <class Work>
    [[nodiscard]] bool ForEach(int64_t x, Work&& work) {
        const int64_t step = source_.PixelSize;
        for (int64_t y = first_; y <= last_; ++y) {
            const uint8_t* row = FetchRow(source_, y);
            if (row == nullptr) return false;
            const int64_t apart = written_ + x * dest_.PixelSize - SpotOf(source_, row).position;
            const int64_t least = std::max<int64_t>(apart + writes_.first - reads_.last, 0);
            const int64_t most = apart + writes_.last - reads_.first;
            if (most < 0) continue;
            const int64_t last = std::min(most / step, source_.Width - 1);
            for (int64_t sourceX = (least + step - 1) / step; sourceX <= last; ++sourceX) {
                if (!from_.Read(y, sourceX, 1, pixel_.Samples())) return false;
                work(sourceX, y, pixel_.Samples());
            }
        }
        return true;
    }

  private:
    PictureTRV& source_;
    PictureTRV& dest_;
    RowSource<F> from_;
    PackedRow pixel_;
    ByteExtent reads_;
    ByteExtent writes_;
    int64_t written_ = 0;  // where the destination's row lies in the store
    int64_t first_ = 0;    // rows of the source that share bytes with it
    int64_t last_ = -1;
};

}  // namespace trv
