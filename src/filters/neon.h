#pragma once

// The neon filter: how steeply a picture changes.

#include "frame/host_types.h"

namespace trv {

/// Each sample, alpha and inks included, becomes the length of its gradient towards the right and below,
/// times the square root of 2, at most 255. Below the last row there is black; right of the last pixel there
/// is whatever the row has behind it, or black.
///
/// Gives the destination, `dest` or a new image, with one reference for the caller, or nil with the reason in
/// the log. The destination may be the source. Without memory nothing is written.
HostObject rbNeonFilter(HostObject me, HostObject dest);

}  // namespace trv
