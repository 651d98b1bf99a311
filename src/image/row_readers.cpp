#include "image/row_readers.h"

#include "frame/debug_log.h"

namespace trv {

uint8_t* GetRowLinear(PictureTRV* record, int64_t y) {
    return record->RowBuffer + (record->RowOffset + y) * record->RowSize;
}

uint8_t* GetRowLinearMirrored(PictureTRV* record, int64_t y) {
    return GetRowLinear(record, record->Height - 1 - y);
}

uint8_t* GetRowGDImage(PictureTRV* record, int64_t y) {
    const int64_t index = record->RowOffset + y;
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
    return GetRowGDImage(record, record->Height - 1 - y);
}

}  // namespace trv
