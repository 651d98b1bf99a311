#include "library.h"

#include <dlfcn.h>
#include <stdexcept>
#include <string>
#include <vector>

#include "image_file.h"
#include "sanitizers.h"

namespace trvhost {

namespace {

/// A loaded copy needs no name any more, except for who looks up lines of code in it until the process ends.
void DropName(const std::filesystem::path& copy) {
    static struct Kept {
        std::vector<std::filesystem::path> files;
        ~Kept() {
            std::error_code ignored;
            for (const auto& file : files)
                std::filesystem::remove(file, ignored);
        }
    } kept;
    std::error_code ignored;
    if (kKeepLibraries) {
        kept.files.push_back(copy);
    } else {
        std::filesystem::remove(copy, ignored);
    }
}

}  // namespace

Library::Library(const std::filesystem::path& file) {
    bool isCopy = false;
    const std::filesystem::path fresh = FreshFile(file, isCopy);
    handle_ = dlopen(fresh.c_str(), RTLD_NOW | RTLD_LOCAL);
    const std::string reason = handle_ == nullptr ? dlerror() : "";
    if (isCopy) DropName(fresh);
    if (handle_ == nullptr) throw std::runtime_error("cannot load " + FileText(file) + ": " + reason);
}

Library::~Library() {
    void* due = Retire(handle_);
    if (due != nullptr && !kKeepLibraries) dlclose(due);
}

void* Library::Symbol(const char* name) const {
    return dlsym(handle_, name);
}

}  // namespace trvhost
