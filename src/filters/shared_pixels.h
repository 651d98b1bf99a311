#pragma once

// Whether a destination and its source are the same pixels. Then what a filter reads can be what it has
// already written, and only the defined order of reading and writing, pixel by pixel, gives the defined
// result.

#include "image/picture_record.h"

namespace trv {

/// Whether writing to `dest` can change what is read from `source`: the same image, two views of one store,
/// two images over the same memory. Where rows lie scattered the answer can be true without need; it is never
/// false in error, as long as no program keeps the address of a mapped image's window.
[[nodiscard]] bool SharesPixels(PictureTRV& dest, PictureTRV& source);

}  // namespace trv
