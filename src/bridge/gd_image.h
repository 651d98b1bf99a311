#pragma once

// The picture of a console host: an image of libgd 2.x, in that library's own layout, of which only the
// fields up to the row pointers are needed.

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace trv {

inline constexpr int kGdColors = 256;

struct GdImage {
    uint8_t** pixels;  // rows of palette indices; null for true colour
    int32_t sx;        // size in pixels
    int32_t sy;
    int32_t colorsTotal;
    int32_t red[kGdColors];
    int32_t green[kGdColors];
    int32_t blue[kGdColors];
    int32_t open[kGdColors];
    int32_t transparent;
    int32_t* polyInts;
    int32_t polyAllocated;
    GdImage* brush;
    GdImage* tile;
    int32_t brushColorMap[kGdColors];
    int32_t tileColorMap[kGdColors];
    int32_t styleLength;
    int32_t stylePos;
    int32_t* style;
    int32_t interlace;
    int32_t thick;
    int32_t alpha[kGdColors];
    int32_t trueColor;  // 0 for a palette
    int32_t** tpixels;  // rows of words; null for a palette
};
static_assert(offsetof(GdImage, polyInts) == 4120 && offsetof(GdImage, style) == 6208 &&
              offsetof(GdImage, trueColor) == 7248 && offsetof(GdImage, tpixels) == 7256);

/// Whether the image has rows of words.
[[nodiscard]] inline bool HasTrueColorRows(const GdImage* image) {
    return image != nullptr && image->tpixels != nullptr && image->trueColor != 0;
}

}  // namespace trv
