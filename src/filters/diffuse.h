#pragma once

// The diffusing filter: each pixel is one of its neighbours, by chance.

#include <cstdint>

#include "frame/host_types.h"

namespace trv {

/// Each pixel of a gray or RGB picture becomes a pixel from 3 `level` to the left (above) up to `level` to
/// the right (below), at the picture's edge the last one there. A level of 0 copies. The results cannot be
/// reproduced.
///
/// Gives the destination, `dest` or a new image, with one reference for the caller, or nil with the reason in
/// the log. Pixels go in reading order, so that in a destination that shows the source's pixels one can
/// wander.
HostObject rbDiffuseFilter(HostObject me, HostObject dest, int64_t level);

}  // namespace trv
