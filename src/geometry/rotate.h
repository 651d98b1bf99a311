#pragma once

// Turns by any angle into a new, larger image.

#include <cstdint>

#include "frame/host_types.h"

namespace trv {

/// Turns the image counter-clockwise by `angle` degrees and fills the corners with the background, of which
/// every channel is used as one byte. What is beyond half a right angle is a right-angle turn; the rest, at
/// most 45 degrees, is three shears. The result has a reference for the caller: a new image, or for an angle
/// of 0 the image itself. Nil for an angle that is no finite number, for an image that is not valid, closed
/// or without layout family, and without memory.
HostObject rbRotate(HostObject me, double angle, int64_t red, int64_t green, int64_t blue, int64_t alpha,
                    int64_t gray, int64_t cyan, int64_t magenta, int64_t yellow, int64_t black);

}  // namespace trv
