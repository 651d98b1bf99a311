#pragma once

// File-mapped images: the size of their window.

#include <cstdint>

#include "image/picture_record.h"

namespace trv {

/// The system's page size in bytes, at least 4096; 4096 until the running program reads it at start-up.
extern int64_t AllocationGranularity;

/// Sets the window to `size` bytes, rounded and bounded to what a window can be, and `MappingRows` to the
/// rows that it holds.
void SetMemBlockSize(PictureTRV& record, int64_t size);

/// The setter of `MappingBlockSize`, on images of any kind.
void SetMappingBlockSize(HostObject me, int64_t parameter, int64_t size);

}  // namespace trv
