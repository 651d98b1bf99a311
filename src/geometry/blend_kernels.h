#pragma once

// The innermost step of a shear: out = value - value * m + before * m, byte by byte, where the products are
// truncated. The factor m is a fraction of 65536. Exists for several instruction sets, from one source.

#include <cstdint>

namespace trv {

struct BlendKernels {
    /// One factor for all bytes. `out` does not overlap the others.
    void (*row)(const uint8_t* value, const uint8_t* before, uint8_t* out, int64_t bytes, uint16_t factor);
    /// A factor for each byte.
    void (*lanes)(const uint8_t* value, const uint8_t* before, uint8_t* out, int64_t bytes,
                  const uint16_t* factors);
};

/// The kernels of the instruction set in use; null for the plain one.
[[nodiscard]] const BlendKernels* ActiveBlendKernels();

extern const BlendKernels kBlendKernelsBaseline;
extern const BlendKernels kBlendKernelsAvx2;

}  // namespace trv
