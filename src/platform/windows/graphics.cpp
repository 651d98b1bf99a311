#include "platform/graphics.h"

#include <windows.h>

namespace trv {

namespace {

// The flat functions of GDI+ as this file calls them; a rectangle of null is the whole bitmap.
using LockBits = int(WINAPI*)(void* bitmap, const void* rectangle, UINT flags, INT format,
                              GdiPlusBitmapData* data);
using UnlockBits = int(WINAPI*)(void* bitmap, void* data);
using GetPixelFormat = int(WINAPI*)(void* image, INT* format);

constexpr int kGdiPlusNotImplemented = 6;

struct GdiPlus {
    LockBits lockBits = nullptr;
    UnlockBits unlockBits = nullptr;
    GetPixelFormat getPixelFormat = nullptr;

    GdiPlus() {
        // The host has started GDI+ already if it has such pictures; the library stays for the process.
        const HMODULE library = LoadLibraryA("Gdiplus");
        if (library == nullptr) return;
        Find(library, "GdipBitmapLockBits", lockBits);
        Find(library, "GdipBitmapUnlockBits", unlockBits);
        Find(library, "GdipGetImagePixelFormat", getPixelFormat);
    }

    template <class Function>
    static void Find(HMODULE library, const char* name, Function& function) {
        function = reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(library, name)));
    }
};

/// Loaded on first use.
const GdiPlus& Functions() {
    static const GdiPlus functions;
    return functions;
}

}  // namespace

GdiPlusFaults gdiPlusFaults;

bool LoadGdiPlus() {
    return Functions().lockBits != nullptr && Functions().unlockBits != nullptr;
}

int32_t LockGdiPlusBitmap(void* bitmap, uint32_t mode, int32_t pixelFormat, GdiPlusBitmapData* data) {
    if (!LoadGdiPlus()) return kGdiPlusNotImplemented;
    if (gdiPlusFaults.refusedLocks > 0) {
        --gdiPlusFaults.refusedLocks;
        return kGdiPlusInvalidParameter;
    }
    return Functions().lockBits(bitmap, nullptr, mode, pixelFormat, data);
}

void UnlockGdiPlusBitmap(void* bitmap, void* data) {
    if (LoadGdiPlus()) Functions().unlockBits(bitmap, data);
}

int32_t GdiPlusPixelFormat(void* bitmap) {
    INT format = 0;
    const GetPixelFormat getPixelFormat = Functions().getPixelFormat;
    if (getPixelFormat == nullptr || getPixelFormat(bitmap, &format) != kGdiPlusOk) return 0;
    return format;
}

bool DescribeWin32Bitmap(void* handle, Win32Bitmap& description) {
    BITMAP bitmap{};
    static_assert(sizeof bitmap == 32);
    // Of another kind of object the system fills in less.
    if (GetObjectW(handle, sizeof bitmap, &bitmap) != static_cast<int>(sizeof bitmap)) return false;
    description = {.width = bitmap.bmWidth,
                   .height = bitmap.bmHeight,
                   .rowBytes = bitmap.bmWidthBytes,
                   .bitsPerPixel = bitmap.bmBitsPixel,
                   .bits = static_cast<uint8_t*>(bitmap.bmBits)};
    return true;
}

}  // namespace trv
