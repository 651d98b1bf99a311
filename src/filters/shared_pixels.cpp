#include "filters/shared_pixels.h"

#include <algorithm>
#include <cstdint>

#include "image/row_readers.h"

namespace trv {

namespace {

/// Addresses from the lowest to behind the highest byte of an image's rows.
struct Extent {
    uintptr_t begin = UINTPTR_MAX;
    uintptr_t end = 0;
};

Extent ExtentOf(PictureTRV& image) {
    Extent extent;
    const auto rowSize = static_cast<uintptr_t>(image.RowSize);
    const uintptr_t reach = image.RowSize < 0 ? 0 - rowSize : rowSize;  // rows can run upwards
    for (int64_t y = 0; y < image.Height; ++y) {
        const auto row = reinterpret_cast<uintptr_t>(FetchRow(image, y));
        if (row == 0) continue;
        extent.begin = std::min(extent.begin, row);
        extent.end = std::max(extent.end, row + reach);
    }
    return extent;
}

}  // namespace

bool SharesPixels(PictureTRV& dest, PictureTRV& source) {
    if (&dest == &source) return true;
    if (dest.IsMapping != 0 || source.IsMapping != 0) {
        // Windows of one file lie at addresses of their own.
        return dest.IsMapping != 0 && source.IsMapping != 0 && dest.WindowMapHandle == source.WindowMapHandle;
    }
    const Extent a = ExtentOf(dest);
    const Extent b = ExtentOf(source);
    return a.begin < b.end && b.begin < a.end;
}

}  // namespace trv
