// The ways to a picture's pixels. All follow one pattern: lock the description as a type, look at what came,
// adopt it or leave the lock to its end.

#include <algorithm>
#include <utility>

#include "bridge/gd_image.h"
#include "bridge/gdi_plus_bits.h"
#include "bridge/picture_duplicates.h"
#include "bridge/picture_editor.h"
#include "bridge/picture_helpers.h"
#include "frame/debug_log.h"
#include "frame/references.h"
#include "image/checked_math.h"

namespace trv {

namespace {

constexpr int64_t kWordSize = 4;
constexpr int64_t kWin32RowAlignment = 4;

/// What a backend says where it gives up; null for nothing.
struct Refusals {
    const char* notLocked;
    const char* wrongType;
    const char* noData;
};

/// Whether a lock was got, and leads to pixels of the wanted type.
bool HasPixels(const DescriptionLock& lock, const Refusals& refusals) {
    const char* refusal = !lock                    ? refusals.notLocked
                          : !lock.HasWantedType()  ? refusals.wrongType
                          : lock.Data() == nullptr ? refusals.noData
                                                   : nullptr;
    if (refusal != nullptr) TRV_LOG(refusal);
    return lock && lock.HasWantedType() && lock.Data() != nullptr;
}

bool StubOf(const char* name) {
    TRV_LOG(name);
    return false;
}

}  // namespace

bool PictureEditor::Adopt(HostObject pic, DescriptionLock& lock, const Pixels& pixels) {
    setPicture(pic);
    if (picture == nullptr) return false;  // a host that cannot lock objects could take the pixels away
    Description = lock.Description();
    lock.Keep();
    NeedPictureUnlock = true;
    PixelKind = pixels.kind;
    PixelSize = pixels.pixelSize;
    RowBytes = pixels.rowBytes;
    Pixelbase = pixels.base;
    Width = pixels.width;
    Height = pixels.height;
    CurrentX = CurrentY = 0;
    CurrentRow = Pixelbase;
    VerticalResolution = PictureVerticalResolution(pic);
    HorizontalResolution = PictureHorizontalResolution(pic);
    return true;
}

bool PictureEditor::GetPictureEditorDrawableD2D(HostObject pic) {
    DescriptionLock lock(pic, pictureD2DPBGRAPtr);
    if (!HasPixels(lock, {"REALLockPictureDescription with pictureD2DPBGRAPtr failed.",
                          "Bitmap is not a DrawableD2D", "g is nil"})) {
        return false;
    }
    // The description is all there is: it alone says how many words there are.
    return Adopt(pic, lock,
                 {PixelKindD2D, kWordSize, lock.Width() * kWordSize, static_cast<uint8_t*>(lock.Data()),
                  lock.Width(), lock.Height()});
}

bool PictureEditor::GetPictureEditorGDIPlusBitmap(HostObject pic) {
    DescriptionLock lock(pic, pictureGDIPlusBitmap);
    if (!HasPixels(lock, {"REALLockPictureDescription with pictureGDIPlusBitmap failed.",
                          "Bitmap is not a GDIPlusBitmap", "g is nil"})) {
        return false;
    }
    if (!LoadGdiPlus()) {
        TRV_LOG("Failed to load GDI Plus functions");
        return false;
    }
    GdiPlusBits bits(lock.Data());
    if (!bits.HasBlock()) {
        TRV_LOG("Failed to create bitmapdata");
        return false;
    }
    TRV_LOG(GdiPlusPixelFormatName(GdiPlusPixelFormat(lock.Data())));
    const uint32_t mode = (reading ? kGdiPlusRead : 0U) | (writing ? kGdiPlusWrite : 0U);
    if (!bits.Lock({{{mode, PixelFormat32bppPARGB, nullptr},
                     {mode, PixelFormat32bppARGB, nullptr},
                     {kGdiPlusRead | kGdiPlusWrite, PixelFormat32bppARGB, "Try ARGB read and write"}}})) {
        TRV_LOG("error");
        return false;
    }
    // The bits that are locked bound the size, whatever the description says.
    const GdiPlusBitmapData& data = bits.Data();
    if (!Adopt(
            pic, lock,
            {PixelKindGDIPlus, kWordSize, data.stride, static_cast<uint8_t*>(data.scan0),
             std::min<int64_t>(lock.Width(), data.width), std::min<int64_t>(lock.Height(), data.height)})) {
        return false;
    }
    bitmap = lock.Data();
    bitmapData = bits.Release();
    NeedGdipBitmapUnlock = true;
    return true;
}

bool PictureEditor::GetPictureEditorGDImagePtr(HostObject pic) {
    DescriptionLock lock(pic, pictureGDImagePtr);
    if (!HasPixels(lock, {"REALLockPictureDescription with pictureGDImagePtr failed.", nullptr, nullptr}))
        return false;
    const auto* image = static_cast<const GdImage*>(lock.Data());
    if (!HasTrueColorRows(image) || image->pixels != nullptr) return false;
    // Rows and their table are as long as the image says; a description that claims more is not believed.
    const int64_t width = std::clamp<int64_t>(image->sx, 0, lock.Width());
    const int64_t height = std::clamp<int64_t>(image->sy, 0, lock.Height());
    uint8_t* firstRow = height > 0 ? reinterpret_cast<uint8_t*>(image->tpixels[0]) : nullptr;
    if (!Adopt(pic, lock, {PixelKindGDImage, kWordSize, width * kWordSize, firstRow, width, height}))
        return false;
    RowTable = image->tpixels;
    return true;
}

bool PictureEditor::GetPictureEditorWin32Bitmap(HostObject pic, Copies copies) {
    DescriptionLock lock(pic, pictureWin32Bitmap);
    if (!HasPixels(lock, {"REALLockPictureDescription with pictureWin32Bitmap failed.",
                          "picture type is not pictureWin32Bitmap.", "hBmp is nil"})) {
        return false;
    }
    Win32Bitmap bmp{};
    if (!DescribeWin32Bitmap(lock.Data(), bmp)) {
        TRV_LOG("GetObject failed");
        return false;
    }
    const uint32_t kind = bmp.bitsPerPixel == 32   ? PixelKindBitmap32
                          : bmp.bitsPerPixel == 24 ? PixelKindBitmap24
                                                   : PixelKindNone;
    if (kind == PixelKindNone && !writing) return OpenCopyOfOtherDepth(pic, lock, copies);
    // A bitmap that belongs to a device has no pixels to point at.
    if (kind != PixelKindNone && bmp.bits == nullptr) return false;
    // A writer on another depth opens, and its stores have no effect.
    const int64_t pixelSize = kind == PixelKindNone ? 0 : bmp.bitsPerPixel / 8;
    return Adopt(pic, lock,
                 {kind, pixelSize, RaisedToMultiple(bmp.rowBytes, kWin32RowAlignment), bmp.bits, bmp.width,
                  bmp.height});
}

bool PictureEditor::OpenCopyOfOtherDepth(HostObject pic, const DescriptionLock& lock, Copies copies) {
    // A host whose new pictures are of another depth as well would be asked for ever.
    if (copies == Copies::Refused) return false;
    const ObjectReference copy(DuplicatePictureWithoutMaskOrAlpha(pic, lock.Width(), lock.Height()));
    TRV_LOG("cp", static_cast<const void*>(copy.Get()));
    return Open(copy.Get(), reading, false, Copies::Refused);
}

bool PictureEditor::GetPictureEditorCGBitmapContext(HostObject /*pic*/) {
    return StubOf("PictureEditor::GetPictureEditorCGBitmapContext");
}

bool PictureEditor::GetPictureEditorCairoContext(HostObject /*pic*/) {
    return StubOf("PictureEditor::GetPictureEditorCairoContext");
}

bool PictureEditor::GetPictureEditorGdkPixmap(HostObject /*pic*/) {
    return StubOf("PictureEditor::GetPictureEditorGdkPixmap");
}

bool PictureEditor::GetPictureEditorIOS(HostObject /*pic*/) {
    return StubOf("PictureEditor::GetPictureEditorIOS");
}

bool PictureWriter::NewPictureWriterLinux(int64_t /*width*/, int64_t /*height*/) {
    return StubOf("PictureEditor::NewPictureWriterLinux");
}

}  // namespace trv
