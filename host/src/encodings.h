// Text encodings by their codes on the boundary.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace trvhost {

/// The bytes in another encoding; none when the source is not valid in its encoding or a code is unknown.
/// Characters that the target lacks become "?". The system default (0) is UTF-8. Bytes of unknown encoding
/// (65535) convert as ASCII if they are, else only to themselves. UTF-16 and UTF-32 are little-endian without
/// mark.
std::optional<std::string> ConvertText(std::string_view bytes, uint32_t from, uint32_t to);

/// Bytes of one code unit.
int UnitSize(uint32_t encoding);

/// The code of an encoding's name ("utf-8", "UTF-16", "us-ascii" and so on, any case); none for an unknown
/// name.
std::optional<uint32_t> EncodingByName(std::string_view name);

}  // namespace trvhost
