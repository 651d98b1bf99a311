#include "platform/graphics.h"

namespace trv {

namespace {

constexpr int32_t kGdiPlusNotImplemented = 6;

}  // namespace

bool LoadGdiPlus() {
    return false;
}

int32_t LockGdiPlusBitmap(void* /*bitmap*/, uint32_t /*mode*/, int32_t /*pixelFormat*/,
                          GdiPlusBitmapData* /*data*/) {
    return kGdiPlusNotImplemented;
}

void UnlockGdiPlusBitmap(void* /*bitmap*/, void* /*data*/) {}

int32_t GdiPlusPixelFormat(void* /*bitmap*/) {
    return 0;
}

bool DescribeWin32Bitmap(void* /*handle*/, Win32Bitmap& /*description*/) {
    return false;
}

}  // namespace trv
