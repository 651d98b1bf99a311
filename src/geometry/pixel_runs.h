#pragma once

// Runs of pixels turned around: the inner loops of mirrors and turns, one body for every kind of pixel. The
// common sizes go a vector at a time unless the instruction set in use is the plain one.

#include <cstdint>

#include "geometry/pixel_map.h"

namespace trv {

/// Bytes of a processor's cache line, which turns write as a whole.
inline constexpr int64_t kLineBytes = 64;

/// The vectorised forms. Each does as many whole steps as fit and says how many pixels of a run that were;
/// the rest is left to the plain form. Pixels have kSize bytes, 1, 2 or 4; `keep` has ones where targets
/// stay.
template <int kSize>
struct RunKernels {
    static int64_t SwapReversed(uint8_t* a, uint8_t* b, int64_t count, uint32_t keep);
    static int64_t CopyReversed(const uint8_t* from, uint8_t* to, int64_t count, uint32_t keep);
    /// Turns kLineBytes / kSize rows: pixel x of from[k] goes to pixel k of to[x] + toOffset. With `stream`
    /// the lines go past the caches; they must be aligned then, and `keep` 0.
    static int64_t Turn(const uint8_t* const* from, int64_t columns, uint8_t* const* to, int64_t toOffset,
                        uint32_t keep, bool stream);
};

/// Whether the vectorised forms may be used.
[[nodiscard]] bool RunsAreVectors();

/// Makes what was streamed visible in order.
void EndStreaming();

namespace runs_detail {

template <class Pixel>
inline constexpr int kVectorSize = 0;  // no vectorised form
template <>
inline constexpr int kVectorSize<WholePixel<1>> = 1;
template <>
inline constexpr int kVectorSize<WholePixel<2>> = 2;
template <>
inline constexpr int kVectorSize<WholePixel<4>> = 4;
template <>
inline constexpr int kVectorSize<MaskedPixel> = 4;

template <class Pixel>
uint32_t KeepOf(const Pixel& /*pixel*/) {
    return 0;
}
inline uint32_t KeepOf(const MaskedPixel& pixel) {
    return pixel.keep;
}

}  // namespace runs_detail

/// Swaps pixel i of `a` with pixel count - 1 - i of `b`, for all i; the runs must not overlap.
template <class Pixel>
void SwapReversed(const Pixel& pixel, uint8_t* a, uint8_t* b, int64_t count) {
    const int64_t size = pixel.ToSize();
    int64_t i = 0;
    if constexpr (constexpr int kSize = runs_detail::kVectorSize<Pixel>; kSize > 0) {
        if (RunsAreVectors()) {
            i = RunKernels<kSize>::SwapReversed(a, b, count, runs_detail::KeepOf(pixel));
        }
    }
    for (; i < count; ++i)
        pixel.Swap(a + i * size, b + (count - 1 - i) * size);
}

/// Swaps pixel i of `a` with pixel i of `b`; the runs must not overlap.
template <class Pixel>
void SwapForward(const Pixel& pixel, uint8_t* a, uint8_t* b, int64_t count) {
    const int64_t size = pixel.ToSize();
    for (int64_t i = 0; i < count; ++i)
        pixel.Swap(a + i * size, b + i * size);
}
void SwapBytes(uint8_t* a, uint8_t* b, int64_t count);
template <int kSize>
void SwapForward(const WholePixel<kSize>& /*pixel*/, uint8_t* a, uint8_t* b, int64_t count) {
    SwapBytes(a, b, count * kSize);
}

/// Copies pixels from the one run to the other; the runs must not overlap.
template <class Pixel>
void CopyForward(const Pixel& pixel, const uint8_t* from, uint8_t* to, int64_t count) {
    for (int64_t i = 0; i < count; ++i)
        pixel.Move(from + i * pixel.FromSize(), to + i * pixel.ToSize());
}
template <int kSize>
void CopyForward(const WholePixel<kSize>& /*pixel*/, const uint8_t* from, uint8_t* to, int64_t count) {
    if (count > 0) std::memcpy(to, from, static_cast<size_t>(count * kSize));
}

/// Copies pixel count - 1 - i of `from` to pixel i of `to`; the runs must not overlap.
template <class Pixel>
void CopyReversed(const Pixel& pixel, const uint8_t* from, uint8_t* to, int64_t count) {
    int64_t i = 0;
    if constexpr (constexpr int kSize = runs_detail::kVectorSize<Pixel>; kSize > 0) {
        if (RunsAreVectors()) {
            i = RunKernels<kSize>::CopyReversed(from, to, count, runs_detail::KeepOf(pixel));
        }
    }
    for (; i < count; ++i)
        pixel.Move(from + (count - 1 - i) * pixel.FromSize(), to + i * pixel.ToSize());
}

/// Moves pixel x of from[k] to pixel k of to[x] + toOffset bytes, for `rows` k and `columns` x. `stream` asks
/// for lines that go past the caches, which needs aligned ones.
template <class Pixel>
void TurnBlock(const Pixel& pixel, const uint8_t* const* from, int64_t rows, int64_t columns,
               uint8_t* const* to, int64_t toOffset, bool stream) {
    int64_t x = 0;
    if constexpr (constexpr int kSize = runs_detail::kVectorSize<Pixel>; kSize > 0) {
        if (rows == kLineBytes / kSize && RunsAreVectors()) {
            x = RunKernels<kSize>::Turn(from, columns, to, toOffset, runs_detail::KeepOf(pixel), stream);
        }
    }
    for (; x < columns; ++x) {
        uint8_t* target = to[x] + toOffset;
        for (int64_t k = 0; k < rows; ++k)
            pixel.Move(from[k] + x * pixel.FromSize(), target + k * pixel.ToSize());
    }
}

}  // namespace trv
