#include "plugin.h"

#include <cstdlib>
#include <stdexcept>

namespace trvbench {

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

Ref SourceImage(Layout layout, Size size, int64_t format) {
    const size_t count = BytesOf(layout, size);
    const trvhost::MemoryBlock block = TheHost().NewMemoryBlock(SourceBytes(count).first(count));
    const int64_t rowSize = static_cast<int64_t>(size.width) * ChannelsOf(layout);
    const Ref image = TheHost().Construct("PictureTRV", block, size.width, size.height, format, rowSize);
    Expect(TheHost().Get<bool>(image, "Valid"), "Constructor");
    return image;
}

Ref SourceImage(Layout layout, Size size) {
    return SourceImage(layout, size, FormatOf(layout));
}

Ref EmptyImage(Size size, int64_t format) {
    const Ref image = TheHost().Construct("PictureTRV", size.width, size.height, format);
    Expect(TheHost().Get<bool>(image, "Valid"), "Constructor");
    return image;
}

void Expect(bool done, const char* operation) {
    if (!done) throw std::runtime_error(std::string("the plug-in's ") + operation + " failed");
}

}  // namespace trvbench
