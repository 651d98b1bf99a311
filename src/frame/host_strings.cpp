#include "frame/host_strings.h"

#include <algorithm>
#include <cstring>

#include "frame/debug_log.h"
#include "frame/failures.h"
#include "frame/host_calls.h"

namespace trv {

namespace {

bool IsAscii(const char* bytes, int64_t count) {
    return std::none_of(bytes, bytes + count, [](char c) { return static_cast<unsigned char>(c) > 127; });
}

HostString BuildDirectly(const char* bytes, int64_t count, uint32_t encoding) {
    if (HostVersion() >= 2012.0) {
        return host::REALBuildStringWithEncoding(bytes, static_cast<int32_t>(count), encoding);
    }
    const HostString string = host::REALBuildString(bytes, static_cast<int32_t>(count));
    if (string != nullptr) host::REALSetStringEncoding(string, encoding);
    return string;
}

}  // namespace

HostString REALBuildUnicodeString(const char* bytes, int64_t count, uint32_t encoding) {
    if (bytes == nullptr || count < 1) return nullptr;
    if (count > INT32_MAX) {
        TRV_LOG("Count too big for REALBuildUnicodeString.");
        return nullptr;
    }
    switch (encoding) {
        case kEncodingAscii:
        case kEncodingUtf8:
            break;
        case kEncodingNative:
        case kEncodingLatin:
        case kEncodingAnsi:
        case kEncodingUnknown:
            if (IsAscii(bytes, count)) encoding = kEncodingAscii;
            break;
        default:
            TRV_LOG("Unknown encoding in REALBuildUnicodeString");
            break;
    }
    try {
        return BuildDirectly(bytes, count, encoding);
    } catch (const std::exception& exception) {
        TranslateException(exception);
    } catch (...) {
        RaiseUnnamedException();
    }
    return nullptr;
}

HostString BuildAsciiString(const char* text) {
    if (text == nullptr) return nullptr;
    const int64_t count = static_cast<int64_t>(std::strlen(text));
    if (debugFlag && !IsAscii(text, count)) TRV_LOG("Error: text is not ascii");
    return REALBuildUnicodeString(text, count, kEncodingAscii);
}

}  // namespace trv
