#pragma once

// Two pictures, or a picture and a colour, mixed by a mask into a third.

#include <cstdint>

#include "frame/host_types.h"

namespace trv {

/// Writes to `result`, inside a rectangle of the source (pixels, clipped to it), the source where the mask is
/// 0 and `dest`, or without one the colour, where it is 255; without a mask the source. All pictures lie at
/// the same coordinates, are gray or RGB and at least as large as the source. Only colour channels are read
/// and written; an RGB mask counts by its brightness. False, with nothing changed, if a picture does not
/// serve or the rectangle is empty.
Boolean rbBlendPicturesWithMaskWithBackground5(HostObject source, HostObject dest, HostObject mask,
                                               HostObject result, uint32_t backgroundColour, int64_t x,
                                               int64_t y, int64_t width, int64_t height);

/// The same over the whole source.
Boolean rbBlendPicturesWithMaskWithBackground(HostObject source, HostObject dest, HostObject mask,
                                              HostObject result, uint32_t backgroundColour);

}  // namespace trv
