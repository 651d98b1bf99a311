#pragma once

// The pixels of a GDI+ bitmap, locked in the first way that GDI+ accepts, and unlocked by whoever holds them
// last.

#include <array>
#include <cstdint>

#include "platform/graphics.h"

namespace trv {

/// One way to lock a bitmap, and the line that announces it in the log, or null.
struct GdiPlusAttempt {
    uint32_t mode;
    int32_t pixelFormat;
    const char* announcement;
};

/// Holds the lock on a bitmap's bits, or none.
class GdiPlusBits {
  public:
    /// Prepares for `bitmap`, of which nothing is locked yet.
    explicit GdiPlusBits(void* bitmap);
    ~GdiPlusBits();
    GdiPlusBits(const GdiPlusBits&) = delete;
    GdiPlusBits& operator=(const GdiPlusBits&) = delete;

    /// Whether there was memory for the block of the lock.
    [[nodiscard]] bool HasBlock() const { return data_ != nullptr; }
    /// Tries the ways in their order for as long as GDI+ finds the parameters invalid; false when it refuses.
    [[nodiscard]] bool Lock(const std::array<GdiPlusAttempt, 3>& attempts);
    [[nodiscard]] const GdiPlusBitmapData& Data() const { return *data_; }
    /// Leaves the unlocking to the caller, and after it the block, which comes from malloc.
    [[nodiscard]] GdiPlusBitmapData* Release();

  private:
    void* bitmap_;
    GdiPlusBitmapData* data_;
    bool locked_ = false;
};

/// Name of a pixel format of GDI+'s, for the log.
[[nodiscard]] const char* GdiPlusPixelFormatName(int32_t pixelFormat);

}  // namespace trv
