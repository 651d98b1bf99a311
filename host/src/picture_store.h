// Where a picture keeps its pixels. One store for each way that plug-ins can lock a picture.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "trvhost/options.h"

namespace trvhost {

/// Pixels as 0xAARRGGBB, as stored: nothing is premultiplied or divided. A store without alpha reads as
/// opaque and writes what its storage holds for opaque.
class PictureStore {
  public:
    PictureStore(PictureStorage kind, int64_t w, int64_t h, bool hasAlpha)
        : storage(kind), width(w), height(h), alpha(hasAlpha) {}
    virtual ~PictureStore() = default;
    PictureStore(const PictureStore&) = delete;
    PictureStore& operator=(const PictureStore&) = delete;

    /// `count` pixels of row y from column x on; the caller keeps inside the picture.
    virtual void Read(int64_t x, int64_t y, int64_t count, uint32_t* argb) const = 0;
    virtual void Write(int64_t x, int64_t y, int64_t count, const uint32_t* argb) = 0;
    /// The stored number of one pixel.
    virtual uint32_t Raw(int64_t x, int64_t y) const = 0;
    /// The description type that locks this store; 0 if none does.
    virtual uint32_t NativeType() const { return 0; }
    virtual void* NativeData() const { return nullptr; }
    /// True while a lock on the pixels is open that the store can notice.
    virtual bool BitsLocked() const { return false; }

    uint32_t Pixel(int64_t x, int64_t y) const {
        uint32_t argb = 0;
        Read(x, y, 1, &argb);
        return argb;
    }
    void Fill(uint32_t argb);
    /// Copies the pixels of another store of the same size.
    void CopyFrom(const PictureStore& other);
    bool Contains(int64_t x, int64_t y) const { return x >= 0 && y >= 0 && x < width && y < height; }

    const PictureStorage storage;
    const int64_t width;
    const int64_t height;
    const bool alpha;
};

/// Makes a store: white without alpha, transparent with it. The size is at least 1 x 1. Throws
/// std::bad_alloc, and std::invalid_argument for a storage that this platform lacks or that cannot have alpha
/// when it is asked for.
std::unique_ptr<PictureStore> MakeStore(PictureStorage storage, int64_t width, int64_t height, bool alpha);

/// True for storages whose pixels can have alpha.
bool CanHaveAlpha(PictureStorage storage);

/// The platform's own: DIB sections and GDI+ bitmaps on Windows; null for what it does not know.
std::unique_ptr<PictureStore> MakePlatformStore(PictureStorage storage, int64_t width, int64_t height,
                                                bool alpha);

/// What a new picture of a desktop host is on this platform.
PictureStorage DesktopStorage(bool alpha);

/// A gd image of the platform, as the plug-in sees it; freed by its deleter.
struct GdImageFields {
    void* image;
    unsigned char** palettePixels;  ///< rows of indices, null for true colour
    int** trueColorPixels;          ///< rows of words, null for a palette
};
GdImageFields CreateGdImage(int64_t width, int64_t height, bool trueColor);
void DestroyGdImage(void* image);

/// 565-like depths and others that need it: gray of a colour.
constexpr uint32_t GrayOf(uint32_t argb) {
    return (77 * ((argb >> 16) & 0xFF) + 151 * ((argb >> 8) & 0xFF) + 28 * (argb & 0xFF)) >> 8;
}

constexpr uint32_t kOpaque = 0xFF000000u;
constexpr uint32_t kWhite = 0xFFFFFFFFu;

/// Words of 32 bits, rows packed.
class PackedStore : public PictureStore {
  public:
    PackedStore(PictureStorage kind, int64_t w, int64_t h, bool hasAlpha);
    void Read(int64_t x, int64_t y, int64_t count, uint32_t* argb) const override;
    void Write(int64_t x, int64_t y, int64_t count, const uint32_t* argb) override;
    uint32_t Raw(int64_t x, int64_t y) const override { return words_[Index(x, y)]; }
    uint32_t NativeType() const override;
    void* NativeData() const override;

  private:
    size_t Index(int64_t x, int64_t y) const { return static_cast<size_t>(y * width + x); }
    mutable std::vector<uint32_t> words_;
};

/// A gd image: words with 7 bits of alpha where 0 is opaque, or a palette of 256 grays.
class GdStore : public PictureStore {
  public:
    GdStore(PictureStorage kind, int64_t w, int64_t h, bool hasAlpha);
    ~GdStore() override { DestroyGdImage(fields_.image); }
    void Read(int64_t x, int64_t y, int64_t count, uint32_t* argb) const override;
    void Write(int64_t x, int64_t y, int64_t count, const uint32_t* argb) override;
    uint32_t Raw(int64_t x, int64_t y) const override;
    uint32_t NativeType() const override;
    void* NativeData() const override { return fields_.image; }

  private:
    GdImageFields fields_;
};

/// gd's seven bits of transparency to eight of opacity and back; the round trip keeps every value.
constexpr uint32_t AlphaFromGd(uint32_t gd) {
    return 255 - ((gd << 1) + (gd >> 6));
}
constexpr uint32_t AlphaToGd(uint32_t alpha) {
    return 127 - (alpha >> 1);
}

}  // namespace trvhost
