#pragma once

// Mirrors and the half turn within one image: exact, lossless rearrangements of its pixels. An image that is
// not valid, of 16 bits or without layout family stays as it is.

#include "frame/host_types.h"

namespace trv {

/// Swaps left and right.
void rbHMirror(HostObject me);
/// Swaps top and bottom.
void rbVMirror(HostObject me);
/// Turns by 180 degrees. The middle row of an odd height becomes the mirror of the row that was below it, and
/// an only row is cleared.
void rbRotate180Self(HostObject me);

}  // namespace trv
