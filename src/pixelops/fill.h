#pragma once

// The fill family: a value, a colour, noise or zeros into a rectangle. Rectangles are in pixels and clipped
// to the image; a form without one takes the whole image. Values and alphas are written as their low byte; a
// colour is 0x00RRGGBB. An invalid image, an empty rectangle or a layout that does not fit leaves the pixels
// alone. Only the applying forms answer: false for an invalid or closed image and for layouts other than RGB
// and gray.

#include <cstdint>

#include "frame/host_types.h"

namespace trv {

/// One value into every channel; into alpha too.
void rbFillRect(HostObject me, int64_t x, int64_t y, int64_t width, int64_t height, int64_t value);
void rbFillRectAll(HostObject me, int64_t value);

/// One value into the colour channels, another into alpha where there is one.
void rbFillRectAlpha(HostObject me, int64_t x, int64_t y, int64_t width, int64_t height, int64_t value,
                     int64_t alpha);
void rbFillRectAlphaAll(HostObject me, int64_t value, int64_t alpha);

/// A colour into red, green and blue, which must all be there; alpha and padding keep their values.
void rbFillRectRGB(HostObject me, int64_t x, int64_t y, int64_t width, int64_t height, int64_t red,
                   int64_t green, int64_t blue);
void rbFillRectRGBAll(HostObject me, int64_t red, int64_t green, int64_t blue);
void rbFillRectColor(HostObject me, int64_t x, int64_t y, int64_t width, int64_t height, uint32_t color);
void rbFillRectColorAll(HostObject me, uint32_t color);

/// The same with an alpha value, which an image without alpha ignores.
void rbFillRectRGBA(HostObject me, int64_t x, int64_t y, int64_t width, int64_t height, int64_t red,
                    int64_t green, int64_t blue, int64_t alpha);
void rbFillRectRGBAAll(HostObject me, int64_t red, int64_t green, int64_t blue, int64_t alpha);
void rbFillRectColorAlpha(HostObject me, int64_t x, int64_t y, int64_t width, int64_t height, uint32_t color,
                          int64_t alpha);
void rbFillRectColorAlphaAll(HostObject me, uint32_t color, int64_t alpha);

/// A colour blended over red, green and blue, or its brightness over gray, with weights that sum to 65535 of
/// 65536: each pass loses a little, and that is how it is meant. Alpha is left alone.
Boolean rbFillRectApply(HostObject me, int64_t x, int64_t y, int64_t width, int64_t height, int64_t red,
                        int64_t green, int64_t blue, int64_t alpha);
Boolean rbFillRectApplyAll(HostObject me, int64_t red, int64_t green, int64_t blue, int64_t alpha);
Boolean rbFillRectApplyColor(HostObject me, int64_t x, int64_t y, int64_t width, int64_t height,
                             uint32_t color, int64_t alpha);
Boolean rbFillRectApplyColorAll(HostObject me, uint32_t color, int64_t alpha);

/// A random byte of its own into every channel; the noise cannot be reproduced.
void rbFillRectRandom(HostObject me, int64_t x, int64_t y, int64_t width, int64_t height);
void rbFillRectRandomAll(HostObject me);

/// Zeros into raw rows, padding included, from the start of the stored row plus x pixels: on a view with a
/// column origin the rectangle lands left of the view. The form without a rectangle clears whole stored rows.
void rbClearRect(HostObject me, int64_t x, int64_t y, int64_t width, int64_t height);
void rbClearRectAll(HostObject me);

}  // namespace trv
