#include "library.h"

#include <dlfcn.h>
#include <stdexcept>
#include <string>

#include "image_file.h"
#include "sanitizers.h"

namespace trvhost {

Library::Library(const std::filesystem::path& file) {
    bool isCopy = false;
    const std::filesystem::path fresh = FreshFile(file, isCopy);
    handle_ = dlopen(fresh.c_str(), RTLD_NOW | RTLD_LOCAL);
    const std::string reason = handle_ == nullptr ? dlerror() : "";
    // A loaded copy needs no name. Debuggers and sanitizers find lines of code in the file itself, which is
    // what the first host of a process has loaded.
    std::error_code ignored;
    if (isCopy) std::filesystem::remove(fresh, ignored);
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
