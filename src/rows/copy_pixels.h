#pragma once

// Copies of rectangles from one image into another, with conversion of the layout and without blending.

#include <cstdint>

#include "frame/host_types.h"

namespace trv {

/// Copies a rectangle of `source`, from (sourceX, sourceY) on, to (destX, destY) in `me`; pixels, clipped to
/// both. Alpha is copied where both have it and left alone elsewhere. False, with nothing changed, for a nil,
/// invalid or closed image, an empty rectangle, RGB with CMYK, and layouts without colour class.
Boolean rbCopyPixels(HostObject me, HostObject source, int64_t destX, int64_t destY, int64_t width,
                     int64_t height, int64_t sourceX, int64_t sourceY);

/// The same from the source's origin.
Boolean rbCopyPixelsFromOrigin(HostObject me, HostObject source, int64_t destX, int64_t destY, int64_t width,
                               int64_t height);

/// The same over the whole of the receiver.
Boolean rbCopyPixelsAll(HostObject me, HostObject source);

}  // namespace trv
