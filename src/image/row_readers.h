#pragma once

// The row readers of images whose rows stay where they are. Each has a mirrored partner that counts rows from
// the bottom, so that a mirror costs no copy. Rows count from the top of the view.

#include "image/picture_record.h"

namespace trv {

/// Rows at a fixed distance from RowBuffer. Tests nothing: a row outside the image gives an address outside
/// the store.
uint8_t* GetRowLinear(PictureTRV* record, int64_t y);
uint8_t* GetRowLinearMirrored(PictureTRV* record, int64_t y);

/// Rows of a gd picture, through its table of row pointers. Null, with a diagnostic, for a row outside the
/// store.
uint8_t* GetRowGDImage(PictureTRV* record, int64_t y);
uint8_t* GetRowGDImageMirrored(PictureTRV* record, int64_t y);

/// Row `y` through the record's reader; null too once the image was closed, which can happen while the host
/// has its time.
[[nodiscard]] inline uint8_t* FetchRow(PictureTRV& record, int64_t y) {
    return record.GetRow == nullptr ? nullptr : record.GetRow(&record, y);
}

}  // namespace trv
