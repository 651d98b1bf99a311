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
        const CLSID encoder = EncoderOf(FileFormat(file));
        std::vector<uint32_t> words(static_cast<size_t>(store.width * store.height));
        for (int64_t y = 0; y < store.height; ++y)
            store.Read(0, y, store.width, words.data() + y * store.width);
        const auto format = store.alpha ? PixelFormat32bppARGB : PixelFormat32bppRGB;
        Gdiplus::GpBitmap* bitmap = nullptr;
        Check(gdip::GdipCreateBitmapFromScan0(static_cast<INT>(store.width), static_cast<INT>(store.height),
                                              static_cast<INT>(store.width * 4), format,
                                              reinterpret_cast<BYTE*>(words.data()), &bitmap));
        const Image image(bitmap);
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
