#include <benchmark/benchmark.h>
#include <filesystem>
#include <libyuv.h>
#include <opencv2/imgproc.hpp>

#include "opencv.h"
#include "plugin.h"

namespace trvbench {
namespace {

const std::string kLibyuv = "libyuv";

// CopyPixels
// -----------------------------------------------------------------------------------------------------

Work CopyWithPlugin(Layout from, const char* fromFormat, Layout to, const char* toFormat) {
    const Ref source = SourceImage(from, kLarge, Constant(fromFormat));
    const Ref target = SourceImage(to, kLarge, Constant(toFormat));
    const auto run = TheHost().Method<bool(Ref)>("PictureTRV", "CopyPixels(source as PictureTRV) as boolean");
    return [=]() { Expect(run(target, source), "CopyPixels"); };
}

Work ConvertWithOpenCv(Layout from, Layout to, int code) {
    const cv::Mat source = SourceMat(from, kLarge);
    cv::Mat target = TargetMat(to, kLarge);
    return [=]() mutable { cv::cvtColor(source, target, code); };
}

/// A conversion of libyuv's, which names bytes from the highest of a little-endian word: its ABGR is RGBA in
/// memory, its RAW is RGB.
using YuvConversion = int (*)(const uint8_t*, int, uint8_t*, int, int, int);

Work ConvertWithLibyuv(Layout from, Layout to, YuvConversion convert) {
    const cv::Mat source = SourceMat(from, kLarge);
    cv::Mat target = TargetMat(to, kLarge);
    return [=]() {
        convert(source.data, kLarge.width * ChannelsOf(from), target.data, kLarge.width * ChannelsOf(to),
                kLarge.width, kLarge.height);
    };
}

void EnterCopies() {
    const auto larger = [](Layout a, Layout b) { return std::max(BytesOf(a, kLarge), BytesOf(b, kLarge)); };
    for (const Layout layout : {Layout::Rgba, Layout::Rgb, Layout::Gray}) {
        const char* format = layout == Layout::Rgba  ? "ImageFormatRGBA"
                             : layout == Layout::Rgb ? "ImageFormatRGB"
                                                     : "ImageFormatG";
        EnterLine(std::string("CopyPixels ") + NameOf(layout) + " to the same", BytesOf(layout, kLarge),
                  [=] { return CopyWithPlugin(layout, format, layout, format); }, {});
    }
    const struct {
        const char* name;
        Layout from;
        const char* fromFormat;
        Layout to;
        const char* toFormat;
        int openCv;
        YuvConversion libyuv;  // null where it has none
    } conversions[] = {
        {"RGBA to BGRA", Layout::Rgba, "ImageFormatRGBA", Layout::Rgba, "ImageFormatBGRA",
         cv::COLOR_RGBA2BGRA, libyuv::ABGRToARGB},
        {"RGBA to RGB", Layout::Rgba, "ImageFormatRGBA", Layout::Rgb, "ImageFormatRGB", cv::COLOR_RGBA2RGB,
         libyuv::ARGBToRGB24},  // the same bytes kept of each pixel
        {"RGB to gray", Layout::Rgb, "ImageFormatRGB", Layout::Gray, "ImageFormatG", cv::COLOR_RGB2GRAY,
         libyuv::RAWToJ400},
        {"RGBA to gray", Layout::Rgba, "ImageFormatRGBA", Layout::Gray, "ImageFormatG", cv::COLOR_RGBA2GRAY,
         libyuv::ABGRToJ400},
        {"gray to RGB", Layout::Gray, "ImageFormatG", Layout::Rgb, "ImageFormatRGB", cv::COLOR_GRAY2RGB,
         nullptr},
        {"gray to RGBX", Layout::Gray, "ImageFormatG", Layout::Rgba, "ImageFormatRGBX", cv::COLOR_GRAY2RGBA,
         libyuv::J400ToARGB},
    };
    for (const auto& conversion : conversions) {
        const auto [name, from, fromFormat, to, toFormat, openCv, yuv] = conversion;
        std::vector<Peer> peers = {{kOpenCv, [from = from, to = to, openCv = openCv] {
                                        return ConvertWithOpenCv(from, to, openCv);
                                    }}};
        if (yuv != nullptr) {
            peers.push_back(
                {kLibyuv, [from = from, to = to, yuv = yuv] { return ConvertWithLibyuv(from, to, yuv); }});
        }
        EnterLine(
            std::string("CopyPixels ") + name, larger(from, to),
            [from = from, fromFormat = fromFormat, to = to, toFormat = toFormat] {
                return CopyWithPlugin(from, fromFormat, to, toFormat);
            },
            peers);
    }
}

/// A new image every time, which is released again.
Work CloneWithPlugin(Layout layout) {
    const Ref source = SourceImage(layout, kLarge);
    const auto clone = TheHost().Method<Ref()>("PictureTRV", "Clone as PictureTRV");
    return [=]() { Expect(static_cast<bool>(clone(source)), "Clone"); };
}

Work CloneWithOpenCv(Layout layout) {
    const cv::Mat source = SourceMat(layout, kLarge);
    return [=]() {
        const cv::Mat copy = source.clone();
        benchmark::DoNotOptimize(copy.data);
    };
}

void EnterClones() {
    for (const Layout layout : {Layout::Rgba, Layout::Gray}) {
        EnterLine(std::string("Clone ") + NameOf(layout), BytesOf(layout, kLarge),
                  [=] { return CloneWithPlugin(layout); },
                  {{kOpenCv, [=] { return CloneWithOpenCv(layout); }}});
    }
}

// Rows
// -----------------------------------------------------------------------------------------------------------

void EnterRowMethods() {
    EnterLine("Row, all of RGBA", BytesOf(Layout::Rgba, kLarge),
              []() -> Work {
                  const Ref image = SourceImage(Layout::Rgba, kLarge);
                  const auto row =
                      TheHost().Method<Ref(int64_t)>("PictureTRV", "Row(index as integer) as memoryblock");
                  return [=]() {
                      for (int64_t y = 0; y < kLarge.height; ++y)
                          Expect(static_cast<bool>(row(image, y)), "Row");
                  };
              },
              {});
    for (const char* format : {"ImageFormatRGBA", "ImageFormatBGRA", "ImageFormatG"}) {
        EnterLine(std::string("RowInFormat, RGBA as ") + (format + std::string("ImageFormat").size()),
                  BytesOf(Layout::Rgba, kLarge),
                  [=]() -> Work {
                      const Ref image = SourceImage(Layout::Rgba, kLarge);
                      const int64_t code = Constant(format);
                      const auto row = TheHost().Method<Ref(int64_t, int64_t)>(
                          "PictureTRV",
                          "RowInFormat(index as integer, ImageFormat as integer) as memoryblock");
                      return [=]() {
                          for (int64_t y = 0; y < kLarge.height; ++y)
                              Expect(static_cast<bool>(row(image, y, code)), "RowInFormat");
                      };
                  },
                  {});
    }
}

// Mapped images
// ----------------------------------------------------------------------------------------------------------

/// Copies every row of an image, from top to bottom, into one of the same kind in memory.
Work WalkWithPlugin(const Ref& source) {
    const Ref target = EmptyImage(kLarge, FormatOf(Layout::Rgba));
    const auto copy =
        TheHost().Method<bool(Ref)>("PictureTRV", "CopyPixels(source as PictureTRV) as boolean");
    Expect(copy(target, source), "CopyPixels");
    return [=]() { Expect(copy(target, source), "CopyPixels"); };
}

/// An image in a scratch file, or in paging space, with a window of 4 MiB.
Ref MappedImage(bool inFile) {
    const auto path = std::filesystem::temp_directory_path() / "trv_bench_scratch";
    const Ref file = inFile ? Ref(TheHost().NewFolderItem(path)) : Ref();
    const Ref image = TheHost().Construct("PictureTRV", kLarge.width, kLarge.height, FormatOf(Layout::Rgba),
                                          int64_t{4} << 20, file);
    Expect(TheHost().Get<bool>(image, "Valid"), "Constructor");
    const auto copy =
        TheHost().Method<bool(Ref)>("PictureTRV", "CopyPixels(source as PictureTRV) as boolean");
    Expect(copy(image, SourceImage(Layout::Rgba, kLarge)), "CopyPixels");
    return image;
}

void EnterMappedWalks() {
    const size_t bytes = BytesOf(Layout::Rgba, kLarge);
    EnterLine("walk over RGBA in memory", bytes,
              [] { return WalkWithPlugin(SourceImage(Layout::Rgba, kLarge)); }, {});
    EnterLine("walk over RGBA in paging space", bytes, [] { return WalkWithPlugin(MappedImage(false)); }, {});
    EnterLine("walk over RGBA in a file", bytes, [] { return WalkWithPlugin(MappedImage(true)); }, {});
}

}  // namespace

void EnterRows() {
    EnterCopies();
    EnterClones();
    EnterRowMethods();
    EnterMappedWalks();
}

}  // namespace trvbench
