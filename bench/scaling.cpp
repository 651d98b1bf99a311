#include "scaling.h"

#include <algorithm>
#include <opencv2/imgproc.hpp>

#include "opencv.h"
#include "pillow.h"
#include "plugin.h"
#include "vips.h"
#include "zimg.h"

namespace trvbench {
namespace {

constexpr Size kSmall = {1000, 750};

Work ScaleWithPlugin(const ScaleCase& scale) {
    const Ref source = SourceImage(scale.layout, scale.from);
    const Ref target = EmptyImage(scale.to, FormatOf(scale.layout));
    const int64_t mode = Constant(scale.filter == Filter::Triangle ? "ScaleTriangle" : "ScaleLanczos3");
    const auto run = TheHost().Method<bool(Ref, Ref, int64_t, int64_t, int64_t)>("PictureTRV", "Scale");
    return [=]() { Expect(run(target, source, Ref(), mode, scale.to.width, scale.to.height), "Scale"); };
}

// The area average is OpenCV's only filter that takes every source pixel into account when it reduces; the
// other two look at 2x2 and 8x8 pixels whatever the factor.
int InterpolationOf(const ScaleCase& scale) {
    if (scale.to.width < scale.from.width) return cv::INTER_AREA;
    return scale.filter == Filter::Triangle ? cv::INTER_LINEAR : cv::INTER_LANCZOS4;
}

Work ScaleWithOpenCv(const ScaleCase& scale) {
    const cv::Mat source = SourceMat(scale.layout, scale.from);
    cv::Mat target = TargetMat(scale.layout, scale.to);
    return [=]() mutable { cv::resize(source, target, target.size(), 0, 0, InterpolationOf(scale)); };
}

Work ScaleWithPillow(const ScaleCase& scale) {
    const std::string size = std::to_string(scale.to.width) + ", " + std::to_string(scale.to.height);
    const std::string filter = scale.filter == Filter::Triangle ? "BILINEAR" : "LANCZOS";
    return PillowWork(scale.layout, scale.from,
                      "image.resize((" + size + "), Image.Resampling." + filter + ")");
}

void EnterScale(const ScaleCase& scale) {
    const std::string filter = scale.filter == Filter::Triangle ? "ScaleTriangle" : "ScaleLanczos3";
    EnterLine(filter + " " + NameOf(scale.layout) + " " + TextOf(scale.from) + " to " + TextOf(scale.to),
              std::max(BytesOf(scale.layout, scale.from), BytesOf(scale.layout, scale.to)),
              [=] { return ScaleWithPlugin(scale); },
              {{kOpenCv, [=] { return ScaleWithOpenCv(scale); }},
               {kVips, [=] { return ScaleWithVips(scale); }},
               {kZimg, [=] { return ScaleWithZimg(scale); }},
               {kPillow, [=] { return ScaleWithPillow(scale); }}});
}

}  // namespace

void EnterScaling() {
    for (const Layout layout : {Layout::Rgba, Layout::Rgb, Layout::Gray}) {
        for (const Filter filter : {Filter::Lanczos3, Filter::Triangle}) {
            EnterScale({layout, filter, kLarge, kSmall});
            EnterScale({layout, filter, kSmall, kLarge});
        }
    }
}

}  // namespace trvbench
