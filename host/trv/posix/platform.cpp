#include "platform.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace trvhost::program {

namespace {

/// A second way to where standard error goes; null if that is closed.
std::FILE* ownError = nullptr;

// What a signal handler may touch: written while the signals are not yet, or no longer, for it.
char doomedFile[4096];

void RemoveAndEnd(int signal) {
    unlink(doomedFile);
    std::signal(signal, SIG_DFL);
    std::raise(signal);
}

constexpr int kEndings[] = {SIGINT, SIGTERM, SIGHUP};

/// Leaves alone what is handled in another way: under nohup, say, a hang-up is ignored.
void Exchange(int signal, void (*from)(int), void (*to)(int)) {
    struct sigaction now {};
    sigaction(signal, nullptr, &now);
    if (now.sa_handler == from) std::signal(signal, to);
}

}  // namespace

std::vector<std::string> Arguments(int argc, char** argv) {
    return {argv + (argc > 0 ? 1 : 0), argv + argc};
}

std::optional<std::string> Environment(const char* name) {
    const char* value = std::getenv(name);
    if (value == nullptr || *value == '\0') return std::nullopt;
    return value;
}

void PrepareStreams() {
    std::signal(SIGXFSZ, SIG_IGN);
    const int own = fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    if (own >= 0) ownError = fdopen(own, "w");
    if (ownError != nullptr) std::setvbuf(ownError, nullptr, _IONBF, 0);
}

std::FILE* ErrorStream() {
    return ownError != nullptr ? ownError : stderr;
}

MutedLibraries::MutedLibraries() {
    if (ownError == nullptr) return;
    const int nothing = open("/dev/null", O_WRONLY | O_CLOEXEC);
    if (nothing < 0) return;
    dup2(nothing, STDERR_FILENO);
    close(nothing);
}

MutedLibraries::~MutedLibraries() {
    if (ownError != nullptr) dup2(fileno(ownError), STDERR_FILENO);
}

bool ErrorIsTerminal() {
    return isatty(STDERR_FILENO) != 0;
}

std::filesystem::path OwnFile() {
    return std::filesystem::read_symlink("/proc/self/exe");
}

std::filesystem::path PluginFileName() {
    return "PictureTRV.so";
}

const std::map<std::string, FileFormat>& KnownFormats() {
    static const std::map<std::string, FileFormat> formats = {
        {"png", {.keepsAlpha = true}},
        {"webp", {.keepsAlpha = true, .longestSide = 16383}},
        {"jpg", {}},
        {"jpeg", {}},
        {"gif", {}},
        {"bmp", {}},
    };
    return formats;
}

uint64_t PhysicalMemory() {
    const long pages = sysconf(_SC_PHYS_PAGES), pageSize = sysconf(_SC_PAGESIZE);
    if (pages < 0 || pageSize < 0) return 0;
    return static_cast<uint64_t>(pages) * static_cast<uint64_t>(pageSize);
}

uint64_t ProcessId() {
    return static_cast<uint64_t>(getpid());
}

std::error_code CreateNew(const std::filesystem::path& file) {
    const int handle = open(file.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (handle < 0) return {errno, std::generic_category()};
    close(handle);
    return {};
}

void RemoveIfInterrupted(const std::filesystem::path& file) {
    const std::string& name = file.native();
    for (const int signal : kEndings)
        Exchange(signal, RemoveAndEnd, SIG_DFL);
    if (name.empty() || name.size() >= sizeof doomedFile) return;
    std::memcpy(doomedFile, name.c_str(), name.size() + 1);
    for (const int signal : kEndings)
        Exchange(signal, SIG_DFL, RemoveAndEnd);
}

}  // namespace trvhost::program
