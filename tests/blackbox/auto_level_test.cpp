// AutoLevel, from outside, against its steps.

#include <gmock/gmock.h>

#include "shared_pixels.h"

namespace trvtest {
namespace {

using testing::Contains;

class AutoLevelTest : public FilterTest {
  protected:
    bool Level(const Ref& image) { return TheHost().Call(image, "AutoLevel").ToBool(); }

    void Check(const TestImage& image, int64_t x, int64_t y, int64_t width, int64_t height) {
        Stores stores;
        stores.Add(image);
        const auto each = [&](auto&& work) {
            for (int64_t j = y; j < y + height; ++j) {
                for (int64_t i = x; i < x + width; ++i)
                    work(PixelOf{image.side, stores.Pixel(image, i, j)});
            }
        };
        int64_t histogram[256] = {};
        each([&](const PixelOf& p) {
            ++histogram[static_cast<int>(p("Green") * 0.813 + p("Red") * 0.177 + p("Blue") * 0.01)];
        });
        int64_t sums[256], total = 0;
        for (int i = 0; i < 256; ++i)
            sums[i] = total += histogram[i];
        const auto a = static_cast<int64_t>(static_cast<float>(total) * 0.005F),
                   b = static_cast<int64_t>(static_cast<float>(total) * 0.995F);
        int low = 0, high = 0;
        for (int i = 0; i < 256; ++i) {
            if (sums[i] <= a) low = i;
            if (sums[i] <= b) high = i;
        }
        const double scale = 255.0 / (high - low);
        each([&](const PixelOf& p) {
            for (const char* channel : {"Red", "Green", "Blue"}) {
                const int v = p(channel);
                const int made = v < low || (v == low && high == low) ? 0
                                 : v <= high                          ? static_cast<int>((v - low) * scale)
                                                                      : 255;
                p.Set(channel, made);
            }
        });
        EXPECT_TRUE(TheHost().Call(image.image, "AutoLevel", x, y, width, height).ToBool());
        stores.ExpectSame(image.story);
    }
};

TEST_F(AutoLevelTest, EveryRgbFormatAndView) {
    for (int64_t format = 1; format <= 10; ++format) {
        for (int round = 0; round < 20; ++round) {
            TestImage image = Some(Draw(2, 60), Draw(2, 20), format);
            if (image.side.family != 'R') continue;
            if (round % 2 == 0) {
                // A narrow range of tones, so that there is something to stretch.
                auto bytes = image.root.Bytes();
                const int base = static_cast<int>(Draw(0, 180)), range = static_cast<int>(Draw(1, 70));
                for (uint8_t& byte : bytes)
                    byte = static_cast<uint8_t>(base + byte % range);
                image.root.SetBytes(bytes);
            }
            Check(image, 0, 0, image.width, image.height);
            Check(image, 1, 1, image.width - 1, image.height - 1);
            if (HasFatalFailure()) return;
        }
    }
}

TEST_F(AutoLevelTest, AFlatImageTurnsWhiteAndABlackOneStays) {
    for (const int value : {0, 1, 2, 100, 254, 255}) {
        const TestImage image = Plain(7, 5, 1);
        TheHost().Call(image.image, "FillRectRGB", value, value, value);
        EXPECT_TRUE(Level(image.image));
        // The brightness of a flat colour may be one less than its value.
        EXPECT_EQ(image.root.Bytes(), std::vector<uint8_t>(105, value == 0 ? 0 : 255)) << value;
    }
}

TEST_F(AutoLevelTest, RefusesWhatIsNotRgb) {
    const TestImage wide = Plain(4, 4, 41), colours = Plain(4, 4, 1);
    EXPECT_THAT(LogOf([&] { EXPECT_FALSE(Level(wide.image)); }),
                testing::IsSupersetOf({"AutoLevel5", "BitsPerComponent > 8 not supported. 16"}));
    for (const char* format : {"G", "GA", "CMYK", "CMYKA", "Buffer", "G3"}) {
        const TestImage image = Plain(4, 4, Constant("ImageFormat" + std::string(format)));
        const auto before = image.root.Bytes();
        EXPECT_EQ(LogOf([&] { EXPECT_FALSE(Level(image.image)); }), std::vector<std::string>{"AutoLevel5"});
        EXPECT_EQ(image.root.Bytes(), before);
    }
    EXPECT_THAT(LogOf([&] { EXPECT_FALSE(Level(TheHost().New("PictureTRV"))); }),
                Contains("Picture not valid."));
    const auto before = colours.root.Bytes();
    EXPECT_FALSE(TheHost().Call(colours.image, "AutoLevel", 4, 0, 4, 4).ToBool());
    EXPECT_FALSE(TheHost().Call(colours.image, "AutoLevel", 0, -4, 4, 4).ToBool());
    TheHost().Call(colours.image, "Close");
    EXPECT_FALSE(Level(colours.image));
    EXPECT_EQ(colours.root.Bytes(), before);
}

TEST_F(AutoLevelTest, TheLog) {
    const TestImage image = Plain(4, 4, 2);
    EXPECT_THAT(LogOf([&] { TheHost().Call(image.image, "AutoLevel", 6, 1, -4, 9); }),
                testing::IsSupersetOf({"AutoLevel5", "Fix 6, 1, -4, 9", "Fixed 2, 1, 2, 3", "StartImage ok",
                                       "AutoLevel5_RGB"}));
}

TEST_F(AutoLevelTest, AnImageThatBecomesAnotherMeanwhileIsLeftAlone) {
    for (int how = 0; how < 2; ++how) {
        for (int when = 1; when <= 3; ++when) {
            const Ref image = NewImage(1500, 1000, "ImageFormatRGBA");
            TheHost().Set(image, "YieldTicks", int64_t{-1});
            int yields = 0;
            TheHost().OnYield([&] {
                if (++yields != when) return;
                if (how == 0) TheHost().Call(image, "Close");
                if (how == 1) TheHost().Call(image, "Constructor", 2, 2, Constant("ImageFormatG"));
            });
            Level(image);
            TheHost().OnYield({});
            EXPECT_GE(yields, 1);
        }
    }
}

}  // namespace
}  // namespace trvtest
