#pragma once

// Plain bytes and characters into host strings, and the bytes of host strings. rb_text.h reads characters.

#include <cstdint>

#include "frame/host_types.h"

namespace trv {

/// A new host string of `count` bytes in the given encoding, with one reference for the caller; nil for nil
/// bytes, a count outside 1 to 2147483647, or a host that cannot build strings. Bytes of the encodings 0,
/// 513, 1280 and 65535 that are all below 128 become ASCII. UTF-16 and UTF-32, which `bytes` must be aligned
/// for, become UTF-8. A native exception from the host's side becomes a host exception.
[[nodiscard]] HostString REALBuildUnicodeString(const char* bytes, int64_t count, uint32_t encoding);

/// The same from `count` units of UTF-16 and UTF-32. Before host version 2013.0, what is malformed in UTF-32
/// is dropped or replaced as by Utf32ToUtf16; else it is the host that converts.
[[nodiscard]] HostString REALBuildUnicodeStringUTF16(const char16_t* units, int64_t count);
[[nodiscard]] HostString REALBuildUnicodeStringUTF32(const char32_t* units, int64_t count);

/// From zero-terminated texts, ASCII and UTF-16; nil for nil or an empty text.
[[nodiscard]] HostString BuildAsciiString(const char* text);
[[nodiscard]] HostString BuildUtf16String(const char16_t* text);

/// From a text that begins with a byte that tells its length, in the system's encoding if it is not ASCII.
[[nodiscard]] HostString BuildPrefixedString(const uint8_t* text);

/// The four characters of a code, the one in the highest byte first ('abcd' is 0x61626364), as ASCII or, if
/// one is above 127, in the system's encoding.
[[nodiscard]] HostString BuildFourCharCodeString(uint32_t code);

/// The bytes of a host string as they lie in the host; `bytes` is zero-terminated.
struct StringBytes {
    const char* bytes = nullptr;
    int64_t count = 0;
};

/// Where the host keeps a string's bytes, valid while the string lives; null bytes and a count of 0 for nil,
/// and if the host does not show them.
[[nodiscard]] StringBytes BytesOfString(HostString string);

}  // namespace trv
