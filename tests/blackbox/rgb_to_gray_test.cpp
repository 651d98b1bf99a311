// RGBToGray, from outside, against its five weightings.

#include <gmock/gmock.h>

#include "shared_pixels.h"

namespace trvtest {
namespace {

int GrayOf(int64_t mode, int r, int g, int b) {
    switch (mode) {
        case 0:
            return (g * 3 + r * 2 + b) / 6;
        case 1:
            return (r * 3 + g * 4 + b) >> 3;
        case 2:
            return static_cast<int>(g * 0.7152 + r * 0.2126 + b * 0.0722);
        case 3:
            return static_cast<int>(g * 0.587 + r * 0.299 + b * 0.114);
        default:
            return (b * 29 + g * 151 + r * 77) >> 8;
    }
}

class RgbToGrayTest : public SharedPixelsTest {
  protected:
    bool Gray(const Ref& image, int64_t mode) { return TheHost().Call(image, "RGBToGray", mode).ToBool(); }

    void Check(const TestImage& image, int64_t mode) {
        Stores stores;
        stores.Add(image);
        for (int64_t y = 0; y < image.height; ++y) {
            for (int64_t x = 0; x < image.width; ++x) {
                const PixelOf pixel{image.side, stores.Pixel(image, x, y)};
                const int gray = GrayOf(mode, pixel("Red"), pixel("Green"), pixel("Blue"));
                for (const char* channel : {"Red", "Green", "Blue"})
                    pixel.Set(channel, gray);
            }
        }
        EXPECT_TRUE(Gray(image.image, mode));
        stores.ExpectSame(image.story + " mode " + std::to_string(mode));
    }
};

INSTANTIATE_TEST_SUITE_P(, RgbToGrayTest, kInstructionSets, InstructionSetName);

TEST_P(RgbToGrayTest, EveryRgbFormatAndView) {
    for (int64_t format = 1; format <= 10; ++format) {
        for (int64_t mode = 0; mode <= 4; ++mode) {
            for (int round = 0; round < 6; ++round) {
                const TestImage image = Some(round == 0 ? 2500 : Draw(1, 60), Draw(1, 6), format);
                if (image.side.family == 'R') Check(image, mode);
                if (HasFatalFailure()) return;
            }
        }
    }
}

TEST_P(RgbToGrayTest, EveryColour) {
    // All greens and blues in a row each, for some reds; the grays among them are where doubles round.
    for (int64_t mode = 0; mode <= 4; ++mode) {
        for (const int red : {0, 1, 77, 128, 200, 254, 255}) {
            const TestImage image = Plain(256, 256, Format(red % 2 == 0 ? "RGBA" : "RGB"));
            for (int64_t y = 0; y < 256; ++y) {
                for (int64_t x = 0; x < 256; ++x) {
                    image.root.At(x, y, 0) = static_cast<uint8_t>(red);
                    image.root.At(x, y, 1) = static_cast<uint8_t>(x);
                    image.root.At(x, y, 2) = static_cast<uint8_t>(y);
                }
            }
            Check(image, mode);
            if (HasFatalFailure()) return;
        }
        const TestImage grays = Plain(256, 1, Format("RGBA"));
        for (int64_t x = 0; x < 256; ++x)
            std::fill_n(&grays.root.At(x, 0), 3, static_cast<uint8_t>(x));
        Check(grays, mode);
    }
}

TEST_P(RgbToGrayTest, TheDefaultIsMode0AndWhiteStaysWhiteInMode4) {
    const TestImage image = Plain(1, 1, Format("RGBA"));
    image.root.SetBytes({10, 20, 31, 40});
    EXPECT_TRUE(TheHost().Call(image.image, "RGBToGray").ToBool());
    EXPECT_EQ(image.root.Bytes(), (std::vector<uint8_t>{18, 18, 18, 40}));
    image.root.SetBytes({255, 255, 255, 7});
    EXPECT_TRUE(Gray(image.image, 4));
    EXPECT_EQ(image.root.Bytes(), (std::vector<uint8_t>{255, 255, 255, 7}));
    EXPECT_EQ(TheHost().Get<int64_t>(image.image, "ImageFormat"), Format("RGBA"));
}

TEST_P(RgbToGrayTest, RefusesOtherModesAndLayouts) {
    const TestImage image = Plain(5, 3, Format("RGB"));
    const auto before = image.root.Bytes();
    for (const int64_t mode : {int64_t{5}, int64_t{-1}, INT64_MAX, INT64_MIN, int64_t{256}})
        EXPECT_FALSE(Gray(image.image, mode));
    for (const char* format : {"G", "GA", "CMYK", "Buffer", "Gray16"}) {
        const TestImage other = Plain(5, 3, Format(format));
        EXPECT_EQ(LogOf([&] { EXPECT_FALSE(Gray(other.image, 0)); }), std::vector<std::string>{});
    }
    EXPECT_EQ(LogOf([&] { EXPECT_FALSE(Gray(TheHost().New("PictureTRV"), 0)); }), std::vector<std::string>{});
    // A closed image has no rows.
    TheHost().Call(image.image, "Close");
    EXPECT_TRUE(Gray(image.image, 0));
    EXPECT_EQ(image.root.Bytes(), before);
}

TEST_P(RgbToGrayTest, ChannelsInUnusualPlaces) {
    for (int round = 0; round < 40; ++round) {
        TestImage image = Some(30, 3, Format(round % 2 == 0 ? "RGBA" : "RGB"));
        if (image.side.family != 'R') continue;
        for (const char* channel : {"Red", "Green", "Blue"})
            TheHost().Set(image.image, std::string(channel) + "Offset", Draw(0, image.side.pixelSize - 1));
        image.side = Side(TheHost(), image.image);
        Check(image, Draw(0, 4));
        if (HasFatalFailure()) return;
    }
}

TEST_P(RgbToGrayTest, ViewsWithoutWidthAreLeftAlone) {
    for (const char* format : {"RGB", "RGBA", "XBGR", "ARGB", "RGBX"}) {
        const TestImage image = Plain(20, 4, Format(format));
        const auto before = image.root.Bytes();
        for (const auto& [x, width] : {std::pair{0, 0}, {9, 0}, {-5, 2}, {20, 7}, {-18, 1}}) {
            const Ref view = TheHost().Call(image.image, "ClipImage", x, 0, width, 4).ToThing();
            EXPECT_LE(TheHost().Get<int64_t>(view, "Width"), 0);
            for (int64_t mode = 0; mode <= 4; ++mode)
                EXPECT_TRUE(Gray(view, mode));
            EXPECT_EQ(image.root.Bytes(), before) << format << " " << x << " " << width;
            EXPECT_TRUE(image.root.GuardIntact());
        }
    }
}

TEST_P(RgbToGrayTest, NeverYields) {
    const TestImage image = Plain(5, 3, Format("RGB"));
    TheHost().Set(image.image, "YieldTicks", int64_t{-1});
    EXPECT_TRUE(Gray(image.image, 0));
    EXPECT_EQ(TheHost().Calls("REALYieldToRB"), 0);
}

}  // namespace
}  // namespace trvtest
