#include "thing.h"

#include <cstdlib>
#include <cstring>
#include <new>
#include <utility>

#include "classes.h"

namespace trvhost {

Thing::Thing(ThingKind kindOfThing, ClassInfo* info, int64_t dataSize)
    : kind(kindOfThing),
      classInfo(info),
      block_(nullptr),
      blockSize_(kHeaderWords * int64_t{sizeof(int64_t)} + dataSize) {
    block_ = static_cast<std::byte*>(std::calloc(1, static_cast<size_t>(blockSize_)));
    if (block_ == nullptr) throw std::bad_alloc();
    std::memcpy(block_, &classInfo, sizeof classInfo);
    SetHeaderWord(1, references_);
}

Thing::~Thing() {
    std::free(block_);
}

std::string Thing::Name() const {
    switch (kind) {
        case ThingKind::Array:
            return "Array";
        case ThingKind::String:
            return "String";
        case ThingKind::Text:
            return "Text";
        default:
            return classInfo == nullptr ? "Object" : classInfo->name;
    }
}

void Thing::SetReferences(int64_t count) {
    references_ = count;
    MirrorReferences();
}

std::byte* Thing::ReleaseBlock() {
    return std::exchange(block_, nullptr);
}

void Thing::SetHeaderWord(int index, int64_t value) {
    std::memcpy(block_ + static_cast<size_t>(index) * sizeof value, &value, sizeof value);
}

}  // namespace trvhost
