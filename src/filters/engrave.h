#pragma once

// The engraving filter: the difference of a picture from a displaced copy of itself.

#include <cstdint>

#include "frame/host_types.h"

namespace trv {

/// Each sample of a gray or RGB picture, alpha included, becomes its difference from the one `level` pixels
/// to the right and below (left and above for a negative level; at the picture's edge the last one there),
/// plus 128, kept within 0..255.
///
/// Gives the destination, `dest` or a new image, with one reference for the caller, or nil with the reason in
/// the log. In a destination that shows the source's pixels a sample can meet what was written already, in
/// reading order.
HostObject rbEngraveFilter(HostObject me, HostObject dest, int64_t level);

}  // namespace trv
