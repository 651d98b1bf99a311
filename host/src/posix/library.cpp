#include "library.h"

#include <dlfcn.h>
#include <stdexcept>

#include "image_file.h"

namespace trvhost {

Library::Library(const std::filesystem::path& file) {
    bool isCopy = false;
    const std::filesystem::path fresh = FreshFile(file, isCopy);
    handle_ = dlopen(fresh.c_str(), RTLD_NOW | RTLD_LOCAL);
    const std::string reason = handle_ == nullptr ? dlerror() : "";
    std::error_code ignored;
    if (isCopy) std::filesystem::remove(fresh, ignored);
    if (handle_ == nullptr) throw std::runtime_error("cannot load " + FileText(file) + ": " + reason);
}

Library::~Library() {
    void* due = Retire(handle_);
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    due = nullptr;  // a report needs the code that it is about
#endif
    if (due != nullptr) dlclose(due);
}

void* Library::Symbol(const char* name) const {
    return dlsym(handle_, name);
}

}  // namespace trvhost
