#include "geometry/mirrors.h"

#include <cstring>

#include "frame/debug_log.h"
#include "geometry/pixel_runs.h"
#include "image/checked_math.h"
#include "platform/memory.h"

namespace trv {

namespace {

/// Pairs of rows of one image whose bytes are exchanged. Rows of a mapped image cannot be had two at a time,
/// and a caller's memory may have rows that overlap; then one of them is held in memory meanwhile.
class RowSwapper {
  public:
    /// `span` is the bytes of a row up to the last one that moves.
    RowSwapper(PictureTRV& image, int64_t span) : image_(image), span_(span) {
        if (image.IsMapping != 0 || image.RowSize < span) held_ = MakeZeroedBytes(span);
    }

    /// Calls `swap(a, b)` with the two rows. Rows that cannot be had, or held, are left out.
    template <class Swap>
    void Run(int64_t y, int64_t partner, Swap&& swap) {
        uint8_t* row = FetchRow(image_, y);
        if (row == nullptr) return;
        if (image_.IsMapping == 0 && image_.RowSize >= span_) {
            if (uint8_t* other = FetchRow(image_, partner)) swap(row, other);
            return;
        }
        if (held_ == nullptr) return;
        const auto bytes = static_cast<size_t>(span_);
        std::memcpy(held_.get(), row, bytes);
        uint8_t* other = FetchRow(image_, partner);
        if (other == nullptr) return;
        swap(held_.get(), other);
        row = FetchRow(image_, y);
        if (row != nullptr) std::memcpy(row, held_.get(), bytes);
    }

  private:
    PictureTRV& image_;
    int64_t span_;
    ZeroedBytes held_;
};

/// Bytes of a row of `columns` pixels up to the last byte that moves.
int64_t SpanOf(const PixelMap& map, const PictureTRV& image, int64_t columns) {
    return SaturatedAdd(SaturatedMultiply(columns - 1, image.PixelSize), map.ToExtent());
}

/// Exchanges the pixels of each row from both ends.
template <class Pixel>
void MirrorRows(PictureTRV& image, const Pixel& pixel, int64_t base) {
    const int64_t half = image.Width / 2;
    const int64_t secondHalf = image.Width - half;
    ForEachRow(image, 0, image.Height, [&](uint8_t* row) {
        row += base;
        SwapReversed(pixel, row, row + secondHalf * pixel.ToSize(), half);
    });
}

template <class F>
void HMirrorImage(PictureTRV& image, F family) {
    TRV_LOG((FamilyLabel<"HMirrorSelf", F>()));
    PixelMap::Within(family, image, true).Dispatch([&](const auto& pixel, int64_t, int64_t base) {
        MirrorRows(image, pixel, base);
    });
}

/// Exchanges the rows from both ends; with `reversed` their pixels are turned around meanwhile.
template <class Pixel>
void SwapRows(PictureTRV& image, RowSwapper& rows, const Pixel& pixel, int64_t base, bool reversed) {
    const ImageShape shape(image);
    const auto swap = [&](uint8_t* a, uint8_t* b) {
        if (reversed) {
            SwapReversed(pixel, a + base, b + base, shape.width);
        } else {
            SwapForward(pixel, a + base, b + base, shape.width);
        }
    };
    const int64_t height = image.Height;
    for (int64_t y = 0; y < height / 2 && shape == ImageShape(image); ++y) {
        rows.Run(y, height - 1 - y, swap);
        YieldIfWanted(image);
    }
}

/// The same for all kinds of pixels. False if the host has made another image of the record meanwhile.
bool SwapRowsOfImage(PictureTRV& image, const PixelMap& map, bool reversed) {
    if (image.RowSize < 1 || image.Width < 1) return true;
    const ImageShape shape(image);
    RowSwapper rows(image, SpanOf(map, image, image.Width));
    map.Dispatch(
        [&](const auto& pixel, int64_t, int64_t base) { SwapRows(image, rows, pixel, base, reversed); });
    return shape == ImageShape(image);
}

/// Two rows exchanged by way of copies, for channels that a program has moved so that one pixel's meet those
/// of another: a row is then written from what the other one was, channel by channel.
class CopiedRows {
  public:
    /// With `reversed` each pixel comes from as far from the other end of the row.
    CopiedRows(PictureTRV& image, const PixelMap& map, bool reversed)
        : image_(image),
          map_(map),
          reversed_(reversed),
          width_(image.Width),
          span_(SpanOf(map, image, width_)),
          first_(MakeZeroedBytes(span_)),
          second_(MakeZeroedBytes(span_)) {}

    void Exchange(int64_t y, int64_t partner) {
        if (first_ == nullptr || second_ == nullptr) return;
        if (!Copy(y, first_) || !Copy(partner, second_)) return;
        Write(y, second_);
        Write(partner, first_);
    }

    /// The middle row, from what was the second row of the last exchange.
    void WriteMiddle(int64_t y) {
        if (second_ != nullptr) Write(y, second_);
    }

  private:
    [[nodiscard]] bool Copy(int64_t y, const ZeroedBytes& to) {
        const uint8_t* row = FetchRow(image_, y);
        if (row != nullptr) std::memcpy(to.get(), row, static_cast<size_t>(span_));
        return row != nullptr;
    }

    void Write(int64_t y, const ZeroedBytes& from) {
        uint8_t* row = FetchRow(image_, y);
        if (row == nullptr) return;
        const LoosePixel& pixel = map_.Loose();
        for (int64_t x = 0; x < width_; ++x) {
            const int64_t column = reversed_ ? width_ - 1 - x : x;
            pixel.Move(from.get() + column * pixel.FromSize(), row + x * pixel.ToSize());
        }
    }

    PictureTRV& image_;
    const PixelMap& map_;
    const bool reversed_;
    const int64_t width_;
    const int64_t span_;
    ZeroedBytes first_;
    ZeroedBytes second_;
};

void ExchangeCopies(PictureTRV& image, const PixelMap& map, bool reversed) {
    if (image.RowSize < 1 || image.Width < 1) return;
    const ImageShape shape(image);
    const int64_t height = image.Height;
    CopiedRows rows(image, map, reversed);
    for (int64_t y = 0; y < height / 2 && shape == ImageShape(image); ++y) {
        rows.Exchange(y, height - 1 - y);
        YieldIfWanted(image);
    }
    if (reversed && height % 2 != 0 && shape == ImageShape(image)) rows.WriteMiddle(height / 2);
}

template <class F>
void VMirrorImage(PictureTRV& image, F family) {
    TRV_LOG((FamilyLabel<"VMirrorSelf", F>()));
    const PixelMap map = PixelMap::Within(family, image, false);
    if (!map.AnyOrder()) return ExchangeCopies(image, map, false);
    SwapRowsOfImage(image, map, false);
}

/// The middle row of an odd height: what the row above it has become, or, for an only row, nothing.
void FinishMiddleRow(PictureTRV& image, const PixelMap& map) {
    const int64_t width = image.Width;
    const int64_t middle = image.Height / 2;
    if (image.RowSize < 1 || width < 1) return;
    ZeroedBytes above = MakeZeroedBytes(SpanOf(map, image, width));
    if (above == nullptr) return;
    if (middle > 0) {
        const uint8_t* row = FetchRow(image, middle - 1);
        if (row == nullptr) return;
        std::memcpy(above.get(), row, static_cast<size_t>(SpanOf(map, image, width)));
    }
    uint8_t* row = FetchRow(image, middle);
    if (row == nullptr) return;
    map.Dispatch([&](const auto& pixel, int64_t, int64_t base) {
        for (int64_t x = 0; x < width; ++x)
            pixel.Move(above.get() + base + x * pixel.FromSize(), row + base + x * pixel.ToSize());
    });
}

template <class F>
void Rotate180Image(PictureTRV& image, F family) {
    TRV_LOG((FamilyLabel<"Rotate180Self", F>()));
    const PixelMap map = PixelMap::Within(family, image, false);
    if (!map.AnyOrder()) return ExchangeCopies(image, map, true);
    const bool odd = image.Height % 2 != 0;
    const bool kept = SwapRowsOfImage(image, map, true);
    if (odd && kept) FinishMiddleRow(image, map);
}

}  // namespace

void rbHMirror(HostObject me) {
    TRV_LOG("HMirrorSelf");
    PictureTRV& image = *RecordOf(me);
    if (!IsValid(&image) || !HasByteSamples(image) || !StartImage(&image)) return;
    DispatchFamily(image, [&](auto family) { HMirrorImage(image, family); });
}

void rbVMirror(HostObject me) {
    TRV_LOG("VMirrorSelf");
    PictureTRV& image = *RecordOf(me);
    if (!IsValid(&image) || !HasByteSamples(image) || !StartImage(&image)) return;
    DispatchFamily(image, [&](auto family) { VMirrorImage(image, family); });
}

void rbRotate180Self(HostObject me) {
    TRV_LOG("Rotate180Self");
    PictureTRV& image = *RecordOf(me);
    if (!HasByteSamples(image) || !IsValid(&image) || !StartImage(&image)) return;
    DispatchFamily(image, [&](auto family) { Rotate180Image(image, family); });
}

}  // namespace trv
