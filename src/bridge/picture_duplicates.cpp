#include "bridge/picture_duplicates.h"

#include "bridge/picture_drawing.h"
#include "bridge/picture_helpers.h"
#include "frame/debug_log.h"
#include "frame/references.h"

namespace trv {

namespace {

constexpr int64_t kDepth = 32;

/// A picture's mask, taken off until PutBack(). Ends without putting it back only where something was thrown
/// through.
class MaskTakenOff {
  public:
    explicit MaskTakenOff(HostObject pic) : pic_(pic), mask_(MyREALGetPictureMask(pic, false)) {
        if (!mask_) return;
        TRV_LOG("set source mask to nil");
        SetPictureMask(pic_, nullptr);
    }

    [[nodiscard]] HostObject Mask() const { return mask_.Get(); }

    void PutBack() {
        if (!mask_) return;
        TRV_LOG("set source mask to old one");
        SetPictureMask(pic_, mask_.Get());
    }

  private:
    HostObject pic_;
    ObjectReference mask_;
};

bool CanDuplicate(HostObject pic, int64_t width, int64_t height) {
    return width >= 1 && height >= 1 && pic != nullptr;
}

/// Gives `copy` the pixels of `pic` and its resolution.
void DrawInto(const ObjectReference& copy, HostObject pic, int64_t width, int64_t height) {
    if (!copy) return;
    GraphicsDrawPicture(copy.Get(), pic, width, height);
    CopyPictureResolution(pic, copy.Get());
}

ObjectReference DuplicateWithAlpha(HostObject pic, int64_t width, int64_t height) {
    ObjectReference copy(NewPictureWithAlphaChannel(width, height));
    DrawInto(copy, pic, width, height);
    return copy;
}

/// A copy without alpha, of the pixels without the mask. The copy's mask is drawn from `newMask`, or from the
/// mask of `pic` if `keepsMask`.
ObjectReference DuplicatePixels(HostObject pic, HostObject newMask, bool keepsMask, int64_t width,
                                int64_t height) {
    MaskTakenOff old(pic);
    ObjectReference copy(MyREALNewPicture(width, height, kDepth));
    DrawInto(copy, pic, width, height);
    const HostObject mask = keepsMask ? old.Mask() : newMask;
    if (copy && mask != nullptr) {
        const ObjectReference resultMask(MyREALGetPictureMask(copy.Get(), true));
        TRV_LOG("resultMask", static_cast<const void*>(resultMask.Get()));
        if (resultMask) GraphicsDrawPicture(resultMask.Get(), mask, width, height);
    }
    old.PutBack();
    return copy;
}

}  // namespace

HostObject DuplicatePicture(HostObject pic, int64_t width, int64_t height) {
    if (!CanDuplicate(pic, width, height)) return nullptr;
    return (PictureHasAlphaChannel(pic) ? DuplicateWithAlpha(pic, width, height)
                                        : DuplicatePixels(pic, nullptr, true, width, height))
        .Release();
}

HostObject DuplicatePicture(HostObject pic) {
    return DuplicatePicture(pic, PictureWidth(pic), PictureHeight(pic));
}

HostObject DuplicatePicture(HostObject pic, HostObject newMask, int64_t width, int64_t height) {
    if (newMask == nullptr) return DuplicatePicture(pic, width, height);
    if (!CanDuplicate(pic, width, height)) return nullptr;
    TRV_LOG("duplicate with new mask");
    return DuplicatePixels(pic, newMask, false, width, height).Release();
}

HostObject DuplicatePicture(HostObject pic, HostObject newMask) {
    return DuplicatePicture(pic, newMask, PictureWidth(pic), PictureHeight(pic));
}

HostObject DuplicatePictureWithoutMaskOrAlpha(HostObject pic, int64_t width, int64_t height) {
    if (!CanDuplicate(pic, width, height)) return nullptr;
    return (PictureHasAlphaChannel(pic) ? DuplicateWithAlpha(pic, width, height)
                                        : DuplicatePixels(pic, nullptr, false, width, height))
        .Release();
}

HostObject DuplicatePictureWithoutMaskOrAlpha(HostObject pic) {
    return DuplicatePictureWithoutMaskOrAlpha(pic, PictureWidth(pic), PictureHeight(pic));
}

}  // namespace trv
