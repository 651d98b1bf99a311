#pragma once

// Compositing of runs of bytes, compiled once per instruction set. The runs lie in the layout of the picture
// that is written, so a byte is made from the bytes at its own place in the others and no kernel knows a
// layout. For pixels of 4 bytes there are kernels that bring the others into that layout on the way. Without
// instruction set ("plain") there are none, and rows are blended pixel by pixel.

#include <cstdint>

namespace trv {

/// Makes `count` bytes at `out`. `out` may be any of the runs that are read, at the same address. Where
/// `write` is given, bytes that have 0 there keep their value; the others have 255.
using CompositeKernel = void (*)(uint8_t* out, const uint8_t* d, const uint8_t* s, const uint8_t* m,
                                 const uint8_t* write, int64_t count);

/// An operand of pixels of 4 bytes. Which of its bytes goes where is said for four pixels at once, the same
/// for each, by place in their 16 bytes: `picks` has the index of the byte, or 128 for a 0; the bits in
/// `flips` are complemented then, which makes constants too.
struct PixelOperand {
    enum class Kind : uint8_t {
        Straight,  // pixels of 4 bytes, each at its place already: picks and flips are not looked at
        Picked,    // pixels of 4 bytes
        Bytes,     // pixels of 1 byte: four of them are bytes 0 to 3
        Luma,      // the brightness of pixels of 4 bytes, its highest bit complemented: byte 1 of each
        Constant   // flips alone
    };

    Kind kind = Kind::Constant;
    const uint8_t* from = nullptr;  // address of the first byte that counts; not for Constant
    uint8_t picks[16]{};
    uint8_t flips[16]{};
    uint8_t weights[4]{};  // Luma only: those of a pixel's bytes, of a sum of 256
};

/// Only m can be Kind::Bytes or Kind::Luma, and d and s are not both Kind::Constant.
struct PixelBlend {
    static constexpr int64_t kGroup = 8;

    PixelOperand d;
    PixelOperand s;
    PixelOperand m;
    uint8_t write[16];  // as above, for four pixels
};

/// Makes `groups` times 8 pixels at `out`, and touches nothing else. `out` may be what is read, pixel upon
/// pixel.
using PixelBlendKernel = void (*)(uint8_t* out, const PixelBlend& blend, int64_t groups);

struct CompositeKernels {
    CompositeKernel mix;  // MixRule
    CompositeKernel add;  // AddRule
    /// The brightness of three runs. `out` may be one of them.
    void (*luma)(uint8_t* out, const uint8_t* red, const uint8_t* green, const uint8_t* blue, int64_t count);
    PixelBlendKernel mixPixels;  // null where the instruction set has none
    PixelBlendKernel addPixels;
};

/// The kernels of the instruction set in use; null for the plain form.
[[nodiscard]] const CompositeKernels* ActiveCompositeKernels();

extern const CompositeKernels kCompositeKernelsBaseline;
extern const CompositeKernels kCompositeKernelsAvx2;

}  // namespace trv
