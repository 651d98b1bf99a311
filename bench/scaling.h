// Resampling of a whole image.
#pragma once

#include "cases.h"

namespace trvbench {

enum class Filter { Triangle, Lanczos3 };

struct ScaleCase {
    Layout layout;
    Filter filter;
    Size from;
    Size to;
};

}  // namespace trvbench
