#pragma once

// The dither filter: fewer levels, with thresholds that repeat across the picture.

#include <cstdint>

#include "frame/host_types.h"

namespace trv {

/// Reduces each channel of a gray or RGB picture, alpha included, to `levels` evenly spaced levels, 2 to 256;
/// others give nil. `matrix` is a number of 1 to 10; for others, and for other layouts, the destination comes
/// back unwritten, whatever `levels` is. A
/// sample above its threshold takes the lower of two levels, so that two levels give a negative.
///
/// Gives the destination, `dest` or a new image, with one reference for the caller, or nil with the reason in
/// the log. The destination may be the source.
HostObject rbDitherFilter(HostObject me, HostObject dest, int64_t matrix, int64_t levels);

}  // namespace trv
