#pragma once

// Turns by right angles into another image: exact, lossless rearrangements of pixels. Positive angles turn
// counter-clockwise.
//
// All of them give `dest` with a reference for the caller, or, for nil, a new image of the turned size in the
// format of the source; nil for an image that is not valid, closed or of 16 bits, and without a destination.
// A source without layout family gives a destination with no pixel moved. Of a destination of another size
// the part that the turned image covers is written.

#include "frame/host_types.h"

namespace trv {

/// dest(W - 1 - x, H - 1 - y) = me(x, y)
HostObject rbRotate180(HostObject me, HostObject dest);
/// dest(y, W - 1 - x) = me(x, y)
HostObject rbRotate90(HostObject me, HostObject dest);
/// dest(H - 1 - y, x) = me(x, y)
HostObject rbRotate270(HostObject me, HostObject dest);
/// The same as the two before. They differ only within one image's own pixels, which are read after some of
/// them were written: here row by row, there tile by tile.
HostObject rbRotate90slow(HostObject me, HostObject dest);
HostObject rbRotate270slow(HostObject me, HostObject dest);

}  // namespace trv
