#pragma once

// The oil painting filter: each sample becomes the mean of the most frequent tones around it.

#include <cstdint>

#include "frame/host_types.h"

namespace trv {

/// For each sample, the samples of its channel within `range` pixels in both directions are sorted into
/// `levels` equal bands of tones, and the mean of the fullest band, the darkest of equals, is the result; the
/// channels go by themselves. At most 256 levels count. With 0 levels each result is the mean of all windows
/// so far; negative levels give nil. A negative range gives 255, in CMYK images to cyan and black alone.
///
/// Gives the destination, `dest` or a new image, with one reference for the caller, or nil with the reason in
/// the log. A destination that shows the same pixels as the source is filtered in reading order, each window
/// holding what was written before. The cost of a pixel does not depend on the range.
HostObject rbOilFilter(HostObject me, HostObject dest, int64_t levels, int64_t range);

}  // namespace trv
