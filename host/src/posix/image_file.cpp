#include "image_file.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <gd.h>
#include <iterator>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>

namespace trvhost {

namespace {

struct ImageDeleter {
    void operator()(gdImagePtr image) const { gdImageDestroy(image); }
};
using Image = std::unique_ptr<gdImage, ImageDeleter>;

struct BytesDeleter {
    void operator()(void* bytes) const { gdFree(bytes); }
};
using Bytes = std::unique_ptr<void, BytesDeleter>;

/// Keeps libgd's complaints for the error text, and off standard error.
class Complaints {
  public:
    Complaints() {
        text().clear();
        gdSetErrorMethod([](int, const char* format, va_list arguments) {
            char line[256];
            std::vsnprintf(line, sizeof line, format, arguments);
            if (text().empty()) text() = line;
        });
    }
    ~Complaints() { gdClearErrorMethod(); }
    Complaints(const Complaints&) = delete;
    Complaints& operator=(const Complaints&) = delete;

    /// One line: the first complaint, else the fallback.
    static std::string Reason(const char* fallback) {
        std::string reason = text().empty() ? fallback : text();
        std::replace(reason.begin(), reason.end(), '\n', ' ');
        while (!reason.empty() && reason.back() == ' ')
            reason.pop_back();
        return reason;
    }

  private:
    static std::string& text() {
        static std::string complaint;
        return complaint;
    }
};

bool StartsWith(const std::string& data, std::string_view magic, size_t at = 0) {
    return data.size() >= at + magic.size() && std::string_view(data).substr(at, magic.size()) == magic;
}

Image Decode(std::string& data) {
    const int size = static_cast<int>(data.size());
    void* bytes = data.data();
    gdImagePtr image = nullptr;
    if (StartsWith(data, "\x89PNG")) {
        image = gdImageCreateFromPngPtr(size, bytes);
    } else if (StartsWith(data, "\xFF\xD8")) {
        image = gdImageCreateFromJpegPtr(size, bytes);
    } else if (StartsWith(data, "RIFF") && StartsWith(data, "WEBP", 8)) {
        image = gdImageCreateFromWebpPtr(size, bytes);
    } else if (StartsWith(data, "GIF8")) {
        image = gdImageCreateFromGifPtr(size, bytes);
    } else if (StartsWith(data, "BM")) {
        image = gdImageCreateFromBmpPtr(size, bytes);
    } else {
        throw std::runtime_error("not a PNG, JPEG, WebP, GIF or BMP file");
    }
    return Image(image);
}

std::string ReadFile(const std::filesystem::path& file) {
    std::ifstream in(file, std::ios::binary);
    if (!in) FailFile("cannot load", file, std::strerror(errno));
    std::string data{std::istreambuf_iterator<char>(in), {}};
    if (in.bad()) FailFile("cannot load", file, "reading failed");
    constexpr size_t kMost = 0x7FFFFFFF;
    if (data.size() > kMost) FailFile("cannot load", file, "the file is too large");
    return data;
}

/// The store's pixels as an image of libgd.
Image ToGd(const PictureStore& store) {
    const int width = static_cast<int>(store.width), height = static_cast<int>(store.height);
    Image image(gdImageCreateTrueColor(width, height));
    if (image == nullptr) throw std::runtime_error("no memory for the image");
    std::vector<uint32_t> row(static_cast<size_t>(width));
    for (int y = 0; y < height; ++y) {
        store.Read(0, y, width, row.data());
        std::transform(row.begin(), row.end(), image->tpixels[y], [](uint32_t argb) {
            return static_cast<int>(AlphaToGd(argb >> 24) << 24 | (argb & 0xFFFFFF));
        });
    }
    gdImageAlphaBlending(image.get(), 0);
    gdImageSaveAlpha(image.get(), store.alpha ? 1 : 0);
    return image;
}

/// The picture with a palette: exact where 256 colours do, else by libgd's choice of colours, dithered.
Image ToPaletteGd(const PictureStore& store) {
    const auto exact = WithExactPalette(store);
    if (!exact) {
        Image image = ToGd(store);
        if (gdImageTrueColorToPalette(image.get(), 1, gdMaxColors) == 0)
            throw std::runtime_error("no palette found");
        return image;
    }
    Image image(gdImageCreate(static_cast<int>(store.width), static_cast<int>(store.height)));
    if (image == nullptr) throw std::runtime_error("no memory for the image");
    for (const uint32_t color : exact->palette) {
        gdImageColorAllocate(image.get(), static_cast<int>(color >> 16 & 255),
                             static_cast<int>(color >> 8 & 255), static_cast<int>(color & 255));
    }
    for (int64_t y = 0; y < store.height; ++y) {
        std::copy_n(exact->indices.begin() + y * store.width, store.width, image->pixels[y]);
    }
    return image;
}

Bytes Encode(const PictureStore& store, const std::string& format, int quality, int& size) {
    if (format == "gif") return Bytes(gdImageGifPtr(ToPaletteGd(store).get(), &size));
    const Image image = ToGd(store);
    if (format == "png") return Bytes(gdImagePngPtr(image.get(), &size));
    if (format == "jpg" || format == "jpeg") return Bytes(gdImageJpegPtr(image.get(), &size, quality));
    if (format == "webp") {
        return Bytes(gdImageWebpPtrEx(image.get(), &size, quality >= 100 ? gdWebpLossless : quality));
    }
    if (format == "bmp") return Bytes(gdImageBmpPtr(image.get(), &size, 0));
    throw std::runtime_error("unknown format \"" + format + "\" (png, jpg, jpeg, webp, gif, bmp)");
}

}  // namespace

LoadedImage LoadImageFile(const std::filesystem::path& file) {
    std::string data = ReadFile(file);
    const Complaints complaints;
    try {
        const Image image = Decode(data);
        if (image == nullptr || gdImagePaletteToTrueColor(image.get()) == 0) {
            throw std::runtime_error(Complaints::Reason("the file is damaged"));
        }
        LoadedImage loaded{image->sx, image->sy, {}};
        loaded.pixels.reserve(static_cast<size_t>(loaded.width * loaded.height));
        for (int y = 0; y < image->sy; ++y) {
            std::transform(image->tpixels[y], image->tpixels[y] + image->sx,
                           std::back_inserter(loaded.pixels), [](int pixel) {
                               const auto word = static_cast<uint32_t>(pixel);
                               return AlphaFromGd((word >> 24) & 0x7F) << 24 | (word & 0xFFFFFF);
                           });
        }
        return loaded;
    } catch (const std::runtime_error& e) {
        FailFile("cannot load", file, e.what());
    }
}

std::vector<std::string> ImageFormats() {
    return {"png", "jpg", "jpeg", "webp", "gif", "bmp"};
}

void SaveImage(const PictureStore& store, const std::filesystem::path& file, int quality) {
    const Complaints complaints;
    try {
        int size = 0;
        const Bytes bytes = Encode(store, FileFormat(file), quality, size);
        if (bytes == nullptr) throw std::runtime_error(Complaints::Reason("the image cannot be encoded"));
        std::ofstream out(file, std::ios::binary | std::ios::trunc);
        if (!out) throw std::runtime_error(std::strerror(errno));
        out.write(static_cast<const char*>(bytes.get()), size);
        out.close();
        if (!out) throw std::runtime_error("writing failed");
    } catch (const std::runtime_error& e) {
        FailFile("cannot save", file, e.what());
    }
}

}  // namespace trvhost
