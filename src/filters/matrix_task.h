#pragma once

// What the two forms of the matrix filter have in common: the one work to be done, without host or frame.

#include <array>
#include <cstdint>
#include <span>

#include "filters/lanes.h"
#include "image/destination.h"
#include "image/picture_record.h"

namespace trv {

/// A matrix has room for this many entries.
inline constexpr size_t kMatrixEntries = 2500;

/// An entry that counts: how far the pixel that it weighs lies right of and below the one that is computed.
struct MatrixTap {
    int64_t right;
    int64_t below;
    int32_t weight;
};

struct MatrixTask {
    PictureTRV& source;
    PictureTRV& dest;
    PixelPlaces sourcePlaces;  // of the channels of the source's family
    PixelPlaces destPlaces;
    std::span<const MatrixTap> taps;  // row by row of the matrix
    int64_t delta;
    double factor;  // exactly 1 means that nothing is multiplied

    [[nodiscard]] bool IsScaled() const { return factor != 1.0; }
    /// The pixels that are written.
    [[nodiscard]] Rectangle Written() const { return CommonRectangle(dest, source); }
};

/// The defined order of reading and writing, pixel by pixel, for any two images and any matrix.
void ApplyMatrixPlain(const MatrixTask& task);

/// The fast form of the same; false, with nothing done, where only the plain one will do: for images that
/// share pixels, channels that share bytes, sums that leave 32 bits, a lack of memory, and an instruction set
/// without kernels.
[[nodiscard]] bool ApplyMatrixFast(const MatrixTask& task);

}  // namespace trv
