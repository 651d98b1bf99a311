#pragma once

// Contribution tables: for every output column (or row) the input columns (or rows) that feed it, with their
// weights. Sums are formed in double precision; a weight and the sum of a list's weights are stored rounded
// to float. The two passes divide by that stored sum, so a list that is cut at a border needs no other
// treatment.

#include <cstdint>

#include "image/picture_record.h"

namespace trv {

/// One tap.
struct ContributionEntry {
    float weight;   // never 0
    int32_t pixel;  // input column or row
};

/// One output column or row. `entries` is nil, with the rest 0, for a list whose block could not be had.
struct ContributionList {
    ContributionEntry* entries;  // ascending by pixel
    int64_t count;
    float weightSum;
};

/// The array of lists that a scale owns from before its first builder to its end.
class ContributionArray {
  public:
    ContributionArray() = default;
    ~ContributionArray();
    ContributionArray(const ContributionArray&) = delete;
    ContributionArray& operator=(const ContributionArray&) = delete;

    /// Room for `count` empty lists in place of what was there; false, and empty, if it cannot be had.
    [[nodiscard]] bool Allocate(int64_t count);
    /// Gives up the blocks of the first `count` lists; the lists keep their leftovers until a builder
    /// overwrites them.
    void FreeLists(int64_t count);

    [[nodiscard]] ContributionList* Lists() const { return lists_; }

  private:
    ContributionList* lists_ = nullptr;
};

/// The four builders. Shrinking ones stretch the kernel by 1 / scale; enlarging ones use it as it is.
enum class TableStage : int { Scale1 = 1, Scale2 = 2, Scale4 = 4, Scale5 = 5 };

/// What a builder needs to know beside its kernel.
struct TableRequest {
    PictureTRV*
        yields;  // the image by whose YieldTicks the host gets its time after each list; null for never
    int64_t inputSize;   // columns or rows that there are to be read; at most 2^31 - 1
    double scale;        // output size / input size
    int64_t listCount;   // lists to build, from the first on
    const char* family;  // for the diagnostics
};

/// A builder in one mode's kernel: builds the lists of a stage into `contrib`.
using TableBuilder = void (*)(TableStage stage, const TableRequest& request, ContributionList* contrib);

/// The mode's builder; null for a mode that does not exist.
[[nodiscard]] TableBuilder FindTableBuilder(int64_t mode);

}  // namespace trv
