#pragma once

// Paths for the system's wide functions, and the one through which files are opened.

#include <memory>
#include <string_view>
#include <windows.h>

namespace trv {

/// A zero-terminated path on the heap.
using WidePath = std::unique_ptr<wchar_t[]>;

/// A path given as UTF-8; null, with the reason as the last error, for nil, for bytes that are no UTF-8, and
/// without memory.
[[nodiscard]] WidePath WidePathOf(const char* path);

/// The path behind the mark of long ones if it needs it, else null. Null also without memory.
[[nodiscard]] WidePath MarkedLongPath(std::wstring_view path);

/// Calls `open` with the path as the system takes it: behind the mark of long ones where it needs it, else as
/// it is.
template <class Open>
auto WithLongPath(const wchar_t* path, Open open) {
    const WidePath marked = path == nullptr ? nullptr : MarkedLongPath(path);
    return open(marked == nullptr ? path : marked.get());
}

/// CreateFileW for paths of any length.
[[nodiscard]] HANDLE CreateFileLongPath(const wchar_t* path, DWORD access, DWORD share,
                                        SECURITY_ATTRIBUTES* security, DWORD disposition, DWORD flags,
                                        HANDLE templateFile);

}  // namespace trv
