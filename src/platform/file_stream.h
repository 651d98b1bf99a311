#pragma once

// Streams over files.

#include <cstdio>

#include "platform/system_error.h"

namespace trv {

/// Opens a file as `fopen` does. `path` is UTF-8 and may be longer than 260 characters if it is absolute.
/// Null on failure, and for a nil path or mode.
[[nodiscard]] std::FILE* OpenStream(const char* path, const char* mode);

}  // namespace trv
