// Multiply and Unmultiply, from outside, against tables built step by step.

#include <gmock/gmock.h>

#include "shared_pixels.h"

namespace trvtest {
namespace {

using testing::Contains;

struct Tables {
    uint8_t multiply[256][256];
    uint8_t unmultiply[256][256];

    Tables() {
        for (int alpha = 0; alpha < 256; ++alpha) {
            for (int value = 0; value < 256; ++value)
                unmultiply[alpha][value] = static_cast<uint8_t>(value);
        }
        for (int alpha = 0; alpha < 256; ++alpha) {
            for (int value = 0; value < 256; ++value) {
                const float share = static_cast<float>(alpha) / 255.0F;
                const auto m = static_cast<uint8_t>(static_cast<float>(value) * share + 0.5F);
                multiply[alpha][value] = m;
                unmultiply[alpha][m] = static_cast<uint8_t>(value);
            }
        }
    }
};

class MultiplyTest : public SharedPixelsTest {
  protected:
    void Check(const TestImage& image, bool back, int64_t x, int64_t y, int64_t width, int64_t height) {
        static const Tables tables;
        Stores stores;
        stores.Add(image);
        const auto names = ChannelNames(image.side);
        for (int64_t j = std::max<int64_t>(y, 0); image.side.alpha && j < std::min(y + height, image.height);
             ++j) {
            for (int64_t i = std::max<int64_t>(x, 0); i < std::min(x + width, image.width); ++i) {
                const PixelOf pixel{image.side, stores.Pixel(image, i, j)};
                const int alpha = pixel("Alpha");
                std::vector<int> made;
                for (const std::string& name : names) {
                    const int value = pixel(name.c_str());
                    made.push_back(name == "Alpha" ? alpha
                                   : back          ? tables.unmultiply[alpha][value]
                                                   : tables.multiply[alpha][value]);
                }
                for (size_t c = 0; c < names.size(); ++c)
                    pixel.Set(names[c].c_str(), made[c]);
            }
        }
        TheHost().Call(image.image, back ? "Unmultiply" : "Multiply", x, y, width, height);
        stores.ExpectSame(image.story + (back ? " back" : ""));
    }
};

INSTANTIATE_TEST_SUITE_P(, MultiplyTest, kInstructionSets, InstructionSetName);

TEST_P(MultiplyTest, EveryFormatAndView) {
    for (const int64_t format : Formats()) {
        for (int round = 0; round < 12; ++round) {
            const TestImage image = Some(round == 0 ? 1500 : Draw(1, 70), Draw(1, 6), format);
            Check(image, round % 2 == 0, 0, 0, image.width, image.height);
            Check(image, round % 2 == 1, Draw(-9, image.width + 2), Draw(-4, image.height + 1),
                  Draw(0, image.width + 9), Draw(0, image.height + 3));
            if (HasFatalFailure()) return;
        }
    }
}

TEST_P(MultiplyTest, EveryValueWithEveryAlpha) {
    for (const char* format : {"RGBA", "ABGR", "GA", "AG", "CMYKA", "AKYMC"}) {
        for (const bool back : {false, true}) {
            const TestImage image = Plain(256, 256, Format(format));
            for (int64_t alpha = 0; alpha < 256; ++alpha) {
                for (int64_t value = 0; value < 256; ++value) {
                    std::fill_n(&image.root.At(value, alpha), image.side.pixelSize,
                                static_cast<uint8_t>(value));
                    image.root.At(value, alpha, image.side.at.at("Alpha")) = static_cast<uint8_t>(alpha);
                }
            }
            Check(image, back, 0, 0, 256, 256);
        }
    }
}

TEST_P(MultiplyTest, ParticularPixels) {
    const TestImage image = Plain(1, 1, Format("RGBA"));
    using Bytes = std::vector<uint8_t>;
    const auto made = [&](const char* method, const Bytes& bytes) {
        image.root.SetBytes(bytes);
        TheHost().Call(image.image, method);
        return image.root.Bytes();
    };
    EXPECT_EQ(made("Multiply", {1, 2, 200, 255}), (Bytes{1, 2, 200, 255}));
    EXPECT_EQ(made("Unmultiply", {1, 2, 200, 255}), (Bytes{1, 2, 200, 255}));
    EXPECT_EQ(made("Multiply", {1, 2, 200, 0}), (Bytes{0, 0, 0, 0}));
    EXPECT_EQ(made("Unmultiply", {0, 2, 200, 0}), (Bytes{255, 2, 200, 0}));
    EXPECT_EQ(made("Multiply", {255, 128, 1, 128}), (Bytes{128, 64, 1, 128}));
    // The highest value with the product, and what no product can be stays.
    EXPECT_EQ(made("Unmultiply", {1, 0, 3, 1}), (Bytes{255, 127, 3, 1}));
}

TEST_P(MultiplyTest, ImagesWithoutAlphaAreLeftAlone) {
    for (const char* format : {"RGB", "RGBX", "G", "CMYK", "Gray16", "Buffer", "CMYKX"}) {
        const TestImage image = Plain(9, 3, Format(format));
        const auto before = image.root.Bytes();
        EXPECT_EQ(LogOf([&] { TheHost().Call(image.image, "Multiply"); }),
                  std::vector<std::string>{"Multiply5"});
        EXPECT_EQ(LogOf([&] { TheHost().Call(image.image, "Unmultiply"); }),
                  std::vector<std::string>{"Unmultiply5"});
        EXPECT_EQ(image.root.Bytes(), before);
    }
}

TEST_P(MultiplyTest, NothingHappensToWhatDoesNotServe) {
    const TestImage image = Plain(9, 3, Format("RGBA"));
    const auto before = image.root.Bytes();
    for (const char* method : {"Multiply", "Unmultiply"}) {
        EXPECT_THAT(LogOf([&] { TheHost().Call(TheHost().New("PictureTRV"), method); }),
                    Contains("Picture not valid."));
        TheHost().Call(image.image, method, 9, 0, 1, 1);
        TheHost().Call(image.image, method, 0, 0, 0, 3);
        TheHost().Call(image.image, method, INT64_MIN, INT64_MIN, INT64_MAX, INT64_MAX);
    }
    TheHost().Call(image.image, "Close");
    for (const char* method : {"Multiply", "Unmultiply"})
        TheHost().Call(image.image, method);
    EXPECT_EQ(image.root.Bytes(), before);
}

TEST_P(MultiplyTest, TheLog) {
    for (const char* letters : {"GA", "RGBA", "CMYKA"}) {
        for (const std::string name : {"Multiply", "Unmultiply"}) {
            const TestImage image = Plain(9, 3, Format(letters));
            EXPECT_EQ(LogOf([&] { TheHost().Call(image.image, name, 1, 1, 20, 1); }),
                      (std::vector<std::string>{name + "5", "Fix 1, 1, 20, 1", "Fixed 1, 1, 8, 1",
                                                "StartImage ok", name + "5" + letters}));
        }
    }
}

TEST_P(MultiplyTest, ChannelsInUnusualPlaces) {
    for (int round = 0; round < 40; ++round) {
        TestImage image = Some(30, 3, Format(round % 2 == 0 ? "RGBA" : "GA"));
        if (!image.side.alpha) continue;
        const char* moved = round % 2 == 0 ? "RedOffset" : "GrayOffset";
        TheHost().Set(image.image, moved, Draw(0, image.side.pixelSize - 1));
        image.side = Side(TheHost(), image.image);
        Check(image, round % 3 == 0, 0, 0, 30, 3);
        if (HasFatalFailure()) return;
    }
}

}  // namespace
}  // namespace trvtest
