#include "library.h"

#include <map>
#include <stdexcept>
#include <string>
#include <windows.h>

#include "image_file.h"

namespace trvhost {

namespace {

/// Private copies by the library that was loaded from them. A loaded file cannot be deleted, so a copy goes
/// when its library is unloaded, at the latest when the process ends.
class Copies {
  public:
    ~Copies() {
        while (!files_.empty())
            Unload(files_.begin()->first);
    }
    void Add(void* handle, std::filesystem::path file) { files_[handle] = std::move(file); }
    void Unload(void* handle) {
        FreeLibrary(static_cast<HMODULE>(handle));
        const auto found = files_.find(handle);
        if (found == files_.end()) return;
        DeleteFileW(found->second.c_str());
        files_.erase(found);
    }

  private:
    std::map<void*, std::filesystem::path> files_;
};

Copies& TheCopies() {
    static Copies copies;
    return copies;
}

}  // namespace

Library::Library(const std::filesystem::path& file) {
    bool isCopy = false;
    const std::filesystem::path fresh = FreshFile(file, isCopy);
    handle_ = LoadLibraryW(fresh.c_str());
    if (handle_ == nullptr) {
        const DWORD code = GetLastError();
        if (isCopy) DeleteFileW(fresh.c_str());
        throw std::runtime_error("cannot load " + FileText(file) + ": system error " + std::to_string(code));
    }
    if (isCopy) TheCopies().Add(handle_, fresh);
}

Library::~Library() {
    if (void* due = Retire(handle_)) TheCopies().Unload(due);
}

void* Library::Symbol(const char* name) const {
    return reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(handle_), name));
}

}  // namespace trvhost
