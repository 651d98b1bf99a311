#pragma once

// Contribution lists made ready for the row kernels: consecutive taps, weights divided by the list's sum, and
// for each list the proof of how far the kernels' result can be from the exact one.
//
// What is compared is the number whose truncation is the sample, sum / weightSum + 1/2. The kernels' number
// differs from it by less than the list's margin, so where it lies further than that from any integer both
// truncate alike; the rest are doubts. Two kinds of lists are treated apart:
//
//   Lattice. All weights and the sum are whole multiples of one power of two, as with the box, and with the
//   triangle at ratios that are powers of two. Then the exact number is a multiple of 1 / (2 L) for a small
//   L, and often an integer itself. Starting the sum 1 / (4 L) higher keeps the kernels' number off the
//   integers, always on the exact one's side: no doubts, although ties are frequent.
//
//   For TapTable<uint8_t> a list is either a lattice of 128 steps or fewer without negative weights, or
//   irregular.
//
//   Irregular. A sum that is not positive, weights far larger than their sum, an empty list, or so many taps
//   that the margin means nothing: every result is a doubt.

#include <cstdint>

#include "scale/contributions.h"
#include "scale/row_kernels.h"

namespace trv {

/// What the samples of a pass are.
struct SampleRange {
    int maxValue;  // 255 or 65535
    bool luma;     // formed from three channels with rounding of their own
};

template <class T>
class TapTable {
  public:
    TapTable() = default;
    ~TapTable();
    TapTable(const TapTable&) = delete;
    TapTable& operator=(const TapTable&) = delete;

    /// Prepares `count` lists over `positions` input positions; false if there is no memory. Both the first
    /// and the end positions of the prepared lists ascend.
    [[nodiscard]] bool Build(const ContributionList* contrib, int64_t count, int64_t positions,
                             SampleRange range);

    [[nodiscard]] const TapList<T>* Lists() const { return lists_; }
    [[nodiscard]] int64_t Count() const { return count_; }
    /// Share of doubts that the margins let expect among arbitrary samples, 0 to 1.
    [[nodiscard]] double ExpectedDoubts() const { return expectedDoubts_; }

  private:
    [[nodiscard]] int64_t Place(const ContributionList* contrib, int64_t count, int64_t positions);

    TapList<T>* lists_ = nullptr;
    T* weights_ = nullptr;
    int64_t count_ = 0;
    double expectedDoubts_ = 0.0;
};

extern template class TapTable<uint8_t>;
extern template class TapTable<float>;
extern template class TapTable<double>;

}  // namespace trv
