// The plug-in's library, loaded by the system's loader with statics of its own.
#pragma once

#include <filesystem>

namespace trvhost {

class Library {
  public:
    /// Loads the file itself where this process has not done so before, else a private copy of it, so that
    /// the library's statics are always fresh. Throws std::runtime_error with a one-line text.
    explicit Library(const std::filesystem::path& file);
    /// Retires the library: it is unloaded when several others have retired after it, since a worker thread
    /// that has told its job done may still be on its way out of the library's code.
    ~Library();
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;

    void* Symbol(const char* name) const;

  private:
    void* handle_ = nullptr;
};

/// The file to give to the loader: `file` at the first request of a process, a fresh copy later. `isCopy`
/// tells which.
std::filesystem::path FreshFile(const std::filesystem::path& file, bool& isCopy);

/// Puts a library aside and returns the one whose time to be unloaded has come, or null.
void* Retire(void* handle);

}  // namespace trvhost
