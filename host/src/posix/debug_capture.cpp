#include "trvhost/debug_capture.h"

#include <cstdio>
#include <fcntl.h>
#include <stdexcept>
#include <sys/mman.h>
#include <unistd.h>

namespace trvhost {

/// Standard error leads to a file in memory meanwhile.
struct DebugCapture::Impl {
    int saved = -1;
    int file = -1;
    off_t start = 0;
};

DebugCapture::DebugCapture() : impl_(std::make_unique<Impl>()) {
    std::fflush(stderr);
    impl_->file = memfd_create("trvhost debug capture", MFD_CLOEXEC);
    impl_->saved = dup(STDERR_FILENO);
    // Lines of several threads overwrite each other in such a file, unless each goes to the end of it.
    const bool appends = impl_->file >= 0 && fcntl(impl_->file, F_SETFL, O_APPEND) == 0;
    if (!appends || impl_->saved < 0 || dup2(impl_->file, STDERR_FILENO) < 0) {
        throw std::runtime_error("standard error cannot be captured");
    }
}

DebugCapture::~DebugCapture() {
    std::fflush(stderr);
    dup2(impl_->saved, STDERR_FILENO);
    close(impl_->saved);
    close(impl_->file);
}

std::vector<std::string> DebugCapture::Lines() const {
    std::fflush(stderr);
    std::string text;
    char part[4096];
    for (off_t at = impl_->start;;) {
        const ssize_t got = pread(impl_->file, part, sizeof part, at);
        if (got <= 0) break;
        text.append(part, static_cast<size_t>(got));
        at += got;
    }
    std::vector<std::string> lines;
    for (size_t begin = 0; begin < text.size();) {
        const size_t end = std::min(text.find('\n', begin), text.size());
        lines.push_back(text.substr(begin, end - begin));
        begin = end + 1;
    }
    return lines;
}

void DebugCapture::Clear() {
    std::fflush(stderr);
    impl_->start = lseek(impl_->file, 0, SEEK_END);
}

void DebugCapture::Say(const std::string& line) {
    std::fprintf(stderr, "%s\n", line.c_str());
}

}  // namespace trvhost
