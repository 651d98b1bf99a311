#pragma once

// Turns pixel by pixel in the defined order, for images that share their memory: there a pixel that is read
// may have been written before.

#include <cstdint>

#include "geometry/pixel_map.h"

namespace trv {

/// Which way a turn goes: by 90, 180 or 270 degrees, counter-clockwise.
enum class Turn { Left, Half, Right };

/// The order of the pixels of a turn.
struct TurnOrder {
    Turn turn;
    int64_t edge;  // of the tiles that a quarter turn goes by; 0 for row by row
};

/// Moves what finds its place in `dest`.
void PlainTurn(PictureTRV& source, PictureTRV& dest, const PixelMap& map, TurnOrder order);

}  // namespace trv
