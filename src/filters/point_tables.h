#pragma once

// The tables of the point filters.

#include "filters/byte_tables.h"
#include "frame/host_types.h"

namespace trv {

/// (i / 255) to the power of 1 / gamma, rounded; a gamma of 0 gives 0 for all but 255.
[[nodiscard]] ByteTable GammaTable(double gamma);

/// The gray gamma that stands for three: the whole part of each, weighted 77, 151, 28, divided by 256 towards
/// 0.
[[nodiscard]] double GrayGamma(double red, double green, double blue);

/// The bias and gain curves of C. Schlick, "Fast alternatives to Perlin's bias and gain functions" (Graphics
/// Gems IV, 1994) in part: the gain is Perlin's, by powers; the bias is the rational one. Truncated; what is
/// no number is 0.
[[nodiscard]] ByteTable GainTable(double gain, double bias);

/// The low bytes of the first 256 elements of an array of integers, 0 where it has none; nil has none at all.
[[nodiscard]] ByteTable TransferTable(HostObject array);

/// From 255 down to 0 over the lower half, up to 255 over the upper.
extern const ByteTable kSolarizeTable;

}  // namespace trv
