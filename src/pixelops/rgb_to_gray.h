#pragma once

// RGB pixels made gray in place.

#include <cstdint>

#include "frame/host_types.h"

namespace trv {

/// Gives red, green and blue of every pixel their gray by one of five weightings (0 to 4, see gray_modes.h);
/// alpha stays, and so does the format. False, with nothing changed, for an image that is not RGB or not
/// valid and for any other mode.
Boolean rbRGBToGray(HostObject me, int64_t mode);

}  // namespace trv
