#pragma once

// The system's own pictures, where it has them: GDI+ bitmaps, reached by name so that nothing links to GDI+,
// and Win32 bitmaps. On a system without them every function answers that there is nothing.

#include <cstdint>

namespace trv {

/// Lock modes of a GDI+ bitmap, and the two pixel formats that are asked for.
enum GdiPlusLockMode : uint32_t { kGdiPlusRead = 1, kGdiPlusWrite = 2 };
inline constexpr int32_t PixelFormat32bppPARGB = 925707;
inline constexpr int32_t PixelFormat32bppARGB = 2498570;
inline constexpr int32_t kGdiPlusOk = 0;
inline constexpr int32_t kGdiPlusInvalidParameter = 2;

/// What a lock gives, in GDI+'s own layout.
struct GdiPlusBitmapData {
    uint32_t width;
    uint32_t height;
    int32_t stride;  // bytes from one row to the next; negative when rows run upwards
    int32_t pixelFormat;
    void* scan0;  // first row
    uintptr_t reserved;
};
static_assert(sizeof(GdiPlusBitmapData) == 32);

/// Whether GDI+ is there; tried once.
[[nodiscard]] bool LoadGdiPlus();

/// Locks the whole bitmap; the result is GDI+'s status. `data` must stay until the bitmap is unlocked.
[[nodiscard]] int32_t LockGdiPlusBitmap(void* bitmap, uint32_t mode, int32_t pixelFormat,
                                        GdiPlusBitmapData* data);

/// Makes the next locks fail as those of a bitmap that cannot be had in the format or for the mode that was
/// asked for, so that a test can see what is tried then: there are such bitmaps, but nobody can make one at
/// will.
struct GdiPlusFaults {
    int refusedLocks = 0;
};
extern GdiPlusFaults gdiPlusFaults;

/// Ends a lock; no effect where GDI+ was never loaded.
void UnlockGdiPlusBitmap(void* bitmap, void* data);

/// The bitmap's own pixel format, 0 if it cannot be had.
[[nodiscard]] int32_t GdiPlusPixelFormat(void* bitmap);

struct Win32Bitmap {
    int64_t width;
    int64_t height;
    int64_t rowBytes;
    int64_t bitsPerPixel;
    uint8_t* bits;  // null for a bitmap whose pixels are not in memory
};

/// Describes an HBITMAP; false if the system does not know it.
[[nodiscard]] bool DescribeWin32Bitmap(void* handle, Win32Bitmap& description);

}  // namespace trv
