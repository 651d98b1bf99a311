#pragma once

// The stretch of an RGB image's tonal range.

#include <cstdint>

#include "frame/host_types.h"

namespace trv {

/// Cuts half a percent of the pixels of the rectangle (pixels, clipped to the image) at either end of their
/// brightness and stretches what lies between over all values, the same for the three colours. A rectangle of
/// one brightness turns white, or stays black. False, with nothing changed, for images that are not valid or
/// not RGB, 16-bit samples and an empty rectangle.
Boolean rbAutoLevel(HostObject me, int64_t x, int64_t y, int64_t width, int64_t height);

/// The same over the whole image.
Boolean rbAutoLevelAll(HostObject me);

}  // namespace trv
