// Filters that look at the pixels around a pixel.

#include <libyuv/planar_functions.h>
#include <opencv2/imgproc.hpp>

#include "opencv.h"
#include "pillow.h"
#include "plugin.h"

namespace trvbench {
namespace {

const std::string kLibyuv = "libyuv";

Work BlurWithPlugin(Layout layout, int radius) {
    const Ref source = SourceImage(layout, kLarge);
    const Ref target = EmptyImage(kLarge, FormatOf(layout));
    const auto run = TheHost().Method<Ref(Ref, double, bool, bool)>(
        "PictureTRV",
        "BoxBlurFilter(dest as PictureTRV, Radius as double, Vertical as boolean = true, Horizontal as "
        "boolean = true) as PictureTRV");
    return [=]() { Expect(static_cast<bool>(run(source, target, radius, true, true)), "BoxBlurFilter"); };
}

Work BlurWithOpenCv(Layout layout, int radius) {
    const cv::Mat source = SourceMat(layout, kLarge);
    cv::Mat target = TargetMat(layout, kLarge);
    const cv::Size window(2 * radius + 1, 2 * radius + 1);
    return [=]() mutable { cv::blur(source, target, window, cv::Point(-1, -1), cv::BORDER_REPLICATE); };
}

Work BlurWithLibyuv(int radius) {
    const cv::Mat source = SourceMat(Layout::Rgba, kLarge);
    const cv::Mat target = TargetMat(Layout::Rgba, kLarge);
    const int rowSize = kLarge.width * 4;
    const auto sums = std::make_shared<std::vector<int32_t>>(static_cast<size_t>(rowSize) *
                                                             static_cast<size_t>(2 * radius + 2));
    return [=]() {
        libyuv::ARGBBlur(source.data, rowSize, target.data, rowSize, sums->data(), rowSize, kLarge.width,
                         kLarge.height, radius);
    };
}

void EnterBlur(Layout layout, int radius) {
    std::vector<Peer> peers = {{kOpenCv, [=] { return BlurWithOpenCv(layout, radius); }},
                               {kPillow, [=] {
                                    return PillowWork(
                                        layout, kLarge,
                                        "image.filter(ImageFilter.BoxBlur(" + std::to_string(radius) + "))");
                                }}};
    if (layout == Layout::Rgba) peers.push_back({kLibyuv, [=] { return BlurWithLibyuv(radius); }});
    EnterLine(
        "BoxBlurFilter " + std::to_string(radius) + " " + NameOf(layout) + " " + TextOf(kLarge),
        BytesOf(layout, kLarge), [=] { return BlurWithPlugin(layout, radius); }, peers);
}

}  // namespace

void EnterNeighbourhoods() {
    for (const int radius : {2, 10, 50})
        EnterBlur(Layout::Rgba, radius);
    EnterBlur(Layout::Rgb, 10);
    EnterBlur(Layout::Gray, 10);
}

}  // namespace trvbench
