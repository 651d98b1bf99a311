#pragma once

// The properties of PictureTRV that are computed; all others are fields that the host reads and writes
// directly.

#include <cstdint>

#include "image/picture_record.h"

namespace trv {

/// The checked setter of a channel offset, whose field lies at byte `parameter` of the record. A value
/// outside 0 to PixelSize - 1 raises the range error; nothing but the offset changes.
void SetChannelOffset(HostObject me, int64_t parameter, int64_t value);

/// The name of the image's format as ASCII text, nil for a format without one.
HostString GetImageFormatString(HostObject me, int64_t parameter);

/// The memory block with the pixels if they start where it starts, else a block over the pixels that does not
/// own them, else nil; with one reference for the caller.
HostObject GetMemory(HostObject me, int64_t parameter);

/// The 64-bit field at byte `parameter` of the record.
int64_t GetInt64Field(HostObject me, int64_t parameter);

}  // namespace trv
