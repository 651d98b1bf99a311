#pragma once

#include "cases.h"

namespace trvbench {

inline const std::string kGraphicsMagick = "GraphicsMagick";

/// Its oil painting of an RGBA image, which looks for the most frequent of 256 tones of brightness.
Work OilWithGraphicsMagick(int radius);

}  // namespace trvbench
