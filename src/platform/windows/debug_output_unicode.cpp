#include <windows.h>

#include "platform/debug_output.h"

namespace trv {

void DebugOutputUnicode(const char16_t* utf16, const char* /*utf8*/) {
    static_assert(sizeof(wchar_t) == sizeof(char16_t));
    OutputDebugStringW(reinterpret_cast<const wchar_t*>(utf16));
}

}  // namespace trv
