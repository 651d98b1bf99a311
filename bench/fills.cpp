#include "opencv.h"
#include "plugin.h"

namespace trvbench {
namespace {

Work FillWithOpenCv(Layout layout) {
    cv::Mat image = SourceMat(layout, kLarge);
    return [=]() mutable { image.setTo(cv::Scalar(10, 20, 30, 40)); };
}

void EnterFill(const char* name, Layout layout, const MakeWork& own) {
    EnterLine(std::string(name) + " " + NameOf(layout) + " " + TextOf(kLarge), BytesOf(layout, kLarge), own,
              {{kOpenCv, [=] { return FillWithOpenCv(layout); }}});
}

}  // namespace

void EnterFills() {
    for (const Layout layout : {Layout::Rgba, Layout::Rgb, Layout::Gray}) {
        EnterFill("FillRect", layout, [=]() -> Work {
            const Ref image = SourceImage(layout, kLarge);
            const auto run = TheHost().Method<void(int64_t)>("PictureTRV", "FillRect(Value as integer)");
            return [=]() { run(image, 77); };
        });
        if (layout != Layout::Gray) {
            EnterFill("FillRectRGB", layout, [=]() -> Work {
                const Ref image = SourceImage(layout, kLarge);
                const auto run = TheHost().Method<void(int64_t, int64_t, int64_t)>(
                    "PictureTRV", "FillRectRGB(red as integer, green as integer, blue as integer)");
                return [=]() { run(image, 10, 20, 30); };
            });
        }
        EnterFill("ClearRect", layout, [=]() -> Work {
            const Ref image = SourceImage(layout, kLarge);
            const auto run = TheHost().Method<void()>("PictureTRV", "ClearRect");
            return [=]() { run(image); };
        });
    }
}

}  // namespace trvbench
