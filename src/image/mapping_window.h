#pragma once

// The window of rows through which a mapped image sees its file: how large it is and where it lies. Numbers
// only; mapped_image.h moves the window.

#include <cstdint>

#include "image/picture_record.h"
#include "platform/file_mapping.h"

namespace trv {

/// Bytes that a mapping has behind the store. A view starts up to this much before its first row, and its
/// size counts from there.
inline constexpr int64_t kMappingTail = kViewAlignment;

/// Bytes of the window of an image whose program asks for `wanted` bytes: whole granules, at least a granule
/// of granules, no more than the store needs, but never less than five rows. `totalSize` and `rowSize` are
/// bytes.
[[nodiscard]] int64_t WindowBytes(int64_t wanted, int64_t totalSize, int64_t rowSize, int64_t granularity);

/// First row of the window that is to show `row`, a row of the store of a mapped image. Two rows above it are
/// shown as well, for readers that look up, and a window at the end of the store holds as many rows as it
/// can.
[[nodiscard]] int64_t FirstRowOfWindow(const PictureTRV& record, int64_t row);

/// The stretch of the mapping behind a window, in bytes.
struct WindowStretch {
    int64_t rowOffset;   // of the window's first row
    int64_t rest;        // from the start of the view to that row
    int64_t viewOffset;  // of the view, a multiple of kViewAlignment
    int64_t viewBytes;
};

/// The stretch of the window that starts at `firstRow`, a row of the store.
[[nodiscard]] WindowStretch StretchOfWindow(const PictureTRV& record, int64_t firstRow);

}  // namespace trv
