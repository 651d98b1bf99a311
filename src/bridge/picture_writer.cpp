#include <algorithm>
#include <iterator>

#include "bridge/host_kind.h"
#include "bridge/picture_duplicates.h"
#include "bridge/picture_editor.h"
#include "bridge/picture_helpers.h"
#include "frame/debug_log.h"
#include "frame/heap_objects.h"
#include "frame/host_calls.h"
#include "frame/references.h"

namespace trv {

namespace {

constexpr int64_t kDepth = 32;
constexpr int32_t kRgbRows = 1;

/// Pixels of a buffer: bytes of a pixel, and where the colours stand in it.
struct BufferLayout {
    int64_t size;
    int64_t red;
    int64_t green;
    int64_t blue;
};
/// By pixel type, from 1 on.
constexpr BufferLayout kBufferLayouts[] = {{3, 0, 1, 2}, {3, 2, 1, 0}, {4, 1, 2, 3}, {4, 2, 1, 0}};

void CopyBuffer(PictureWriter& writer, const BufferLayout& layout, const uint8_t* buffer, int64_t rowBytes,
                int64_t width, int64_t height) {
    for (int64_t y = 0; y < height; ++y, buffer += rowBytes, writer.NextRow()) {
        uint8_t* cursor = writer.CurrentRow;
        if (cursor == nullptr) continue;
        const uint8_t* pixel = buffer;
        for (int64_t x = 0; x < width; ++x, pixel += layout.size)
            writer.PutPixel(cursor, pixel[layout.red], pixel[layout.green], pixel[layout.blue]);
    }
}

}  // namespace

std::unique_ptr<PictureEditor> PictureEditor::Allocate() {
    return std::unique_ptr<PictureEditor>(
        NewObject<PictureEditor>("Failed to allocate PictureEditor object."));
}

std::unique_ptr<PictureReader> PictureReader::Allocate() {
    return std::unique_ptr<PictureReader>(
        NewObject<PictureReader>("Failed to allocate PictureReader object."));
}

std::unique_ptr<PictureWriter> PictureWriter::Allocate() {
    return std::unique_ptr<PictureWriter>(
        NewObject<PictureWriter>("Failed to allocate PictureWriter object."));
}

bool PictureWriter::NewPictureWriter(int64_t width, int64_t height) {
    if (!IsPictureSize(width, height)) return false;
    const ObjectReference fresh(MyREALNewPicture(width, height, kDepth));
    const bool result = GetPictureEditor(fresh.Get(), false, true);
    TRV_LOG("result", result);
    return result;
}

bool PictureWriter::NewPictureWriter(int64_t width, int64_t height, bool alphaChannel) {
    if (alphaChannel && NewPictureWriterWithAlphaChannel(width, height)) return true;
    TRV_LOG("no alpha channel requested, so make a normal picture...");
    return NewPictureWriter(width, height);
}

bool PictureWriter::NewPictureWriter(HostObject pic, int64_t width, int64_t height) {
    if (pic != nullptr && PictureWidth(pic) >= width && PictureHeight(pic) >= height) {
        TRV_LOG("reuse picture");
        if (GetPictureEditor(pic, false, true)) return true;
    }
    TRV_LOG("Create new picture");
    return NewPictureWriter(width, height);
}

bool PictureWriter::NewPictureWriter(const PictureEditor& format) {
    return NewPictureWriter(format, format.Width, format.Height);
}

bool PictureWriter::NewPictureWriter(const PictureEditor& format, int64_t width, int64_t height) {
    // Opening changes this writer, which may be the format itself.
    const int64_t horizontal = format.HorizontalResolution;
    const int64_t vertical = format.VerticalResolution;
    const bool result = format.HasAlphaChannel ? NewPictureWriterWithAlphaChannel(width, height)
                                               : NewPictureWriter(width, height);
    HorizontalResolution = horizontal;
    VerticalResolution = vertical;
    return result;
}

bool PictureWriter::NewPictureWriterWithAlphaChannel(int64_t width, int64_t height) {
    const ObjectReference fresh(NewPictureWithAlphaChannel(width, height));
    return GetPictureEditor(fresh.Get(), false, true);
}

HostObject PictureWriter::RenderPictureWriter() {
    ObjectReference result;
    if (picture != nullptr) {
        result = ObjectReference::Share(picture);
        host::REALPictureClearCache(picture);
    } else if (RawBuffer != nullptr) {
        result =
            ObjectReference(host::REALBuildPictureFromBuffer(Width, Height, kRgbRows, RawBuffer, RowBytes));
    }
    TRV_LOG("RenderPictureWriter done");
    if (HorizontalResolution > 0 && VerticalResolution > 0) {
        SetPictureHorizontalResolution(result.Get(), HorizontalResolution);
        SetPictureVerticalResolution(result.Get(), VerticalResolution);
    }
    clear();
    return result.Release();
}

void PictureWriter::PutPixel(uint8_t*& cursor, uint8_t red, uint8_t green, uint8_t blue) const {
    DispatchPixelKind(PixelKind, [&]<class Pixel>(Pixel) {
        Pixel::StoreOpaque(cursor, PackRgb(red, green, blue));
        cursor += Pixel::kSize;
    });
}

HostObject myREALBuildPictureFromBuffer(int64_t width, int64_t height, int32_t pixelType, const void* buffer,
                                        int64_t rowBytes) {
    DetermineHostKind();
    const bool known = pixelType >= 1 && pixelType <= int32_t{std::size(kBufferLayouts)};
    PictureWriter writer;
    if (!IsConsole || !known || buffer == nullptr || !writer.NewPictureWriter(width, height)) {
        return host::REALBuildPictureFromBuffer(width, height, pixelType, buffer, rowBytes);
    }
    CopyBuffer(writer, kBufferLayouts[pixelType - 1], static_cast<const uint8_t*>(buffer), rowBytes,
               std::min(width, writer.Width), std::min(height, writer.Height));
    return writer.RenderPictureWriter();
}

HostObject BitmapPicture(HostObject pic) {
    if (pic == nullptr) return nullptr;
    const auto itself = [&] { return ObjectReference::Share(pic).Release(); };
    if (const int32_t typeCode = PictureTypeCodeOf(pic);
        typeCode == kHiDpiImage || typeCode == kVectorImage) {
        return DuplicatePicture(pic);
    }
    if (HostHasDirect2D() && DescriptionLock(pic, pictureD2DPBGRAPtr)) return itself();
    if (const DescriptionLock lock(pic, pictureWin32Bitmap);
        lock && lock.HasWantedType() && lock.Data() != nullptr) {
        Win32Bitmap bmp{};
        if (DescribeWin32Bitmap(lock.Data(), bmp) && bmp.bitsPerPixel == 32) return itself();
        return DuplicatePictureWithoutMaskOrAlpha(pic, lock.Width(), lock.Height());
    }
    if (DescriptionLock(pic, pictureGDIPlusBitmap)) return itself();
    return DuplicatePictureWithoutMaskOrAlpha(pic);
}

}  // namespace trv
