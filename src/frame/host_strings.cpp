#include "frame/host_strings.h"

#include <array>
#include <cstring>
#include <exception>
#include <limits>
#include <memory>
#include <new>
#include <string>

#include "frame/debug_log.h"
#include "frame/failures.h"
#include "frame/references.h"
#include "frame/text_conversion.h"

namespace trv {

namespace {

constexpr int64_t kMostBytes = std::numeric_limits<int32_t>::max();

bool raising = false;

/// Raises a host exception for a native one. Its message is built by the calls that threw, so what they throw
/// meanwhile is let go, or this would never end.
template <class Raise>
void RaiseOnce(Raise raise) {
    if (raising) return;
    raising = true;
    raise();
    raising = false;
}

/// Calls into the host; what is thrown there becomes a host exception, and the result is nil.
template <class Call>
HostString Guarded(Call call) {
    try {
        return call();
    } catch (const std::exception& exception) {
        RaiseOnce([&] { TranslateException(exception); });
    } catch (...) {
        RaiseOnce(RaiseUnnamedException);
    }
    return nullptr;
}

HostString BuildDirectly(const void* bytes, int64_t count, uint32_t encoding) {
    const auto* text = static_cast<const char*>(bytes);
    const auto hostCount = static_cast<int32_t>(count);
    if (HostVersion() >= 2012.0) return host::REALBuildStringWithEncoding(text, hostCount, encoding);
    const HostString string = host::REALBuildString(text, hostCount);
    if (string != nullptr) host::REALSetStringEncoding(string, encoding);
    return string;
}

/// Whether there is a text of that many units that a host string can hold.
bool IsBuildable(const void* units, int64_t count, int64_t unitBytes = 1) {
    if (units == nullptr || count < 1) return false;
    if (count <= kMostBytes / unitBytes) return true;
    TRV_LOG("Count too big for REALBuildUnicodeString.");
    return false;
}

/// The units as a host string of their encoding, which the host then converts to UTF-8.
template <class Unit>
HostString BuildConverted(const Unit* units, int64_t count, uint32_t encoding, const char* failureLabel) {
    const auto bytes = count * static_cast<int64_t>(sizeof(Unit));
    const HostString converted = Guarded([&] {
        const StringReference whole(BuildDirectly(units, bytes, encoding));
        return whole.Get() == nullptr ? nullptr : host::REALConvertString(whole.Get(), kEncodingUtf8);
    });
    if (converted == nullptr) TRV_LOG(failureLabel);
    return converted;
}

/// UTF-32 for a host that does not know it.
HostString BuildByWayOfUtf16(const char32_t* units, int64_t count) {
    static constexpr int64_t kFewUnits = 200;
    std::array<char16_t, 2 * kFewUnits> few;
    std::unique_ptr<char16_t[]> many;
    char16_t* buffer = few.data();
    if (count >= kFewUnits) {
        many.reset(new (std::nothrow) char16_t[2 * static_cast<size_t>(count) + 1]);
        buffer = many.get();
    }
    if (buffer == nullptr) {
        TRV_LOG("Out of memory in REALBuildUnicodeStringUTF32.");
        return nullptr;
    }
    return REALBuildUnicodeStringUTF16(buffer, Utf32ToUtf16(units, count, buffer));
}

}  // namespace

HostString REALBuildUnicodeString(const char* bytes, int64_t count, uint32_t encoding) {
    if (!IsBuildable(bytes, count)) return nullptr;
    switch (encoding) {
        case kEncodingAscii:
        case kEncodingUtf8:
            break;
        case kEncodingUtf16:
            return REALBuildUnicodeStringUTF16(reinterpret_cast<const char16_t*>(bytes), count / 2);
        case kEncodingUtf32:
            return REALBuildUnicodeStringUTF32(reinterpret_cast<const char32_t*>(bytes), count / 4);
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
    return Guarded([&] { return BuildDirectly(bytes, count, encoding); });
}

HostString REALBuildUnicodeStringUTF16(const char16_t* units, int64_t count) {
    if (!IsBuildable(units, count, sizeof *units)) return nullptr;
    return BuildConverted(units, count, kEncodingUtf16, "Out of memory in REALBuildUnicodeStringUTF16.");
}

HostString REALBuildUnicodeStringUTF32(const char32_t* units, int64_t count) {
    if (!IsBuildable(units, count, sizeof *units)) return nullptr;
    if (HostVersion() < 2013.0) return BuildByWayOfUtf16(units, count);
    return BuildConverted(units, count, kEncodingUtf32, "Out of memory in REALBuildUnicodeStringUTF32.");
}

HostString BuildAsciiString(const char* text) {
    if (text == nullptr) return nullptr;
    const auto count = static_cast<int64_t>(std::strlen(text));
    if (debugFlag && !IsAscii(text, count)) TRV_LOG("Error: text is not ascii");
    return REALBuildUnicodeString(text, count, kEncodingAscii);
}

HostString BuildUtf16String(const char16_t* text) {
    if (text == nullptr) return nullptr;
    const auto count = static_cast<int64_t>(std::char_traits<char16_t>::length(text));
    return REALBuildUnicodeStringUTF16(text, count);
}

HostString BuildPrefixedString(const uint8_t* text) {
    if (text == nullptr) return nullptr;
    return REALBuildUnicodeString(reinterpret_cast<const char*>(text + 1), *text, kEncodingNative);
}

HostString BuildFourCharCodeString(uint32_t code) {
    char bytes[4];
    for (int i = 0; i < 4; ++i)
        bytes[i] = static_cast<char>(code >> (24 - 8 * i));
    return REALBuildUnicodeString(bytes, sizeof bytes, kEncodingNative);
}

StringBytes BytesOfString(HostString string) {
    int64_t count = -1;
    const char* bytes = host::StringGetCString(string, &count);
    if (bytes == nullptr) return {};
    // A host without the length method.
    if (count < 0) count = static_cast<int64_t>(std::strlen(bytes));
    return {bytes, count};
}

}  // namespace trv
