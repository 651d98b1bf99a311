#include "memory_blocks.h"

#include <cstdlib>
#include <memory>

#include "entry.h"

namespace trvhost {

namespace {

/// Blocks as large as pictures start at a cache line, as the buffers of picture libraries do. Smaller ones
/// end where the allocator's own end, so that a sanitizer sees what goes beyond.
constexpr size_t kCacheLine = 64;
constexpr size_t kPictureSize = size_t{1} << 20;

}  // namespace

MemoryBlockThing::~MemoryBlockThing() {
    std::free(owned_);
}

bool MemoryBlockThing::Allocate(int64_t bytes) {
    const auto size = static_cast<size_t>(bytes);
    const bool aligned = size >= kPictureSize;
    size_t space = size + (aligned ? kCacheLine : 0);
    void* fresh = std::calloc(bytes == 0 ? 1 : space, 1);
    if (fresh == nullptr) return false;
    std::free(owned_);
    owned_ = data_ = fresh;
    if (aligned) std::align(kCacheLine, size, data_, space);
    size_ = bytes;
    return true;
}

void MemoryBlockThing::Wrap(void* bytes) {
    std::free(owned_);
    owned_ = nullptr;
    data_ = bytes;
    size_ = -1;
}

namespace {

void Construct(Core& core, Handle self, int64_t bytes) {
    auto* block = core.FindAs<MemoryBlockThing>(self);
    if (block == nullptr) return;
    const bool fail = core.failMemoryBlock.Hit();
    const int64_t given = core.shortenMemoryBlock.Hit() ? bytes - core.shortenBy : bytes;
    if (!fail && bytes >= 0 && bytes <= core.options.largestMemoryBlock &&
        block->Allocate(given < 0 ? 0 : given))
        return;
    core.Raise("OutOfMemoryException", "No memory for a block of " + std::to_string(bytes) + " bytes.");
}

void ConvertFromPtr(Core& core, Handle self, void* data) {
    if (auto* block = core.FindAs<MemoryBlockThing>(self)) block->Wrap(data);
}

void* GetPtr(Core& core, Handle self) {
    const auto* block = core.FindAs<MemoryBlockThing>(self);
    return block == nullptr ? nullptr : block->Data();
}

int64_t GetSize(Core& core, Handle self) {
    const auto* block = core.FindAs<MemoryBlockThing>(self);
    return block == nullptr ? 0 : block->Size();
}

MemoryBlockThing* Blank(Core& core) {
    ClassInfo* info = core.classes.Find("MemoryBlock");
    return info == nullptr ? nullptr : &static_cast<MemoryBlockThing&>(core.classes.Make(*info));
}

Handle NewBlock(Core& core, int64_t bytes) {
    const MemoryBlockThing* block = NewMemoryBlock(core, bytes);
    return block == nullptr ? nullptr : block->Address();
}

Handle PtrToBlock(Core& core, void* data) {
    MemoryBlockThing* block = Blank(core);
    if (block == nullptr) return nullptr;
    block->Wrap(data);
    return block->Address();
}

}  // namespace

MemoryBlockThing* NewMemoryBlock(Core& core, int64_t bytes) {
    MemoryBlockThing* block = Blank(core);
    if (block == nullptr) return nullptr;
    const int64_t raisedBefore = core.raised;
    Construct(core, block->Address(), bytes);
    if (core.raised == raisedBefore) return block;
    core.Unlock(block->Address());
    return nullptr;
}

std::span<const EntryRow> MemoryBlockEntries() {
    static const EntryRow rows[] = {
        Row<"newMemoryBlock", NewBlock>(),
        Row<"memoryBlockGetPtr", GetPtr>(),
        Row<"memoryBlockGetSize", GetSize>(),
        Row<"PtrToMemoryBlock", PtrToBlock>(),
    };
    return rows;
}

std::span<const MemberRow> MemoryBlockMembers() {
    static const MemberRow rows[] = {
        {Row<"MemoryBlock.Constructor(bytes as Integer)", Construct>()},
        {Row<"MemoryBlock.Operator_Convert(value as Ptr)", ConvertFromPtr>()},
        {Row<"MemoryBlock.Operator_Convert() As Ptr", GetPtr>()},
    };
    return rows;
}

}  // namespace trvhost
