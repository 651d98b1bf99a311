#include "bridge/picture_export.h"

#include <algorithm>

#include "bridge/picture_editor.h"
#include "bridge/picture_helpers.h"
#include "bridge/picture_rows.h"
#include "frame/debug_log.h"
#include "frame/references.h"
#include "image/pixel_loop.h"

namespace trv {

namespace {

constexpr int64_t kDebugPictureSide = 512;

/// Fills an open writer from the rectangle of the image, as one family's channels at these offsets, and hands
/// out the picture.
HostObject FillAndRender(PictureWriter& writer, PictureTRV& image, const Rectangle& rectangle, Family family,
                         bool withAlpha, const FamilyOffsets& offsets) {
    const ExportRow exportRow(family, withAlpha, offsets, image.PixelSize, writer.PixelKind);
    // A host may give another size than it was asked for.
    const int64_t width = std::min(rectangle.width, writer.Width);
    const int64_t height = std::min(rectangle.height, writer.Height);
    const int64_t start = rectangle.x * image.PixelSize;
    const ImageShape shape(image);
    YieldIfWanted(image);
    // What the host makes another image of meanwhile leaves the rest of the picture as it was.
    for (int64_t y = 0; y < height && shape == ImageShape(image); ++y) {
        const uint8_t* row = FetchRow(image, rectangle.y + y);
        if (row != nullptr && writer.CurrentRow != nullptr) exportRow(writer.CurrentRow, row + start, width);
        writer.NextRow();
        YieldIfWanted(image);
    }
    return writer.RenderPictureWriter();
}

/// The offsets of a family's channels in the image.
FamilyOffsets OffsetsOf(const PictureTRV& image, Family family, bool withAlpha) {
    FamilyOffsets offsets{};
    DispatchFamily(family == Family::Gray, family == Family::Rgb, family == Family::Cmyk, withAlpha,
                   [&]<class Layout>(Layout) { std::ranges::copy(Layout::Offsets(image), offsets.begin()); });
    return offsets;
}

/// The frame of the copies in colour: the families in turn, until one gives a picture. `alphaPicture` says
/// what the picture has, `withAlpha` whether the image's alpha goes into it.
HostObject CopyColours(PictureTRV& image, Rectangle rectangle, bool alphaPicture, bool withAlpha) {
    Fix(image, rectangle);
    if (rectangle.IsEmpty()) return nullptr;
    struct {
        bool isIt;
        Family family;
        const char* announcement;
    } const families[] = {{image.IsGray != 0, Family::Gray, "have Gray image"},
                          {image.IsRGB != 0, Family::Rgb, "have RGB image"},
                          {image.IsCMYK != 0, Family::Cmyk, "have CMYK image"}};
    HostObject result = nullptr;
    for (const auto& [isIt, family, announcement] : families) {
        if (result != nullptr || !isIt || !StartClippedImage(image)) continue;
        TRV_LOG(announcement);
        PictureWriter writer;
        if (!writer.NewPictureWriter(rectangle.width, rectangle.height, alphaPicture)) continue;
        result =
            FillAndRender(writer, image, rectangle, family, withAlpha, OffsetsOf(image, family, withAlpha));
    }
    TRV_LOG("result", static_cast<const void*>(result));
    return result;
}

/// The colours alone, in a picture that may have an alpha channel.
HostObject CopyPictureAlpha(PictureTRV& image, const Rectangle& rectangle, bool alphaPicture) {
    TRV_LOG("rbCopyPictureAlpha", rectangle.x, rectangle.y, rectangle.width, rectangle.height, alphaPicture);
    return CopyColours(image, rectangle, alphaPicture, false);
}

/// The alpha channel as a gray picture.
HostObject CopyAlpha(PictureTRV& image, Rectangle rectangle) {
    if (image.HasAlpha == 0) return nullptr;
    Fix(image, rectangle);
    if (rectangle.IsEmpty() || !StartClippedImage(image)) return nullptr;
    PictureWriter writer;
    if (!writer.NewPictureWriter(rectangle.width, rectangle.height)) return nullptr;
    // Alpha is what gray is in a gray image.
    return FillAndRender(writer, image, rectangle, Family::Gray, false, {image.AlphaOffset});
}

/// A copy of the whole image by `copy`, announced and answered in the log.
template <auto kCopy>
HostObject CopyAll(HostObject me, const char* name, const char* answer) {
    TRV_LOG(name);
    const Rectangle whole = WholeImage(*RecordOf(me));
    const HostObject result = kCopy(me, whole.x, whole.y, whole.width, whole.height);
    TRV_LOG(answer, static_cast<const void*>(result));
    return result;
}

}  // namespace

HostObject rbCopyPicture(HostObject me, int64_t x, int64_t y, int64_t width, int64_t height) {
    return CopyPictureAlpha(*RecordOf(me), {x, y, width, height}, false);
}

HostObject rbCopyPictureWithAlpha(HostObject me, int64_t x, int64_t y, int64_t width, int64_t height) {
    PictureTRV& image = *RecordOf(me);
    const Rectangle rectangle{x, y, width, height};
    return image.HasAlpha != 0 ? CopyColours(image, rectangle, true, true)
                               : CopyPictureAlpha(image, rectangle, true);
}

HostObject rbCopyMask(HostObject me, int64_t x, int64_t y, int64_t width, int64_t height) {
    const HostObject result = CopyAlpha(*RecordOf(me), {x, y, width, height});
    TRV_LOG("result", static_cast<const void*>(result));
    return result;
}

HostObject rbCopyPictureWithMask(HostObject me, int64_t x, int64_t y, int64_t width, int64_t height) {
    ObjectReference picture(CopyPictureAlpha(*RecordOf(me), {x, y, width, height}, false));
    const ObjectReference mask(rbCopyMask(me, x, y, width, height));
    // In the size that was asked for; what does not exist of it is not drawn.
    AddPictureMask(picture.Get(), mask.Get(), width, height);
    return picture.Release();
}

HostObject rbCopyPictureAll(HostObject me) {
    return CopyAll<rbCopyPicture>(me, "rbCopyPictureAll", "CopyPictureAll returns");
}

HostObject rbCopyPictureWithAlphaAll(HostObject me) {
    return CopyAll<rbCopyPictureWithAlpha>(me, "rbCopyPictureWithAlphaAll",
                                           "CopyPictureWithAlphaAll returns");
}

HostObject rbCopyMaskAll(HostObject me) {
    return CopyAll<rbCopyMask>(me, "rbCopyMaskAll", "CopyMaskAll returns");
}

HostObject rbCopyPictureWithMaskAll(HostObject me) {
    return CopyAll<rbCopyPictureWithMask>(me, "rbCopyPictureWithMaskAll", "CopyPictureWithMaskAll returns");
}

HostObject GetDebugPicture(HostObject me, int64_t /*parameter*/) {
    if (RecordOf(me)->DebugPictureEnabled == 0) return nullptr;
    return rbCopyPictureWithMask(me, 0, 0, kDebugPictureSide, kDebugPictureSide);
}

}  // namespace trv
