#include "graphics_magick.h"

#include <magick/api.h>
#include <stdexcept>

namespace trvbench {

Work OilWithGraphicsMagick(int radius) {
    static const bool started = [] {
        InitializeMagick(nullptr);
        SetMagickResourceLimit(ThreadsResource, 1);
        return true;
    }();
    static_cast<void>(started);
    ExceptionInfo exception;
    GetExceptionInfo(&exception);
    Image* made = ConstituteImage(kLarge.width, kLarge.height, "RGBA", CharPixel,
                                  SourceBytes(BytesOf(Layout::Rgba, kLarge)).data(), &exception);
    if (made == nullptr) throw std::runtime_error("GraphicsMagick made no image");
    const std::shared_ptr<Image> source(made, DestroyImage);
    return [=]() {
        ExceptionInfo inside;
        GetExceptionInfo(&inside);
        Image* painted = OilPaintImage(source.get(), radius, &inside);
        if (painted == nullptr) throw std::runtime_error("GraphicsMagick's OilPaintImage failed");
        DestroyImage(painted);
        DestroyExceptionInfo(&inside);
    };
}

}  // namespace trvbench
