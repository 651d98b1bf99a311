#pragma once

// The fifteen pixel families of the scaler: pairs of a reading and a writing rule, around the group of bytes,
// MyPixel, that the temporary image holds for each pixel.

#include <array>
#include <cstdint>
#include <optional>

#include "image/picture_record.h"

namespace trv {

/// What the horizontal pass puts into one slot of MyPixel.
enum class SlotSource : uint8_t {
    Zero,     // nothing was read: the byte is 0
    Channel,  // the resampled channel
    Luma,     // the resampled luma of red, green and blue
};

struct ScaleSlot {
    SlotSource source = SlotSource::Zero;
    Channel channel = Channel::Red;
};

/// One store of the vertical pass: a slot of MyPixel into a channel of the destination.
struct ScaleWrite {
    Channel channel;
    int slot;
};

inline constexpr int kMostSlots = 5;

/// A family. Slots are bytes of MyPixel, except that a wide family has one slot of 16 bits.
struct ScaleFamily {
    const char* name;
    int64_t tempFormat;
    int pixelBytes;  // sizeof(MyPixel)
    bool wide;
    int slotCount;
    std::array<ScaleSlot, kMostSlots> slots;
    int writeCount;
    std::array<ScaleWrite, kMostSlots> writes;

    /// The largest value of a sample.
    [[nodiscard]] constexpr int MaxValue() const { return wide ? 65535 : 255; }
};

enum class ScaleFamilyCode : int8_t {
    None = -1,
    RGB_to_RGB,
    RGBA_to_RGBA,
    RGB_to_G,
    RGBA_to_GA,
    G_to_G,
    G16_to_G16,
    GA_to_GA,
    G_to_RGB,
    GA_to_RGBA,
    G_to_CMYK,
    GA_to_CMYKA,
    CMYK_to_CMYK,
    CMYKA_to_CMYKA,
    CMYK_to_G,
    CMYKA_to_GA,
};
inline constexpr int kScaleFamilyCount = 15;

/// The families by code.
extern const std::array<ScaleFamily, kScaleFamilyCount> kScaleFamilies;

/// The family that serves a pair of images, or null for a pair that is refused: one side without layout
/// family, RGB with CMYK, gray without alpha of different sample sizes.
[[nodiscard]] const ScaleFamily* SelectFamily(const PictureTRV& source, const PictureTRV& destination);

}  // namespace trv
