// What the host owns behind a handle. A handle is the address of a block that begins with the host's 48
// bytes; the truth about a thing is kept here, out of the plug-in's reach, and mirrored into the block.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace trvhost {

class Core;
struct ClassInfo;

using Handle = void*;

enum class ThingKind {
    Object,
    MemoryBlock,
    Picture,
    Graphics,
    FolderItem,
    Exception,
    Variant,
    Factory,
    Array,
    String,
    Text
};

class Thing {
  public:
    static constexpr int kHeaderWords = 6;

    /// `classInfo` is null for strings, texts and arrays.
    Thing(ThingKind kindOfThing, ClassInfo* info, int64_t dataSize);
    virtual ~Thing();
    Thing(const Thing&) = delete;
    Thing& operator=(const Thing&) = delete;

    Handle Address() const { return block_; }
    int64_t BlockSize() const { return blockSize_; }
    std::byte* ClassData() const { return block_ + kHeaderWords * sizeof(int64_t); }
    int64_t ClassDataSize() const { return blockSize_ - kHeaderWords * int64_t{sizeof(int64_t)}; }
    /// Class name, or what stands for it.
    std::string Name() const;

    int64_t References() const { return references_; }
    void SetReferences(int64_t count);

    /// Releases the things that this one holds, when it dies while the host lives.
    virtual void DropChildren(Core&) {}
    /// Gives up the block, which the caller frees.
    std::byte* ReleaseBlock();

    const ThingKind kind;
    ClassInfo* const classInfo;
    bool dying = false;

  protected:
    void SetHeaderWord(int index, int64_t value);
    /// Where the mirrored reference count stands in this thing's block.
    virtual void MirrorReferences() { SetHeaderWord(1, references_); }

  private:
    std::byte* block_;
    int64_t blockSize_;
    int64_t references_ = 1;
};

/// An object of a class without anything of the host's own behind it.
class PlainObject : public Thing {
  public:
    static constexpr ThingKind kKind = ThingKind::Object;
    PlainObject(ClassInfo* info, int64_t dataSize) : Thing(ThingKind::Object, info, dataSize) {}
};

}  // namespace trvhost
