// Filters that look at the pixels around a pixel.

#include <cmath>
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

/// Means of squares, and a matrix whose sums stay in range.
struct MatrixCase {
    const char* name;
    std::vector<int64_t> entries;
    double factor;

    [[nodiscard]] int Dimension() const { return static_cast<int>(std::lround(std::sqrt(entries.size()))); }
};

Work MatrixWithPlugin(Layout layout, const MatrixCase& matrix) {
    const Ref source = SourceImage(layout, kLarge);
    const Ref target = EmptyImage(kLarge, FormatOf(layout));
    const trvhost::Array entries = TheHost().NewIntegers(matrix.entries);
    const auto run = TheHost().Method<Ref(Ref, int64_t, Ref, int64_t, double)>(
        "PictureTRV",
        "ApplyMatrix(dest as PictureTRV, MatrixDimension as integer, matrix() as integer, delta as integer, "
        "ScaleFactor as double) as PictureTRV");
    return [=]() {
        Expect(static_cast<bool>(run(source, target, matrix.Dimension(), entries, 0, matrix.factor)),
               "ApplyMatrix");
    };
}

Work MatrixWithOpenCv(Layout layout, const MatrixCase& matrix) {
    const cv::Mat source = SourceMat(layout, kLarge);
    cv::Mat target = TargetMat(layout, kLarge);
    cv::Mat kernel(matrix.Dimension(), matrix.Dimension(), CV_32F);
    std::copy(matrix.entries.begin(), matrix.entries.end(), kernel.begin<float>());
    kernel *= matrix.factor;
    return [=]() mutable {
        cv::filter2D(source, target, -1, kernel, cv::Point(-1, -1), 0, cv::BORDER_REPLICATE);
    };
}

void EnterMatrix(Layout layout, const MatrixCase& matrix) {
    const std::string size = std::to_string(matrix.Dimension());
    EnterLine(std::string("ApplyMatrix ") + size + "x" + size + " " + matrix.name + " " + NameOf(layout) +
                  " " + TextOf(kLarge),
              BytesOf(layout, kLarge), [=] { return MatrixWithPlugin(layout, matrix); },
              {{kOpenCv, [=] { return MatrixWithOpenCv(layout, matrix); }}});
}

/// Widens the difference to a blurred copy, in place. The picture is noise again after each run.
Work UnsharpWithPlugin(double amount) {
    const Ref image = SourceImage(Layout::Rgba, kLarge);
    const Ref blurred = EmptyImage(kLarge, FormatOf(Layout::Rgba));
    TheHost().Call(image, "BoxBlurFilter", blurred, 2.0, true, true);
    const auto run = TheHost().Method<bool(Ref, double, int64_t)>(
        "PictureTRV",
        "UnsharpFilter(origpixels as PictureTRV, Amount as double, Threshold as integer) as boolean");
    return [=]() { Expect(run(image, blurred, amount, 3), "UnsharpFilter"); };
}

Work FractionalBlurWithPlugin() {
    const Ref source = SourceImage(Layout::Rgba, kLarge);
    const Ref target = EmptyImage(kLarge, FormatOf(Layout::Rgba));
    const auto run = TheHost().Method<Ref(Ref, double)>(
        "PictureTRV", "BoxBlurFractionalFilter(dest as PictureTRV, Radius as double) as PictureTRV");
    return [=]() { Expect(static_cast<bool>(run(source, target, 0.3)), "BoxBlurFractionalFilter"); };
}

}  // namespace

void EnterNeighbourhoods() {
    for (const int radius : {2, 10, 50})
        EnterBlur(Layout::Rgba, radius);
    EnterBlur(Layout::Rgb, 10);
    EnterBlur(Layout::Gray, 10);
    const size_t large = BytesOf(Layout::Rgba, kLarge);
    EnterLine("BoxBlurFractionalFilter RGBA " + TextOf(kLarge), large, FractionalBlurWithPlugin, {});
    const MatrixCase sharpen{"sharpen", {0, -1, 0, -1, 5, -1, 0, -1, 0}, 1.0};
    const MatrixCase smooth{"smooth", {1, 2, 1, 2, 4, 2, 1, 2, 1}, 1.0 / 16};
    const MatrixCase mean{"mean", std::vector<int64_t>(49, 1), 1.0 / 49};
    MatrixCase steep{"steep", std::vector<int64_t>(49, -3), 1.0 / 110};
    steep.entries[24] = 254;
    for (const MatrixCase& matrix : {sharpen, smooth, mean, steep})
        EnterMatrix(Layout::Rgba, matrix);
    EnterMatrix(Layout::Rgb, smooth);
    EnterMatrix(Layout::Gray, smooth);
    // Two images are read and one is written, half as much again as by a copy of one.
    for (const auto& [name, amount] : {std::pair{"0.5", 0.5}, {"pi", 3.14159265358979}}) {
        EnterLine(std::string("UnsharpFilter ") + name + " RGBA " + TextOf(kLarge), large,
                  [amount] { return UnsharpWithPlugin(amount); }, {});
    }
}

}  // namespace trvbench
