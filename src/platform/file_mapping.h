#pragma once

// Files of which a window is mapped into memory, and mappings without a file. A handle is an integer, so that
// it fits the image record; it is given to the functions here and means nothing else. Every function tells
// failure by its result, and LastSystemError says why. All of them may be called from any thread.
//
// The rules are those of Windows on every system, because they are the ones that keep mapped pixels readable:
// a mapping has its bytes for as long as it or a view of it lives, a file cannot be cut while a view of it is
// open, and a handle that was closed makes calls fail.

#include <cstdint>

#include "platform/system_error.h"

namespace trv {

/// Stands for "no file", "no mapping" and a failed attempt to get one.
inline constexpr intptr_t kNoHandle = -1;

/// Offsets of views are multiples of this on every system.
inline constexpr int64_t kViewAlignment = 65536;

/// Opens a file for reading and writing, shared with others, creating it if it is not there; an existing one
/// keeps its contents. `path` is UTF-8 and may be longer than 260 characters if it is absolute.
[[nodiscard]] intptr_t OpenScratchFile(const char* path);

/// Makes the file at least `bytes` long, zeros behind what is there; a longer one stays as it is. False too
/// when the disk does not have that much room.
bool GrowFile(intptr_t file, int64_t bytes);

/// Sets the file's position to its start.
bool RewindFile(intptr_t file);

/// Cuts the file to no bytes; false while a view of the file is open in this process.
bool CutFile(intptr_t file);

/// Length of the file in bytes, -1 on failure.
[[nodiscard]] int64_t FileSize(intptr_t file);

bool CloseFile(intptr_t file);

/// Deletes the file at `path`, UTF-8.
bool RemoveFile(const char* path);

/// A mapping of `bytes` bytes for reading and writing over the file, which is grown to that length, or over
/// zeroed memory that keeps its contents between views when `file` is kNoHandle. The file can be closed while
/// the mapping lives.
[[nodiscard]] intptr_t CreateMapping(intptr_t file, int64_t bytes);

/// Gives up the mapping; its open views stay.
bool CloseMapping(intptr_t mapping);

/// A view of `bytes` bytes, at least 1, from `offset`, a multiple of kViewAlignment, on; null on failure, and
/// where the range does not lie within the mapping.
[[nodiscard]] void* MapView(intptr_t mapping, int64_t offset, int64_t bytes);

/// Gives up a view, told by its base and the size asked for.
bool UnmapView(void* base, int64_t bytes);

}  // namespace trv
