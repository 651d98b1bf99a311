// The constructor that makes an image out of a host picture's own pixels. The backends are those of the
// picture editor, but what they find stays in use for the life of the image, so a copy will not do and more
// is refused.

#include <algorithm>
#include <utility>

#include "bridge/description_lock.h"
#include "bridge/gd_image.h"
#include "bridge/gdi_plus_bits.h"
#include "bridge/host_kind.h"
#include "bridge/picture_import.h"
#include "frame/debug_log.h"
#include "frame/failures.h"
#include "frame/references.h"
#include "image/life_cycle.h"
#include "image/picture_record.h"
#include "image/row_readers.h"

namespace trv {

namespace {

constexpr int64_t kWordSize = 4;
constexpr int64_t kWordAlphaOffset = 3;

/// What a backend found.
struct PicturePixels {
    int64_t bitsPerPixel = 32;  // or 24
    int64_t width = 0;
    int64_t height = 0;
    int64_t rowSize = 0;
    uint8_t* rows = nullptr;       // first row
    int32_t** rowTable = nullptr;  // or all rows
};

/// Fills the record of an image over `pic`. Width and height must be bounded by what the rows hold: a row
/// reader looks at no size, and every loop trusts the record's. False if the host cannot lock the picture,
/// whose pixels could then go at any time.
bool UsePixels(PictureTRV& record, HostObject pic, bool useAlpha, const PicturePixels& pixels) {
    AssignReference(record.Target, pic);
    if (record.Target == nullptr) return false;
    const bool hasRoomForAlpha = pixels.bitsPerPixel == 32;
    const bool isTable = pixels.rowTable != nullptr;
    const int64_t storedFormat = !hasRoomForAlpha ? ImageFormatBGR
                                 : useAlpha       ? ImageFormatBGRA
                                                  : ImageFormatBGRX;
    InitImageClassData(&record, 1, 1, storedFormat);
    // The format of a gd image names the order inside its words, the offsets that of the bytes in memory.
    if (isTable) record.ImageFormat = useAlpha ? ImageFormatARGB : ImageFormatXRGB;
    // The byte is there, whether or not the caller wants it to be alpha.
    if (hasRoomForAlpha) record.AlphaOffset = kWordAlphaOffset;
    record.Width = pixels.width;
    record.Height = record.UnclippedHeight = pixels.height;
    record.RowSize = pixels.rowSize;
    record.TotalSize = pixels.height * pixels.rowSize;
    record.RowBuffer = pixels.rows;
    record.tpixels = pixels.rowTable;
    record.GetRow = isTable ? GetRowGDImage : GetRowLinear;
    record.MappingFirstRow = record.MappingLastRow = -1;
    record.MappingRows = isTable ? 0 : pixels.height;
    record.MapBuffer = nullptr;
    record.BufferOwned = 0;
    record.Valid = 1;
    return true;
}

void ConstructOverDirect2D(PictureTRV& record, HostObject pic, bool useAlpha) {
    const DescriptionLock lock(pic, pictureD2DPBGRAPtr);
    if (!lock) return;
    if (!lock.HasWantedType()) {
        TRV_LOG("picture is no pictureD2DPBGRAPtr");
    } else if (lock.Data() == nullptr) {
        TRV_LOG("picture pointer is nil");
    } else {
        // The description is all there is: it alone says how many words there are.
        UsePixels(record, pic, useAlpha,
                  {.width = lock.Width(),
                   .height = lock.Height(),
                   .rowSize = lock.Width() * kWordSize,
                   .rows = static_cast<uint8_t*>(lock.Data())});
    }
}

/// False where GDI+ refused to lock the bits, which ends the search.
bool ConstructOverGdiPlus(PictureTRV& record, HostObject pic, bool useAlpha) {
    constexpr uint32_t kReadWrite = kGdiPlusRead | kGdiPlusWrite;
    const DescriptionLock lock(pic, pictureGDIPlusBitmap);
    if (!lock) return true;
    if (!lock.HasWantedType() || lock.Data() == nullptr) {
        TRV_LOG("picture is no pictureGDIPlusBitmap");
        return true;
    }
    if (!LoadGdiPlus()) {
        TRV_LOG("LoadGDIPlus failed");
        return true;
    }
    GdiPlusBits bits(lock.Data());
    if (!bits.HasBlock()) {
        TRV_LOG("bitmapData is nil");
        return true;
    }
    if (!bits.Lock({{{kReadWrite, PixelFormat32bppPARGB, "lock PARGB"},
                     {kReadWrite, PixelFormat32bppARGB, "lock ARGB"},
                     {kGdiPlusRead, PixelFormat32bppARGB, "lock with ImageLockModeRead"}}})) {
        TRV_LOG("Lockbits failed");
        return false;
    }
    // The bits that are locked bound the size, whatever the description says.
    const GdiPlusBitmapData& data = bits.Data();
    if (UsePixels(record, pic, useAlpha,
                  {.width = std::min<int64_t>(lock.Width(), data.width),
                   .height = std::min<int64_t>(lock.Height(), data.height),
                   .rowSize = data.stride,
                   .rows = static_cast<uint8_t*>(data.scan0)})) {
        record.BitmapLocked = 1;
        record.BitmapHandle = lock.Data();
        record.BitmapData = bits.Release();
    }
    return true;
}

void ConstructOverWin32(PictureTRV& record, HostObject pic, bool useAlpha) {
    TRV_LOG("pictureWin32Bitmap");
    const DescriptionLock lock(pic, pictureWin32Bitmap);
    Win32Bitmap bmp{};
    if (!lock || !lock.HasWantedType() || lock.Data() == nullptr || !DescribeWin32Bitmap(lock.Data(), bmp))
        return;
    // Other depths need a conversion, and a bitmap that belongs to a device has no pixels to point at.
    if ((bmp.bitsPerPixel != 32 && bmp.bitsPerPixel != 24) || bmp.bits == nullptr) return;
    if (UsePixels(record, pic, useAlpha,
                  {.bitsPerPixel = bmp.bitsPerPixel,
                   .width = bmp.width,
                   .height = bmp.height,
                   .rowSize = bmp.rowBytes,
                   .rows = bmp.bits})) {
        record.TotalSize = lock.Height() * bmp.rowBytes;
    }
}

/// Tries what a window system's picture can be, in the order of likelihood.
void ImageConstructorPictureGUI(PictureTRV& record, HostObject pic, bool useAlpha) {
    if (HostHasDirect2D()) ConstructOverDirect2D(record, pic, useAlpha);
    if (record.Valid != 0) return;
    if (!ConstructOverGdiPlus(record, pic, useAlpha) || record.Valid != 0) return;
    ConstructOverWin32(record, pic, useAlpha);
}

void ImageConstructorPictureConsole(PictureTRV& record, HostObject pic, bool useAlpha) {
    const DescriptionLock lock(pic, pictureGDImagePtr);
    if (!lock || !lock.HasWantedType()) return;
    const auto* image = static_cast<const GdImage*>(lock.Data());
    if (!HasTrueColorRows(image)) return;
    // Rows and their table are as long as the image says; a description that claims more is not believed.
    const int64_t width = std::clamp<int64_t>(image->sx, 0, lock.Width());
    UsePixels(record, pic, useAlpha,
              {.width = width,
               .height = std::clamp<int64_t>(image->sy, 0, lock.Height()),
               .rowSize = width * kWordSize,
               .rowTable = image->tpixels});
    TRV_LOG("Constructor done");
}

}  // namespace

void ImageConstructorPicture(HostObject me, HostObject pic, Boolean useAlpha) {
    PictureTRV& record = *RecordOf(me);
    if (pic == nullptr) {
        RaiseNilObjectException("picture is nil");
        return;
    }
    PrepareConstruction(record);
    const bool alpha = useAlpha != 0;
    if (!IsConsole) {
        if (!IsDesktop) DetermineHostKind();
        if (!IsConsole) ImageConstructorPictureGUI(record, pic, alpha);
    }
    if (!IsDesktop && record.Valid == 0) ImageConstructorPictureConsole(record, pic, alpha);
    if (record.Valid == 0) RaiseUnsupportedOperationException("Failed to access picture. Not a bitmap?");
    if (record.ChannelCount < 1) TRV_LOG("ChannelCount not set!");
    if (record.PixelSize < 1) TRV_LOG("PixelSize not set!");
    if (record.Height < 1) TRV_LOG("Height not set!");
    if (record.Width < 1) TRV_LOG("Width not set!");
}

}  // namespace trv
