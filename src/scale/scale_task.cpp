#include "scale/scale_task.h"

#include <algorithm>
#include <limits>

#include "frame/debug_log.h"
#include "image/checked_math.h"
#include "image/row_readers.h"

namespace trv {

namespace {

/// Rows, out of `wanted`, that an image is asked for. Of a row table those outside are asked for too where
/// that leaves a line in the log; elsewhere nothing would come of it.
int64_t RowLimit(const PictureTRV& record, int64_t wanted) {
    if (!IsRowTable(record)) return std::min(wanted, record.Height);
    return debugFlag != 0 ? wanted : std::min(wanted, record.UnclippedHeight);
}

bool IsLinear(const PictureTRV& record) {
    return record.GetRow == &GetRowLinear || record.GetRow == &GetRowLinearMirrored;
}

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

bool MayShareMemory(PictureTRV& a, PictureTRV& b) {
    if (&a == &b) return true;
    if (a.IsMapping != 0 && b.IsMapping != 0) return a.WindowMapHandle == b.WindowMapHandle;
    if (IsRowTable(a) && IsRowTable(b)) return a.tpixels == b.tpixels;
    if (!IsLinear(a) || !IsLinear(b)) return false;
    const AddressRange rangeA = RangeOf(a);
    const AddressRange rangeB = RangeOf(b);
    return rangeA.begin < rangeB.end && rangeB.begin < rangeA.end;
}

}  // namespace

int64_t ScaleTask::TempColumns() const {
    const int64_t rowBytes = SaturatedMultiply(temp.Width, temp.PixelSize);
    return std::clamp<int64_t>(rowBytes / family.pixelBytes, 0, width);
}

int64_t ScaleTask::SourceRows() const {
    return RowLimit(temp, source.Height);
}

int64_t ScaleTask::DestinationColumns() const {
    return std::min(TempColumns(), std::max<int64_t>(destination.Width, 0));
}

int64_t ScaleTask::DestinationRows() const {
    return RowLimit(destination, height);
}

bool IsRowTable(const PictureTRV& record) {
    return record.GetRow == &GetRowGDImage || record.GetRow == &GetRowGDImageMirrored;
}

uint8_t* FetchInside(PictureTRV& record, int64_t y) {
    if (!IsRowTable(record) && (y < 0 || y >= record.Height)) return nullptr;
    return FetchRow(record, y);
}

int64_t RowsInReach(const PictureTRV& record) {
    if (record.IsMapping == 0) return std::numeric_limits<int64_t>::max();
    return std::max<int64_t>(record.MappingRows - 2, 1);
}

bool NeedsPlainOrder(PictureTRV& from, PictureTRV& to) {
    if (debugFlag != 0 && !(IsLinear(from) && IsLinear(to))) return true;
    return MayShareMemory(from, to);
}

}  // namespace trv
