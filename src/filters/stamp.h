#pragma once

// The stamp filter: a blurred picture in two colours.

#include <cstdint>

#include "frame/host_types.h"

namespace trv {

/// Blurs a gray or RGB picture three times with a third of `radius`, and turns each channel into `black`
/// where it is low and `white` where it is high. The step lies at `threshold` and is `softness` wide, both of
/// 0..1. Colours are 0x00RRGGBB; a gray picture takes their green. Alpha is not written.
///
/// Gives a new image of the factory's with one reference for the caller, or nil, also where the blur gives
/// nil. `dest` receives what the first of the blurs gives, or is nil.
HostObject rbStampFilter(HostObject me, HostObject dest, double radius, double threshold, double softness,
                         uint32_t black, uint32_t white);

}  // namespace trv
