#pragma once

// Whether two images have the same shape.

#include <cstdint>

#include "frame/host_types.h"

namespace trv {

/// The number of pixels of two images of the same size, sample size and family, whatever they show: rows are
/// fetched and never read. -1 for other images, nil, a closed image and one outside the families; 0 if one is
/// not valid.
int64_t rbCompareImages(HostObject me, HostObject other);

}  // namespace trv
