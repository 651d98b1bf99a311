#pragma once

// Quarter turns between images that share no memory, where the order of the pixels is free: rows are written
// a cache line at a time, and only so many of them together that the processor has their pages at hand.

#include "geometry/pixel_map.h"
#include "geometry/plain_turn.h"

namespace trv {

/// Moves what finds its place in `dest`; `turn` is Left or Right.
void FastQuarterTurn(PictureTRV& source, PictureTRV& dest, const PixelMap& map, Turn turn);

}  // namespace trv
