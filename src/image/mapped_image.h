#pragma once

// File-mapped images. The pixels lie in a scratch file, or in the system's paging space, and a window of rows
// slides along it; to operations such an image is like any other, since they ask for each row anew. The file
// is the image's own from the constructor on: whatever was in it, it is cut to nothing and deleted when the
// image ends.
//
// No function here raises. A row that cannot be mapped is null, and the image stays as valid as it was. What
// the system does to a process whose file somebody else cuts short while a window of it is mapped cannot be
// caught here: on POSIX systems the process gets SIGBUS when it touches the pages that are gone.

#include <cstdint>

#include "image/picture_record.h"

namespace trv {

/// The system's page size in bytes, at least 4096; 4096 until the running program reads it at start-up. Rows
/// and windows are multiples of it.
extern int64_t AllocationGranularity;

/// The constructor over the file of a folder item, which is opened or created, and grown as needed; nil makes
/// an image in paging space. A file that cannot be opened makes one too, and is left alone at the end.
/// `blockSize` is the window's size in bytes, see SetMemBlockSize. The image stays invalid for a size below
/// 1, an unknown format, a size beyond 64 bits, and when the mapping or its first window cannot be had.
void ImageConstructorFile(HostObject me, int64_t width, int64_t height, int64_t format, int64_t blockSize,
                          HostObject filePath);

/// The row reader of mapped images: moves the window when the row is outside. Null for a row outside the
/// store, and when the window cannot be mapped; the window that was is gone then, and the next call tries
/// again. An address is good until the next call for the same record.
uint8_t* SelectRow(PictureTRV* record, int64_t y);
/// Its partner that counts rows from the bottom.
uint8_t* SelectRowMirrored(PictureTRV* record, int64_t y);

/// Gives up the window, if there is one.
void Unmap(PictureTRV& record);

/// Sets the window to `size` bytes, rounded and bounded to what a window can be, and `MappingRows` to the
/// rows that it holds.
void SetMemBlockSize(PictureTRV& record, int64_t size);

/// The setter of `MappingBlockSize`, on images of any kind. The window then stands at the top of the image.
void SetMappingBlockSize(HostObject me, int64_t parameter, int64_t size);

/// Whether the rows from `firstRow` to `lastRow`, both included, are in the window, which grows and moves as
/// needed. A negative first row is row 0, a last row outside the image is its last one. True at once for an
/// image in memory.
Boolean rbMapInRows(HostObject me, int64_t firstRow, int64_t lastRow);

/// The end of a window and, of the image that owns them, of mapping and file; two steps of CloseImage.
void CloseWindow(PictureTRV& record);
void CloseMappedFile(PictureTRV& record);

}  // namespace trv
