#pragma once

// Compositing of runs of bytes, compiled once per instruction set. The runs lie in the layout of the picture
// that is written, so a byte is made from the bytes at its own place in the others and no kernel knows a
// layout. Without instruction set ("plain") there are none, and rows are blended pixel by pixel.

#include <cstdint>

namespace trv {

/// Makes `count` bytes at `out`. `out` may be any of the runs that are read, at the same address. Where
/// `write` is given, bytes that have 0 there keep their value; the others have 255.
using CompositeKernel = void (*)(uint8_t* out, const uint8_t* d, const uint8_t* s, const uint8_t* m,
                                 const uint8_t* write, int64_t count);

struct CompositeKernels {
    CompositeKernel mix;  // MixRule
    CompositeKernel add;  // AddRule
    /// The brightness of three runs. `out` may be one of them.
    void (*luma)(uint8_t* out, const uint8_t* red, const uint8_t* green, const uint8_t* blue, int64_t count);
};

/// The kernels of the instruction set in use; null for the plain form.
[[nodiscard]] const CompositeKernels* ActiveCompositeKernels();

extern const CompositeKernels kCompositeKernelsBaseline;
extern const CompositeKernels kCompositeKernelsAvx2;
extern const CompositeKernels kCompositeKernelsAvx512;

}  // namespace trv
