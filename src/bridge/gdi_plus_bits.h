#pragma once

// The pixels of a GDI+ bitmap, locked in the first way that GDI+ accepts.

#include <array>
#include <cstdint>
#include <cstdlib>
#include <memory>

#include "platform/graphics.h"

namespace trv {

/// One way to lock a bitmap, and the line that announces it in the log, or null.
struct GdiPlusAttempt {
    uint32_t mode;
    int32_t pixelFormat;
    const char* announcement;
};

/// The block of a lock, which must stay where it is until the bitmap is unlocked. From malloc, since the
/// image record frees its own so.
struct FreeGdiPlusData {
    void operator()(GdiPlusBitmapData* data) const { std::free(data); }
};
using GdiPlusData = std::unique_ptr<GdiPlusBitmapData, FreeGdiPlusData>;

/// A zeroed block, or null when memory is short.
[[nodiscard]] GdiPlusData AllocateGdiPlusData();

/// Tries the ways in their order for as long as GDI+ finds the parameters invalid. False when it refuses; the
/// bitmap is then not locked.
[[nodiscard]] bool LockGdiPlusBits(void* bitmap, const std::array<GdiPlusAttempt, 3>& attempts,
                                   GdiPlusBitmapData* data);

/// Name of a pixel format of GDI+'s, for the log.
[[nodiscard]] const char* GdiPlusPixelFormatName(int32_t pixelFormat);

}  // namespace trv
