#include "opencv.h"

#include <algorithm>

namespace trvbench {

cv::Mat SourceMat(Layout layout, Size size) {
    cv::Mat image = TargetMat(layout, size);
    const size_t count = BytesOf(layout, size);
    std::copy_n(SourceBytes(count).data(), count, image.data);
    return image;
}

cv::Mat TargetMat(Layout layout, Size size) {
    cv::setNumThreads(1);
    return {size.height, size.width, CV_8UC(ChannelsOf(layout))};
}

std::string OpenCvVersion() {
    return CV_VERSION;
}

}  // namespace trvbench
