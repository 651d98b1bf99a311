#pragma once

// The innermost work of the box blur: functions over lanes, compiled once per instruction set from one body
// (blur_kernels.inc). Sums of a window are words of 16 bits while they fit, else of 32 bits.
//
// A mean is a truncated quotient of whole numbers, formed without a division; the constants are proved for
// the divisor at hand before they are used.

#include <array>
#include <cstdint>
#include <optional>

namespace trv {

/// A divisor of sums up to 255 times itself: the upper half of (sum + increment) * multiplier, increment not
/// leaving 16 bits, shifted right.
struct NarrowDivision {
    uint16_t multiplier;
    uint16_t increment;
    int shift;

    /// For odd divisors from 3 to 257.
    [[nodiscard]] static NarrowDivision By(int64_t divisor);
};

/// The same in single precision: the product with the reciprocal, truncated.
struct WideDivision {
    float reciprocal;

    /// Nothing for a divisor that it cannot do; it can do all odd ones from 3 to 40000.
    [[nodiscard]] static std::optional<WideDivision> By(int64_t divisor);
};

/// Lanes of sums are made in blocks of this many, and their order within a block is the kernels' own affair.
/// Arrays of sums have room for whole blocks.
inline constexpr int64_t kSumBlock = 32;

/// `lanes` counts are in lanes, not pixels. Bytes are read and written for those lanes only, unless it says
/// otherwise.
template <class Sum, class Division>
struct SumKernels {
    /// Adds a row so many times to the sums.
    void (*add)(const uint8_t* row, Sum times, Sum* sums, int64_t lanes);
    /// Writes the means of the sums, and then adds one row to them and takes another one away.
    void (*meansAndSlide)(Sum* sums, const uint8_t* in, const uint8_t* out, uint8_t* means, int64_t lanes,
                          const Division& division);
    /// The means along a row of 1, 2, 4 or 8 lanes a pixel (by the logarithm of that). `before` holds the
    /// sums of the window of the pixel before the first; for each pixel the samples from `in` on are added
    /// and those from `out` on are taken away. Reads up to kSumBlock bytes behind the lanes.
    using Slide = void (*)(const Sum* before, const uint8_t* in, const uint8_t* out, uint8_t* means,
                           int64_t lanes, const Division& division);
    std::array<Slide, 4> slide;
};

/// How a sample is mixed with two neighbours: ((a + b) * side + centre) * scale, truncated. The weights are
/// finite and give less than 256.
struct TapWeights {
    double side;
    double scale;
};

struct BlurKernels {
    SumKernels<uint16_t, NarrowDivision> narrow;
    SumKernels<uint32_t, WideDivision> wide;
    /// Mixes lanes with those of two neighbours, in double precision and in the order of the formula. The
    /// target is none of the rows that are read.
    void (*tap)(const uint8_t* a, const uint8_t* b, const uint8_t* centre, uint8_t* to, int64_t lanes,
                const TapWeights& weights);
};

extern const BlurKernels kBlurKernelsBaseline;
extern const BlurKernels kBlurKernelsAvx2;

/// The kernels of the instruction set in use, null for the plain form.
[[nodiscard]] const BlurKernels* ActiveBlurKernels();

}  // namespace trv
