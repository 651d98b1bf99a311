#include "platform.h"

#include <cstdio>
#include <io.h>
#include <memory>
#include <mutex>
#include <windows.h>

namespace trvhost::program {

namespace {

std::mutex doomedMutex;
std::filesystem::path doomedFile;

BOOL WINAPI RemoveAndEnd(DWORD) {
    const std::lock_guard lock(doomedMutex);
    if (!doomedFile.empty()) DeleteFileW(doomedFile.c_str());
    return FALSE;
}

}  // namespace

std::vector<std::string> Arguments(int, char**) {
    int count = 0;
    const std::unique_ptr<LPWSTR, decltype(&LocalFree)> wide(CommandLineToArgvW(GetCommandLineW(), &count),
                                                             &LocalFree);
    std::vector<std::string> arguments;
    for (int i = 1; i < count; ++i)
        arguments.push_back(ToText(wide.get()[i]));
    return arguments;
}

std::optional<std::string> Environment(const char* name) {
    const wchar_t* value = _wgetenv(ToPath(name).c_str());
    if (value == nullptr || *value == L'\0') return std::nullopt;
    return ToText(value);
}

void PrepareStreams() {
    SetConsoleOutputCP(CP_UTF8);
}

std::FILE* ErrorStream() {
    return stderr;
}

// The system's decoders keep to themselves what they think.
MutedLibraries::MutedLibraries() = default;
MutedLibraries::~MutedLibraries() = default;

bool ErrorIsTerminal() {
    return _isatty(_fileno(stderr)) != 0;
}

std::filesystem::path OwnFile() {
    std::wstring name(260, L'\0');
    for (;;) {
        const DWORD length = GetModuleFileNameW(nullptr, name.data(), static_cast<DWORD>(name.size()));
        if (length < name.size()) {
            name.resize(length);
            return name;
        }
        name.resize(name.size() * 2);
    }
}

std::filesystem::path PluginFileName() {
    return "PictureTRV.dll";
}

const std::map<std::string, FileFormat>& KnownFormats() {
    static const std::map<std::string, FileFormat> formats = {
        {"png", {.keepsAlpha = true}},
        {"tif", {.keepsAlpha = true}},
        {"tiff", {.keepsAlpha = true}},
        {"jpg", {}},
        {"jpeg", {}},
        {"gif", {}},
        {"bmp", {}},
    };
    return formats;
}

uint64_t PhysicalMemory() {
    MEMORYSTATUSEX status{};
    status.dwLength = sizeof status;
    return GlobalMemoryStatusEx(&status) != 0 ? status.ullTotalPhys : 0;
}

uint64_t ProcessId() {
    return GetCurrentProcessId();
}

std::error_code CreateNew(const std::filesystem::path& file) {
    const HANDLE handle =
        CreateFileW(file.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (handle == INVALID_HANDLE_VALUE) return {static_cast<int>(GetLastError()), std::system_category()};
    CloseHandle(handle);
    return {};
}

void RemoveIfInterrupted(const std::filesystem::path& file) {
    SetConsoleCtrlHandler(RemoveAndEnd, FALSE);
    const std::lock_guard lock(doomedMutex);
    doomedFile = file;
    if (!file.empty()) SetConsoleCtrlHandler(RemoveAndEnd, TRUE);
}

}  // namespace trvhost::program
