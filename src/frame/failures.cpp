#include "frame/failures.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <stdexcept>
#include <typeinfo>

#include "frame/debug_log.h"
#include "frame/host_strings.h"
#include "frame/references.h"

namespace trv {

namespace {

struct FreeBlock {
    void operator()(char* block) const { std::free(block); }
};
using TextBuffer = std::unique_ptr<char, FreeBlock>;

TextBuffer NewTextBuffer(size_t bytes) {
    return TextBuffer(static_cast<char*>(std::malloc(bytes)));
}

StringReference Message(const char* message) {
    return StringReference(
        REALBuildUnicodeString(message, static_cast<int64_t>(std::strlen(message)), kEncodingUtf8));
}

}  // namespace

void RaiseException(const char* className, HostString message, int64_t errorNumber) {
    ObjectReference exception(host::PluginNewInstance(className));
    if (!exception) exception = ObjectReference(host::PluginNewInstance("RuntimeException"));
    if (!exception) return;
    host::REALSetPropValueString(exception.Get(), "Message", message);
    host::REALSetPropValueInteger(exception.Get(), "ErrorNumber", errorNumber);
    host::RuntimeRaiseException(exception.Get());
}

void RaiseException(const char* className, const char* message, int64_t errorNumber) {
    const StringReference text = Message(message);
    RaiseException(className, text.Get(), errorNumber);
}

void RaiseException(const char* className, HostString first, HostString second, HostString third) {
    const StringReference start(host::RuntimeAddString(first, second));
    const StringReference whole(host::RuntimeAddString(start.Get(), third));
    RaiseException(className, whole.Get(), 0);
}

void RaiseIllegalCastException(const char* message) {
    RaiseException("IllegalCastException", message);
}

void RaiseOutOfBoundsException(const char* message) {
    RaiseException("OutOfBoundsException", message);
}

void RaiseOutOfMemoryException(const char* message) {
    RaiseException("OutOfMemoryException", message);
}

void RaiseRuntimeException(const char* message) {
    RaiseException("RuntimeException", message);
}

void RaiseUnsupportedOperationException(const char* message, int64_t errorNumber) {
    RaiseException("UnsupportedOperationException", message, errorNumber);
}

void RaiseUnsupportedOperationException(HostString message, int64_t errorNumber) {
    RaiseException("UnsupportedOperationException", message, errorNumber);
}

void RaiseNilObjectException(const char* message) {
    RaiseException("NilObjectException", message);
}

void RaiseOutOfMemory(const char* format, int64_t bytes) {
    char text[200];
    std::snprintf(text, sizeof text, format, static_cast<long long>(bytes));
    RaiseOutOfMemoryException(text);
}

void RaiseRangeError(int64_t value, int64_t low, int64_t high, const char* parameter, const char* method) {
    if (parameter == nullptr) parameter = "?";
    if (method == nullptr) method = "";
    // A view can be as low as numbers go.
    const int64_t last = high == INT64_MIN ? high : high - 1;
    const size_t bytes = std::strlen(parameter) + std::strlen(method) + 200;
    const TextBuffer text = NewTextBuffer(bytes);
    if (text == nullptr) {
        RaiseOutOfBoundsException("Out of Bounds");
        return;
    }
    std::snprintf(text.get(), bytes,
                  "The parameter %s %s%s is too %s. Range is %lld to %lld, but value is %lld.", parameter,
                  *method != 0 ? "to method " : "", method, value >= low ? "big" : "small",
                  static_cast<long long>(low), static_cast<long long>(last), static_cast<long long>(value));
    RaiseOutOfBoundsException(text.get());
}

void TranslateException(const std::exception& exception) {
    struct Translation {
        const char* text;
        const char* className;
    };
    const auto translation = [&]() -> Translation {
        if (dynamic_cast<const std::bad_alloc*>(&exception) != nullptr) {
            return {"Failed to allocate memory", "OutOfMemoryException"};
        }
        if (dynamic_cast<const std::range_error*>(&exception) != nullptr ||
            dynamic_cast<const std::out_of_range*>(&exception) != nullptr) {
            return {"C++ reports range error", "OutOfBoundsException"};
        }
        if (dynamic_cast<const std::overflow_error*>(&exception) != nullptr) {
            return {"C++ reports overflow error", "OutOfBoundsException"};
        }
        if (dynamic_cast<const std::underflow_error*>(&exception) != nullptr) {
            return {"C++ reports underflow error", "OutOfBoundsException"};
        }
        if (dynamic_cast<const std::bad_cast*>(&exception) != nullptr) {
            return {"C++ Illegal Cast Exception", "IllegalCastException"};
        }
        return {"C++ Exception", "RuntimeException"};
    }();
    const char* what = exception.what();
    const bool empty = what == nullptr || *what == 0;
    const size_t bytes = std::strlen(translation.text) + (empty ? 0 : std::strlen(what)) + 3;
    const TextBuffer text = NewTextBuffer(bytes);
    if (text == nullptr) {
        RaiseException(translation.className, translation.text);
        return;
    }
    std::snprintf(text.get(), bytes, "%s%s%s", translation.text, empty ? "." : ": ", empty ? "" : what);
    RaiseException(translation.className, text.get());
}

void RaiseUnnamedException() {
    TRV_LOG("Unnamed C++ Exception.");
    RaiseRuntimeException("Sorry, but there was an unnamed C++ Exception.");
}

}  // namespace trv
