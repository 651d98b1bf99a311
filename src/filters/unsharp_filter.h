#pragma once

// Sharpens an image by a second one of the same size, usually a blurred copy: where the two differ, the
// difference is widened.

#include <cstdint>

#include "frame/host_types.h"

namespace trv {

/// Changes `me`. A sample i that differs from the sample j of `origpixels` by at least `threshold` (its low
/// 32 bits, with sign) becomes (i - j) * (4 * amount + 1) + j, truncated and brought into a byte; where that
/// is no number, and where they differ by less, it stays. Alpha is a sample like any other, and CMYK without
/// alpha has its byte at offset 0 done once more. False, with nothing changed, for nil, for images that are
/// not valid, of 16 bits, closed, or of different width, height or format; true for layouts without a family,
/// which stay as they are.
[[nodiscard]] Boolean rbUnsharpFilter(HostObject me, HostObject origpixels, double amount, int64_t threshold);

}  // namespace trv
