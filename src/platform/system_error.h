#pragma once

// Why the system refused something.

#include <cstdint>

namespace trv {

/// The system's number of the last failure on this thread: GetLastError on Windows, errno elsewhere. Says
/// something only straight behind a call that told failure.
[[nodiscard]] int64_t LastSystemError();

}  // namespace trv
