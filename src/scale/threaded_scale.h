#pragma once

// The threaded scaler: `Scale` with both passes spread over workers. A row computes the same values on either
// path, so the bytes are the same.

#include <cstdint>

#include "frame/host_types.h"

namespace trv {

/// The host method `ScaleMT`. `threads` as for RunThreads. Mapped images go to the plain scaler, since they
/// show one window of rows at a time, and so does a temp that CreatePicture gave mapped or in another format.
Boolean rbScaleMT(HostObject me, int64_t threads, HostObject source, HostObject temp, int64_t mode,
                  int64_t width, int64_t height);

}  // namespace trv
