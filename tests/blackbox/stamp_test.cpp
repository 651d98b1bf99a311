// The stamp filter, from outside: the blur is the plug-in's own, the step a reference.

#include <array>
#include <cmath>

#include "filter_cases.h"

namespace trvtest {
namespace {

using trvhost::Color;

struct Arguments {
    double radius = 9, threshold = 0.5, softness = 0.25;
    uint32_t black = 0x102030, white = 0xE0D0C0;
};

int StampedSample(int sample, const Arguments& a, int black, int white) {
    const double half = a.softness * 0.5, low = (a.threshold - half) * 255.0,
                 high = (half + a.threshold) * 255.0;
    double t = 1.0;
    if (low > sample) {
        t = 0.0;
    } else if (!(sample >= high)) {
        const double u = (sample - low) / (high - low);
        t = (3.0 - (u + u)) * (u * u);
    }
    const double value = (white - black) * t + black;
    return std::isnan(value) ? 0 : static_cast<int>(value) & 255;
}

class Stamp : public FilterCaseTest {
  protected:
    Ref Press(const Ref& image, const Ref& dest, const Arguments& a) {
        return Filter(image, "StampFilter", dest, a.radius, a.threshold, a.softness, Color{a.black},
                      Color{a.white});
    }

    Ref Blur(const Ref& image, const Ref& dest, double radius, int64_t iterations) {
        return Filter(image, "BoxBlurFilter", dest, radius / 3.0, iterations, true, true);
    }

    /// What is to come of a picture that was blurred.
    static void StampReference(const Shown& from, const Shown& to, const Arguments& a) {
        const std::map<std::string, int> shifts = {{"Red", 16}, {"Green", 8}, {"Blue", 0}, {"Gray", 8}};
        ChangeSamples(from, to, from.Channels(false, false),
                      [&](uint8_t v, const std::string& channel, int64_t, int64_t) {
                          const int shift = shifts.at(channel);
                          return StampedSample(v, a, a.black >> shift & 255, a.white >> shift & 255);
                      });
    }
};

TEST_F(Stamp, InAllFormatsMatchesTheReference) {
    for (const int64_t format : Formats()) {
        for (int round = 0; round < 4; ++round) {
            Case made = DrawCase(format, DestKind::Nil);
            const Arguments a{static_cast<double>(Draw(0, 30)), static_cast<double>(Draw(-10, 110)) / 100,
                              static_cast<double>(Draw(0, 100)) / 100,
                              static_cast<uint32_t>(Draw(0, 0xFFFFFF)),
                              static_cast<uint32_t>(Draw(0, 0xFFFFFF))};
            const Ref blurred = Blur(made.source, nullptr, a.radius, 3),
                      stamped = Press(made.source, nullptr, a);
            ASSERT_EQ(stamped.Handle() == nullptr, made.from->side.wide) << format;
            if (!stamped) continue;
            const auto zeros = std::make_shared<std::vector<uint8_t>>(StoreOf(stamped).size());
            StampReference(Show(blurred, std::make_shared<std::vector<uint8_t>>(StoreOf(blurred))),
                           Show(stamped, zeros), a);
            ASSERT_EQ(StoreOf(stamped), *zeros) << format;
            EXPECT_EQ(made.sourceStore.Bytes(), *made.from->store);
        }
    }
}

TEST_F(Stamp, TheDestinationGetsTheFirstBlurAndTheResultIsNew) {
    const MemoryImage image(TheHost(), 30, 20, Constant("ImageFormatRGBA")),
        dest(TheHost(), 30, 20, Constant("ImageFormatRGBA"));
    const Arguments a;
    const Ref stamped = Press(image, dest, a);
    EXPECT_NE(stamped.Handle(), dest.Object().Handle());
    const MemoryImage first(TheHost(), 30, 20, Constant("ImageFormatRGBA"));
    Blur(image, first, a.radius, 1);
    EXPECT_EQ(dest.Bytes(), first.Bytes());
    EXPECT_EQ(dest.Object().References(), 1);
}

TEST_F(Stamp, SmallRadiusesComeOutBlack) {
    const MemoryImage image(TheHost(), 6, 5, Constant("ImageFormatRGB"));
    Arguments a;
    a.radius = 2.9;
    const Ref stamped = Press(image, nullptr, a);
    const auto row = TheHost().Call(stamped, "RowStringInFormat", 3, Constant("ImageFormatRGB")).ToText();
    for (size_t i = 0; i < 18; i += 3)
        EXPECT_EQ(row.substr(i, 3), "\x10\x20\x30");
}

TEST_F(Stamp, WithoutSoftnessTheThresholdIsHard) {
    // Wide enough for its ends to stay as they are, blurred: gray takes the green of both colours.
    const Ref image = NewImage(200, 1, "ImageFormatG");
    TheHost().Call(image, "FillRect", 0, 0, 100, 1, 50);
    TheHost().Call(image, "FillRect", 100, 0, 100, 1, 204);
    Arguments a;
    a.softness = 0;
    a.threshold = 0.8;  // of 255: 204
    const auto bytes = StoreOf(Press(image, nullptr, a));
    EXPECT_EQ(bytes[0], 0x20);
    EXPECT_EQ(bytes[99], 0x20);
    EXPECT_EQ(bytes[199], 0xD0);
    a.threshold = 0.801;
    EXPECT_EQ(StoreOf(Press(image, nullptr, a))[199], 0x20);
}

TEST_F(Stamp, AnyNumberIsHarmless) {
    const MemoryImage image(TheHost(), 6, 5, Constant("ImageFormatRGBA"));
    for (const double number : {HUGE_VAL, -HUGE_VAL, std::nan(""), 1e308, -1e308, 0.0}) {
        for (int which = 0; which < 3; ++which) {
            Arguments a;
            (which == 0 ? a.radius : which == 1 ? a.threshold : a.softness) = number;
            const Ref stamped = Press(image, nullptr, a);
            EXPECT_TRUE(which == 0 || stamped) << number;
        }
    }
}

TEST_F(Stamp, AFailedBlurGivesNil) {
    const MemoryImage image(TheHost(), 6, 5, Constant("ImageFormatRGBA"));
    Arguments a;
    a.radius = -3;  // a window of less than one pixel
    EXPECT_FALSE(Press(image, nullptr, a));
    const Ref wide = NewImage(2, 2, "ImageFormatGray16");
    EXPECT_FALSE(Press(wide, nullptr, a));
    const Ref unmade = TheHost().Construct("PictureTRV", 0, 0, Constant("ImageFormatG"));
    EXPECT_FALSE(Press(unmade, nullptr, Arguments()));
}

TEST_F(Stamp, TheInnerStageIsNamed) {
    const Ref image = NewImage(4, 4, "ImageFormatRGBA"), inks = NewImage(4, 4, "ImageFormatCMYK");
    const auto lines = LogOf([&] { Press(image, nullptr, Arguments()); });
    EXPECT_NE(std::find(lines.begin(), lines.end(), "StampFilter2 9.000000, 0.500000, 0.250000"),
              lines.end());
    EXPECT_EQ(lines.back(), "StampFilterRGB");
    EXPECT_TRUE(Press(inks, nullptr, Arguments()));
}

}  // namespace
}  // namespace trvtest
