#pragma once

#include <opencv2/core.hpp>

#include "cases.h"

namespace trvbench {

inline const std::string kOpenCv = "OpenCV";

/// An image with the common bytes. Everything in OpenCV runs on one thread from here on.
cv::Mat SourceMat(Layout layout, Size size);

/// An image to write to.
cv::Mat TargetMat(Layout layout, Size size);

std::string OpenCvVersion();

}  // namespace trvbench
