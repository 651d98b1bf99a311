#include "picture_store.h"

#include <algorithm>
#include <new>
#include <stdexcept>

#include "trvhost/boundary.h"

namespace trvhost {

namespace {
// What libgd and GDI+ can hold at most, and what keeps every product of a size small.
constexpr int64_t kLargestSide = 1 << 20;
constexpr int64_t kMostPixels = int64_t{1} << 31;
}  // namespace

void PictureStore::Fill(uint32_t argb) {
    const std::vector<uint32_t> row(static_cast<size_t>(width), argb);
    for (int64_t y = 0; y < height; ++y)
        Write(0, y, width, row.data());
}

void PictureStore::CopyFrom(const PictureStore& other) {
    std::vector<uint32_t> row(static_cast<size_t>(width));
    for (int64_t y = 0; y < height; ++y) {
        other.Read(0, y, width, row.data());
        Write(0, y, width, row.data());
    }
}

PackedStore::PackedStore(PictureStorage kind, int64_t w, int64_t h, bool hasAlpha)
    : PictureStore(kind, w, h, hasAlpha), words_(static_cast<size_t>(w * h)) {}

void PackedStore::Read(int64_t x, int64_t y, int64_t count, uint32_t* argb) const {
    const uint32_t top = alpha ? 0 : kOpaque;
    const uint32_t* from = &words_[Index(x, y)];
    std::transform(from, from + count, argb, [top](uint32_t word) { return word | top; });
}

void PackedStore::Write(int64_t x, int64_t y, int64_t count, const uint32_t* argb) {
    const uint32_t top = alpha ? 0 : kOpaque;
    std::transform(argb, argb + count, &words_[Index(x, y)], [top](uint32_t word) { return word | top; });
}

uint32_t PackedStore::NativeType() const {
    return storage == PictureStorage::Packed32 ? kPictureDirect2D : 0;
}

void* PackedStore::NativeData() const {
    return storage == PictureStorage::Packed32 ? words_.data() : nullptr;
}

GdStore::GdStore(PictureStorage kind, int64_t w, int64_t h, bool hasAlpha)
    : PictureStore(kind, w, h, hasAlpha), fields_(CreateGdImage(w, h, kind == PictureStorage::GdTrueColor)) {}

void GdStore::Read(int64_t x, int64_t y, int64_t count, uint32_t* argb) const {
    if (fields_.trueColorPixels == nullptr) {
        const unsigned char* from = fields_.palettePixels[y] + x;
        std::transform(from, from + count, argb, [](uint32_t index) { return kOpaque | index * 0x010101; });
        return;
    }
    const int* from = fields_.trueColorPixels[y] + x;
    std::transform(from, from + count, argb, [this](int pixel) {
        const auto word = static_cast<uint32_t>(pixel);
        const uint32_t a = alpha ? AlphaFromGd((word >> 24) & 0x7F) : 255;
        return (a << 24) | (word & 0xFFFFFF);
    });
}

void GdStore::Write(int64_t x, int64_t y, int64_t count, const uint32_t* argb) {
    if (fields_.trueColorPixels == nullptr) {
        std::transform(argb, argb + count, fields_.palettePixels[y] + x,
                       [](uint32_t word) { return static_cast<unsigned char>(GrayOf(word)); });
        return;
    }
    std::transform(argb, argb + count, fields_.trueColorPixels[y] + x, [this](uint32_t word) {
        const uint32_t a = alpha ? AlphaToGd(word >> 24) : 0;
        return static_cast<int>((a << 24) | (word & 0xFFFFFF));
    });
}

uint32_t GdStore::Raw(int64_t x, int64_t y) const {
    return fields_.trueColorPixels != nullptr ? static_cast<uint32_t>(fields_.trueColorPixels[y][x])
                                              : fields_.palettePixels[y][x];
}

uint32_t GdStore::NativeType() const {
    return kPictureGdImage;
}

bool CanHaveAlpha(PictureStorage storage) {
    switch (storage) {
        case PictureStorage::GdPalette:
        case PictureStorage::GdiPlusRgb24:
        case PictureStorage::GdiPlusIndexed8:
        case PictureStorage::Dib24:
        case PictureStorage::Dib16:
        case PictureStorage::Dib8:
        case PictureStorage::DeviceBitmap:
            return false;
        default:
            return true;
    }
}

std::unique_ptr<PictureStore> MakeStore(PictureStorage storage, int64_t width, int64_t height, bool alpha) {
    if (width < 1 || height < 1) throw std::invalid_argument("a picture needs a size of at least 1 x 1");
    if (width > kLargestSide || height > kLargestSide || width * height > kMostPixels) throw std::bad_alloc();
    if (alpha && !CanHaveAlpha(storage)) throw std::invalid_argument("this picture storage has no alpha");
    std::unique_ptr<PictureStore> store;
    switch (storage) {
        case PictureStorage::GdPalette:
        case PictureStorage::GdTrueColor:
            store = std::make_unique<GdStore>(storage, width, height, alpha);
            break;
        case PictureStorage::Packed32:
        case PictureStorage::Vector:
        case PictureStorage::VectorMac:
        case PictureStorage::HiDpi:
            store = std::make_unique<PackedStore>(storage, width, height, alpha);
            break;
        default:
            store = MakePlatformStore(storage, width, height, alpha);
    }
    if (store == nullptr) throw std::invalid_argument("this platform lacks the asked picture storage");
    store->Fill(alpha ? 0 : kWhite);
    return store;
}

}  // namespace trvhost
