#include <libyuv.h>
#include <opencv2/imgproc.hpp>

#include "opencv.h"
#include "pillow.h"
#include "plugin.h"

namespace trvbench {
namespace {

const std::string kLibyuv = "libyuv";
constexpr Layout kLayout = Layout::Rgba;

constexpr Size Turned(Size size) {
    return {size.height, size.width};
}

// Mirrors
// -----------------------------------------------------------------------------------------------------------

Work MirrorWithPlugin(const char* method) {
    const Ref image = SourceImage(kLayout, kLarge);
    const auto run = TheHost().Method<void()>("PictureTRV", method);
    return [=]() { run(image); };
}

/// Into another image of its own, since the others have nothing in place.
Work FlipWithOpenCv(int code) {
    const cv::Mat source = SourceMat(kLayout, kLarge);
    cv::Mat target = TargetMat(kLayout, kLarge);
    return [=]() mutable { cv::flip(source, target, code); };
}

Work MirrorWithLibyuv(bool columns) {
    const cv::Mat source = SourceMat(kLayout, kLarge);
    cv::Mat target = TargetMat(kLayout, kLarge);
    const int row = kLarge.width * 4;
    return [=]() {
        if (columns) {
            libyuv::ARGBMirror(source.data, row, target.data, row, kLarge.width, kLarge.height);
        } else {
            libyuv::ARGBCopy(source.data, row, target.data, row, kLarge.width, -kLarge.height);
        }
    };
}

void EnterMirrors() {
    const size_t bytes = BytesOf(kLayout, kLarge);
    EnterLine(
        "HMirror RGBA", bytes, [] { return MirrorWithPlugin("HMirror"); },
        {{kOpenCv, [] { return FlipWithOpenCv(1); }},
         {kPillow, [] { return PillowWork(kLayout, kLarge, "image.transpose(Image.FLIP_LEFT_RIGHT)"); }},
         {kLibyuv, [] { return MirrorWithLibyuv(true); }}});
    EnterLine(
        "VMirror RGBA", bytes, [] { return MirrorWithPlugin("VMirror"); },
        {{kOpenCv, [] { return FlipWithOpenCv(0); }},
         {kPillow, [] { return PillowWork(kLayout, kLarge, "image.transpose(Image.FLIP_TOP_BOTTOM)"); }},
         {kLibyuv, [] { return MirrorWithLibyuv(false); }}});
}

// Turns
// -------------------------------------------------------------------------------------------------------------

Work TurnWithPlugin(const char* declaration, Size targetSize) {
    const Ref source = SourceImage(kLayout, kLarge);
    const Ref target = EmptyImage(targetSize, FormatOf(kLayout));
    const auto run = TheHost().Method<Ref(Ref)>("PictureTRV", declaration);
    return [=]() { Expect(static_cast<bool>(run(source, target)), declaration); };
}

Work TurnWithOpenCv(cv::RotateFlags way, Size targetSize) {
    const cv::Mat source = SourceMat(kLayout, kLarge);
    cv::Mat target = TargetMat(kLayout, targetSize);
    return [=]() mutable { cv::rotate(source, target, way); };
}

Work TurnWithLibyuv(libyuv::RotationMode way, Size targetSize) {
    const cv::Mat source = SourceMat(kLayout, kLarge);
    cv::Mat target = TargetMat(kLayout, targetSize);
    return [=]() {
        libyuv::ARGBRotate(source.data, kLarge.width * 4, target.data, targetSize.width * 4, kLarge.width,
                           kLarge.height, way);
    };
}

void EnterTurns() {
    const struct {
        const char* name;
        const char* declaration;
        cv::RotateFlags openCv;
        const char* pillow;
        libyuv::RotationMode libyuv;
        Size size;
    } turns[] = {
        {"Rotate90 RGBA", "Rotate90(dest as PictureTRV=nil) as PictureTRV", cv::ROTATE_90_COUNTERCLOCKWISE,
         "image.transpose(Image.ROTATE_90)", libyuv::kRotate270, Turned(kLarge)},
        {"Rotate180 RGBA", "Rotate180(dest as PictureTRV=nil) as PictureTRV", cv::ROTATE_180,
         "image.transpose(Image.ROTATE_180)", libyuv::kRotate180, kLarge},
        {"Rotate270 RGBA", "Rotate270(dest as PictureTRV=nil) as PictureTRV", cv::ROTATE_90_CLOCKWISE,
         "image.transpose(Image.ROTATE_270)", libyuv::kRotate90, Turned(kLarge)},
    };
    for (const auto& turn : turns) {
        EnterLine(turn.name, BytesOf(kLayout, kLarge),
                  [turn] { return TurnWithPlugin(turn.declaration, turn.size); },
                  {{kOpenCv, [turn] { return TurnWithOpenCv(turn.openCv, turn.size); }},
                   {kPillow, [turn] { return PillowWork(kLayout, kLarge, turn.pillow); }},
                   {kLibyuv, [turn] { return TurnWithLibyuv(turn.libyuv, turn.size); }}});
    }
}

// Free rotation
// ------------------------------------------------------------------------------------------------------

constexpr double kAngle = 30;

Work RotateWithPlugin() {
    const Ref source = SourceImage(kLayout, kLarge);
    const auto run = TheHost()
                         .Method<Ref(double, int64_t, int64_t, int64_t, int64_t, int64_t, int64_t, int64_t,
                                     int64_t, int64_t)>("PictureTRV", "Rotate");
    return [=]() { Expect(static_cast<bool>(run(source, kAngle, 0, 0, 0, 0, 0, 0, 0, 0, 0)), "Rotate"); };
}

/// Into a new image of the same size as the plug-in's, as that one makes.
Work RotateWithOpenCv() {
    const cv::Mat source = SourceMat(kLayout, kLarge);
    const Ref result = TheHost().Call(SourceImage(kLayout, kLarge), "Rotate", kAngle).ToThing();
    const cv::Size size(static_cast<int>(TheHost().Get<int64_t>(result, "Width")),
                        static_cast<int>(TheHost().Get<int64_t>(result, "Height")));
    cv::Mat matrix =
        cv::getRotationMatrix2D(cv::Point2f(kLarge.width / 2.0F, kLarge.height / 2.0F), kAngle, 1);
    matrix.at<double>(0, 2) += (size.width - kLarge.width) / 2.0;
    matrix.at<double>(1, 2) += (size.height - kLarge.height) / 2.0;
    return [=]() {
        cv::Mat target;
        cv::warpAffine(source, target, matrix, size, cv::INTER_LINEAR, cv::BORDER_CONSTANT);
    };
}

void EnterRotations() {
    EnterLine("Rotate RGBA by 30 degrees", BytesOf(kLayout, kLarge), RotateWithPlugin,
              {{kOpenCv, RotateWithOpenCv},
               {kPillow, [] {
                    return PillowWork(kLayout, kLarge,
                                      "image.rotate(30, resample=Image.BILINEAR, expand=True)");
                }}});
}

// Scaling with threads, and to the nearest pixel
// -----------------------------------------------------------------------------

Work ScaleWithThreads(int64_t threads, Size size) {
    const Ref source = SourceImage(kLayout, kLarge);
    const Ref target = EmptyImage(size, FormatOf(kLayout));
    const auto run =
        TheHost().Method<bool(int64_t, Ref, Ref, int64_t, int64_t, int64_t)>("PictureTRV", "ScaleMT");
    const int64_t mode = Constant("ScaleLanczos3");
    return [=]() {
        Expect(run(target, threads, source, Ref(), mode, int64_t{size.width}, int64_t{size.height}),
               "ScaleMT");
    };
}

Work ScaleFastWithPlugin(Size size) {
    const Ref source = SourceImage(kLayout, kLarge);
    const Ref target = EmptyImage(size, FormatOf(kLayout));
    const auto run = TheHost().Method<bool(Ref, int64_t, int64_t)>("PictureTRV", "ScaleFast");
    return [=]() { Expect(run(target, source, int64_t{size.width}, int64_t{size.height}), "ScaleFast"); };
}

Work NearestWithOpenCv(Size size) {
    const cv::Mat source = SourceMat(kLayout, kLarge);
    cv::Mat target = TargetMat(kLayout, size);
    return [=]() mutable { cv::resize(source, target, target.size(), 0, 0, cv::INTER_NEAREST); };
}

Work NearestWithLibyuv(Size size) {
    const cv::Mat source = SourceMat(kLayout, kLarge);
    cv::Mat target = TargetMat(kLayout, size);
    return [=]() {
        libyuv::ARGBScale(source.data, kLarge.width * 4, kLarge.width, kLarge.height, target.data,
                          size.width * 4, size.width, size.height, libyuv::kFilterNone);
    };
}

void EnterOtherScaling() {
    for (const Size size : {Size{2000, 1500}, Size{3900, 2900}}) {
        for (const int64_t threads : {1, 2}) {
            EnterLine("ScaleMT, " + std::to_string(threads) + (threads == 1 ? " thread" : " threads") + ", " +
                          TextOf(size),
                      BytesOf(kLayout, kLarge), [=] { return ScaleWithThreads(threads, size); }, {});
        }
    }
    for (const Size size : {Size{2000, 1500}, Size{1700, 1300}}) {
        const std::string text = "(" + std::to_string(size.width) + ", " + std::to_string(size.height) + ")";
        EnterLine("ScaleFast RGBA to " + TextOf(size), BytesOf(kLayout, kLarge),
                  [=] { return ScaleFastWithPlugin(size); },
                  {{kOpenCv, [=] { return NearestWithOpenCv(size); }},
                   {kPillow,
                    [=] { return PillowWork(kLayout, kLarge, "image.resize(" + text + ", Image.NEAREST)"); }},
                   {kLibyuv, [=] { return NearestWithLibyuv(size); }}});
    }
}

}  // namespace

void EnterGeometry() {
    EnterMirrors();
    EnterTurns();
    EnterRotations();
    EnterOtherScaling();
}

}  // namespace trvbench
