// gd images of libgd, and no other storage of the platform's own.

#include <cstddef>
#include <gd.h>
#include <new>

#include "picture_store.h"

namespace trvhost {

// What plug-ins rely on, and what the stand-in for other platforms keeps to.
static_assert(offsetof(gdImage, sx) == 8);
static_assert(offsetof(gdImage, trueColor) == 7248);
static_assert(offsetof(gdImage, tpixels) == 7256);

GdImageFields CreateGdImage(int64_t width, int64_t height, bool trueColor) {
    const int w = static_cast<int>(width), h = static_cast<int>(height);
    gdImagePtr image = trueColor ? gdImageCreateTrueColor(w, h) : gdImageCreate(w, h);
    if (image == nullptr) throw std::bad_alloc();
    if (!trueColor) {
        for (int gray = 0; gray < 256; ++gray)
            gdImageColorAllocate(image, gray, gray, gray);
    }
    return {image, image->pixels, image->tpixels};
}

void DestroyGdImage(void* image) {
    gdImageDestroy(static_cast<gdImagePtr>(image));
}

std::unique_ptr<PictureStore> MakePlatformStore(PictureStorage, int64_t, int64_t, bool) {
    return nullptr;
}

PictureStorage DesktopStorage(bool) {
    return PictureStorage::Packed32;
}

}  // namespace trvhost
