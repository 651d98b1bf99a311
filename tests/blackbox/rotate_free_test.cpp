// Rotate, from outside, against a slow reference: three shears, channel by channel, pixel by pixel.

#include <cmath>
#include <gmock/gmock.h>

#include "geometry_images.h"

namespace trvtest {
namespace {

using testing::Contains;
using testing::StartsWith;

/// One channel of an image.
struct Plane {
    int64_t width = 0;
    int64_t height = 0;
    std::vector<uint8_t> bytes;

    Plane(int64_t w, int64_t h, uint8_t fill)
        : width(w), height(h), bytes(static_cast<size_t>(w * h), fill) {}
    uint8_t& At(int64_t x, int64_t y) { return bytes[static_cast<size_t>(y * width + x)]; }
    [[nodiscard]] bool Has(int64_t x, int64_t y) const { return x >= 0 && y >= 0 && x < width && y < height; }
};

/// Moves a line of `count` pixels by `shift`; `get` reads and `put` writes at an index, `end` is where the
/// fringe goes, counted from the line's start.
template <class Get, class Put>
void Skew(int64_t count, double shift, int64_t end, uint8_t background, Get get, Put put) {
    const auto whole = static_cast<int64_t>(std::floor(shift));
    const double weight = shift - std::floor(shift);
    auto carry = static_cast<uint8_t>(static_cast<int>(background * weight));
    for (int64_t i = 0; i < count; ++i) {
        const uint8_t value = get(i);
        const auto left = static_cast<uint8_t>(static_cast<int>(value * weight));
        put(i + whole, static_cast<uint8_t>(value - left + carry));
        carry = left;
    }
    put(end + whole, static_cast<uint8_t>(static_cast<int>(background - (background * weight - carry))));
}

Plane Rotate45(Plane image, double angle, uint8_t background) {
    const double r = angle * 3.141592653589793 / 180.0;
    const double s = std::sin(r), t = std::tan(r * 0.5);
    const int64_t w = image.width, h = image.height;
    const int64_t w1 = static_cast<int64_t>(std::abs(t) * static_cast<double>(h)) + w;
    Plane first(w1, h, background);
    for (int64_t u = 0; u < h; ++u) {
        const double shift = (t >= 0 ? static_cast<double>(u) + 0.5 : static_cast<double>(u - h) + 0.5) * t;
        Skew(
            w, shift, w, background, [&](int64_t i) { return image.At(i, u); },
            [&](int64_t x, uint8_t v) {
                if (first.Has(x, u)) first.At(x, u) = v;
            });
    }
    const int64_t h2 =
        static_cast<int64_t>(std::cos(r) * static_cast<double>(h) + static_cast<double>(w) * std::abs(s)) + 1;
    Plane second(w1, h2, background);
    double shift = s > 0 ? static_cast<double>(w - 1) * s : static_cast<double>(w - w1) * -s;
    for (int64_t u = 0; u < w1; ++u) {
        Skew(
            h, shift, h - 1, background, [&](int64_t i) { return first.At(u, i); },
            [&](int64_t y, uint8_t v) {
                if (second.Has(u, y)) second.At(u, y) = v;
            });
        shift = shift - s;
    }
    const int64_t w3 =
        static_cast<int64_t>(std::cos(r) * static_cast<double>(w) + static_cast<double>(h) * std::abs(s)) + 1;
    Plane third(w3, h2, background);
    shift = s >= 0 ? static_cast<double>(w - 1) * s * -t
                   : (static_cast<double>(1 - h2) - static_cast<double>(w - 1) * s) * t;
    for (int64_t u = 0; u < h2; ++u) {
        Skew(
            w1, shift, w1, background, [&](int64_t i) { return second.At(i, u); },
            [&](int64_t x, uint8_t v) {
                if (third.Has(x, u)) third.At(x, u) = v;
            });
        shift = shift + t;
    }
    return third;
}

Plane Turned(Plane image, int degrees) {
    if (degrees == 0) return image;
    Plane turned(degrees == 180 ? image.width : image.height, degrees == 180 ? image.height : image.width, 0);
    for (int64_t y = 0; y < image.height; ++y) {
        for (int64_t x = 0; x < image.width; ++x) {
            if (degrees == 90) turned.At(y, image.width - 1 - x) = image.At(x, y);
            if (degrees == 180) turned.At(image.width - 1 - x, image.height - 1 - y) = image.At(x, y);
            if (degrees == 270) turned.At(image.height - 1 - y, x) = image.At(x, y);
        }
    }
    return turned;
}

/// The whole method for one channel, by an angle that is no right one.
Plane Rotated(const Plane& image, double angle, uint8_t background) {
    while (angle >= 360)
        angle -= 360;
    while (0 > angle)
        angle += 360;
    if (45 < angle && angle <= 135) return Rotate45(Turned(image, 90), angle - 90, background);
    if (135 < angle && angle <= 225) return Rotate45(Turned(image, 180), angle - 180, background);
    if (225 < angle && angle <= 315) return Rotate45(Turned(image, 270), angle - 270, background);
    return Rotate45(image, angle, background);
}

struct Background {
    int64_t red, green, blue, alpha, gray, cyan, magenta, yellow, black;

    [[nodiscard]] uint8_t Of(const std::string& channel) const {
        const std::map<std::string, int64_t> values = {
            {"Red", red},   {"Green", green},     {"Blue", blue},     {"Alpha", alpha}, {"Gray", gray},
            {"Cyan", cyan}, {"Magenta", magenta}, {"Yellow", yellow}, {"Black", black}};
        return static_cast<uint8_t>(values.at(channel));
    }
};

class RotateFree : public GeometryTest {
  protected:
    Ref Rotate(const Ref& image, double angle, const Background& b = {}) const {
        return TheHost()
            .Call(image, "Rotate", angle, b.red, b.green, b.blue, b.alpha, b.gray, b.cyan, b.magenta,
                  b.yellow, b.black)
            .ToThing();
    }

    Background AnyBackground() {
        Background b{};
        for (int64_t* value :
             {&b.red, &b.green, &b.blue, &b.alpha, &b.gray, &b.cyan, &b.magenta, &b.yellow, &b.black})
            *value = Draw(0, 3) == 0 ? Draw(-1000, 1000) : Draw(0, 255);
        return b;
    }

    /// A channel of an image, as it can be seen from outside.
    [[nodiscard]] Plane PlaneOf(const Ref& image, const std::string& channel) const {
        const Side side(TheHost(), image);
        Plane plane(Number(image, "Width"), Number(image, "Height"), 0);
        for (int64_t y = 0; y < plane.height; ++y) {
            const uint8_t* row = RawRow(TheHost(), image, y);
            for (int64_t x = 0; x < plane.width; ++x)
                plane.At(x, y) = row[x * side.pixelSize + side.at.at(channel)];
        }
        return plane;
    }

    /// Rotates `image` and compares every channel with the reference.
    void ExpectRotated(const Ref& image, double angle, const Background& background) {
        const Side side(TheHost(), image);
        const Ref result = Rotate(image, angle, background);
        ASSERT_TRUE(result) << angle;
        const Side to(TheHost(), result);
        std::vector<bool> moved(static_cast<size_t>(to.pixelSize), false);
        for (const std::string& channel : ChannelNames(side)) {
            const Plane expected = Rotated(PlaneOf(image, channel), angle, background.Of(channel));
            const Plane got = PlaneOf(result, channel);
            ASSERT_EQ(got.width, expected.width) << angle;
            ASSERT_EQ(got.height, expected.height) << angle;
            ASSERT_TRUE(got.bytes == expected.bytes)
                << channel << " of format " << Number(image, "ImageFormat") << ", " << Number(image, "Width")
                << " x " << Number(image, "Height") << ", by " << angle;
            moved[static_cast<size_t>(to.at.at(channel))] = true;
        }
        for (int64_t i = 0; i < to.pixelSize; ++i) {  // what belongs to no channel is as it was made
            EXPECT_TRUE(moved[static_cast<size_t>(i)] || RawRow(TheHost(), result, 0)[i] == 0);
        }
    }

    int64_t AnyFormat() {
        while (true) {
            const int64_t format = Draw(1, 48);
            if (format != 14 && format != 22 && (format < 33 || format > 41)) return format;
        }
    }
};

TEST_F(RotateFree, EveryFormatMatchesTheReference) {
    for (int64_t format = 1; format <= 48; ++format) {
        if (format == 14 || format == 22 || (format >= 33 && format <= 41)) continue;
        for (int round = 0; round < 3; ++round) {
            const MemoryImage image = Memory(Draw(1, 90), Draw(1, 60), format, Draw(0, 5));
            ExpectRotated(image, std::uniform_real_distribution<double>(-400, 800)(random_), AnyBackground());
        }
    }
}

TEST_F(RotateFree, EveryDegreeMatchesTheReference) {
    const MemoryImage image = Memory(83, 47, "ImageFormatBGRX");
    const Background background{10, 200, 30, 40, 50, 60, 70, 80, 90};
    for (int degrees = 1; degrees < 360; ++degrees) {
        if (degrees % 90 != 0) ExpectRotated(image, degrees, background);
        ExpectRotated(image, degrees + 1e-9, background);
    }
    for (const double angle : {1e-12, -1e-12, -1e-20, 44.99999, 45.0, 45.0001, 134.9999, 135.0, 225.0, 315.0,
                               315.0001, 350.0, 359.999999999})
        ExpectRotated(image, angle, background);
}

TEST_F(RotateFree, LargerThanBandsAndStrips) {
    for (const auto& [width, height] :
         {std::pair{1000, 700}, {1, 900}, {900, 1}, {2, 2}, {3, 1}, {700, 3}, {1, 1}}) {
        for (const char* format : {"ImageFormatRGBA", "ImageFormatG", "ImageFormatRGB", "ImageFormatACMYK"}) {
            const MemoryImage image = Memory(width, height, format);
            for (const double angle : {30.0, -45.0, 7.25, 200.0, 359.0})
                ExpectRotated(image, angle, AnyBackground());
        }
    }
}

TEST_F(RotateFree, ViewsAndMovedOffsets) {
    for (int round = 0; round < 60; ++round) {
        Watched watched = RandomView(Draw(1, 80), Draw(1, 40), AnyFormat());
        ExpectRotated(watched.view, std::uniform_real_distribution<double>(-180, 180)(random_),
                      AnyBackground());
    }
    const MemoryImage image = Memory(40, 30, "ImageFormatRGBA");
    TheHost().Set(image, "RedOffset", 2);
    TheHost().Set(image, "AlphaOffset", 2);
    ExpectRotated(image, 33, AnyBackground());
}

TEST_F(RotateFree, MappedImagesMatchTheReference) {
    const Ref mapped = NewMapped(60, 5000, "ImageFormatRGB", 0, "rotated");
    FillWithNoise(TheHost(), mapped, random_);
    ExpectRotated(mapped, 20, AnyBackground());
    ExpectRotated(TheHost().Call(mapped, "MirroredView").ToThing(), 100, AnyBackground());
}

TEST_F(RotateFree, RightAnglesAreTurns) {
    const MemoryImage image = Memory(13, 7, "ImageFormatRGB");
    const Background background{1, 2, 3, 4, 5, 6, 7, 8, 9};
    for (const double full : {0.0, 360.0, -360.0, 720.0, 36000.0}) {
        EXPECT_EQ(Rotate(image, full, background), image.Object());
        const auto turned = [&](const char* method) {
            return PixelBytes(TheHost(), TheHost().Call(image, method, nullptr).ToThing());
        };
        EXPECT_EQ(PixelBytes(TheHost(), Rotate(image, full + 90, background)), turned("Rotate90slow"));
        EXPECT_EQ(PixelBytes(TheHost(), Rotate(image, full + 180, background)),
                  turned("Rotate180(dest as PictureTRV=nil) as PictureTRV"));
        EXPECT_EQ(PixelBytes(TheHost(), Rotate(image, full - 90, background)), turned("Rotate270slow"));
    }
}

TEST_F(RotateFree, AHundredSquareBy30Degrees) {
    const Ref result = Rotate(NewImage(100, 100, "ImageFormatG"), 30);
    EXPECT_EQ(Number(result, "Width"), 137);
    EXPECT_EQ(Number(result, "Height"), 137);
}

TEST_F(RotateFree, AnglesThatAreNoAnglesGiveNilAndHugeOnesFinish) {
    const MemoryImage image = Memory(5, 4, "ImageFormatRGB");
    for (const double angle : {std::nan(""), HUGE_VAL, -HUGE_VAL})
        EXPECT_FALSE(Rotate(image, angle));
    for (const double angle : {1e15, -1e15, 1e300, -1e300, 7.2e16})
        EXPECT_TRUE(Rotate(image, angle)) << angle;
    EXPECT_EQ(Rotate(image, 360.0 * (int64_t{1} << 40)), image.Object());
}

TEST_F(RotateFree, RefusalsGiveNil) {
    const MemoryImage wide = Memory(6, 6, "ImageFormatGray16"), buffer = Memory(6, 6, "ImageFormatBuffer");
    const Ref closed = NewImage(4, 4, "ImageFormatRGB"), invalid = TheHost().New("PictureTRV");
    TheHost().Call(closed, "Close");
    for (const double angle : {30.0, 100.0, 200.0, 300.0, 90.0}) {
        for (const Ref& image : {buffer.Object(), closed, invalid}) {
            if (image == buffer.Object() && angle == 90) continue;  // a turn that moves nothing
            EXPECT_FALSE(Rotate(image, angle)) << angle;
        }
    }
    EXPECT_FALSE(Rotate(wide, 100));  // the turn refuses it
    EXPECT_FALSE(Rotate(wide, 90));
    EXPECT_EQ(Rotate(invalid, 0), invalid);
}

TEST_F(RotateFree, GrayOf16BitsGoesByItsFirstByte) {
    const MemoryImage wide = Memory(30, 20, "ImageFormatGray16");
    const Ref result = Rotate(wide, 30, {0, 0, 0, 0, 77, 0, 0, 0, 0});
    EXPECT_EQ(Number(result, "ImageFormat"), Constant("ImageFormatGray16"));
    const Plane expected = Rotated(PlaneOf(wide, "Gray"), 30, 77);
    EXPECT_EQ(PlaneOf(result, "Gray").bytes, expected.bytes);
    for (int64_t x = 0; x < Number(result, "Width"); ++x)
        EXPECT_EQ(RawRow(TheHost(), result, 10)[2 * x + 1], 0);
}

TEST_F(RotateFree, TheStagesNameThemselves) {
    const MemoryImage image = Memory(20, 20, "ImageFormatGA");
    const std::vector<std::string> lines = LogOf([&] { Rotate(image, 100.9, {1, 2, 3, 4, 5, 6, 7, 8, 9}); });
    for (const char* line : {"rbRotate 100", "clrBackRed 1", "clrBackGreen 2", "clrBackBlue 3", "Rotate90GA",
                             "rbRotate45 10, 1, 2, 3, 4, 5, 6, 7, 8, 9", "Rotate45 10, 5, 4", "Rotate45part1",
                             "Rotate45part1 done", "Rotate45part2", "Rotate45part2 done", "Rotate45part3",
                             "Rotate45part3 done", "Rotate45 done", "rbRotate done"})
        EXPECT_THAT(lines, Contains(line));
}

TEST_F(RotateFree, TheLogTellsTheBackgroundOfEachChannel) {
    const std::pair<const char*, const char*> cases[] = {
        {"ImageFormatG", "Rotate45 30, 5"},
        {"ImageFormatAG", "Rotate45 30, 5, 4"},
        {"ImageFormatBGR", "Rotate45 30, 1, 2, 3"},
        {"ImageFormatABGR", "Rotate45 30, 1, 2, 3, 4"},
        {"ImageFormatKYMC", "Rotate45 30, 6, 7, 8, 9"},
        {"ImageFormatAKYMC", "Rotate45 30, 6, 7, 8, 9, 4"},
    };
    for (const auto& [format, line] : cases) {
        const MemoryImage image = Memory(8, 6, format);
        const auto lines = LogOf([&] { Rotate(image, 30.9, {1, 2, 3, 4, 5, 6, 7, 8, 9}); });
        EXPECT_THAT(lines, Contains(line));
    }
    // An angle that no integer holds, of an image that the turn of a right angle leaves as it is.
    const MemoryImage image = Memory(8, 6, "ImageFormatG");
    const auto lines = LogOf([&] { Rotate(image, 1e300); });
    EXPECT_THAT(lines, Contains("rbRotate -9223372036854775808"));
}

TEST_F(RotateFree, WithoutMemoryForAnyOfItsImagesThereIsNoResult) {
    const MemoryImage image = Memory(100, 80, "ImageFormatRGBA");
    // The turn, and what the three shears make, one after the other.
    for (const int64_t size : {20'000, 33'000, 40'000, 45'000}) {
        TheHost().Settings().largestMemoryBlock = size;
        EXPECT_FALSE(Rotate(image, 100)) << size;
        EXPECT_EQ(TheHost().TakeException()->className, "OutOfMemoryException");
    }
}

}  // namespace
}  // namespace trvtest
