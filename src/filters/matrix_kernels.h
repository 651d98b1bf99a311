#pragma once

// The innermost work of the matrix filter: one row of sums over lanes, compiled once per instruction set from
// one body (matrix_kernels.inc).

#include <cstdint>

namespace trv {

/// Bytes that may be read behind the lanes of a row.
inline constexpr int64_t kMatrixSlack = 64;

/// One row of results. Taps come in pairs, and where their number is odd the last one has a weight of 0.
struct MatrixRow {
    const uint8_t* const* samples;  // by tap, what its weight multiplies
    const int16_t* weights;         // by tap
    int64_t pairs;
    int32_t delta;
    double factor;  // used by the scaled forms only
    uint8_t* to;
    int64_t lanes;
};

/// The sums plus delta, times the factor in the scaled forms, truncated and brought into bytes.
struct MatrixKernels {
    using Apply = void (*)(const MatrixRow& row);

    /// With sums in 16 bits, null where the instruction set has no such form: weights of 8 bits, and 255
    /// times the sum of what they are without their signs, plus that of delta, fits 16 bits with sign.
    Apply narrow;
    Apply narrowScaled;
    /// The same with weights of 16 bits and sums in 32 bits.
    Apply wide;
    Apply wideScaled;
};

extern const MatrixKernels kMatrixKernelsBaseline;
extern const MatrixKernels kMatrixKernelsAvx2;

/// The kernels of the instruction set in use, null for the plain form.
[[nodiscard]] const MatrixKernels* ActiveMatrixKernels();

}  // namespace trv
