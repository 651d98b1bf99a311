#pragma once

// Colours multiplied by their alpha, and back.

#include <cstdint>

#include "frame/host_types.h"

namespace trv {

/// Multiplies the colour channels inside the rectangle (pixels, clipped to the image) by alpha / 255,
/// rounded; alpha stays. Nothing happens to images that are not valid or have no alpha.
void rbMultiply(HostObject me, int64_t x, int64_t y, int64_t width, int64_t height);
void rbMultiplyAll(HostObject me);

/// Gives each colour the highest value that multiplies to it. A colour above its alpha, to which none does,
/// stays as it is.
void rbUnmultiply(HostObject me, int64_t x, int64_t y, int64_t width, int64_t height);
void rbUnmultiplyAll(HostObject me);

/// What serves in place of the tables where there are none. The second has no bound and wraps: a colour above
/// its alpha gives more than 255.
[[nodiscard]] uint8_t MultipliedDirectly(uint8_t value, uint8_t alpha);
[[nodiscard]] uint8_t UnmultipliedDirectly(uint8_t value, uint8_t alpha);

}  // namespace trv
