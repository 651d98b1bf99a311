#pragma once

// What the tests of the picture bridge share: the ways in which a host keeps pictures, random pictures, and
// the clipping that every copy between picture and image goes through, written out step by step.

#include <optional>

#include "plugin_test.h"

namespace trvtest {

using trvhost::HostKind;
using trvhost::Options;
using trvhost::Picture;
using trvhost::PictureStorage;

/// A host of this kind and version whose pictures are kept in this way.
inline Options HostOf(HostKind kind, double version, PictureStorage storage = PictureStorage::Default) {
    Options options;
    options.version = version;
    options.kind = kind;
    options.pictureStorage = storage;
    return options;
}

/// One way to keep a picture, and a host that has such pictures.
struct PictureWay {
    const char* name;
    PictureStorage storage;
    HostKind hostKind;
    double version;
    bool alpha = false;
    /// Whether the stored pixels come through a lock unchanged.
    bool exact = true;

    [[nodiscard]] Options HostOptions() const { return HostOf(hostKind, version, storage); }
    friend void PrintTo(const PictureWay& way, std::ostream* out) { *out << way.name; }
};

/// Ways whose pixels can be reached in place.
inline std::vector<PictureWay> PictureWays() {
    return {
        {"GdOnConsole", PictureStorage::GdTrueColor, HostKind::Console, 2024.01},
        {"GdOnOldConsole", PictureStorage::GdTrueColor, HostKind::Console, 2015.04},
        {"GdOnWeb", PictureStorage::GdTrueColor, HostKind::Web, 2019.02},
        {"GdWithAlpha", PictureStorage::GdTrueColor, HostKind::Console, 2020.0, true},
        {"GdOnUnknown", PictureStorage::GdTrueColor, HostKind::Unknown, 2024.01},
        {"Direct2D", PictureStorage::Packed32, HostKind::Desktop, 2024.01},
        {"Direct2DWithAlpha", PictureStorage::Packed32, HostKind::Desktop, 2018.01, true},
#ifdef _WIN32
        {"GdiPlusPargb", PictureStorage::GdiPlusPargb, HostKind::Desktop, 2016.03, true},
        {"GdiPlusArgb", PictureStorage::GdiPlusArgb, HostKind::Desktop, 2024.01, true, false},
        {"Dib32", PictureStorage::Dib32, HostKind::Desktop, 2024.01},
        {"Dib24", PictureStorage::Dib24, HostKind::Desktop, 2015.0},
#endif
    };
}

inline std::string WayName(const ::testing::TestParamInfo<PictureWay>& info) {
    return info.param.name;
}

/// Fills a picture with random pixels, opaque ones on request.
inline void FillRandom(const Picture& picture, unsigned seed, bool opaque = false) {
    std::mt19937 random(seed);
    for (int64_t y = 0; y < picture.Height(); ++y) {
        for (int64_t x = 0; x < picture.Width(); ++x)
            picture.SetPixel(x, y, random() | (opaque ? 0xFF000000 : 0));
    }
}

/// Component of 0xAARRGGBB.
inline uint8_t RedOf(uint32_t argb) {
    return static_cast<uint8_t>(argb >> 16);
}
inline uint8_t GreenOf(uint32_t argb) {
    return static_cast<uint8_t>(argb >> 8);
}
inline uint8_t BlueOf(uint32_t argb) {
    return static_cast<uint8_t>(argb);
}

/// A rectangle between a picture and an image, as the caller gives it.
struct Between {
    int64_t destX, destY, width, height, sourceX, sourceY;
};

/// The clipping of one axis, in the order of its rule.
inline void ClipAxis(int64_t& dest, int64_t& size, int64_t& source, int64_t destSize, int64_t sourceSize) {
    if (source < 0) {
        size += source;
        dest += source;
        source = 0;
    }
    if (size < 0) {
        dest += size;
        size = -size;
    }
    if (dest < 0) {
        size += dest;
        source -= dest;
        dest = 0;
    }
    if (dest >= destSize) size = 0;
    if (dest + size > destSize) size = destSize - dest;
    if (source + size > sourceSize) size = sourceSize - source;
}

/// The clipped rectangle, or nothing.
inline std::optional<Between> Clip(Between r, int64_t imageWidth, int64_t imageHeight, int64_t pictureWidth,
                                   int64_t pictureHeight) {
    ClipAxis(r.destX, r.width, r.sourceX, imageWidth, pictureWidth);
    ClipAxis(r.destY, r.height, r.sourceY, imageHeight, pictureHeight);
    if (r.width < 1 || r.height < 1) return std::nullopt;
    return r;
}

/// A rectangle around two sizes, often beyond them.
inline Between RandomBetween(std::mt19937& random, int64_t largest) {
    const auto number = [&](int64_t low, int64_t high) {
        return std::uniform_int_distribution<int64_t>(low, high)(random);
    };
    return {number(-largest / 2, largest + 3), number(-largest / 2, largest + 3),
            number(-largest, 2 * largest),     number(-largest, 2 * largest),
            number(-largest / 2, largest + 3), number(-largest / 2, largest + 3)};
}

inline std::ostream& operator<<(std::ostream& out, const Between& r) {
    return out << "(" << r.destX << ", " << r.destY << ", " << r.width << ", " << r.height << ", "
               << r.sourceX << ", " << r.sourceY << ")";
}

/// The formats with red, green and blue, by their constants.
inline constexpr const char* kRgbFormats[] = {
    "ImageFormatRGB", "ImageFormatRGBA", "ImageFormatRGBX", "ImageFormatARGB", "ImageFormatXRGB",
    "ImageFormatBGR", "ImageFormatBGRA", "ImageFormatBGRX", "ImageFormatABGR", "ImageFormatXBGR"};

/// Where an image keeps its channels, from its properties.
struct ChannelOffsets {
    int64_t red, green, blue, gray, alpha, cyan, magenta, yellow, black;

    ChannelOffsets(trvhost::Host& host, const Ref& image) {
        const auto offset = [&](const char* channel) {
            return host.Get<int64_t>(image, std::string(channel) + "Offset");
        };
        red = offset("Red"), green = offset("Green"), blue = offset("Blue"), gray = offset("Gray");
        alpha = offset("Alpha"), cyan = offset("Cyan"), magenta = offset("Magenta"),
        yellow = offset("Yellow");
        black = offset("Black");
    }
};

/// A test that runs for one way to keep pictures.
class EveryPictureWay : public PluginTest, public ::testing::WithParamInterface<PictureWay> {
  protected:
    EveryPictureWay() : PluginTest(GetParam().HostOptions()) {}

    [[nodiscard]] Picture NewPicture(int64_t width, int64_t height, unsigned seed) const {
        const Picture picture = TheHost().NewPicture(width, height, GetParam().storage, GetParam().alpha);
        FillRandom(picture, seed, !GetParam().exact);
        return picture;
    }
};

}  // namespace trvtest
