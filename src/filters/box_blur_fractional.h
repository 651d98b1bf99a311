#pragma once

// A blur of less than a pixel: each sample is mixed with its two neighbours, first above and below, then left
// and right, which weigh as much as the radius has fraction. The whole part of the radius plays no role.

#include "frame/host_types.h"

namespace trv {

/// Blurs `me` into `dest`, or into a new image like it for nil; the result comes with a reference for the
/// caller. `dest` may be `me`. A whole radius copies. At the top and right edges samples stay by themselves,
/// at the bottom and left ones a sample stands in for the neighbour that is missing; in pictures of one row
/// or column a neighbour of zeros takes part. Of CMYK images only the first byte of each pixel is blurred,
/// and alpha; other bytes are not written. Nil, with nothing written, for an image that a filter refuses and
/// for layouts without a family. Without memory nothing is written.
HostObject rbBoxBlurFractionalFilter(HostObject me, HostObject dest, double radius);

}  // namespace trv
