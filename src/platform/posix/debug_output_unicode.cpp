#include "platform/debug_output.h"

namespace trv {

void DebugOutputUnicode(const char16_t* /*utf16*/, const char* utf8) {
    DebugOutput(utf8);
}

}  // namespace trv
