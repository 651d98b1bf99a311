#include "pixelops/auto_level.h"

#include <array>

#include "frame/debug_log.h"
#include "image/pixel_loop.h"

namespace trv {

namespace {

using Colours = LayoutFamily<Family::Rgb, false>;
using Counters = std::array<int64_t, 256>;

/// The brightness by weights of its own, not those of the conversions to gray.
int LightOf(int red, int green, int blue) {
    return static_cast<int>(green * 0.813 + red * 0.177 + blue * 0.01);
}

/// The highest index whose running sum is at most `limit`, or 0.
int HighestAtMost(const Counters& sums, int64_t limit) {
    for (int i = 255; i > 0; --i) {
        if (sums[static_cast<size_t>(i)] <= limit) return i;
    }
    return 0;
}

/// What becomes of each value of a rectangle with this histogram.
std::array<uint8_t, 256> LevelTable(const Counters& counters) {
    Counters sums{};
    int64_t total = 0;
    for (size_t i = 0; i < sums.size(); ++i)
        sums[i] = total += counters[i];
    const int low = HighestAtMost(sums, static_cast<int64_t>(static_cast<float>(total) * 0.005F));
    const int high = HighestAtMost(sums, static_cast<int64_t>(static_cast<float>(total) * 0.995F));
    std::array<uint8_t, 256> table{};
    // From `low` down all is 0: also where both are the same and there is no scale.
    for (int value = low + 1; value < 256; ++value) {
        const double scale = 255.0 / (high - low);
        table[static_cast<size_t>(value)] =
            value <= high ? static_cast<uint8_t>((value - low) * scale) : uint8_t{255};
    }
    return table;
}

void AutoLevel5_RGB(PictureTRV& image, const Rectangle& rectangle) {
    TRV_LOG("AutoLevel5_RGB");
    const ImageShape shape(image);
    const auto [red, green, blue] = Colours::Offsets(image);
    const int64_t offsets[] = {red, green, blue};
    const int64_t start = rectangle.x * image.PixelSize;
    const int64_t step = image.PixelSize;
    Counters counters{};
    ForEachRow(image, rectangle.y, rectangle.height, [&](const uint8_t* row) {
        const uint8_t* pixel = row + start;
        for (int64_t i = 0; i < rectangle.width; ++i, pixel += step)
            ++counters[static_cast<size_t>(LightOf(pixel[offsets[0]], pixel[offsets[1]], pixel[offsets[2]]))];
    });
    if (!(shape == ImageShape(image))) return;
    const auto table = LevelTable(counters);
    ForEachRowAtOnce(image, rectangle.y, rectangle.height, [&](uint8_t* row) {
        uint8_t* pixel = row + start;
        for (int64_t i = 0; i < rectangle.width; ++i, pixel += step) {
            for (const int64_t offset : offsets)
                pixel[offset] = table[pixel[offset]];
        }
    });
}

}  // namespace

Boolean rbAutoLevel(HostObject me, int64_t x, int64_t y, int64_t width, int64_t height) {
    PictureTRV& image = *RecordOf(me);
    Rectangle rectangle{x, y, width, height};
    TRV_LOG("AutoLevel5");
    if (!HasByteSamples(image) || !IsValid(&image) || image.IsRGB == 0) return 0;
    Fix(image, rectangle);
    if (rectangle.IsEmpty() || !StartClippedImage(image)) return 0;
    AutoLevel5_RGB(image, rectangle);
    return 1;
}

Boolean rbAutoLevelAll(HostObject me) {
    const PictureTRV& image = *RecordOf(me);
    return rbAutoLevel(me, 0, 0, image.Width, image.Height);
}

}  // namespace trv
