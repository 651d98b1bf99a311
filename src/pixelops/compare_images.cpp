#include "pixelops/compare_images.h"

#include "frame/debug_log.h"
#include "image/pixel_loop.h"
#include "image/store_overlap.h"

namespace trv {

namespace {

bool HaveSameShape(const PictureTRV& a, const PictureTRV& b) {
    const auto same = [&](auto PictureTRV::*field) { return a.*field == b.*field; };
    const auto sameFlag = [&](Boolean PictureTRV::*flag) { return (a.*flag != 0) == (b.*flag != 0); };
    return same(&PictureTRV::Width) && same(&PictureTRV::BitsPerComponent) && same(&PictureTRV::Height) &&
           sameFlag(&PictureTRV::HasAlpha) && sameFlag(&PictureTRV::IsRGB) && sameFlag(&PictureTRV::IsCMYK) &&
           sameFlag(&PictureTRV::IsGray);
}

}  // namespace

int64_t rbCompareImages(HostObject me, HostObject otherObject) {
    TRV_LOG("CompareImages");
    PictureTRV* image = RecordOf(me);
    PictureTRV* other = RecordOf(otherObject);
    if (image == nullptr || other == nullptr) return -1;
    if (!IsValid(image) || !IsValid(other)) return 0;
    if (!HaveSameShape(*image, *other)) return -1;
    if (!StartImage(image) || !StartImage(other)) return -1;
    int64_t count = -1;
    DispatchFamily(*image, [&]<class F>(F) {
        TRV_LOG((FamilyLabel<"CompareImages", F>()));
        // Rows are asked for and not looked at, which only moves the windows of mapped images.
        const bool moves = !IsLinear(*other) || !IsLinear(*image);
        for (int64_t y = 0; moves && y < image->Height; ++y) {
            static_cast<void>(FetchRow(*other, y));
            static_cast<void>(FetchRow(*image, y));
        }
        // Over a caller's memory sizes can be any, and the count is one of 64 bits.
        count =
            static_cast<int64_t>(static_cast<uint64_t>(image->Width) * static_cast<uint64_t>(image->Height));
    });
    return count;
}

}  // namespace trv
