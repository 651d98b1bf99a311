#pragma once

// The box blur: the mean of the square of 2r + 1 pixels around each pixel, formed of a vertical and a
// horizontal pass, each of which can be left out. Pixels beyond an edge repeat it. All channels of the layout
// are treated alike, alpha too. Means are truncated, and what the vertical pass gives is a byte when the
// horizontal one reads it.

#include <cstdint>

#include "frame/host_types.h"

namespace trv {

/// Blurs `me` into `dest`, or into a new image like it for nil, with r = `radius` without its fraction; the
/// result comes with a reference for the caller. A radius below 1 has a window of one pixel and still divides
/// by 3. Nil, with nothing written, for an image that a filter refuses and, where there is something to be
/// blurred, for a radius of -1 or less or no number. A radius from 2^35 on leaves the destination as it is,
/// and so does a lack of memory. With both passes off nothing is written. If `dest` shows the pixels of `me`,
/// the passes read what they have written.
HostObject rbBoxBlurFilter(HostObject me, HostObject dest, double radius, Boolean vertical,
                           Boolean horizontal);

/// The same `iterations` times, one on the other: the first one into `dest`, each further one into a new
/// image of the factory's. Gives `me` itself for less than one. Nil as soon as one of them is nil. Beyond a
/// thousand it ends as soon as one more changes nothing.
HostObject rbBoxBlurFilterIterations(HostObject me, HostObject dest, double radius, int64_t iterations,
                                     Boolean vertical, Boolean horizontal);

}  // namespace trv
