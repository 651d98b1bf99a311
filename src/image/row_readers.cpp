#include "image/row_readers.h"

#include "frame/debug_log.h"
#include "image/checked_math.h"

namespace trv {

namespace {

/// The row that stands in the mirrored order at place `y`.
int64_t MirroredRow(const PictureTRV& record, int64_t y) {
    return SaturatedSubtract(SaturatedSubtract(record.Height, 1), y);
}

}  // namespace

uint8_t* GetRowLinear(PictureTRV* record, int64_t y) {
    // Of a row far outside, as an empty view can have one, the address is a number that nobody follows.
    const auto row = static_cast<uintptr_t>(record->RowOffset) + static_cast<uintptr_t>(y);
    return reinterpret_cast<uint8_t*>(reinterpret_cast<uintptr_t>(record->RowBuffer) +
                                      row * static_cast<uintptr_t>(record->RowSize));
}

uint8_t* GetRowLinearMirrored(PictureTRV* record, int64_t y) {
    return GetRowLinear(record, MirroredRow(*record, y));
}

uint8_t* GetRowGDImage(PictureTRV* record, int64_t y) {
    const int64_t index = SaturatedAdd(record->RowOffset, y);
    if (index < 0) {
        TRV_LOG("Error: index<0 in GetRowGDImage!");
        return nullptr;
    }
    if (index >= record->UnclippedHeight) {
        TRV_LOG("Error: index>=Height in GetRowGDImage!");
        TRV_LOG("index", index);
        TRV_LOG("OffsetRow", record->RowOffset);
        TRV_LOG("Height", record->Height);
        TRV_LOG("TotalHeight", record->UnclippedHeight);
        return nullptr;
    }
    if (record->tpixels == nullptr) {
        TRV_LOG("Error: tpixels is nil in GetRowGDImage!");
        return nullptr;
    }
    return reinterpret_cast<uint8_t*>(record->tpixels[index]);
}

uint8_t* GetRowGDImageMirrored(PictureTRV* record, int64_t y) {
    return GetRowGDImage(record, MirroredRow(*record, y));
}

}  // namespace trv
