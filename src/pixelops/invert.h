#pragma once

// The complement of the pixels of a rectangle.

#include <cstdint>

#include "frame/host_types.h"

namespace trv {

/// Complements every channel, alpha included, inside the rectangle (pixels, clipped to the image); of 16-bit
/// gray the whole sample. Bytes that belong to no channel and images outside the families stay as they are.
void rbInvert(HostObject me, int64_t x, int64_t y, int64_t width, int64_t height);

/// The same over the whole image.
void rbInvertAll(HostObject me);

}  // namespace trv
