#include <libyuv.h>
#include <opencv2/imgproc.hpp>

#include "opencv.h"
#include "pillow.h"
#include "plugin.h"

namespace trvbench {
namespace {

const std::string kLibyuv = "libyuv";
constexpr int kRow = kLarge.width * 4;

std::string Named(const char* name) {
    return std::string(name) + " " + TextOf(kLarge);
}

// Through a mask
// ----------------------------------------------------------------------------------------------------

Work CombineWithPlugin(Layout mask) {
    const Ref dest = SourceImage(Layout::Rgba, kLarge), source = SourceImage(Layout::Rgba, kLarge);
    const Ref by = SourceImage(mask, kLarge);
    const auto run =
        TheHost().Method<bool(Ref, Ref, int64_t, int64_t, int64_t, int64_t, int64_t, int64_t, bool)>(
            "PictureTRV",
            "Combine(Image as PictureTRV, Mask as PictureTRV, DestX As Integer, DestY As Integer, SourceX As "
            "Integer, SourceY As Integer, Width As Integer, Height As Integer, UseColours As Boolean) as "
            "boolean");
    return
        [=]() { Expect(run(dest, source, by, 0, 0, 0, 0, kLarge.width, kLarge.height, false), "Combine"); };
}

/// Over two pictures into a third, or over one and a colour.
Work BlendWithPlugin(Layout mask, bool colour) {
    const Ref source = SourceImage(Layout::Rgba, kLarge), result = EmptyImage(kLarge, FormatOf(Layout::Rgba));
    const Ref dest = colour ? Ref() : SourceImage(Layout::Rgba, kLarge);
    const Ref by = SourceImage(mask, kLarge);
    const auto run = TheHost().SharedMethod<bool(Ref, Ref, Ref, Ref, trvhost::Color)>(
        "PictureTRV",
        "BlendPicturesWithMaskWithBackground(SourceImage as PictureTRV, DestImage as PictureTRV, Mask as "
        "PictureTRV, Result as PictureTRV, BackgroundColour as Color) as Boolean");
    return [=]() { Expect(run(source, dest, by, result, trvhost::Color{0x336699}), "Blend"); };
}

Work CompositeWithPillow() {
    const std::string size = std::to_string(kLarge.width) + ", " + std::to_string(kLarge.height);
    return PillowWork(
        "a = noise('RGBA', " + size + "); b = noise('RGBA', " + size + "); m = noise('L', " + size + ")",
        "Image.composite(a, b, m)");
}

/// A premultiplied picture over another one by its own alpha: it has no blend of 4-byte pixels by a mask.
Work BlendWithLibyuv() {
    const cv::Mat above = SourceMat(Layout::Rgba, kLarge), below = SourceMat(Layout::Rgba, kLarge);
    cv::Mat target = TargetMat(Layout::Rgba, kLarge);
    return [=]() {
        libyuv::ARGBBlend(above.data, kRow, below.data, kRow, target.data, kRow, kLarge.width, kLarge.height);
    };
}

/// Four planes of bytes by a plane of alpha, as long a row as 4-byte pixels have.
Work BlendPlaneWithLibyuv() {
    const cv::Mat above = SourceMat(Layout::Rgba, kLarge), below = SourceMat(Layout::Rgba, kLarge),
                  alpha = SourceMat(Layout::Rgba, kLarge);
    cv::Mat target = TargetMat(Layout::Rgba, kLarge);
    return [=]() {
        libyuv::BlendPlane(above.data, kRow, below.data, kRow, alpha.data, kRow, target.data, kRow, kRow,
                           kLarge.height);
    };
}

void EnterBlends() {
    // memcpy reads and writes one picture, while these read two or three and write one.
    const size_t rgba = BytesOf(Layout::Rgba, kLarge);
    EnterLine(Named("Combine RGBA, RGBA mask"), rgba, [] { return CombineWithPlugin(Layout::Rgba); },
              {{kLibyuv, BlendPlaneWithLibyuv}});
    EnterLine(Named("Combine RGBA, gray mask"), rgba, [] { return CombineWithPlugin(Layout::Gray); },
              {{kPillow, CompositeWithPillow}, {kLibyuv, BlendWithLibyuv}});
    EnterLine(Named("Blend RGBA, RGBA mask"), rgba, [] { return BlendWithPlugin(Layout::Rgba, false); },
              {{kLibyuv, BlendPlaneWithLibyuv}});
    EnterLine(Named("Blend RGBA, gray mask"), rgba, [] { return BlendWithPlugin(Layout::Gray, false); },
              {{kPillow, CompositeWithPillow}, {kLibyuv, BlendWithLibyuv}});
    EnterLine(Named("Blend RGBA on a colour"), rgba, [] { return BlendWithPlugin(Layout::Gray, true); },
              {{kLibyuv, BlendWithLibyuv}});
}

// In place
// ----------------------------------------------------------------------------------------------------------

Work InPlaceWithPlugin(Layout layout, const char* method) {
    const Ref image = SourceImage(layout, kLarge);
    const auto run = TheHost().Method<void()>("PictureTRV", method);
    return [=]() { run(image); };
}

using YuvMultiplication = int (*)(const uint8_t*, int, uint8_t*, int, int, int);

Work MultiplyWithLibyuv(YuvMultiplication multiply) {
    const cv::Mat image = SourceMat(Layout::Rgba, kLarge);
    return [=]() { multiply(image.data, kRow, image.data, kRow, kLarge.width, kLarge.height); };
}

Work InvertWithOpenCv(Layout layout) {
    cv::Mat image = SourceMat(layout, kLarge);
    return [=]() mutable { cv::bitwise_not(image, image); };
}

/// In colour before each run: a picture that is gray already asks for less.
Work GrayWithPlugin(Layout layout, int64_t mode) {
    const Ref image = SourceImage(layout, kLarge), colours = SourceImage(layout, kLarge);
    const auto run = TheHost().Method<bool(int64_t)>("PictureTRV", "RGBToGray");
    const auto copy =
        TheHost().Method<bool(Ref)>("PictureTRV", "CopyPixels(source as PictureTRV) as boolean");
    return {[=]() { Expect(run(image, mode), "RGBToGray"); },
            [=]() { Expect(copy(image, colours), "CopyPixels"); }};
}

/// To one channel and back to as many as before, which is what in place comes to.
Work GrayWithOpenCv(Layout layout) {
    const cv::Mat colours = SourceMat(layout, kLarge);
    cv::Mat image = SourceMat(layout, kLarge);
    cv::Mat gray = TargetMat(Layout::Gray, kLarge);
    const bool alpha = layout == Layout::Rgba;
    return {[=]() mutable {
                cv::cvtColor(image, gray, alpha ? cv::COLOR_RGBA2GRAY : cv::COLOR_RGB2GRAY);
                cv::cvtColor(gray, image, alpha ? cv::COLOR_GRAY2RGBA : cv::COLOR_GRAY2RGB);
            },
            [=]() mutable { colours.copyTo(image); }};
}

/// Half of it: one channel for three or four.
Work GrayChannelWithOpenCv(Layout layout) {
    const cv::Mat colours = SourceMat(layout, kLarge);
    cv::Mat image = SourceMat(layout, kLarge);
    cv::Mat gray = TargetMat(Layout::Gray, kLarge);
    return {[=]() mutable {
                cv::cvtColor(image, gray, layout == Layout::Rgba ? cv::COLOR_RGBA2GRAY : cv::COLOR_RGB2GRAY);
            },
            [=]() mutable { colours.copyTo(image); }};
}

Work AutoLevelWithPlugin() {
    const Ref image = SourceImage(Layout::Rgba, kLarge);
    const auto run = TheHost().Method<bool()>("PictureTRV", "AutoLevel as boolean");
    return [=]() { Expect(run(image), "AutoLevel"); };
}

void EnterInPlace() {
    const size_t rgba = BytesOf(Layout::Rgba, kLarge);
    EnterLine(Named("Multiply RGBA"), rgba, [] { return InPlaceWithPlugin(Layout::Rgba, "Multiply"); },
              {{kLibyuv, [] { return MultiplyWithLibyuv(&libyuv::ARGBAttenuate); }}});
    EnterLine(Named("Unmultiply RGBA"), rgba, [] { return InPlaceWithPlugin(Layout::Rgba, "Unmultiply"); },
              {{kLibyuv, [] { return MultiplyWithLibyuv(&libyuv::ARGBUnattenuate); }}});
    for (const Layout layout : {Layout::Rgba, Layout::Rgb}) {
        EnterLine(std::string("Invert ") + NameOf(layout) + " " + TextOf(kLarge), BytesOf(layout, kLarge),
                  [=] { return InPlaceWithPlugin(layout, "Invert"); },
                  {{kOpenCv, [=] { return InvertWithOpenCv(layout); }}});
    }
    for (const int64_t mode : {0, 2, 4}) {
        for (const Layout layout : {Layout::Rgba, Layout::Rgb}) {
            EnterLine("RGBToGray " + std::to_string(mode) + " " + NameOf(layout) + " " + TextOf(kLarge),
                      BytesOf(layout, kLarge), [=] { return GrayWithPlugin(layout, mode); },
                      {{kOpenCv, [=] { return GrayWithOpenCv(layout); }},
                       {"to one", [=] { return GrayChannelWithOpenCv(layout); }}});
        }
    }
    EnterLine(Named("AutoLevel RGBA"), rgba, [] { return AutoLevelWithPlugin(); }, {});
}

}  // namespace

void EnterCompositing() {
    EnterBlends();
    EnterInPlace();
}

}  // namespace trvbench
