#pragma once

// The host's MemoryBlock: the store of every ordinary image.

#include <cstdint>

#include "frame/host_types.h"

namespace trv {

/// A new block of at least `bytes` bytes with one reference for the caller, or nil: for a negative size, and
/// when the host cannot give that much (its own exception is caught and forgotten).
[[nodiscard]] HostObject NewMemoryBlock(int64_t bytes);

/// A new block that holds a copy of `size` bytes, with one reference for the caller; nil for nil bytes and a
/// size below 1. Without memory it is nil too, and OutOfMemoryException is raised.
[[nodiscard]] HostObject REALBuildMemoryblock(const void* bytes, int64_t size);

/// A block over bytes that stay the caller's, with one reference for the caller, or nil.
[[nodiscard]] HostObject WrapMemory(void* bytes);

/// Address of the block's bytes, which lives as long as the block keeps its size; null for nil.
[[nodiscard]] uint8_t* MemoryBlockPointer(HostObject block);

/// The block's size in bytes by its property; 0 for nil, and if it cannot be read.
[[nodiscard]] int64_t MemoryBlockSize(HostObject block);

}  // namespace trv
