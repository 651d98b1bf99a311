#include "image/store_overlap.h"

#include <algorithm>
#include <limits>

#include "image/checked_math.h"
#include "image/row_readers.h"

namespace trv {

namespace {

/// First and end address of what an image in memory may touch.
struct AddressRange {
    uintptr_t begin;
    uintptr_t end;
};

AddressRange RangeOf(PictureTRV& record) {
    const auto first = reinterpret_cast<uintptr_t>(record.GetRow(&record, 0));
    const auto last = reinterpret_cast<uintptr_t>(record.GetRow(&record, record.Height - 1));
    int64_t offset = 0;
    for (const ChannelField& field : kChannelFields)
        offset = std::max(offset, record.*field.offset);
    const int64_t rowBytes = SaturatedAdd(SaturatedMultiply(record.Width, record.PixelSize), offset + 1);
    return {std::min(first, last), std::max(first, last) + static_cast<uintptr_t>(rowBytes)};
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
    if (a.IsMapping != 0 && b.IsMapping != 0) return a.WindowMapHandle == b.WindowMapHandle;
    if (IsRowTable(a) && IsRowTable(b)) return a.tpixels == b.tpixels;
    if (!IsLinear(a) || !IsLinear(b)) return false;
    const AddressRange rangeA = RangeOf(a);
    const AddressRange rangeB = RangeOf(b);
    return rangeA.begin < rangeB.end && rangeB.begin < rangeA.end;
}

int64_t RowsInReach(const PictureTRV& record) {
    if (record.IsMapping == 0) return std::numeric_limits<int64_t>::max();
    return std::max<int64_t>(record.MappingRows - 2, 1);
}

}  // namespace trv
