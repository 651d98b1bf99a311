#include "memory_blocks.h"

#include <cstdlib>

#include "entry.h"

namespace trvhost {

MemoryBlockThing::~MemoryBlockThing() {
    if (owned_) std::free(data_);
}

bool MemoryBlockThing::Allocate(int64_t bytes) {
    void* fresh = std::calloc(static_cast<size_t>(bytes == 0 ? 1 : bytes), 1);
    if (fresh == nullptr) return false;
    if (owned_) std::free(data_);
    data_ = fresh;
    size_ = bytes;
    owned_ = true;
    return true;
}

void MemoryBlockThing::Wrap(void* bytes) {
    if (owned_) std::free(data_);
    data_ = bytes;
    size_ = -1;
    owned_ = false;
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
