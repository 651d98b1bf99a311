#include "quiet.h"

#include <cstdio>

namespace trvfuzz {

// The debug log goes to the debugger here, so standard error is quiet by itself.
void KeepReports(bool /*quiet*/, void (* /*onDeath*/)()) {}

void WriteReport(const std::string& text) {
    std::fputs(text.c_str(), stderr);
    std::fflush(stderr);
}

}  // namespace trvfuzz
