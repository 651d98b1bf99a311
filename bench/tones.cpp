// Filters of single samples.

#include <opencv2/imgproc.hpp>

#include "opencv.h"
#include "plugin.h"

namespace trvbench {
namespace {

/// Gamma with a table for each channel of an RGBA image.
Work GammaWithPlugin() {
    const Ref source = SourceImage(Layout::Rgba, kLarge);
    const Ref target = EmptyImage(kLarge, FormatOf(Layout::Rgba));
    const auto run = TheHost().Method<Ref(Ref, double, double, double, double)>(
        "PictureTRV",
        "GammaFilter(dest as PictureTRV, redGamma as double, greenGamma as double, blueGamma as double, "
        "alphaGamma as double) as PictureTRV");
    return [=]() { Expect(static_cast<bool>(run(source, target, 2.0, 1.8, 1.6, 1.4)), "GammaFilter"); };
}

/// Gamma of the colours alone, alpha left as it is.
Work GammaOfColoursWithPlugin(Layout layout) {
    const Ref source = SourceImage(layout, kLarge);
    const Ref target = EmptyImage(kLarge, FormatOf(layout));
    const auto run = TheHost().Method<Ref(Ref, double)>(
        "PictureTRV", "GammaFilter(dest as PictureTRV, gamma as double) as PictureTRV");
    return [=]() { Expect(static_cast<bool>(run(source, target, 2.0)), "GammaFilter"); };
}

Work SolarizeWithPlugin(Layout layout) {
    const Ref source = SourceImage(layout, kLarge);
    const Ref target = EmptyImage(kLarge, FormatOf(layout));
    const auto run =
        TheHost().Method<Ref(Ref)>("PictureTRV", "SolarizeFilter(dest as PictureTRV) as PictureTRV");
    return [=]() { Expect(static_cast<bool>(run(source, target)), "SolarizeFilter"); };
}

Work DitherWithPlugin(Layout layout, int levels) {
    const Ref source = SourceImage(layout, kLarge);
    const Ref target = EmptyImage(kLarge, FormatOf(layout));
    const auto run = TheHost().Method<Ref(Ref, int64_t, int64_t)>(
        "PictureTRV", "DitherFilter(dest as PictureTRV, matrix as integer, levels as integer) as PictureTRV");
    const int64_t matrix = Constant("DitherOrdered8x8Matrix");
    return [=]() { Expect(static_cast<bool>(run(source, target, matrix, levels)), "DitherFilter"); };
}

/// OpenCV's lookup, with a table a channel.
Work LookUpWithOpenCv(Layout layout) {
    const cv::Mat source = SourceMat(layout, kLarge);
    cv::Mat target = TargetMat(layout, kLarge);
    cv::Mat table(1, 256, CV_8UC(ChannelsOf(layout)));
    for (int i = 0; i < 256 * ChannelsOf(layout); ++i)
        table.data[i] = static_cast<uint8_t>(i * 7 + i / 256);
    return [=]() mutable { cv::LUT(source, table, target); };
}

void EnterTone(const std::string& name, Layout layout, const MakeWork& own, bool lookUp) {
    std::vector<Peer> peers;
    if (lookUp) peers.push_back({kOpenCv, [=] { return LookUpWithOpenCv(layout); }});
    EnterLine(name + " " + NameOf(layout) + " " + TextOf(kLarge), BytesOf(layout, kLarge), own, peers);
}

}  // namespace

void EnterTones() {
    EnterTone("GammaFilter x 4", Layout::Rgba, GammaWithPlugin, true);
    for (const Layout layout : {Layout::Rgba, Layout::Rgb, Layout::Gray}) {
        EnterTone(
            "GammaFilter", layout, [=] { return GammaOfColoursWithPlugin(layout); }, true);
        EnterTone(
            "SolarizeFilter", layout, [=] { return SolarizeWithPlugin(layout); }, true);
    }
    EnterTone(
        "DitherFilter 2", Layout::Rgba, [] { return DitherWithPlugin(Layout::Rgba, 2); }, false);
    EnterTone(
        "DitherFilter 8", Layout::Gray, [] { return DitherWithPlugin(Layout::Gray, 8); }, false);
}

}  // namespace trvbench
