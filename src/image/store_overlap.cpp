#include "image/store_overlap.h"

#include <algorithm>
#include <limits>

#include "image/checked_math.h"
#include "image/row_readers.h"

namespace trv {

namespace {

/// Addresses from the first to behind the last byte of what an image in memory may touch.
struct AddressRange {
    uintptr_t begin = UINTPTR_MAX;
    uintptr_t end = 0;
};

/// Bytes of a row that an image may touch; views and programs can move the channels behind the pixels.
int64_t BytesInReach(const PictureTRV& record) {
    int64_t offset = 0;
    for (const ChannelField& field : kChannelFields)
        offset = std::max(offset, record.*field.offset);
    const int64_t lastPixel = SaturatedMultiply(record.Width - 1, record.PixelSize);
    const int64_t sampleBytes = record.BitsPerComponent > 8 ? 2 : 1;
    return SaturatedAdd(lastPixel, std::max(record.PixelSize, SaturatedAdd(offset, sampleBytes)));
}

AddressRange RangeOf(PictureTRV& record) {
    const auto bytes = static_cast<uintptr_t>(BytesInReach(record));
    // Rows that a table holds can lie anywhere; of others the first and the last are the outermost.
    const int64_t step = IsLinear(record) ? std::max<int64_t>(record.Height - 1, 1) : 1;
    AddressRange range;
    for (int64_t y = 0; y < record.Height; y += step) {
        const auto row = reinterpret_cast<uintptr_t>(FetchRow(record, y));
        if (row == 0) continue;
        range.begin = std::min(range.begin, row);
        range.end = std::max(range.end, row + bytes);
    }
    return range;
}

}  // namespace

bool IsRowTable(const PictureTRV& record) {
    return record.GetRow == &GetRowGDImage || record.GetRow == &GetRowGDImageMirrored;
}

bool IsLinear(const PictureTRV& record) {
    return record.GetRow == &GetRowLinear || record.GetRow == &GetRowLinearMirrored;
}

bool MayShareMemory(PictureTRV& a, PictureTRV& b) {
    if (&a == &b) return true;
    // Windows of one file lie at addresses of their own.
    if (a.IsMapping != 0 || b.IsMapping != 0) {
        return a.IsMapping != 0 && b.IsMapping != 0 && a.WindowMapHandle == b.WindowMapHandle;
    }
    if (IsRowTable(a) && IsRowTable(b)) return a.tpixels == b.tpixels;
    const AddressRange rangeA = RangeOf(a);
    const AddressRange rangeB = RangeOf(b);
    return rangeA.begin < rangeB.end && rangeB.begin < rangeA.end;
}

bool RowsMayOverlap(const PictureTRV& record) {
    if (IsRowTable(record)) return false;
    const int64_t distance = record.RowSize < 0 ? SaturatedSubtract(0, record.RowSize) : record.RowSize;
    return distance < BytesInReach(record);
}

bool OrderMatters(PictureTRV& from, PictureTRV& to) {
    return RowsMayOverlap(to) || MayShareMemory(from, to);
}

int64_t RowsInReach(const PictureTRV& record) {
    if (record.IsMapping == 0) return std::numeric_limits<int64_t>::max();
    return std::max<int64_t>(record.MappingRows - 2, 1);
}

}  // namespace trv
