#pragma once

// Pixels of four bytes picked from a row: what is nearest to each column of a scaled row. The kernels read
// the stretch of the row that a vector of pixels comes from as a whole and permute it, which is faster than
// fetching the pixels one by one, or by the processor's own gathering.

#include <cstdint>

namespace trv {

struct GatherKernels {
    /// Pixels that are picked at a time.
    int64_t lanes;
    /// The longest stretch of pixels that a group of `lanes` pixels may come from.
    int64_t mostReach;
    /// Copies pixel columns[i] of `from` to pixel i of `to`, for as many whole groups of the `count` pixels
    /// as can be read in whole vectors, and returns how many pixels that were. The columns ascend, those of a
    /// group are less than `reach` apart, and `from` has `readable` pixels.
    int64_t (*pick)(const uint8_t* from, int64_t readable, const int32_t* columns, int64_t count,
                    int64_t reach, uint8_t* to);
};

/// The kernels of the instruction set in use; null where it has none.
[[nodiscard]] const GatherKernels* ActiveGatherKernels();

extern const GatherKernels kGatherKernelsAvx2;
extern const GatherKernels kGatherKernelsAvx512;

}  // namespace trv
