// Files and folders.
#pragma once

#include <filesystem>

#include "core.h"

namespace trvhost {

class FolderItemThing : public Thing {
  public:
    static constexpr ThingKind kKind = ThingKind::FolderItem;
    explicit FolderItemThing(ClassInfo* info) : Thing(kKind, info, info->dataSize) {}

    std::string Utf8Path() const {
        const std::u8string text = path.u8string();
        return {text.begin(), text.end()};
    }

    std::filesystem::path path;
};

}  // namespace trvhost
