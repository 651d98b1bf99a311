#pragma once

// Files of which a window is mapped into memory, and mappings without a file. A handle is the system's own,
// in an integer, so that it fits the image record; every function tells failure by its result, and
// LastSystemError says why.

#include <cstdint>

namespace trv {

/// Stands for "no file", "no mapping" and a failed attempt to get one.
inline constexpr intptr_t kNoHandle = -1;

/// Offsets of views are multiples of this on every system.
inline constexpr int64_t kViewAlignment = 65536;

/// Opens a file for reading and writing, shared with others, creating it if it is not there; an existing one
/// keeps its contents. `path` is UTF-8.
[[nodiscard]] intptr_t OpenScratchFile(const char* path);

/// Makes the file at least `bytes` long; a longer one stays as it is.
bool GrowFile(intptr_t file, int64_t bytes);

/// Cuts the file to no bytes.
bool CutFile(intptr_t file);

/// Length of the file in bytes, -1 on failure.
[[nodiscard]] int64_t FileSize(intptr_t file);

bool CloseFile(intptr_t file);

/// Deletes the file at `path`, UTF-8.
bool RemoveFile(const char* path);

/// A mapping of `bytes` bytes for reading and writing over the file, or over memory that keeps its contents
/// between views when `file` is kNoHandle.
[[nodiscard]] intptr_t CreateMapping(intptr_t file, int64_t bytes);

bool CloseMapping(intptr_t mapping);

/// A view of `bytes` bytes from `offset`, a multiple of kViewAlignment, on; null on failure, and where the
/// range does not lie within the mapping.
[[nodiscard]] void* MapView(intptr_t mapping, int64_t offset, int64_t bytes);

/// Gives up a view, told by its base and the size asked for.
bool UnmapView(void* base, int64_t bytes);

/// The system's number of the last failure on this thread.
[[nodiscard]] int64_t LastSystemError();

}  // namespace trv
