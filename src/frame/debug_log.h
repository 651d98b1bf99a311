#pragma once

// The trace: every stage of every operation can name itself and its values, at the price of one byte test
// while tracing is off. Diagnostics never change what an operation does.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <type_traits>

namespace trv {

/// The switch behind the shared property `Debugging`; 0 is off. Read by every call site through TRV_LOG.
extern uint8_t debugFlag;

/// Writes one line if tracing is on: the prefix, the label and, behind one blank, the values with ", "
/// between them. The arguments are evaluated only then.
#define TRV_LOG(...)                                         \
    do {                                                     \
        if (::trv::debugFlag) ::trv::PrintLine(__VA_ARGS__); \
    } while (false)

/// Longest line that is written, its terminator included; a longer one is cut.
inline constexpr size_t kDebugLineBytes = 4096;

/// Text before each label: "TRV Debug: ".
extern const char* debugPrefix;

/// Name of this library, in the names of its log file and of its modules.
inline constexpr const char* kPartName = "Image";

/// Writes a ready-made text as it is, to the log file if one is open, else to the debugger channel.
void WriteDebugText(const char* text);

/// Formats a line as printf does and writes it as it is, without prefix; a longer one is cut.
template <class... Values>
void WriteDebugLine(const char* format, Values... values) {
    char line[kDebugLineBytes];
    line[0] = 0;
    std::snprintf(line, sizeof line, format, values...);
    WriteDebugText(line);
}

/// Opens the log file for writing ("w") or appending ("a"), closing an open one first. The first of five
/// places that can be opened is taken; if none can, a line says so and lines go on to the debugger channel.
void OpenDebugFile(const char* mode);

/// Closes the log file, if one is open; lines then go to the debugger channel again.
void CloseDebugFile();

namespace debug_detail {

/// A line under construction on the caller's stack.
class Line {
  public:
    explicit Line(const char* label);
    void Value(const char* text);
    void Value(const wchar_t* text);
    void Value(long long value);
    void Value(unsigned long long value);
    void Value(double value);
    void Value(const void* pointer);
    void Write() const { WriteDebugText(buffer_); }

  private:
    template <class T>
    void Append(const char* format, T value);
    const char* Separator();

    char buffer_[kDebugLineBytes];
    size_t length_ = 0;
    bool first_ = true;
};

template <class T>
void AppendValue(Line& line, const T& value) {
    using Plain = std::decay_t<T>;
    if constexpr (std::is_convertible_v<T, const char*> || std::is_convertible_v<T, const wchar_t*>) {
        line.Value(value);
    } else if constexpr (std::is_pointer_v<Plain>) {
        if constexpr (std::is_function_v<std::remove_pointer_t<Plain>>) {
            line.Value(reinterpret_cast<const void*>(value));
        } else {
            line.Value(static_cast<const void*>(value));
        }
    } else if constexpr (std::is_floating_point_v<Plain>) {
        line.Value(static_cast<double>(value));
    } else if constexpr (std::is_signed_v<Plain> || std::is_enum_v<Plain>) {
        line.Value(static_cast<long long>(value));
    } else {
        line.Value(static_cast<unsigned long long>(value));
    }
}

}  // namespace debug_detail

/// The printer behind TRV_LOG, which the call site guards: any number of values, each in the format of its
/// type
/// (%d family for signed, %u family for unsigned, %f, %p, %s, %ls).
template <class... Values>
void PrintLine(const char* label, const Values&... values) {
    debug_detail::Line line(label);
    (debug_detail::AppendValue(line, values), ...);
    line.Write();
}

}  // namespace trv
