// DIB sections, device-dependent bitmaps and GDI+ bitmaps.

#include <cstring>
#include <new>
#include <stdexcept>
#include <vector>

#include "gdiplus_session.h"
#include "picture_store.h"
#include "trvhost/boundary.h"

namespace trvhost {

namespace {

/// How one pixel of a row stands in memory. Alpha exists in 32 bits only.
struct Depth {
    int bits;
    bool alpha;
};

uint16_t To555(uint32_t argb) {
    return static_cast<uint16_t>((argb >> 9 & 0x7C00) | (argb >> 6 & 0x3E0) | (argb >> 3 & 0x1F));
}

uint32_t From555(uint32_t word) {
    const auto widen = [](uint32_t five) { return five << 3 | five >> 2; };
    return kOpaque | widen(word >> 10 & 31) << 16 | widen(word >> 5 & 31) << 8 | widen(word & 31);
}

uint32_t LoadPixel(const uint8_t* row, int64_t x, Depth depth) {
    const uint8_t* from = row + x * depth.bits / 8;
    switch (depth.bits) {
        case 32: {
            uint32_t word;
            std::memcpy(&word, from, sizeof word);
            return word;
        }
        case 24:
            return uint32_t{from[2]} << 16 | uint32_t{from[1]} << 8 | from[0];
        case 16:
            return uint32_t{from[1]} << 8 | from[0];
        default:
            return from[0];
    }
}

uint32_t Expand(uint32_t raw, Depth depth) {
    switch (depth.bits) {
        case 32:
            return depth.alpha ? raw : raw | kOpaque;
        case 24:
            return raw | kOpaque;
        case 16:
            return From555(raw);
        default:
            return kOpaque | raw * 0x010101;
    }
}

void StorePixel(uint8_t* row, int64_t x, uint32_t argb, Depth depth) {
    uint8_t* to = row + x * depth.bits / 8;
    uint32_t raw = argb;
    if (depth.bits == 32 && !depth.alpha) raw |= kOpaque;
    if (depth.bits == 16) raw = To555(argb);
    if (depth.bits == 8) raw = GrayOf(argb);
    std::memcpy(to, &raw, static_cast<size_t>(depth.bits / 8));
}

int64_t StrideOf(int64_t width, int bits) {
    return (width * bits / 8 + 3) / 4 * 4;
}

/// A store over rows of memory, top-down.
class RowStore : public PictureStore {
  public:
    RowStore(PictureStorage kind, int64_t w, int64_t h, Depth depth)
        : PictureStore(kind, w, h, depth.alpha), depth_(depth), stride_(StrideOf(w, depth.bits)) {}

    void Read(int64_t x, int64_t y, int64_t count, uint32_t* argb) const override {
        const uint8_t* row = bits_ + y * stride_;
        for (int64_t i = 0; i < count; ++i)
            argb[i] = Expand(LoadPixel(row, x + i, depth_), depth_);
    }
    void Write(int64_t x, int64_t y, int64_t count, const uint32_t* argb) override {
        uint8_t* row = bits_ + y * stride_;
        for (int64_t i = 0; i < count; ++i)
            StorePixel(row, x + i, argb[i], depth_);
    }
    uint32_t Raw(int64_t x, int64_t y) const override { return LoadPixel(bits_ + y * stride_, x, depth_); }

  protected:
    const Depth depth_;
    const int64_t stride_;
    uint8_t* bits_ = nullptr;
};

class DibStore : public RowStore {
  public:
    DibStore(PictureStorage kind, int64_t w, int64_t h, Depth depth) : RowStore(kind, w, h, depth) {
        struct {
            BITMAPINFOHEADER header;
            RGBQUAD colors[256];
        } info{};
        info.header.biSize = sizeof info.header;
        info.header.biWidth = static_cast<LONG>(w);
        info.header.biHeight = static_cast<LONG>(-h);
        info.header.biPlanes = 1;
        info.header.biBitCount = static_cast<WORD>(depth.bits);
        info.header.biClrUsed = depth.bits == 8 ? 256 : 0;
        for (int gray = 0; gray < 256; ++gray) {
            const auto level = static_cast<BYTE>(gray);
            info.colors[gray] = {level, level, level, 0};
        }
        void* bits = nullptr;
        bitmap_ = CreateDIBSection(nullptr, reinterpret_cast<BITMAPINFO*>(&info), DIB_RGB_COLORS, &bits,
                                   nullptr, 0);
        if (bitmap_ == nullptr) throw std::bad_alloc();
        bits_ = static_cast<uint8_t*>(bits);
    }
    ~DibStore() override { DeleteObject(bitmap_); }
    uint32_t NativeType() const override { return kPictureWin32Bitmap; }
    void* NativeData() const override { return bitmap_; }

  private:
    HBITMAP bitmap_;
};

/// A bitmap whose bits only GDI reaches; its 32-bit words come and go by GetDIBits and SetDIBits.
class DeviceStore : public PictureStore {
  public:
    DeviceStore(int64_t w, int64_t h) : PictureStore(PictureStorage::DeviceBitmap, w, h, false) {
        device_ = CreateCompatibleDC(nullptr);
        bitmap_ = CreateBitmap(static_cast<int>(w), static_cast<int>(h), 1, 32, nullptr);
        if (bitmap_ == nullptr || device_ == nullptr) throw std::bad_alloc();
    }
    ~DeviceStore() override {
        DeleteObject(bitmap_);
        DeleteDC(device_);
    }
    void Read(int64_t x, int64_t y, int64_t count, uint32_t* argb) const override {
        const std::vector<uint32_t> row = Row(y);
        for (int64_t i = 0; i < count; ++i)
            argb[i] = row[static_cast<size_t>(x + i)] | kOpaque;
    }
    void Write(int64_t x, int64_t y, int64_t count, const uint32_t* argb) override {
        std::vector<uint32_t> row = Row(y);
        std::copy(argb, argb + count, row.begin() + x);
        BITMAPINFO info = Info();
        SetDIBits(device_, bitmap_, ScanLine(y), 1, row.data(), &info, DIB_RGB_COLORS);
    }
    uint32_t Raw(int64_t x, int64_t y) const override { return Row(y)[static_cast<size_t>(x)]; }
    uint32_t NativeType() const override { return kPictureWin32Bitmap; }
    void* NativeData() const override { return bitmap_; }

  private:
    BITMAPINFO Info() const {
        BITMAPINFO info{};
        info.bmiHeader.biSize = sizeof info.bmiHeader;
        info.bmiHeader.biWidth = static_cast<LONG>(width);
        info.bmiHeader.biHeight = static_cast<LONG>(height);
        info.bmiHeader.biPlanes = 1;
        info.bmiHeader.biBitCount = 32;
        return info;
    }
    /// GDI counts rows from the bottom.
    UINT ScanLine(int64_t y) const { return static_cast<UINT>(height - 1 - y); }
    std::vector<uint32_t> Row(int64_t y) const {
        std::vector<uint32_t> row(static_cast<size_t>(width));
        BITMAPINFO info = Info();
        GetDIBits(device_, bitmap_, ScanLine(y), 1, row.data(), &info, DIB_RGB_COLORS);
        return row;
    }

    HDC device_;
    HBITMAP bitmap_;
};

/// A GDI+ bitmap over memory of ours, so that its pixels can be read while the plug-in holds a lock.
class GdiPlusStore : public RowStore {
  public:
    GdiPlusStore(PictureStorage kind, int64_t w, int64_t h, Depth depth, Gdiplus::PixelFormat format)
        : RowStore(kind, w, h, depth), memory_(static_cast<size_t>(stride_ * h)) {
        StartGdiPlus();
        bits_ = memory_.data();
        const auto status = Gdiplus::DllExports::GdipCreateBitmapFromScan0(
            static_cast<INT>(w), static_cast<INT>(h), static_cast<INT>(stride_), format, bits_, &bitmap_);
        if (status != Gdiplus::Ok) throw std::bad_alloc();
        if (depth.bits == 8) SetGrays();
    }
    ~GdiPlusStore() override { Gdiplus::DllExports::GdipDisposeImage(bitmap_); }
    uint32_t NativeType() const override { return kPictureGdiPlusBitmap; }
    void* NativeData() const override { return bitmap_; }
    bool BitsLocked() const override {
        Gdiplus::BitmapData data{};
        const Gdiplus::Rect all(0, 0, static_cast<INT>(width), static_cast<INT>(height));
        Gdiplus::PixelFormat format = 0;
        Gdiplus::DllExports::GdipGetImagePixelFormat(bitmap_, &format);
        const auto status =
            Gdiplus::DllExports::GdipBitmapLockBits(bitmap_, &all, Gdiplus::ImageLockModeRead, format, &data);
        if (status == Gdiplus::Ok) Gdiplus::DllExports::GdipBitmapUnlockBits(bitmap_, &data);
        return status == Gdiplus::WrongState || status == Gdiplus::ObjectBusy;
    }

  private:
    void SetGrays() {
        struct {
            Gdiplus::ColorPalette palette;
            Gdiplus::ARGB rest[255];
        } grays{};
        grays.palette.Count = 256;
        for (UINT gray = 0; gray < 256; ++gray)
            (&grays.palette.Entries[0])[gray] = kOpaque | gray * 0x010101;
        Gdiplus::DllExports::GdipSetImagePalette(bitmap_, &grays.palette);
    }

    std::vector<uint8_t> memory_;
    Gdiplus::GpBitmap* bitmap_ = nullptr;
};

}  // namespace

std::unique_ptr<PictureStore> MakePlatformStore(PictureStorage storage, int64_t width, int64_t height,
                                                bool alpha) {
    switch (storage) {
        case PictureStorage::Dib32:
            return std::make_unique<DibStore>(storage, width, height, Depth{32, alpha});
        case PictureStorage::Dib24:
            return std::make_unique<DibStore>(storage, width, height, Depth{24, false});
        case PictureStorage::Dib16:
            return std::make_unique<DibStore>(storage, width, height, Depth{16, false});
        case PictureStorage::Dib8:
            return std::make_unique<DibStore>(storage, width, height, Depth{8, false});
        case PictureStorage::DeviceBitmap:
            return std::make_unique<DeviceStore>(width, height);
        case PictureStorage::GdiPlusArgb:
            return std::make_unique<GdiPlusStore>(storage, width, height, Depth{32, alpha},
                                                  PixelFormat32bppARGB);
        case PictureStorage::GdiPlusPargb:
            return std::make_unique<GdiPlusStore>(storage, width, height, Depth{32, alpha},
                                                  PixelFormat32bppPARGB);
        case PictureStorage::GdiPlusRgb24:
            return std::make_unique<GdiPlusStore>(storage, width, height, Depth{24, false},
                                                  PixelFormat24bppRGB);
        case PictureStorage::GdiPlusIndexed8:
            return std::make_unique<GdiPlusStore>(storage, width, height, Depth{8, false},
                                                  PixelFormat8bppIndexed);
        default:
            return nullptr;
    }
}

PictureStorage DesktopStorage(bool alpha) {
    return alpha ? PictureStorage::GdiPlusPargb : PictureStorage::Dib32;
}

}  // namespace trvhost
