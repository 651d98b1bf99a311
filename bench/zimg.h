#pragma once

#include "scaling.h"

namespace trvbench {

inline const std::string kZimg = "zimg";

Work ScaleWithZimg(const ScaleCase& scale);

std::string ZimgVersion();

}  // namespace trvbench
