#pragma once

// A square matrix of whole numbers over the neighbourhood of each pixel. All channels of the layout are
// treated alike, alpha too, and nothing is divided by the matrix's sum: that is what the factor is for.

#include <cstdint>

#include "frame/host_types.h"

namespace trv {

/// Writes, for each sample of `me`, delta plus the sum of the samples around it times the entries of
/// `matrix`, an array of Integer in rows of `dimension`, the whole times `scaleFactor`, truncated and brought
/// into a byte. The window reaches dimension / 2 pixels up and left; pixels beyond an edge repeat it. An
/// entry of 255 or more is a hole and adds nothing; the array counts up to its 2500th element, and what is
/// missing is 0.
///
/// Into `dest`, or for nil into a new image, whose width is the height of `me` and the other way round; of
/// what does not fit nothing is written. The result comes with a reference for the caller. Nil, with nothing
/// written, for an image that a filter refuses. Where `dest` shows the pixels of `me`, sums take part in what
/// was written already.
HostObject rbApplyMatrixScaled(HostObject me, HostObject dest, int64_t dimension, HostObject matrix,
                               int64_t delta, double scaleFactor);

/// The same with a factor of 1.
HostObject rbApplyMatrixDelta(HostObject me, HostObject dest, int64_t dimension, HostObject matrix,
                              int64_t delta);

/// The same with a factor of 1 and a delta of 0.
HostObject rbApplyMatrix(HostObject me, HostObject dest, int64_t dimension, HostObject matrix);

}  // namespace trv
