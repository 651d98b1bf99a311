#include <cstdlib>
#include <stdexcept>

#include "cases.h"
#include "trvhost/host.h"

namespace trvbench {
namespace {

using trvhost::Ref;

trvhost::Host& TheHost() {
    static trvhost::Host host = [] {
        const char* chosen = std::getenv("TRV_PLUGIN");
        return trvhost::Host(chosen != nullptr ? chosen : TRV_PLUGIN_PATH);
    }();
    return host;
}

int64_t Constant(const char* name) {
    return TheHost().Constant("PictureTRV", name);
}

int64_t FormatOf(Layout layout) {
    return Constant(layout == Layout::Gray  ? "ImageFormatG"
                    : layout == Layout::Rgb ? "ImageFormatRGB"
                                            : "ImageFormatRGBA");
}

/// An image over a memory block with the common bytes.
Ref SourceImage(Layout layout, Size size) {
    const size_t count = BytesOf(layout, size);
    const trvhost::MemoryBlock block = TheHost().NewMemoryBlock(SourceBytes(count).first(count));
    const int64_t rowSize = static_cast<int64_t>(size.width) * ChannelsOf(layout);
    const Ref image =
        TheHost().Construct("PictureTRV", block, size.width, size.height, FormatOf(layout), rowSize);
    if (!TheHost().Get<bool>(image, "Valid")) throw std::runtime_error("the plug-in refuses an image");
    return image;
}

trvhost::Picture SourcePicture(Size size) {
    const trvhost::Picture picture = TheHost().NewPicture(size.width, size.height);
    picture.Fill(0xFF336699);
    return picture;
}

}  // namespace

Work ScaleWithPlugin(const ScaleCase& scale) {
    const Ref source = SourceImage(scale.layout, scale.from);
    const Ref target =
        TheHost().Construct("PictureTRV", scale.to.width, scale.to.height, FormatOf(scale.layout));
    const int64_t mode = Constant(scale.filter == Filter::Triangle ? "ScaleTriangle" : "ScaleLanczos3");
    const auto run = TheHost().Method<bool(Ref, Ref, int64_t, int64_t, int64_t)>("PictureTRV", "Scale");
    return [=]() {
        if (!run(target, source, Ref(), mode, scale.to.width, scale.to.height))
            throw std::runtime_error("the plug-in's Scale failed");
    };
}

Work FillRectWithPlugin(Layout layout, Size size) {
    const Ref image = SourceImage(layout, size);
    const auto run = TheHost().Method<void(int64_t)>("PictureTRV", "FillRect(Value as integer)");
    return [=]() { run(image, 77); };
}

Work FillRectRgbWithPlugin(Layout layout, Size size) {
    const Ref image = SourceImage(layout, size);
    const auto run = TheHost().Method<void(int64_t, int64_t, int64_t)>(
        "PictureTRV", "FillRectRGB(red as integer, green as integer, blue as integer)");
    return [=]() { run(image, 10, 20, 30); };
}

Work ClearRectWithPlugin(Layout layout, Size size) {
    const Ref image = SourceImage(layout, size);
    const auto run = TheHost().Method<void()>("PictureTRV", "ClearRect");
    return [=]() { run(image); };
}

Work OpenPictureWithPlugin(Size size) {
    const trvhost::Picture picture = SourcePicture(size);
    const auto run = TheHost().Method<void(Ref, bool)>(
        "PictureTRV", "Constructor(pic as picture, UseAlpha as boolean=false)");
    return [=]() {
        const Ref image = TheHost().New("PictureTRV");
        run(image, picture, false);
        if (TheHost().HasException()) throw std::runtime_error("the plug-in cannot open the picture");
    };
}

Work CopyPictureWithPlugin(Size size) {
    const Ref image = TheHost().Construct("PictureTRV", SourcePicture(size), false);
    const auto run = TheHost().Method<Ref()>("PictureTRV", "CopyPicture as picture");
    return [=]() {
        if (!run(image)) throw std::runtime_error("the plug-in's CopyPicture failed");
    };
}

}  // namespace trvbench
