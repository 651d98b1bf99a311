#include "things.h"

#include "text_case.h"

namespace trvfuzz {

Pool* Things::PoolOf(const std::string& className) {
    const std::string lower = LowerCase(className);
    if (lower == "picturetrv") return &images;
    if (lower == "picture") return &pictures;
    if (lower == "memoryblock") return &blocks;
    if (lower == "string") return &strings;
    if (lower == "array") return &arrays;
    if (lower == "folderitem") return &folderItems;
    // Subclasses have names of their own.
    if (lower.find("factory") != std::string::npos) return &factories;
    return nullptr;
}

void Things::Keep(const trvhost::Ref& thing, Choices& choices) {
    if (!thing) return;
    Pool* pool = PoolOf(thing.ClassName());
    // The language gives no array of strings where one of numbers is declared.
    if (pool == &arrays && trvhost::Array(thing).Kind() != trvhost::ElementKind::Integer) return;
    if (pool != nullptr) pool->Add(thing, choices);
}

void Things::Clear() {
    for (Pool* pool : {&images, &pictures, &blocks, &strings, &arrays, &folderItems, &factories})
        pool->Clear();
}

std::string Things::NameOf(const trvhost::Ref& thing) {
    if (!thing) return "nil";
    const Pool* pool = PoolOf(thing.ClassName());
    return pool == nullptr ? thing.ClassName() : pool->NameOf(thing);
}

}  // namespace trvfuzz
