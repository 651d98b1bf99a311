#include "pixelops/auto_level.h"

#include <algorithm>
#include <array>
#include <functional>

#include "frame/debug_log.h"
#include "image/pixel_loop.h"

namespace trv {

namespace {

using Colours = LayoutFamily<Family::Rgb, false>;
using Counters = std::array<int64_t, 256>;

/// The brightness by weights of its own, not those of the conversions to gray: the sum in doubles, in this
/// order, of products that are looked up.
class Light {
  public:
    Light() {
        for (size_t i = 0; i < green_.size(); ++i) {
            const auto value = static_cast<double>(i);
            green_[i] = value * 0.813;
            red_[i] = value * 0.177;
            blue_[i] = value * 0.01;
        }
    }

    [[nodiscard]] size_t Of(uint8_t red, uint8_t green, uint8_t blue) const {
        return static_cast<size_t>(static_cast<int>(green_[green] + red_[red] + blue_[blue]));
    }

  private:
    std::array<double, 256> green_{};
    std::array<double, 256> red_{};
    std::array<double, 256> blue_{};
};

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

/// The colours of a run of pixels, in registers while counters and samples are written.
struct ColourRun {
    uint8_t* pixel;
    int64_t step;
    int64_t red;
    int64_t green;
    int64_t blue;
    int64_t count;
};

/// Neighbours are counted apart: they are often alike, and a counter takes its time to be raised again.
using PartCounters = std::array<Counters, 4>;

void CountLights(ColourRun run, const Light& light, PartCounters& parts) {
    for (int64_t i = 0; i < run.count; ++i, run.pixel += run.step) {
        const size_t found = light.Of(run.pixel[run.red], run.pixel[run.green], run.pixel[run.blue]);
        ++parts[static_cast<size_t>(i) % parts.size()][found];
    }
}

Counters SumOf(const PartCounters& parts) {
    Counters sum{};
    for (const Counters& part : parts)
        std::transform(part.begin(), part.end(), sum.begin(), sum.begin(), std::plus<>());
    return sum;
}

void Level(ColourRun run, const std::array<uint8_t, 256>& table) {
    for (; run.count > 0; --run.count, run.pixel += run.step) {
        // One after the other: a program can lay two colours on one byte.
        run.pixel[run.red] = table[run.pixel[run.red]];
        run.pixel[run.green] = table[run.pixel[run.green]];
        run.pixel[run.blue] = table[run.pixel[run.blue]];
    }
}

void AutoLevel5_RGB(PictureTRV& image, const Rectangle& rectangle) {
    TRV_LOG("AutoLevel5_RGB");
    const ImageShape shape(image);
    const auto offsets = Colours::Offsets(image);
    const int64_t start = rectangle.x * image.PixelSize;
    const int64_t step = image.PixelSize;
    const auto run = [&](uint8_t* row) {
        return ColourRun{row + start, step, offsets[0], offsets[1], offsets[2], rectangle.width};
    };
    const Light light;
    PartCounters counters{};
    ForEachRow(image, rectangle.y, rectangle.height,
               [&](uint8_t* row) { CountLights(run(row), light, counters); });
    if (!(shape == ImageShape(image))) return;
    const auto table = LevelTable(SumOf(counters));
    ForEachRowAtOnce(image, rectangle.y, rectangle.height, [&](uint8_t* row) { Level(run(row), table); });
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
