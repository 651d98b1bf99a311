#pragma once

// The scaler, slow and obvious: every sample of every pixel by itself, through all taps, with the rules for
// families, kernels and tables spelled out one by one. What the library does is compared with this.

#include <cmath>
#include <cstdint>
#include <cstring>
#include <optional>
#include <string>
#include <vector>

namespace trvtest::reference {

enum Mode { kTriangle = 1, kBox, kLanczos3, kLanczos8, kMitchell, kPoly3, kCubic };

inline double SincOf(double t) {
    if (t == 0) return 1;
    const double angle = 3.141592653589793 * t;
    return std::sin(angle) / angle;
}

inline double KernelValue(int mode, double x) {
    const double a = x < 0 ? -x : x;
    const double a2 = a * a;
    const double a3 = a * a * a;
    switch (mode) {
        case kTriangle:
            return a < 1 ? 1 - a : 0;
        case kBox:
            return a <= 0.5 ? 1 : 0;
        case kLanczos3:
            return a < 3 ? SincOf(a) * SincOf(a / 3) : 0;
        case kLanczos8:
            return a < 8 ? SincOf(a) * SincOf(a * 0.125) : 0;
        case kMitchell:
            if (a < 1) return (7 * a3 - 12 * a2 + 16.0 / 3) / 6;
            if (a < 2) return (12 * a2 - 7.0 / 3 * a3 - 20 * a + 32.0 / 3) / 6;
            return 0;
        case kPoly3:
            if (a < 1) return (1.25 * a - 2.25) * a2 + 1;
            if (a < 2) return ((-0.75 * a + 3.75) * a - 6) * a + 3;
            return 0;
        case kCubic:
            if (a <= 1) return 4.0 / 3 * a3 - 7.0 / 3 * a2 + 1;
            if (a <= 2) return 3 * a2 - 7.0 / 12 * a3 - 59.0 / 12 * a + 2.5;
            if (a <= 3) return 1.0 / 12 * a3 - 2.0 / 3 * a2 + 1.75 * a - 1.5;
            return 0;
        default:
            return 0;
    }
}

inline double Radius(int mode) {
    constexpr double kRadii[] = {0, 1, 0.5, 3, 8, 2, 4, 3};
    return kRadii[mode];
}

struct Tap {
    float weight;
    int64_t pixel;
    bool operator==(const Tap&) const = default;
};

struct List {
    std::vector<Tap> taps;
    float sum = 0;
};

/// The table of one direction; `widened` is the horizontal builder's larger range of candidates when
/// enlarging.
inline std::vector<List> Table(int mode, int64_t inputSize, double scale, int64_t outputSize, bool widened) {
    std::vector<List> table;
    const bool shrinks = 1.0 > scale;
    const double reach = shrinks ? Radius(mode) / scale : Radius(mode);
    for (int64_t i = 0; i < outputSize; ++i) {
        const double centre = (static_cast<double>(i) + 0.5) / scale;
        double first = std::trunc(centre - reach);
        double last = std::trunc(centre + reach);
        if (!shrinks && widened) {
            first = std::floor(centre - reach);
            last = std::ceil(centre + reach);
        }
        if (first < 0) first = 0;
        if (last >= static_cast<double>(inputSize)) last = static_cast<double>(inputSize - 1);
        List list;
        double sum = 0;
        for (int64_t j = static_cast<int64_t>(first); j <= static_cast<int64_t>(last); ++j) {
            double x = centre - static_cast<double>(j) - 0.5;
            if (shrinks) x *= scale;
            const double value = KernelValue(mode, x);
            if (value == 0) continue;
            sum += value;
            list.taps.push_back({static_cast<float>(value), j});
        }
        list.sum = static_cast<float>(sum);
        table.push_back(list);
    }
    return table;
}

/// Rounds a sum of double precision to a sample.
inline uint16_t Sample(double sum, float weights, double most) {
    const double value = sum / static_cast<double>(weights) + 0.5;
    if (!std::isfinite(value)) return 0;
    const double whole = std::trunc(value);
    return static_cast<uint16_t>(whole < 0 ? 0 : whole > most ? most : whole);
}

/// What the rules need to know of an image, and the bytes that its rows are in.
struct Image {
    int64_t width = 0, height = 0, pixelSize = 0, rowSize = 0, bits = 8;
    bool gray = false, rgb = false, cmyk = false, alpha = false;
    int64_t redAt = 0, greenAt = 0, blueAt = 0, grayAt = 0, alphaAt = 0, cyanAt = 0, magentaAt = 0,
            yellowAt = 0, blackAt = 0;
    std::vector<uint8_t> bytes;
    int64_t firstRow = 0;   // of the view, in the store
    bool mirrored = false;  // rows from the bottom up

    [[nodiscard]] uint8_t* Pixel(int64_t x, int64_t y) {
        const int64_t row = firstRow + (mirrored ? height - 1 - y : y);
        return bytes.data() + row * rowSize + x * pixelSize;
    }
};

/// The family for a pair of images, by name.
inline std::optional<std::string> Family(const Image& source, const Image& dest) {
    const std::string from = source.cmyk ? "CMYK" : source.rgb ? "RGB" : source.gray ? "G" : "";
    const std::string to = dest.cmyk ? "CMYK" : dest.rgb ? "RGB" : dest.gray ? "G" : "";
    if (from.empty() || to.empty()) return {};
    if ((from == "RGB" && to == "CMYK") || (from == "CMYK" && to == "RGB")) return {};
    if (from == "G" && to == "G" && !source.alpha && !dest.alpha) {
        if (source.bits == 16 && dest.bits == 16) return "G16_to_G16";
        if (source.bits == 16 || dest.bits == 16) return {};
    }
    const bool both = source.alpha && dest.alpha;
    return both ? from + "A_to_" + to + "A" : from + "_to_" + to;
}

/// Bytes of one pixel of the temp.
inline int64_t TempPixel(const std::string& family) {
    if (family == "RGB_to_G" || family == "G_to_G" || family == "CMYK_to_G") return 1;
    if (family == "RGBA_to_GA" || family == "G16_to_G16" || family == "GA_to_GA" || family == "CMYKA_to_GA")
        return 2;
    if (family == "GA_to_CMYKA" || family == "CMYKA_to_CMYKA") return 5;
    return 4;
}

class Scaler {
  public:
    Scaler(std::string family, Image& source, Image& dest, Image& temp)
        : family_(std::move(family)), source_(source), dest_(dest), temp_(temp), size_(TempPixel(family_)) {}

    void Run(int mode, int64_t width, int64_t height) {
        const double xScale = static_cast<double>(width) / static_cast<double>(source_.width);
        const double yScale = static_cast<double>(height) / static_cast<double>(source_.height);
        const auto columns = Table(mode, source_.width, xScale, width, true);
        for (int64_t y = 0; y < source_.height; ++y) {
            for (int64_t x = 0; x < width; ++x)
                Horizontal(columns[static_cast<size_t>(x)], x, y);
        }
        const auto rows = Table(mode, temp_.height, yScale, height, false);
        for (int64_t y = 0; y < height; ++y) {
            for (int64_t x = 0; x < width; ++x)
                Vertical(rows[static_cast<size_t>(y)], x, y);
        }
    }

  private:
    [[nodiscard]] bool Is(const char* name) const { return family_ == name; }

    /// Source column sums, one after the other, through the byte at an offset.
    uint8_t Column(const List& list, int64_t y, int64_t offset) {
        double sum = 0;
        for (const Tap& tap : list.taps)
            sum += source_.Pixel(tap.pixel, y)[offset] * static_cast<double>(tap.weight);
        return static_cast<uint8_t>(Sample(sum, list.sum, 255));
    }
    uint8_t Luma(const List& list, int64_t y) {
        double sum = 0;
        for (const Tap& tap : list.taps) {
            const uint8_t* pixel = source_.Pixel(tap.pixel, y);
            const double weight = tap.weight;
            const double green = weight * (pixel[source_.greenAt] * 0.59);
            const double red = weight * (pixel[source_.redAt] * 0.3);
            const double blue = weight * (pixel[source_.blueAt] * 0.11);
            sum += green + red + blue;
        }
        return static_cast<uint8_t>(Sample(sum, list.sum, 255));
    }
    [[nodiscard]] static uint16_t Word(const uint8_t* at) {
        uint16_t word = 0;
        std::memcpy(&word, at, 2);
        return word;
    }

    void Horizontal(const List& list, int64_t x, int64_t y) {
        uint8_t* out = temp_.Pixel(0, y) + x * size_;
        const auto column = [&](int64_t offset) { return Column(list, y, offset); };
        const Image& s = source_;
        std::vector<uint8_t> pixel;
        if (Is("RGB_to_RGB")) pixel = {column(s.redAt), column(s.greenAt), column(s.blueAt), 0};
        if (Is("RGBA_to_RGBA")) {
            pixel = {column(s.redAt), column(s.greenAt), column(s.blueAt), column(s.alphaAt)};
        }
        if (Is("RGB_to_G")) pixel = {Luma(list, y)};
        if (Is("RGBA_to_GA")) pixel = {Luma(list, y), column(s.alphaAt)};
        if (Is("G_to_G")) pixel = {column(s.grayAt)};
        if (Is("GA_to_GA")) pixel = {column(s.grayAt), 0};
        if (Is("G_to_RGB")) pixel = {0, column(s.grayAt), 0, 0};
        if (Is("GA_to_RGBA")) pixel = {0, column(s.grayAt), 0, column(s.alphaAt)};
        if (Is("CMYK_to_G")) pixel = {column(s.blackAt)};
        if (Is("CMYKA_to_GA")) pixel = {column(s.blackAt), column(s.alphaAt)};
        if (Is("G_to_CMYK") || Is("CMYK_to_CMYK") || Is("GA_to_CMYKA") || Is("CMYKA_to_CMYKA")) {
            pixel = {column(s.cyanAt), column(s.magentaAt), column(s.redAt), column(s.blackAt)};
            if (size_ == 5) pixel.push_back(column(s.alphaAt));
        }
        if (Is("G16_to_G16")) {
            double sum = 0;
            for (const Tap& tap : list.taps) {
                sum += Word(source_.Pixel(tap.pixel, y) + s.grayAt) * static_cast<double>(tap.weight);
            }
            const uint16_t word = Sample(sum, list.sum, 65535);
            std::memcpy(out, &word, 2);
            return;
        }
        std::copy(pixel.begin(), pixel.end(), out);
    }

    /// Sum over temp rows of the byte at an index of the temp pixel.
    uint8_t Row(const List& list, int64_t x, int64_t index) {
        double sum = 0;
        for (const Tap& tap : list.taps) {
            sum += temp_.Pixel(0, tap.pixel)[x * size_ + index] * static_cast<double>(tap.weight);
        }
        return static_cast<uint8_t>(Sample(sum, list.sum, 255));
    }

    void Vertical(const List& list, int64_t x, int64_t y) {
        if (x >= dest_.width || y >= dest_.height) return;
        uint8_t* out = dest_.Pixel(x, y);
        const Image& d = dest_;
        const auto put = [&](int64_t offset, int64_t index) { out[offset] = Row(list, x, index); };
        if (Is("G16_to_G16")) {
            double sum = 0;
            for (const Tap& tap : list.taps) {
                sum += Word(temp_.Pixel(0, tap.pixel) + x * 2) * static_cast<double>(tap.weight);
            }
            const uint16_t word = Sample(sum, list.sum, 65535);
            std::memcpy(out + d.grayAt, &word, 2);
        } else if (Is("RGB_to_RGB") || Is("RGBA_to_RGBA")) {
            put(d.redAt, 0);
            put(d.greenAt, 1);
            put(d.blueAt, 2);
            if (Is("RGBA_to_RGBA")) put(d.alphaAt, 3);
        } else if (Is("G_to_RGB") || Is("GA_to_RGBA")) {
            put(d.redAt, 1);
            put(d.greenAt, 1);
            put(d.blueAt, 1);
            if (Is("GA_to_RGBA")) put(d.alphaAt, 3);
        } else if (d.cmyk) {
            put(d.cyanAt, 0);
            put(d.magentaAt, 1);
            put(d.yellowAt, 2);
            put(d.blackAt, 3);
            if (size_ == 5) put(d.alphaAt, 4);
        } else {
            put(d.grayAt, 0);
            if (Is("RGBA_to_GA") || Is("CMYKA_to_GA")) put(d.alphaAt, 1);
        }
    }

    const std::string family_;
    Image& source_;
    Image& dest_;
    Image& temp_;
    const int64_t size_;
};

}  // namespace trvtest::reference
