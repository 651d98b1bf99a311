#include "platform/debug_output.h"

#include <cstring>
#include <sys/uio.h>
#include <unistd.h>

namespace trv {

void DebugOutput(const char* message) {
    // One call for text and newline keeps the messages of several threads apart.
    char newline = '\n';
    iovec parts[] = {{const_cast<char*>(message), std::strlen(message)}, {&newline, 1}};
    [[maybe_unused]] ssize_t written = writev(STDERR_FILENO, parts, 2);
}

}  // namespace trv
