// What is measured: the cases, and the contenders that do the same work for a case.
//
// A contender is made outside the clock, with its images allocated and filled, and then runs as often as the
// clock wants. All contenders work on one thread and start from the same bytes.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace trvbench {

enum class Layout { Gray, Rgb, Rgba };
enum class Filter { Triangle, Lanczos3 };

struct Size {
    int width;
    int height;
};

/// Resampling of a whole image.
struct ScaleCase {
    Layout layout;
    Filter filter;
    Size from;
    Size to;
};

constexpr int ChannelsOf(Layout layout) {
    return layout == Layout::Gray ? 1 : layout == Layout::Rgb ? 3 : 4;
}

constexpr size_t BytesOf(Layout layout, Size size) {
    return static_cast<size_t>(size.width) * static_cast<size_t>(size.height) *
           static_cast<size_t>(ChannelsOf(layout));
}

/// At least `count` pseudo-random bytes, the same for everybody.
std::span<const uint8_t> SourceBytes(size_t count);

/// One run of the work, or empty where a library does not offer it.
using Work = std::function<void()>;

/// Makes the work of one contender; called once for each measurement, outside the clock.
using MakeWork = std::function<Work()>;

/// The libraries' resampling of a case.
Work ScaleWithOpenCv(const ScaleCase& scale);
Work ScaleWithVips(const ScaleCase& scale);
Work ScaleWithZimg(const ScaleCase& scale);
Work ScaleWithPillow(const ScaleCase& scale);

/// The plug-in's operations, through the embedded host.
Work ScaleWithPlugin(const ScaleCase& scale);
Work FillRectWithPlugin(Layout layout, Size size);
Work FillRectRgbWithPlugin(Layout layout, Size size);
Work ClearRectWithPlugin(Layout layout, Size size);
Work OpenPictureWithPlugin(Size size);
Work CopyPictureWithPlugin(Size size);

/// OpenCV's way to set every pixel, and to copy an image.
Work FillWithOpenCv(Layout layout, Size size);
Work CloneWithOpenCv(Layout layout, Size size);

/// The library's version, for the head of the table.
std::string OpenCvVersion();
std::string VipsVersion();
std::string ZimgVersion();
std::string PillowVersion();

}  // namespace trvbench
