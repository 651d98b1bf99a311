#include "image_file.h"

#include <iterator>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "gdiplus_session.h"

namespace trvhost {

namespace {

namespace gdip = Gdiplus::DllExports;

std::string StatusText(Gdiplus::Status status) {
    switch (status) {
        case Gdiplus::FileNotFound:
            return "there is no such file";
        case Gdiplus::OutOfMemory:
            return "not an image, or no memory";
        case Gdiplus::InvalidParameter:
            return "not an image";
        case Gdiplus::UnknownImageFormat:
            return "unknown image format";
        case Gdiplus::Win32Error:
            return "system error " + std::to_string(GetLastError());
        default:
            return "GDI+ error " + std::to_string(static_cast<int>(status));
    }
}

void Check(Gdiplus::Status status) {
    if (status != Gdiplus::Ok) throw std::runtime_error(StatusText(status));
}

struct ImageDeleter {
    void operator()(Gdiplus::GpImage* image) const { gdip::GdipDisposeImage(image); }
};
using Image = std::unique_ptr<Gdiplus::GpImage, ImageDeleter>;

Image OpenImage(const std::filesystem::path& file) {
    Gdiplus::GpBitmap* bitmap = nullptr;
    Check(gdip::GdipCreateBitmapFromFile(file.c_str(), &bitmap));
    return Image(bitmap);
}

const wchar_t* MimeType(const std::string& format) {
    if (format == "png") return L"image/png";
    if (format == "jpg" || format == "jpeg") return L"image/jpeg";
    if (format == "gif") return L"image/gif";
    if (format == "bmp") return L"image/bmp";
    if (format == "tif" || format == "tiff") return L"image/tiff";
    throw std::runtime_error("unknown format \"" + format + "\" (png, jpg, jpeg, gif, bmp, tif, tiff)");
}

CLSID EncoderOf(const std::string& format) {
    const std::wstring wanted = MimeType(format);
    UINT count = 0, size = 0;
    Check(gdip::GdipGetImageEncodersSize(&count, &size));
    std::vector<std::byte> memory(size);
    auto* encoders = reinterpret_cast<Gdiplus::ImageCodecInfo*>(memory.data());
    Check(gdip::GdipGetImageEncoders(count, size, encoders));
    for (UINT i = 0; i < count; ++i) {
        if (wanted == encoders[i].MimeType) return encoders[i].Clsid;
    }
    throw std::runtime_error("this system cannot write " + format);
}

/// GDI+ over pixels that the caller keeps.
Image Wrap(const PictureStore& store, int64_t stride, Gdiplus::PixelFormat format, void* pixels) {
    Gdiplus::GpBitmap* bitmap = nullptr;
    Check(gdip::GdipCreateBitmapFromScan0(static_cast<INT>(store.width), static_cast<INT>(store.height),
                                          static_cast<INT>(stride), format, static_cast<BYTE*>(pixels),
                                          &bitmap));
    return Image(bitmap);
}

/// The picture as GDI+ takes it for saving, over `memory`.
Image ForSaving(const PictureStore& store, bool withPalette, std::vector<uint32_t>& memory) {
    if (!withPalette) {
        memory.resize(static_cast<size_t>(store.width * store.height));
        for (int64_t y = 0; y < store.height; ++y)
            store.Read(0, y, store.width, memory.data() + y * store.width);
        return Wrap(store, store.width * 4, store.alpha ? PixelFormat32bppARGB : PixelFormat32bppRGB,
                    memory.data());
    }
    auto exact = WithExactPalette(store);
    const IndexedImage indexed = exact ? std::move(*exact) : WithRegularPalette(store);
    const int64_t stride = (store.width + 3) / 4 * 4;
    memory.resize(static_cast<size_t>(stride / 4 * store.height));
    auto* bytes = reinterpret_cast<uint8_t*>(memory.data());
    for (int64_t y = 0; y < store.height; ++y) {
        std::copy_n(indexed.indices.begin() + y * store.width, store.width, bytes + y * stride);
    }
    Image image = Wrap(store, stride, PixelFormat8bppIndexed, bytes);
    struct {
        Gdiplus::ColorPalette palette;
        Gdiplus::ARGB rest[255];
    } colors{};
    colors.palette.Count = static_cast<UINT>(indexed.palette.size());
    std::copy(indexed.palette.begin(), indexed.palette.end(), &colors.palette.Entries[0]);
    Check(gdip::GdipSetImagePalette(image.get(), &colors.palette));
    return image;
}

}  // namespace

LoadedImage LoadImageFile(const std::filesystem::path& file) {
    try {
        StartGdiPlus();
        std::error_code error;
        if (!std::filesystem::is_regular_file(file, error)) throw std::runtime_error("there is no such file");
        const Image image = OpenImage(file);
        UINT width = 0, height = 0;
        Check(gdip::GdipGetImageWidth(image.get(), &width));
        Check(gdip::GdipGetImageHeight(image.get(), &height));
        LoadedImage loaded{width, height, std::vector<uint32_t>(size_t{width} * height)};
        Gdiplus::BitmapData data{};
        data.Width = width;
        data.Height = height;
        data.Stride = static_cast<INT>(width * 4);
        data.Scan0 = loaded.pixels.data();
        const Gdiplus::Rect all(0, 0, static_cast<INT>(width), static_cast<INT>(height));
        auto* bitmap = static_cast<Gdiplus::GpBitmap*>(image.get());
        Check(gdip::GdipBitmapLockBits(bitmap, &all,
                                       Gdiplus::ImageLockModeRead | Gdiplus::ImageLockModeUserInputBuf,
                                       PixelFormat32bppARGB, &data));
        Check(gdip::GdipBitmapUnlockBits(bitmap, &data));
        return loaded;
    } catch (const std::runtime_error& e) {
        FailFile("cannot load", file, e.what());
    }
}

std::vector<std::string> ImageFormats() {
    return {"png", "jpg", "jpeg", "gif", "bmp", "tif", "tiff"};
}

void SaveImage(const PictureStore& store, const std::filesystem::path& file, int quality) {
    try {
        StartGdiPlus();
        const std::string format = FileFormat(file);
        const CLSID encoder = EncoderOf(format);
        std::vector<uint32_t> memory;
        const Image image = ForSaving(store, format == "gif", memory);
        ULONG level = static_cast<ULONG>(quality);
        Gdiplus::EncoderParameters parameters{};
        parameters.Count = 1;
        parameters.Parameter[0] = {Gdiplus::EncoderQuality, 1, Gdiplus::EncoderParameterValueTypeLong,
                                   &level};
        Check(gdip::GdipSaveImageToFile(image.get(), file.c_str(), &encoder, &parameters));
    } catch (const std::runtime_error& e) {
        FailFile("cannot save", file, e.what());
    }
}

}  // namespace trvhost
