#pragma once

// Work on runs of pixels in place, compiled once per instruction set. Pixels of 4 and 2 bytes are taken as
// little-endian numbers, in which a channel has a shift. Without instruction set ("plain") there are no
// kernels.

#include <cstdint>

namespace trv {

/// Shifts of the colours in a pixel of 4 bytes.
struct ColourShifts {
    int red;
    int green;
    int blue;
};

struct PixelKernels {
    /// Complements the bits of `count` bytes that are set in `flips`.
    void (*flip)(uint8_t* bytes, const uint8_t* flips, int64_t count);
    /// Premultiplies `count` pixels with the alpha at a shift by what MultiplyTable holds.
    void (*multiply4)(uint8_t* pixels, int alphaShift, int64_t count);
    void (*multiply2)(uint8_t* pixels, int alphaShift, int64_t count);
    /// Undoes that by what UnmultiplyTable holds.
    void (*unmultiply4)(uint8_t* pixels, int alphaShift, int64_t count);
    void (*unmultiply2)(uint8_t* pixels, int alphaShift, int64_t count);
    /// Makes pixels of 4 bytes gray; by the mode of gray_modes.h.
    void (*gray[5])(uint8_t* pixels, const ColourShifts& shifts, int64_t count);
};

/// The kernels of the instruction set in use; null for the plain form.
[[nodiscard]] const PixelKernels* ActivePixelKernels();

extern const PixelKernels kPixelKernelsBaseline;
extern const PixelKernels kPixelKernelsAvx2;
extern const PixelKernels kPixelKernelsAvx512;

}  // namespace trv
