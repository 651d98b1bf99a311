#pragma once

// What one compositing call does with a pixel: for each channel that is written, from which bytes of which
// pictures it is made. A plan is drawn up once per call, and every combination of layouts is a plan.

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "image/colour.h"
#include "image/picture_record.h"

namespace trv {

enum class BlendRule : uint8_t {
    Mix,        // ((255 - m) * s + d * m) / 255
    Add,        // d * m / 255 + s, wrapping
    MixToGray,  // the brightness of three mixes, of one d and m with the s of three entries
};

/// A value that goes into a channel.
struct BlendValue {
    enum class Kind : uint8_t { Byte, Luma, Mean, Constant };

    Kind kind = Kind::Constant;
    uint8_t constant = 0;
    size_t side = 0;    // picture, by its number in the plan
    int64_t at = 0;     // offset of the byte, or of red, from the address of a pixel
    int64_t green = 0;  // Luma and Mean
    int64_t blue = 0;
};

/// One channel that is written.
struct BlendChannel {
    int64_t to = 0;
    BlendValue d;
    BlendValue s;
    BlendValue m;
};

/// One picture that takes part.
struct BlendSide {
    PictureTRV* image;
    int64_t x;  // its column of the first pixel
};

struct BlendPlan {
    static constexpr size_t kMostSides = 4;
    static constexpr size_t kMostChannels = 4;

    BlendRule rule = BlendRule::Mix;
    std::array<int64_t, kMostSides> pixelSize{};  // by side; side 0 is written
    size_t sides = 0;
    std::array<BlendChannel, kMostChannels> channels{};
    size_t channelCount = 0;

    void Add(const BlendChannel& channel) { channels[channelCount++] = channel; }
};

[[nodiscard]] inline BlendValue ConstantValue(uint8_t value) {
    return {.constant = value};
}

[[nodiscard]] inline BlendValue ByteValue(size_t side, int64_t at) {
    return {.kind = BlendValue::Kind::Byte, .side = side, .at = at};
}

/// The three colours of an image together.
[[nodiscard]] inline BlendValue ColoursValue(BlendValue::Kind kind, size_t side, const PictureTRV& image) {
    return {.kind = kind,
            .side = side,
            .at = image.RedOffset,
            .green = image.GreenOffset,
            .blue = image.BlueOffset};
}

/// The colour channels of a gray or RGB image, none of any other.
[[nodiscard]] std::span<const Channel> ColourChannelsOf(const PictureTRV& image);

/// What a colour has for a channel that is written: for gray its brightness.
[[nodiscard]] inline BlendValue ColourValue(const ColourBytes& colour, Channel channel) {
    switch (channel) {
        case Channel::Red:
            return ConstantValue(colour.red);
        case Channel::Green:
            return ConstantValue(colour.green);
        case Channel::Blue:
            return ConstantValue(colour.blue);
        default:
            return ConstantValue(LumaOf(colour));
    }
}

/// What an image of either kind has for a channel that is written: its gray for anything, its own colour for
/// a colour, its brightness for gray.
[[nodiscard]] inline BlendValue ColourValue(size_t side, const PictureTRV& image, Channel channel) {
    if (image.IsGray != 0) return ByteValue(side, image.GrayOffset);
    if (channel == Channel::Gray) return ColoursValue(BlendValue::Kind::Luma, side, image);
    return ByteValue(side, OffsetOf(image, channel));
}

/// An image's alpha, 255 if it has none.
[[nodiscard]] inline BlendValue AlphaValue(size_t side, const PictureTRV& image) {
    return image.HasAlpha != 0 ? ByteValue(side, image.AlphaOffset) : ConstantValue(255);
}

}  // namespace trv
