// What a Ref can hold, each with what a test or tool wants to do to it. All are made by Host.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "trvhost/boundary.h"
#include "trvhost/options.h"
#include "trvhost/ref.h"
#include "trvhost/value.h"

namespace trvhost {

/// A string of the host. Converting a Ref of another kind throws std::invalid_argument; so do the types
/// below.
class String : public Ref {
  public:
    String() = default;
    explicit String(Ref thing);
    std::string Bytes() const;  ///< empty for nil
    uint32_t Encoding() const;  ///< kEncodingNone for nil
};

/// A memory block of the host.
class MemoryBlock : public Ref {
  public:
    MemoryBlock() = default;
    explicit MemoryBlock(Ref thing);
    std::byte* Data() const;  ///< null for nil and for a block without bytes
    int64_t Size() const;     ///< -1 for a block over a bare pointer, whose size nobody knows
    /// The bytes, to look at or change in place; empty for a block of unknown size.
    std::span<uint8_t> Bytes() const;
};

/// A file or folder, known by its path.
class FolderItem : public Ref {
  public:
    FolderItem() = default;
    explicit FolderItem(Ref thing);
    std::filesystem::path Path() const;
};

/// An array of one dimension. Elements are read and written as Value: whole numbers for the integer kinds,
/// Currency among them; Color; Double for Single and Double; things for String, Text and Object.
class Array : public Ref {
  public:
    Array() = default;
    explicit Array(Ref thing);
    ElementKind Kind() const;
    int64_t Ubound() const;         ///< -1 for an empty array and for nil
    Value At(int64_t index) const;  ///< throws std::out_of_range
    void Put(int64_t index, const Value& value) const;
    std::vector<std::string> Texts() const;  ///< the bytes of each element of a String array
    std::vector<int64_t> Integers() const;   ///< of an array of whole numbers
};

/// A picture of the host. Pixels are read and written as 0xAARRGGBB whatever the storage, as stored: nothing
/// is premultiplied or divided. Storages without alpha read as opaque. gd's seven bits, where 0 is opaque,
/// are spread to eight. Coordinates outside throw std::out_of_range.
class Picture : public Ref {
  public:
    Picture() = default;
    explicit Picture(Ref thing);

    int64_t Width() const;
    int64_t Height() const;
    PictureStorage Storage() const;
    bool HasAlpha() const;
    /// What `PluginPictureGetType` answers; set it to any code to see the plug-in deal with it.
    int32_t TypeCode() const;
    void SetTypeCode(int32_t code) const;

    uint32_t Pixel(int64_t x, int64_t y) const;
    void SetPixel(int64_t x, int64_t y, uint32_t argb) const;
    /// The stored number itself: gd's word, the word of 32 bits, 0x00RRGGBB of 24, the word of 16, the
    /// palette index.
    uint32_t RawPixel(int64_t x, int64_t y) const;
    void Fill(uint32_t argb) const;
    /// All pixels, row by row.
    std::vector<uint32_t> Pixels() const;

    /// The mask, which is made (white) when there is none and `create` asks for it; nil otherwise.
    Picture Mask(bool create = false) const;
    /// Sets a copy-free reference on another picture of the same size as the mask, or takes the mask off
    /// (nil).
    void SetMask(const Picture& mask) const;
    int64_t HorizontalResolution() const;
    int64_t VerticalResolution() const;
    void SetResolution(int64_t horizontal, int64_t vertical) const;
    /// What BestRepresentation gives for this picture; nil takes it off.
    void SetBestRepresentation(const Picture& picture) const;

    int64_t DescriptionLocks() const;  ///< description locks that are owed now
    int64_t CacheClears() const;       ///< calls of `REALPictureClearCache` so far

    /// What crosses the boundary as picture data for the native description: gdImage*, words, HBITMAP,
    /// GpBitmap*; null for a storage that locks nothing.
    void* NativeData() const;

    /// Writes the picture to a file, in the format of the extension. An alpha channel is kept where the
    /// format can. Linux: png, jpg, jpeg, webp, gif, bmp. Windows: png, jpg, jpeg, gif, bmp, tif, tiff.
    /// Throws std::runtime_error with a one-line text that names the file and the reason. PNG, BMP and TIFF
    /// are lossless for opaque pictures.
    void Save(const std::filesystem::path& file, int quality = 90) const;
    /// The extensions that Save knows on this platform; LoadPicture knows the same formats.
    static std::vector<std::string> FileFormats();
};

/// A text drawn with `RuntimeGraphicsDrawString`.
struct DrawnText {
    std::string text;
    double x = 0, y = 0, wrapWidth = 0;
    friend bool operator==(const DrawnText&, const DrawnText&) = default;
};

/// What draws into a picture.
class Graphics : public Ref {
  public:
    Graphics() = default;
    explicit Graphics(Ref thing);
    /// Texts drawn so far, which also leave a filled box per character in the picture.
    std::vector<DrawnText> Texts() const;
};

}  // namespace trvhost
