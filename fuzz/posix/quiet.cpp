#include "quiet.h"

#include <cstdio>
#include <fcntl.h>
#include <unistd.h>

#ifdef TRV_FUZZ_SANITIZED
#include <sanitizer/common_interface_defs.h>
#endif

namespace trvfuzz {

namespace {

int reports = STDERR_FILENO;

}  // namespace

void KeepReports(bool quiet, [[maybe_unused]] void (*onDeath)()) {
    reports = dup(STDERR_FILENO);
    if (quiet) {
        const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
        dup2(nowhere, STDERR_FILENO);
        close(nowhere);
    }
#ifdef TRV_FUZZ_SANITIZED
    // NOLINTNEXTLINE(performance-no-int-to-ptr): the interface wants a number in a pointer
    __sanitizer_set_report_fd(reinterpret_cast<void*>(static_cast<intptr_t>(reports)));
    __sanitizer_set_death_callback(onDeath);
#endif
}

void WriteReport(const std::string& text) {
    size_t written = 0;
    while (written < text.size()) {
        const ssize_t now = write(reports, text.data() + written, text.size() - written);
        if (now <= 0) return;
        written += static_cast<size_t>(now);
    }
}

}  // namespace trvfuzz
