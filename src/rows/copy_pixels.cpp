#include "rows/copy_pixels.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "frame/debug_log.h"
#include "image/pixel_loop.h"
#include "image/row_pair.h"
#include "image/store_overlap.h"
#include "rows/channel_rules.h"

namespace trv {

namespace {

/// Calls `work(sourceRow, destRow)` for each pair of rows and gives the host its time behind each. A row that
/// cannot be had is left out.
template <class Work>
void ForEachRowPair(PictureTRV& dest, PictureTRV& source, const RectanglePair& pair, Work&& work) {
    RowPair rows(dest, source);
    for (int64_t y = 0; y < pair.height; ++y) {
        if (rows.Fetch(pair.destY + y, pair.sourceY + y)) work(rows.from, rows.to);
        YieldIfWanted(dest);
    }
}

/// Whether the rectangle is whole rows that follow one another on both sides, so that all of it is one run.
bool IsOneRun(const PictureTRV& dest, const PictureTRV& source, const RectanglePair& pair) {
    return IsOneRun(dest) && IsOneRun(source) && pair.width == dest.Width && pair.width == source.Width;
}

/// Rows of equal packed layouts, as bytes.
void CopyPixelsBlock(PictureTRV& dest, PictureTRV& source, const RectanglePair& pair) {
    TRV_LOG("CopyPixelsBlock");
    const int64_t sourceStart = LowestChannelOffset(source) + pair.sourceX * source.PixelSize;
    const int64_t destStart = LowestChannelOffset(dest) + pair.destX * dest.PixelSize;
    const int64_t wanted = pair.width * dest.PixelSize;
    const int64_t bytes =
        std::min(PackedBytes(source, sourceStart, wanted), PackedBytes(dest, destStart, wanted));
    TRV_LOG("pixel size", dest.PixelSize);
    TRV_LOG("min offset", LowestChannelOffset(source));
    TRV_LOG("offset", LowestChannelOffset(dest));
    TRV_LOG("uh", pair.height);
    TRV_LOG("pw", wanted);
    TRV_LOG("row", pair.destY);
    // Rows over the same memory keep their order, which shows in the result.
    if (bytes == wanted && IsOneRun(dest, source, pair) && !MayShareMemory(dest, source)) {
        std::memcpy(FetchRow(dest, pair.destY) + destStart, FetchRow(source, pair.sourceY) + sourceStart,
                    static_cast<size_t>(bytes * pair.height));
        return;
    }
    ForEachRowPair(dest, source, pair, [&](const uint8_t* from, uint8_t* to) {
        std::memmove(to + destStart, from + sourceStart, static_cast<size_t>(bytes));
    });
}

/// Whether gray and alpha-less samples of different sizes meet, or 16-bit ones, whose second byte counts.
bool IsGrayOf16Bits(const PictureTRV& image) {
    return image.IsGray != 0 && image.BitsPerComponent == 16;
}

/// Name of a side in a routine's name.
const char* SideName(const PictureTRV& image, bool alpha, bool grayPair) {
    return grayPair && IsGrayOf16Bits(image) ? "Gray16" : ClassLetters(ClassOf(image), alpha);
}

/// The second byte of 16-bit gray: copied, or the same as the first where the source has 8 bits (gray * 257).
void AddLowByte(SpanConverter& converter, const PictureTRV& dest, const PictureTRV& source) {
    converter.Add({.kind = ByteRule::Kind::Copy,
                   .to = dest.GrayOffset + 1,
                   .from = source.GrayOffset + (IsGrayOf16Bits(source) ? 1 : 0)});
}

/// Whether a 16-bit sample lies within its pixel. A program can move its offset to the pixel's last byte, and
/// then the second byte of the last pixel would lie behind the row.
bool SampleFits(const PictureTRV& image) {
    return !IsGrayOf16Bits(image) || image.GrayOffset % image.PixelSize + 1 < image.PixelSize;
}

SpanConverter MakeCopy(const PictureTRV& dest, const PictureTRV& source, bool alpha, bool grayPair) {
    // Ink into gray with alpha goes by the colour offsets, which are 0 on such an image unless somebody moved
    // them.
    if (alpha && dest.IsGray != 0 && source.IsCMYK != 0) {
        SpanConverter converter(source.PixelSize, dest.PixelSize);
        converter.Add(LumaRule(source, dest));
        converter.Add({.kind = ByteRule::Kind::Copy, .to = dest.AlphaOffset, .from = source.AlphaOffset});
        converter.Prepare();
        return converter;
    }
    SpanConverter converter =
        MakeConverter(source, dest, GrayToInks::BlackOnly, alpha ? AlphaRule::Copy : AlphaRule::Leave);
    if (grayPair && IsGrayOf16Bits(dest) && SampleFits(dest) && SampleFits(source)) {
        AddLowByte(converter, dest, source);
        converter.Prepare();
    }
    return converter;
}

/// Copies through a converter; false for the pairs that are refused.
bool CopyPixelsConverted(PictureTRV& dest, PictureTRV& source, const RectanglePair& pair) {
    const Family to = ClassOf(dest);
    const Family from = ClassOf(source);
    if (to == Family::None || from == Family::None) return false;
    const bool alpha = dest.HasAlpha != 0 && source.HasAlpha != 0;
    const bool grayPair = !alpha && to == Family::Gray && from == Family::Gray;
    if (debugFlag) {
        char text[64];
        std::snprintf(text, sizeof text, "CopyPixels%sto%s", SideName(source, alpha, grayPair),
                      SideName(dest, alpha, grayPair));
        TRV_LOG(text);
    }
    const bool refused =
        (to == Family::Rgb && from == Family::Cmyk) || (to == Family::Cmyk && from == Family::Rgb);
    if (refused) {
        // As far as the first pixel: both images are asked for their rows.
        static_cast<void>(FetchRow(source, pair.sourceY));
        static_cast<void>(FetchRow(dest, pair.destY));
        return false;
    }
    const SpanConverter converter = MakeCopy(dest, source, alpha, grayPair);
    if (IsOneRun(dest, source, pair)) {
        converter.Convert(FetchRow(source, pair.sourceY), FetchRow(dest, pair.destY),
                          pair.width * pair.height);
        return true;
    }
    // Two windows can show the same bytes at addresses that do not tell it.
    const bool inOrder = dest.IsMapping != 0 && source.IsMapping != 0 && MayShareMemory(dest, source);
    const auto convert = inOrder ? &SpanConverter::ConvertInOrder : &SpanConverter::Convert;
    ForEachRowPair(dest, source, pair, [&](const uint8_t* fromRow, uint8_t* toRow) {
        (converter.*convert)(fromRow + pair.sourceX * source.PixelSize, toRow + pair.destX * dest.PixelSize,
                             pair.width);
    });
    return true;
}

}  // namespace

Boolean rbCopyPixels(HostObject me, HostObject sourceObject, int64_t destX, int64_t destY, int64_t width,
                     int64_t height, int64_t sourceX, int64_t sourceY) {
    PictureTRV* source = RecordOf(sourceObject);
    PictureTRV& dest = *RecordOf(me);
    if (source == nullptr || !IsValid(&dest) || !IsValid(source)) return 0;
    if (!StartImage(&dest) || !StartImage(source)) return 0;
    RectanglePair pair{destX, destY, width, height, sourceX, sourceY};
    Fix(dest, pair, source->Width, source->Height);
    if (pair.IsEmpty()) return 0;
    if (IsPacked(dest) && IsPacked(*source) && SameLayout(dest, *source)) {
        CopyPixelsBlock(dest, *source, pair);
        return 1;
    }
    return CopyPixelsConverted(dest, *source, pair);
}

Boolean rbCopyPixelsFromOrigin(HostObject me, HostObject source, int64_t destX, int64_t destY, int64_t width,
                               int64_t height) {
    return rbCopyPixels(me, source, destX, destY, width, height, 0, 0);
}

Boolean rbCopyPixelsAll(HostObject me, HostObject source) {
    const PictureTRV& dest = *RecordOf(me);
    return rbCopyPixels(me, source, 0, 0, dest.Width, dest.Height, 0, 0);
}

}  // namespace trv
