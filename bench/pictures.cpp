#include <stdexcept>

#include "opencv.h"
#include "plugin.h"

namespace trvbench {
namespace {

trvhost::Picture SourcePicture() {
    const trvhost::Picture picture = TheHost().NewPicture(kLarge.width, kLarge.height);
    picture.Fill(0xFF336699);
    return picture;
}

Work OpenPicture() {
    const trvhost::Picture picture = SourcePicture();
    const auto run = TheHost().Method<void(Ref, bool)>(
        "PictureTRV", "Constructor(pic as picture, UseAlpha as boolean=false)");
    return [=]() {
        const Ref image = TheHost().New("PictureTRV");
        run(image, picture, false);
        Expect(!TheHost().HasException(), "Constructor(pic)");
    };
}

Work CopyPicture() {
    const Ref image = TheHost().Construct("PictureTRV", SourcePicture(), false);
    const auto run = TheHost().Method<Ref()>("PictureTRV", "CopyPicture as picture");
    return [=]() { Expect(static_cast<bool>(run(image)), "CopyPicture"); };
}

Work CloneWithOpenCv() {
    const cv::Mat image = SourceMat(Layout::Rgba, kLarge);
    return [=]() { const cv::Mat copy = image.clone(); };
}

}  // namespace

void EnterPictures() {
    const size_t bytes = BytesOf(Layout::Rgba, kLarge);
    EnterLine("Constructor(pic) " + TextOf(kLarge), bytes, OpenPicture, {{kOpenCv, CloneWithOpenCv}});
    EnterLine("CopyPicture " + TextOf(kLarge), bytes, CopyPicture, {{kOpenCv, CloneWithOpenCv}});
}

}  // namespace trvbench
