#pragma once

#include "scaling.h"

namespace trvbench {

inline const std::string kVips = "libvips";

Work ScaleWithVips(const ScaleCase& scale);

std::string VipsVersion();

}  // namespace trvbench
