#include "bridge/gdi_plus_bits.h"

#include <cstdlib>
#include <utility>

#include "frame/debug_log.h"

namespace trv {

namespace {

// A pixel format holds an index in its low byte, the bits of a pixel in the next, and these flags above.
constexpr int32_t kIndexed = 0x10000;
constexpr int32_t kGdi = 0x20000;
constexpr int32_t kAlpha = 0x40000;
constexpr int32_t kPremultiplied = 0x80000;
constexpr int32_t kExtended = 0x100000;
constexpr int32_t kCanonical = 0x200000;

constexpr int32_t Format(int32_t index, int32_t bits, int32_t flags) {
    return index | bits << 8 | flags;
}
static_assert(Format(10, 32, kAlpha | kGdi | kCanonical) == PixelFormat32bppARGB);
static_assert(Format(11, 32, kAlpha | kGdi | kPremultiplied) == PixelFormat32bppPARGB);

struct FormatName {
    int32_t format;
    const char* name;
};
constexpr FormatName kFormatNames[] = {
    {Format(1, 1, kIndexed | kGdi), "PixelFormat1bppIndexed"},
    {Format(2, 4, kIndexed | kGdi), "PixelFormat4bppIndexed"},
    {Format(3, 8, kIndexed | kGdi), "PixelFormat8bppIndexed"},
    {Format(4, 16, kExtended), "PixelFormat16bppGrayScale"},
    {Format(5, 16, kGdi), "PixelFormat16bppRGB555"},
    {Format(6, 16, kGdi), "PixelFormat16bppRGB565"},
    {Format(7, 16, kAlpha | kGdi), "PixelFormat16bppARGB1555"},
    {Format(8, 24, kGdi), "PixelFormat24bppRGB"},
    {Format(9, 32, kGdi), "PixelFormat32bppRGB"},
    {PixelFormat32bppARGB, "PixelFormat32bppARGB"},
    {PixelFormat32bppPARGB, "PixelFormat32bppPARGB"},
    {Format(12, 48, kExtended), "PixelFormat48bppRGB"},
    {Format(13, 64, kAlpha | kCanonical | kExtended), "PixelFormat64bppARGB"},
    {Format(14, 64, kAlpha | kPremultiplied | kExtended), "PixelFormat64bppPARGB"},
    {Format(15, 32, 0), "PixelFormat32bppCMYK"},
};

}  // namespace

GdiPlusBits::GdiPlusBits(void* bitmap)
    : bitmap_(bitmap), data_(static_cast<GdiPlusBitmapData*>(std::calloc(1, sizeof(GdiPlusBitmapData)))) {}

GdiPlusBits::~GdiPlusBits() {
    if (locked_) UnlockGdiPlusBitmap(bitmap_, data_);
    std::free(data_);
}

bool GdiPlusBits::Lock(const std::array<GdiPlusAttempt, 3>& attempts) {
    int32_t status = kGdiPlusInvalidParameter;
    for (const GdiPlusAttempt& attempt : attempts) {
        if (attempt.announcement != nullptr) TRV_LOG(attempt.announcement);
        status = LockGdiPlusBitmap(bitmap_, attempt.mode, attempt.pixelFormat, data_);
        if (status != kGdiPlusInvalidParameter) break;
    }
    locked_ = status == kGdiPlusOk;
    return locked_;
}

GdiPlusBitmapData* GdiPlusBits::Release() {
    locked_ = false;
    return std::exchange(data_, nullptr);
}

const char* GdiPlusPixelFormatName(int32_t pixelFormat) {
    for (const FormatName& entry : kFormatNames) {
        if (entry.format == pixelFormat) return entry.name;
    }
    return "PixelFormatUndefined";
}

}  // namespace trv
