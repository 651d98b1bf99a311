#pragma once

// Memory straight from the system: blocks that start out zeroed, and the size of a page.

#include <cstdint>
#include <memory>

namespace trv {

/// A zeroed block of `bytes` bytes, aligned for any scalar, released with FreeZeroed by whoever holds it; of
/// large pages where the system likes.
/// Nil for a size below 1 and when the system has no memory.
[[nodiscard]] void* AllocateZeroed(int64_t bytes);

/// Releases a block of AllocateZeroed; nil is allowed.
void FreeZeroed(void* block);

/// Bytes of AllocateZeroed with an owner.
struct FreeZeroedBytes {
    void operator()(uint8_t* bytes) const { FreeZeroed(bytes); }
};
using ZeroedBytes = std::unique_ptr<uint8_t, FreeZeroedBytes>;

/// `count` zeroed bytes, or null where AllocateZeroed gives none.
[[nodiscard]] inline ZeroedBytes MakeZeroedBytes(int64_t count) {
    return ZeroedBytes(static_cast<uint8_t*>(AllocateZeroed(count)));
}

/// Asks the system to fill fresh memory with large pages where they fit in: the pages of a picture come one
/// after the other, and small ones cost more time to get than most work on them takes. Only a wish.
void PreferLargePages(void* memory, int64_t bytes);

/// Bytes in a page of virtual memory.
[[nodiscard]] int64_t PageSize();

}  // namespace trv
