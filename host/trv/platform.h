// What the program needs of the operating system. Texts are UTF-8 throughout.
#pragma once

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <system_error>
#include <vector>

namespace trvhost::program {

/// The arguments without the program's name. On Windows those of main have lost what its code page lacks.
std::vector<std::string> Arguments(int argc, char** argv);
/// The value of an environment variable; none if it is unset or empty.
std::optional<std::string> Environment(const char* name);
/// Sets up standard output and standard error for UTF-8, and has writing beyond a limit of the system fail
/// where it would end the program.
void PrepareStreams();
/// Standard error for what this program itself says, also while others are muted.
std::FILE* ErrorStream();
/// While it lives, what libraries write to standard error goes nowhere: libpng, for one, tells there what it
/// thinks of a damaged file.
class MutedLibraries {
  public:
    MutedLibraries();
    ~MutedLibraries();
    MutedLibraries(const MutedLibraries&) = delete;
    MutedLibraries& operator=(const MutedLibraries&) = delete;
};
/// True when a person is looking at standard error.
bool ErrorIsTerminal();
/// This program's own file.
std::filesystem::path OwnFile();
/// File name of the plug-in on this platform.
std::filesystem::path PluginFileName();
/// A kind of picture file that the host can read and write.
struct FileFormat {
    bool keepsAlpha = false;
    int64_t longestSide = 65535;  ///< in pixels
};
/// Those of this platform, by their extension.
const std::map<std::string, FileFormat>& KnownFormats();
/// Their extensions with commas between them.
std::string FormatList();
/// Bytes of memory that the machine has; 0 if unknown.
uint64_t PhysicalMemory();
/// A number that no other running program has.
uint64_t ProcessId();
/// Makes an empty file, which must not exist yet, not even as a link. The error is file_exists if it does.
std::error_code CreateNew(const std::filesystem::path& file);
/// From now on an interrupt from the keyboard or a request to terminate removes this file, if it can, before
/// the program ends; an empty path takes that back.
void RemoveIfInterrupted(const std::filesystem::path& file);

/// Paths from and to UTF-8.
inline std::filesystem::path ToPath(const std::string& text) {
    return std::u8string(text.begin(), text.end());
}
inline std::string ToText(const std::filesystem::path& path) {
    const std::u8string text = path.u8string();
    return {text.begin(), text.end()};
}

}  // namespace trvhost::program
