#pragma once

// Scaling to the nearest pixel in one pass, without tables.

#include <cstdint>

#include "frame/host_types.h"

namespace trv {

/// Writes the source, scaled to `width` by `height` pixels or to the size of `me` where that is less, into
/// `me`: each pixel is the one of the source that its left upper corner falls into. Layouts are converted as
/// CopyPixels does it. False, with nothing changed, for images that are nil, invalid, closed or of 16 bits,
/// for a size below 1, and for pairs of layouts without a way.
Boolean rbScaleFast(HostObject me, HostObject source, int64_t width, int64_t height);

}  // namespace trv
