#pragma once

// File paths, from the host's folder items or strings, and the files behind them.

#include <array>
#include <cstdint>
#include <cstdio>
#include <memory>

#include "frame/rb_text.h"
#include "frame/references.h"

namespace trv {

/// A path in its forms. Each is made when it is first asked for and lives as long as the Path. One thread at
/// a time.
class Path {
  public:
    /// The path of a FolderItem, of which a reference is taken.
    explicit Path(HostObject folderItem);
    /// The path in a string, of which a reference is taken.
    explicit Path(HostString path);
    Path(const Path&) = delete;
    Path& operator=(const Path&) = delete;

    /// One on the heap, for `delete`; nil if there is no memory.
    [[nodiscard]] static Path* New(HostObject folderItem);
    [[nodiscard]] static Path* New(HostString path);

    /// The path, zero-terminated: as UTF-16, as UTF-8 and in the system's own 8-bit encoding. Null for nil,
    /// for an empty path, when the item does not tell its path, and without memory.
    [[nodiscard]] const char16_t* UnixFilePathUTF16();
    [[nodiscard]] const char* UnixFilePathUTF8();
    [[nodiscard]] const char* UnixFilePath();

    /// The next path of a chain (heap_objects.h).
    Path* next = nullptr;

  private:
    [[nodiscard]] rbText* TextOfPath();
    template <TextForm form>
    [[nodiscard]] const TextUnit<form>* Copy(std::unique_ptr<TextUnit<form>[]>& copy);

    ObjectReference item_;
    StringReference string_;
    std::unique_ptr<rbText> text_;
    std::unique_ptr<char16_t[]> utf16_;
    std::unique_ptr<char[]> utf8_;
    std::unique_ptr<char[]> native_;
};

/// Opens a file for reading and writing, shared with others, creating it if it is not there; an existing one
/// keeps its contents. Paths that the system takes only with a mark of its own get it. A handle for
/// platform/file_mapping.h, kNoHandle on failure, with the reason in LastSystemError().
[[nodiscard]] intptr_t CreateFileLongPath(Path& path);

/// Opens a stream by the same rule, with a mode as for `fopen`, and gives it a full buffer of `bufferBytes`,
/// or of 1 MiB for 0 and less. Null on failure and for nil.
[[nodiscard]] std::FILE* OpenStreamLongPath(HostObject folderItem, const char* mode, int64_t bufferBytes);
[[nodiscard]] std::FILE* OpenStreamLongPath(HostString path, const char* mode, int64_t bufferBytes);

}  // namespace trv
