#pragma once

// Work on runs of pixels in place, compiled once per instruction set. Pixels of 4 and 2 bytes are taken as
// little-endian numbers, in which a channel has a shift. Without instruction set ("plain") there are no
// kernels.

#include <cstdint>

namespace trv {

/// Where the colours of a pixel lie, each at a byte of its own from the first one's on.
struct ColourPlaces {
    int64_t pixelSize;  // 3 or 4
    int red;
    int green;
    int blue;
};

struct PixelKernels {
    /// Complements the bits of `count` bytes that are set in `flips`, or all bits without it.
    void (*flip)(uint8_t* bytes, const uint8_t* flips, int64_t count);
    /// Premultiplies `count` pixels with the alpha at a shift by what MultiplyTable holds.
    void (*multiply4)(uint8_t* pixels, int alphaShift, int64_t count);
    void (*multiply2)(uint8_t* pixels, int alphaShift, int64_t count);
    /// Undoes that by what UnmultiplyTable holds.
    void (*unmultiply4)(uint8_t* pixels, int alphaShift, int64_t count);
    void (*unmultiply2)(uint8_t* pixels, int alphaShift, int64_t count);
    /// Makes pixels gray, by the mode of gray_modes.h: as many of the `count`, from the first one on, as the
    /// answer says. Touches nothing behind the last whole pixel.
    int64_t (*gray[5])(uint8_t* pixels, const ColourPlaces& places, int64_t count);
};

/// The kernels of the instruction set in use; null for the plain form.
[[nodiscard]] const PixelKernels* ActivePixelKernels();

extern const PixelKernels kPixelKernelsBaseline;
extern const PixelKernels kPixelKernelsAvx2;
/// What AVX-512 has beyond that: multiply4 and unmultiply4.
void MultiplyPixelsAvx512(uint8_t* pixels, int alphaShift, int64_t count);
void UnmultiplyPixelsAvx512(uint8_t* pixels, int alphaShift, int64_t count);

}  // namespace trv
