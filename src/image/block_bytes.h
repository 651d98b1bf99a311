#pragma once

// Where the memory under an image ends.

#include <algorithm>
#include <cstdint>

#include "frame/memory_blocks.h"
#include "image/picture_record.h"

namespace trv {

/// The memory block under an image, of which not every row need be whole: over a caller's memory the last one
/// may end with its last pixel.
class BlockBytes {
  public:
    explicit BlockBytes(const PictureTRV& image) {
        const HostObject block = image.MemoryTarget != nullptr ? image.MemoryTarget : image.SharedMemory;
        start_ = MemoryBlockPointer(block);
        size_ = MemoryBlockSize(block);
    }

    /// How many of `count` bytes from `row` on there are; all of them where no block says otherwise.
    [[nodiscard]] int64_t Available(const uint8_t* row, int64_t count) const {
        if (start_ == nullptr || size_ < 0) return count;
        const int64_t offset = row - start_;
        return offset < 0 || offset > size_ ? 0 : std::min(count, size_ - offset);
    }

  private:
    const uint8_t* start_;
    int64_t size_;
};

}  // namespace trv
