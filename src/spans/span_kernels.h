#pragma once

// Vectorised work on runs of bytes, compiled once per instruction set. A kernel does as many whole groups as
// fit and says how many pixels that were; the rest is left to the plain form.

#include <cstdint>

namespace trv {

/// How 16 bytes of a destination are made from 16 bytes of a source.
struct ByteShuffle {
    uint8_t from[16];   // index of the source byte; 128 for zero
    uint8_t flip[16];   // 255 for the complement
    uint8_t write[16];  // 255 for a byte that is written, 0 for one that keeps its value
    int64_t fromBytes;  // source bytes from one group to the next
    int64_t toBytes;    // destination bytes from one group to the next
    bool writesAll;     // every byte below toBytes is written
};

struct SpanKernels {
    /// Moves `groups` groups through the shuffle; reads 16 bytes at each group's source, reads and writes 16
    /// at its target, so the caller leaves as much room. What is written beyond a group's bytes is written
    /// again by the next.
    void (*shuffle)(const uint8_t* from, uint8_t* to, int64_t groups, const ByteShuffle& shuffle);
    /// The same with `parts` shuffles of one 16 bytes of the source into as many 16 bytes of the destination.
    void (*spread)(const uint8_t* from, uint8_t* to, int64_t groups, const ByteShuffle* shuffles, int parts);
    /// Brightness (77 red + 151 green + 28 blue) >> 8 of `groups` groups of 32 pixels of 3 or 4 bytes into
    /// bytes; `weights` are those of the four bytes of a pixel, 0 to 255, of a sum of 256.
    void (*luma)(const uint8_t* from, int64_t pixelSize, uint8_t* to, int64_t groups,
                 const uint8_t (&weights)[4]);
};

/// The kernels of the instruction set in use, null where it has none.
[[nodiscard]] const SpanKernels* ActiveSpanKernels();

extern const SpanKernels kSpanKernelsAvx2;

}  // namespace trv
