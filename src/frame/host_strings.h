#pragma once

// Plain bytes into host strings.

#include <cstdint>

#include "frame/host_types.h"

namespace trv {

/// A new host string of `count` bytes in the given encoding, with one reference for the caller; nil for nil
/// bytes, a count outside 1 to 2147483647, or a host that cannot build strings. Bytes of the encodings 0,
/// 513, 1280 and 65535 that are all below 128 become ASCII. A native exception from the host's side becomes a
/// host exception.
[[nodiscard]] HostString REALBuildUnicodeString(const char* bytes, int64_t count, uint32_t encoding);

/// The same from a zero-terminated ASCII text; nil for nil or an empty text.
[[nodiscard]] HostString BuildAsciiString(const char* text);

}  // namespace trv
