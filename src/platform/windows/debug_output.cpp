#include "platform/debug_output.h"

#include <windows.h>

namespace trv {

void DebugOutput(const char* message) {
    OutputDebugStringA(message);
}

}  // namespace trv
