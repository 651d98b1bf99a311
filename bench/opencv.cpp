#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include "cases.h"

namespace trvbench {
namespace {

int TypeOf(Layout layout) {
    return CV_8UC(ChannelsOf(layout));
}

cv::Mat SourceImage(Layout layout, Size size) {
    cv::Mat image(size.height, size.width, TypeOf(layout));
    const auto bytes = SourceBytes(BytesOf(layout, size));
    std::copy_n(bytes.data(), BytesOf(layout, size), image.data);
    return image;
}

// The area average is OpenCV's only filter that takes every source pixel into account when it reduces; the
// other two look at 2x2 and 8x8 pixels whatever the factor.
int InterpolationOf(const ScaleCase& scale) {
    if (scale.to.width < scale.from.width) return cv::INTER_AREA;
    return scale.filter == Filter::Triangle ? cv::INTER_LINEAR : cv::INTER_LANCZOS4;
}

}  // namespace

Work ScaleWithOpenCv(const ScaleCase& scale) {
    cv::setNumThreads(1);
    const cv::Mat source = SourceImage(scale.layout, scale.from);
    cv::Mat target(scale.to.height, scale.to.width, TypeOf(scale.layout));
    return [=]() mutable { cv::resize(source, target, target.size(), 0, 0, InterpolationOf(scale)); };
}

Work FillWithOpenCv(Layout layout, Size size) {
    cv::setNumThreads(1);
    cv::Mat image = SourceImage(layout, size);
    return [=]() mutable { image.setTo(cv::Scalar(10, 20, 30, 40)); };
}

Work CloneWithOpenCv(Layout layout, Size size) {
    cv::setNumThreads(1);
    const cv::Mat image = SourceImage(layout, size);
    return [=]() { const cv::Mat copy = image.clone(); };
}

std::string OpenCvVersion() {
    return CV_VERSION;
}

}  // namespace trvbench
