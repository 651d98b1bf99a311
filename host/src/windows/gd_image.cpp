// A console host's images where there is no libgd: records with the fields that libgd 2 lays out before its
// `tpixels`, all that a plug-in reads of a gd image.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "picture_store.h"

namespace trvhost {

namespace {

struct GdImage {
    unsigned char** pixels;
    int sx, sy;
    int colorsTotal;
    int red[256], green[256], blue[256], open[256];
    int transparent;
    int* polyInts;
    int polyAllocated;
    GdImage* brush;
    GdImage* tile;
    int brushColorMap[256], tileColorMap[256];
    int styleLength, stylePos;
    int* style;
    int interlace;
    int thick;
    int alpha[256];
    int trueColor;
    int** tpixels;
    int alphaBlendingFlag, saveAlphaFlag, aa, aaColor, aaDontBlend;
    int clip[4];
    unsigned int resolution[2];
    int paletteQuantizationMethod, paletteQuantizationSpeed, paletteMinQuality, paletteMaxQuality;
    int interpolationId;
    void* interpolation;
};
static_assert(offsetof(GdImage, sx) == 8);
static_assert(offsetof(GdImage, trueColor) == 7248);
static_assert(offsetof(GdImage, tpixels) == 7256);

/// The record and what it points to.
struct OwnedImage {
    GdImage image{};
    std::vector<unsigned char> indices;
    std::vector<unsigned char*> indexRows;
    std::vector<int> words;
    std::vector<int*> wordRows;
};

template <class T>
T** MakeRows(std::vector<T>& pixels, std::vector<T*>& rows, int64_t width, int64_t height) {
    pixels.resize(static_cast<size_t>(width * height));
    rows.resize(static_cast<size_t>(height));
    for (int64_t y = 0; y < height; ++y)
        rows[static_cast<size_t>(y)] = pixels.data() + y * width;
    return rows.data();
}

}  // namespace

GdImageFields CreateGdImage(int64_t width, int64_t height, bool trueColor) {
    auto owned = std::make_unique<OwnedImage>();
    GdImage& image = owned->image;
    image.sx = static_cast<int>(width);
    image.sy = static_cast<int>(height);
    image.trueColor = trueColor ? 1 : 0;
    image.transparent = -1;
    image.thick = 1;
    if (trueColor) {
        image.tpixels = MakeRows(owned->words, owned->wordRows, width, height);
    } else {
        image.pixels = MakeRows(owned->indices, owned->indexRows, width, height);
        image.colorsTotal = 256;
        for (int gray = 0; gray < 256; ++gray)
            image.red[gray] = image.green[gray] = image.blue[gray] = gray;
    }
    // The record stands first, so its address is that of the whole.
    GdImage* address = &owned.release()->image;
    return {address, address->pixels, address->tpixels};
}

void DestroyGdImage(void* image) {
    delete reinterpret_cast<OwnedImage*>(image);
}

}  // namespace trvhost
