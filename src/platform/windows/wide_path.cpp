#include "platform/windows/wide_path.h"

#include <algorithm>
#include <new>

#include "platform/long_path.h"

namespace trv {

namespace {

/// Room for that many units; null, with the reason as the last error, if there is none.
WidePath NewPath(size_t units) {
    WidePath path(new (std::nothrow) wchar_t[units]);
    if (path == nullptr) SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return path;
}

}  // namespace

WidePath WidePathOf(const char* path) {
    if (path == nullptr) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return nullptr;
    }
    const int units = MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, path, -1, nullptr, 0);
    if (units < 1) return nullptr;
    WidePath wide = NewPath(static_cast<size_t>(units));
    if (wide != nullptr) MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, path, -1, wide.get(), units);
    return wide;
}

WidePath MarkedLongPath(std::wstring_view path) {
    if (!NeedsLongPathPrefix(path)) return nullptr;
    WidePath marked = NewPath(kLongPathPrefix.size() + path.size() + 1);
    if (marked == nullptr) return nullptr;
    wchar_t* const rest = std::copy(kLongPathPrefix.begin(), kLongPathPrefix.end(), marked.get());
    *std::copy(path.begin(), path.end(), rest) = 0;
    return marked;
}

HANDLE CreateFileLongPath(const wchar_t* path, DWORD access, DWORD share, SECURITY_ATTRIBUTES* security,
                          DWORD disposition, DWORD flags, HANDLE templateFile) {
    return WithLongPath(path, [&](const wchar_t* taken) {
        return CreateFileW(taken, access, share, security, disposition, flags, templateFile);
    });
}

bool SystemMarksLongPaths() {
    return true;
}

}  // namespace trv
