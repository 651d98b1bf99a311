#include "platform/file_stream.h"

#include <algorithm>
#include <iterator>
#include <string_view>

#include "platform/windows/wide_path.h"

namespace trv {

namespace {

std::FILE* OpenWide(const wchar_t* path, const wchar_t* mode) {
    std::FILE* stream = nullptr;
    return _wfopen_s(&stream, path, mode) == 0 ? stream : nullptr;
}

}  // namespace

std::FILE* OpenStream(const char* path, const char* mode) {
    const WidePath wide = WidePathOf(path);
    wchar_t wideMode[32] = {};
    const std::string_view plainMode = mode == nullptr ? "" : mode;
    if (wide == nullptr || plainMode.empty() || plainMode.size() >= std::size(wideMode)) return nullptr;
    std::copy(plainMode.begin(), plainMode.end(), wideMode);
    // Not every path can be marked, a relative one for instance.
    const WidePath marked = MarkedLongPath(wide.get());
    std::FILE* const stream = marked == nullptr ? nullptr : OpenWide(marked.get(), wideMode);
    return stream != nullptr ? stream : OpenWide(wide.get(), wideMode);
}

}  // namespace trv
