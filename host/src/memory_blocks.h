// Memory blocks.
#pragma once

#include "core.h"

namespace trvhost {

class MemoryBlockThing : public Thing {
  public:
    static constexpr ThingKind kKind = ThingKind::MemoryBlock;
    explicit MemoryBlockThing(ClassInfo* info) : Thing(kKind, info, info->dataSize) {}
    ~MemoryBlockThing() override;

    /// Gives the block that many zeroed bytes of its own; false when they cannot be had.
    bool Allocate(int64_t bytes);
    /// Makes the block one over foreign bytes of unknown size.
    void Wrap(void* bytes);
    void* Data() const { return data_; }
    int64_t Size() const { return size_; }

  private:
    void* data_ = nullptr;
    int64_t size_ = 0;       ///< -1: unknown
    void* owned_ = nullptr;  // the allocation that data_ lies in; null for bytes of somebody else
};

/// A new block of the host's, or null with OutOfMemoryException noted.
MemoryBlockThing* NewMemoryBlock(Core& core, int64_t bytes);

}  // namespace trvhost
