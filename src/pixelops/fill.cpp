#include "pixelops/fill.h"

#include <cstring>
#include <initializer_list>
#include <utility>

#include "frame/debug_log.h"
#include "image/noise.h"
#include "image/pixel_loop.h"
#include "pixelops/fill_pattern.h"

namespace trv {

namespace {

struct Colour {
    int64_t red;
    int64_t green;
    int64_t blue;
};

Colour Unpack(uint32_t color) {
    return {(color >> 16) & 255, (color >> 8) & 255, color & 255};
}

uint8_t LowByte(int64_t value) {
    return static_cast<uint8_t>(value);
}

// The named steps of the family
// -----------------------------------------------------------------------------------

/// Clips; whether something is left.
bool FixAndKeep(const PictureTRV& image, Rectangle& rectangle) {
    Fix(image, rectangle);
    return !rectangle.IsEmpty();
}

bool HasColours(const PictureTRV& image) {
    return image.HasRed != 0 && image.HasGreen != 0 && image.HasBlue != 0;
}

/// Calls `work` with the start and length in bytes of the rectangle's part of each row of a packed image.
template <class Work>
void ForEachPackedSpan(PictureTRV& image, const Rectangle& rectangle, Work&& work) {
    const int64_t start = LowestChannelOffset(image) + rectangle.x * image.PixelSize;
    const int64_t bytes = PackedBytes(image, start, rectangle.width * image.PixelSize);
    ForEachRow(image, rectangle.y, rectangle.height,
               [&](uint8_t* row) { work(row + start, static_cast<size_t>(bytes)); });
}

void FillWithPattern(PictureTRV& image, const Rectangle& rectangle, FillPattern& pattern) {
    ForEachRow(image, rectangle.y, rectangle.height,
               [&](uint8_t* row) { pattern.Fill(row + rectangle.x * image.PixelSize, rectangle.width); });
}

template <FixedText kName, class F>
void FillFamily(PictureTRV& image, const Rectangle& rectangle, uint8_t value, uint8_t alpha, F /*family*/) {
    TRV_LOG((FamilyLabel<kName, F>()));
    FillPattern pattern(image.PixelSize);
    for (const Channel channel : F::channels) {
        pattern.Set(OffsetOf(image, channel), channel == Channel::Alpha ? alpha : value);
    }
    FillWithPattern(image, rectangle, pattern);
}

/// The colour channels of the image's family get `value`, its alpha gets `alpha`.
template <FixedText kName>
void FillFamily(PictureTRV& image, const Rectangle& rectangle, uint8_t value, uint8_t alpha) {
    DispatchFamily(image, [&](auto family) { FillFamily<kName>(image, rectangle, value, alpha, family); });
}

/// `alpha` is null for one that stays as it is.
void FillColours(PictureTRV& image, const Rectangle& rectangle, const Colour& colour, const uint8_t* alpha) {
    FillPattern pattern(image.PixelSize);
    pattern.Set(image.RedOffset, LowByte(colour.red));
    pattern.Set(image.GreenOffset, LowByte(colour.green));
    pattern.Set(image.BlueOffset, LowByte(colour.blue));
    if (alpha != nullptr) pattern.Set(image.AlphaOffset, *alpha);
    FillWithPattern(image, rectangle, pattern);
}

void FillRectRGB(PictureTRV& image, Rectangle rectangle, const Colour& colour) {
    if (!IsValid(&image)) return;
    Fix(image, rectangle);
    if (!HasColours(image) || rectangle.IsEmpty() || !StartClippedImage(image)) return;
    FillColours(image, rectangle, colour, nullptr);
}

// Blending
// --------------------------------------------------------------------------------------------------------

/// The blend of one channel for every old value, in 32 bits that wrap.
struct BlendTable {
    uint8_t blended[256];

    BlendTable(int64_t colour, int64_t alpha) {
        const uint32_t source = static_cast<uint32_t>(colour) * (static_cast<uint32_t>(alpha) * 257);
        const uint32_t weight = (255 - static_cast<uint32_t>(alpha)) * 257;
        for (uint32_t old = 0; old < 256; ++old) {
            blended[old] = static_cast<uint8_t>(static_cast<int32_t>(old * weight + source) >> 16);
        }
    }
};

/// Replaces one channel of a run of pixels through the table.
void BlendChannel(uint8_t* channel, int64_t pixelSize, int64_t count, const BlendTable& table) {
    for (; count > 0; --count, channel += pixelSize)
        *channel = table.blended[*channel];
}

int32_t GrayOf(const Colour& colour) {
    const uint32_t sum = static_cast<uint32_t>(colour.blue) * 28 + static_cast<uint32_t>(colour.green) * 151 +
                         static_cast<uint32_t>(colour.red) * 77;
    return static_cast<int32_t>(sum) / 256;
}

// Noise
// -----------------------------------------------------------------------------------------------------------

/// The channels that get noise, in the order of drawing; nothing for a layout outside the families.
size_t NoiseChannels(const PictureTRV& image, Channel (&channels)[5]) {
    using enum Channel;
    size_t count = 0;
    // Gray is told by its channel here and not by the family, and colours draw their alpha last.
    const bool alphaLast = image.HasGray == 0 && image.IsCMYK == 0;
    DispatchFamily(image.HasGray != 0, image.IsRGB != 0 && image.IsCMYK == 0, image.IsCMYK != 0, false,
                   [&]<class F>(F) {
                       if (image.HasAlpha != 0 && !alphaLast) channels[count++] = Alpha;
                       for (const Channel channel : F::channels)
                           channels[count++] = channel;
                       if (image.HasAlpha != 0 && alphaLast) channels[count++] = Alpha;
                   });
    return count;
}

}  // namespace

void rbFillRect(HostObject me, int64_t x, int64_t y, int64_t width, int64_t height, int64_t value) {
    PictureTRV& image = *RecordOf(me);
    Rectangle rectangle{x, y, width, height};
    TRV_LOG("FillRect5");
    if (!IsValid(&image) || !FixAndKeep(image, rectangle) || !StartClippedImage(image)) return;
    const uint8_t byte = LowByte(value);
    if (IsPacked(image)) {
        ForEachPackedSpan(image, rectangle,
                          [&](uint8_t* span, size_t bytes) { std::memset(span, byte, bytes); });
    } else {
        FillFamily<"FillRect5">(image, rectangle, byte, byte);
    }
}

void rbFillRectAll(HostObject me, int64_t value) {
    const PictureTRV& image = *RecordOf(me);
    rbFillRect(me, 0, 0, image.Width, image.Height, value);
}

void rbFillRectAlpha(HostObject me, int64_t x, int64_t y, int64_t width, int64_t height, int64_t value,
                     int64_t alpha) {
    PictureTRV& image = *RecordOf(me);
    Rectangle rectangle{x, y, width, height};
    TRV_LOG("FillRectA5");
    if (!IsValid(&image) || !FixAndKeep(image, rectangle) || !StartClippedImage(image)) return;
    FillFamily<"FillRectA5">(image, rectangle, LowByte(value), LowByte(alpha));
}

void rbFillRectAlphaAll(HostObject me, int64_t value, int64_t alpha) {
    const PictureTRV& image = *RecordOf(me);
    rbFillRectAlpha(me, 0, 0, image.Width, image.Height, value, alpha);
}

void rbFillRectRGB(HostObject me, int64_t x, int64_t y, int64_t width, int64_t height, int64_t red,
                   int64_t green, int64_t blue) {
    TRV_LOG("FillRectRGB5");
    FillRectRGB(*RecordOf(me), {x, y, width, height}, {red, green, blue});
}

void rbFillRectRGBAll(HostObject me, int64_t red, int64_t green, int64_t blue) {
    TRV_LOG("FillRectRGB1");
    const PictureTRV& image = *RecordOf(me);
    rbFillRectRGB(me, 0, 0, image.Width, image.Height, red, green, blue);
}

void rbFillRectColor(HostObject me, int64_t x, int64_t y, int64_t width, int64_t height, uint32_t color) {
    TRV_LOG("FillRectRGBc5");
    const auto [red, green, blue] = Unpack(color);
    rbFillRectRGB(me, x, y, width, height, red, green, blue);
}

void rbFillRectColorAll(HostObject me, uint32_t color) {
    TRV_LOG("FillRectRGBc1");
    const auto [red, green, blue] = Unpack(color);
    rbFillRectRGBAll(me, red, green, blue);
}

void rbFillRectRGBA(HostObject me, int64_t x, int64_t y, int64_t width, int64_t height, int64_t red,
                    int64_t green, int64_t blue, int64_t alpha) {
    PictureTRV& image = *RecordOf(me);
    Rectangle rectangle{x, y, width, height};
    TRV_LOG("FillRectRGBA5");
    if (!IsValid(&image)) return;
    Fix(image, rectangle);
    if (image.HasAlpha == 0) {
        rbFillRectRGB(me, rectangle.x, rectangle.y, rectangle.width, rectangle.height, red, green, blue);
        return;
    }
    if (!HasColours(image) || rectangle.IsEmpty() || !StartClippedImage(image)) return;
    const uint8_t alphaByte = LowByte(alpha);
    FillColours(image, rectangle, {red, green, blue}, &alphaByte);
}

void rbFillRectRGBAAll(HostObject me, int64_t red, int64_t green, int64_t blue, int64_t alpha) {
    TRV_LOG("FillRectRGBA1");
    const PictureTRV& image = *RecordOf(me);
    rbFillRectRGBA(me, 0, 0, image.Width, image.Height, red, green, blue, alpha);
}

void rbFillRectColorAlpha(HostObject me, int64_t x, int64_t y, int64_t width, int64_t height, uint32_t color,
                          int64_t alpha) {
    TRV_LOG("FillRectRGBcA5");
    const auto [red, green, blue] = Unpack(color);
    rbFillRectRGBA(me, x, y, width, height, red, green, blue, alpha);
}

void rbFillRectColorAlphaAll(HostObject me, uint32_t color, int64_t alpha) {
    TRV_LOG("FillRectRGBcA1");
    const auto [red, green, blue] = Unpack(color);
    rbFillRectRGBAAll(me, red, green, blue, alpha);
}

Boolean rbFillRectApply(HostObject me, int64_t x, int64_t y, int64_t width, int64_t height, int64_t red,
                        int64_t green, int64_t blue, int64_t alpha) {
    PictureTRV& image = *RecordOf(me);
    Rectangle rectangle{x, y, width, height};
    TRV_LOG("FillRectApplyRGBA5");
    if (!IsValid(&image) || image.GetRow == nullptr) return 0;
    Fix(image, rectangle);
    const auto blend = [&](std::initializer_list<std::pair<int64_t, BlendTable>> channels) {
        // A rectangle outside lies anywhere.
        if (rectangle.width < 1) return;
        ForEachRow(image, rectangle.y, rectangle.height, [&](uint8_t* row) {
            for (const auto& [offset, table] : channels) {
                BlendChannel(row + offset + rectangle.x * image.PixelSize, image.PixelSize, rectangle.width,
                             table);
            }
        });
    };
    if (image.IsRGB != 0) {
        TRV_LOG("FillRectApply5RGB");
        blend({{image.RedOffset, {red, alpha}},
               {image.GreenOffset, {green, alpha}},
               {image.BlueOffset, {blue, alpha}}});
        return 1;
    }
    if (image.IsGray != 0) {
        TRV_LOG("FillRectApply5G");
        blend({{image.GrayOffset, {GrayOf({red, green, blue}), alpha}}});
        return 1;
    }
    return 0;
}

Boolean rbFillRectApplyAll(HostObject me, int64_t red, int64_t green, int64_t blue, int64_t alpha) {
    const PictureTRV& image = *RecordOf(me);
    return rbFillRectApply(me, 0, 0, image.Width, image.Height, red, green, blue, alpha);
}

Boolean rbFillRectApplyColor(HostObject me, int64_t x, int64_t y, int64_t width, int64_t height,
                             uint32_t color, int64_t alpha) {
    const auto [red, green, blue] = Unpack(color);
    return rbFillRectApply(me, x, y, width, height, red, green, blue, alpha);
}

Boolean rbFillRectApplyColorAll(HostObject me, uint32_t color, int64_t alpha) {
    const auto [red, green, blue] = Unpack(color);
    return rbFillRectApplyAll(me, red, green, blue, alpha);
}

void rbFillRectRandom(HostObject me, int64_t x, int64_t y, int64_t width, int64_t height) {
    PictureTRV& image = *RecordOf(me);
    Rectangle rectangle{x, y, width, height};
    TRV_LOG("FillRectRandom5");
    if (!IsValid(&image) || !FixAndKeep(image, rectangle) || !StartClippedImage(image)) return;
    if (IsPacked(image)) {
        ForEachPackedSpan(image, rectangle, [&](uint8_t* span, size_t bytes) { Noise::Fill(span, bytes); });
        return;
    }
    Noise noise;
    Channel channels[5];
    const size_t channelCount = NoiseChannels(image, channels);
    ForEachRow(image, rectangle.y, rectangle.height, [&](uint8_t* row) {
        uint8_t* pixel = row + rectangle.x * image.PixelSize;
        for (int64_t i = 0; i < rectangle.width; ++i, pixel += image.PixelSize) {
            for (size_t c = 0; c < channelCount; ++c)
                pixel[OffsetOf(image, channels[c])] = noise.NextByte();
        }
    });
}

void rbFillRectRandomAll(HostObject me) {
    const PictureTRV& image = *RecordOf(me);
    rbFillRectRandom(me, 0, 0, image.Width, image.Height);
}

void rbClearRect(HostObject me, int64_t x, int64_t y, int64_t width, int64_t height) {
    PictureTRV& image = *RecordOf(me);
    Rectangle rectangle{x, y, width, height};
    if (!FixAndKeep(image, rectangle) || !StartClippedImage(image)) return;
    ForEachRow(image, rectangle.y, rectangle.height, [&](uint8_t* row) {
        std::memset(row + rectangle.x * image.PixelSize, 0,
                    static_cast<size_t>(rectangle.width * image.PixelSize));
    });
}

void rbClearRectAll(HostObject me) {
    PictureTRV& image = *RecordOf(me);
    if (!StartImage(&image) || image.Height < 1) return;
    // Rows that run upwards have a negative size and as many bytes.
    const size_t bytes = static_cast<size_t>(image.RowSize < 0 ? -image.RowSize : image.RowSize);
    ForEachRow(image, 0, image.Height, [&](uint8_t* row) { std::memset(row, 0, bytes); });
}

}  // namespace trv
