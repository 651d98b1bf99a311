#pragma once

// The source columns nearest to the columns of a scaled row, and the pixels there. They are the same in every
// row, so that they are found once for an image whose rows have no more than kMost of them.

#include <array>
#include <cstddef>
#include <cstdint>

#include "scale/gather_kernels.h"

namespace trv {

class NearestColumns {
  public:
    /// Columns that are known at a time.
    static constexpr int64_t kMost = 8192;
    /// Bytes of the largest pixel that Gather moves.
    static constexpr int64_t kMostPixelBytes = 8;

    /// Rows of `sourceWidth` columns are scaled to `width`, both at least 1.
    NearestColumns(int64_t sourceWidth, int64_t width, int64_t pixelSize);

    /// Finds those of the scaled columns from `first` on, at most `count`; how many that are, at least 1.
    int64_t Find(int64_t first, int64_t count);

    /// The source column of the i-th column found.
    [[nodiscard]] int64_t At(int64_t i) const { return base_ + columns_[static_cast<size_t>(i)]; }

    /// Puts the pixels of `count` columns from the i-th on side by side. `row` has the source's pixels; `i`
    /// is a multiple of 16.
    void Gather(const uint8_t* row, int64_t i, int64_t count, uint8_t* to) const;

  private:
    template <int64_t kSize>
    void Copy(const uint8_t* row, const int32_t* columns, int64_t count, uint8_t* to) const;

    const int64_t sourceWidth_;
    const int64_t pixelSize_;
    const double ratio_;
    const int64_t most_;                  // columns whose distances fit the table
    const GatherKernels* kernels_;        // null where there are none for this size
    int64_t reach_ = 0;                   // of a group of the kernels' lanes
    int64_t first_ = -1;                  // the first scaled column in the table
    int64_t base_ = 0;                    // its source column
    std::array<int32_t, kMost> columns_;  // from there
};

}  // namespace trv
