#pragma once

// Work on runs of samples, in a plain form and one of vectors with the same results.

#include <cstdint>

namespace trv {

/// Kernels do `count` bytes, all of them.
struct StyleKernels {
    /// bytes[i] - others[i] + 128, kept within 0..255, into bytes.
    void (*relief)(uint8_t* bytes, const uint8_t* others, int64_t count);
    /// The length of the gradient of `rows` towards `right` and `below`, times the square root of 2 and at
    /// most 255, into `result`: of s, the sum of the squared differences, the truncated square root of 2 s.
    void (*glow)(const uint8_t* row, const uint8_t* right, const uint8_t* below, uint8_t* result,
                 int64_t count);
};

/// The kernels of the instruction set in use.
[[nodiscard]] const StyleKernels& ActiveStyleKernels();

extern const StyleKernels kStyleKernelsPlain;
extern const StyleKernels kStyleKernelsAvx2;

}  // namespace trv
