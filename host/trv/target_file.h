// The file that is written: it appears complete or not at all.
#pragma once

#include <filesystem>
#include <functional>
#include <string>

namespace trvhost::program {

/// A file to be made or replaced.
class TargetFile {
  public:
    /// Refuses at once, before anyone works for it, a target that cannot come to be: in a folder that does
    /// not exist, a folder itself, an existing file that must not be written. A link stands for what it
    /// points to. Throws std::runtime_error with a one-line text that names file and reason.
    explicit TargetFile(const std::filesystem::path& file);

    /// Has `write` fill a file of another name beside the target, then puts that in the target's place. If
    /// anything fails or interrupts, the other file is removed and an existing target stays as it was.
    /// The new file takes over the permissions of the one that it replaces. Throws std::runtime_error with a
    /// one-line text that names the target; a std::runtime_error of `write` is to give the reason only.
    void Write(const std::function<void(const std::filesystem::path&)>& write) const;

    /// The extension in lower case, without its dot.
    std::string Format() const;

  private:
    std::filesystem::path shown_;
    std::filesystem::path file_;
    bool exists_ = false;
};

}  // namespace trvhost::program
