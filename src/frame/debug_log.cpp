#include "frame/debug_log.h"

#include <algorithm>
#include <utility>

#include "platform/debug_output.h"

namespace trv {

uint8_t debugFlag = 0;
const char* debugPrefix = "TRV Debug: ";

namespace {

std::FILE* logFile = nullptr;

}  // namespace

void WriteDebugText(const char* text) {
    if (logFile != nullptr) {
        std::fprintf(logFile, "%s\n", text);
        std::fflush(logFile);
    } else {
        DebugOutput(text);
    }
}

void OpenDebugFile(const char* mode) {
    CloseDebugFile();
    static constexpr const char* kPlaces[] = {"/tmp/trvdebug %s.txt", "/var/tmp/trvdebug %s.txt",
                                              "trvdebug %s.txt", "/trvdebug %s.txt", "~/trvdebug %s.txt"};
    char name[260] = {};
    for (const char* place : kPlaces) {
        std::snprintf(name, 259, place, kPartName);
        logFile = std::fopen(name, mode);
        if (logFile != nullptr) return;
    }
    WriteDebugLine("Failed to open debug file: %s", static_cast<const char*>(name));
}

void CloseDebugFile() {
    if (logFile == nullptr) return;
    std::fclose(logFile);
    logFile = nullptr;
}

namespace debug_detail {

Line::Line(const char* label) {
    buffer_[0] = 0;
    Append("%s", debugPrefix);
    Append("%s", label);
}

template <class T>
void Line::Append(const char* format, T value) {
    const int wanted = std::snprintf(buffer_ + length_, sizeof buffer_ - length_, format, value);
    if (wanted > 0) length_ = std::min(length_ + static_cast<size_t>(wanted), sizeof buffer_ - 1);
}

const char* Line::Separator() {
    return std::exchange(first_, false) ? " " : ", ";
}

void Line::Value(const char* text) {
    Append("%s", Separator());
    Append("%s", text == nullptr ? "" : text);
}

void Line::Value(const wchar_t* text) {
    Append("%s", Separator());
    Append("%ls", text == nullptr ? L"" : text);
}

void Line::Value(long long value) {
    Append("%s", Separator());
    Append("%lld", value);
}

void Line::Value(unsigned long long value) {
    Append("%s", Separator());
    Append("%llu", value);
}

void Line::Value(double value) {
    Append("%s", Separator());
    Append("%f", value);
}

void Line::Value(const void* pointer) {
    Append("%s", Separator());
    Append("%p", pointer);
}

}  // namespace debug_detail

}  // namespace trv
