// Invert, from outside.

#include <gmock/gmock.h>

#include "shared_pixels.h"

namespace trvtest {
namespace {

using testing::Contains;
using testing::IsSupersetOf;

class InvertTest : public SharedPixelsTest {
  protected:
    /// One rectangle against the complement of every channel in it.
    void Check(const TestImage& image, int64_t x, int64_t y, int64_t width, int64_t height) {
        Stores stores;
        stores.Add(image);
        int64_t left = width < 0 ? x + width : x, top = height < 0 ? y + height : y;
        const int64_t right = std::min(left + std::abs(width), image.width),
                      bottom = std::min(top + std::abs(height), image.height);
        left = std::max<int64_t>(left, 0);
        top = std::max<int64_t>(top, 0);
        for (int64_t j = top; j < bottom; ++j) {
            for (int64_t i = left; i < right; ++i) {
                const PixelOf pixel{image.side, stores.Pixel(image, i, j)};
                for (const std::string& name : ChannelNames(image.side))
                    pixel.Set(name.c_str(), ~pixel(name.c_str()));
                if (image.side.wide) {
                    uint8_t& second = pixel.address[image.side.at.at("Gray") + 1];
                    second = static_cast<uint8_t>(~second);
                }
            }
        }
        TheHost().Call(image.image, "Invert", x, y, width, height);
        stores.ExpectSame(image.story);
    }
};

INSTANTIATE_TEST_SUITE_P(, InvertTest, kInstructionSets, InstructionSetName);

TEST_P(InvertTest, EveryFormatAndView) {
    for (const int64_t format : Formats()) {
        for (int round = 0; round < 12; ++round) {
            const TestImage image = Some(round == 0 ? 1500 : Draw(1, 70), Draw(1, 6), format);
            Check(image, 0, 0, image.width, image.height);
            Check(image, Draw(-9, image.width + 2), Draw(-4, image.height + 1), Draw(-9, image.width + 9),
                  Draw(-3, image.height + 3));
            if (HasFatalFailure()) return;
        }
    }
}

TEST_P(InvertTest, TwiceIsNothing) {
    for (const char* format : {"Gray16", "RGBA", "CMYKA", "XBGR", "G5"}) {
        const TestImage image = Plain(33, 4, Format(format));
        const auto before = image.root.Bytes();
        TheHost().Call(image.image, "Invert");
        EXPECT_NE(image.root.Bytes(), before);
        TheHost().Call(image.image, "Invert");
        EXPECT_EQ(image.root.Bytes(), before) << format;
    }
}

TEST_P(InvertTest, AlphaIsAChannelLikeTheOthersAndPaddingIsNone) {
    TestImage image = Plain(1, 1, Format("RGBA"));
    image.root.SetBytes({1, 2, 3, 4});
    TheHost().Call(image.image, "Invert");
    EXPECT_EQ(image.root.Bytes(), (std::vector<uint8_t>{254, 253, 252, 251}));
    image = Plain(1, 1, Format("BGRX"));
    image.root.SetBytes({1, 2, 3, 4});
    TheHost().Call(image.image, "Invert");
    EXPECT_EQ(image.root.Bytes(), (std::vector<uint8_t>{254, 253, 252, 4}));
}

TEST_P(InvertTest, MovedOffsetsStayInsideTheStore) {
    TestImage wide = Plain(5, 2, Format("Gray16")), colours = Plain(5, 2, Format("RGBX"));
    TheHost().Set(wide.image, "GrayOffset", 1);  // the second byte of the last sample would lie behind it
    TheHost().Call(wide.image, "Invert");
    EXPECT_TRUE(wide.root.GuardIntact());
    TheHost().Set(colours.image, "RedOffset", 3);
    colours.side = Side(TheHost(), colours.image);
    Check(colours, 0, 0, 5, 2);
    // Two channels on one byte turn it twice.
    TheHost().Set(colours.image, "RedOffset", 1);
    colours.side = Side(TheHost(), colours.image);
    Check(colours, 0, 0, 5, 2);
}

TEST_P(InvertTest, NothingHappensToWhatDoesNotServe) {
    TheHost().Call(TheHost().New("PictureTRV"), "Invert");
    EXPECT_EQ(LineOf("Picture", [&] { TheHost().Call(TheHost().New("PictureTRV"), "Invert"); }),
              "Picture not valid.");
    const TestImage image = Plain(5, 2, Format("RGB"));
    const auto before = image.root.Bytes();
    TheHost().Call(image.image, "Invert", 5, 0, 1, 1);
    TheHost().Call(image.image, "Invert", 0, 0, 0, 2);
    TheHost().Call(image.image, "Invert", INT64_MIN, 0, 7, 2);
    TheHost().Call(image.image, "Close");
    TheHost().Call(image.image, "Invert");
    EXPECT_EQ(image.root.Bytes(), before);
}

TEST_P(InvertTest, TheLog) {
    const auto log = [&](const char* format) {
        const TestImage image = Plain(5, 4, Format(format));
        return LogOf([&] { TheHost().Call(image.image, "Invert", 1, 2, 3, 9); });
    };
    EXPECT_THAT(log("GA"),
                IsSupersetOf({"Invert5", "Fix 1, 2, 3, 9", "Fixed 1, 2, 3, 2", "StartImage ok", "Invert GA",
                              "x 1", "y 2", "uw 4", "uh 4", "HasAlpha 1", "HasGray 1"}));
    EXPECT_THAT(log("CMYKA"), IsSupersetOf({"Invert CMYKA", "HasAlpha 1", "HasCMYK 1"}));
    EXPECT_THAT(log("RGBA"), IsSupersetOf({"Invert RGBA", "HasAlpha 1", "HasRGB 1"}));
    EXPECT_THAT(log("G"), IsSupersetOf({"Invert G", "HasGray 1"}));
    EXPECT_THAT(log("Gray16"), IsSupersetOf({"Invert G", "HasGray16 1"}));
    EXPECT_THAT(log("CMYK"), IsSupersetOf({"Invert CMYK", "HasCMYK 1"}));
    EXPECT_THAT(log("RGB"), IsSupersetOf({"Invert RGB", "HasRGB 1"}));
    EXPECT_THAT(log("RGB"), testing::Not(Contains("HasAlpha 1")));
}

TEST_P(InvertTest, TheLogLineByLine) {
    const TestImage image = Plain(5, 4, Format("ACMYK"));
    EXPECT_EQ(
        LogOf([&] { TheHost().Call(image.image, "Invert", 4, 9, -3, -7); }),
        (std::vector<std::string>{"Invert5", "Fix 4, 9, -3, -7", "Fixed 1, 2, 3, 2", "StartImage ok",
                                  "Invert CMYKA", "x 1", "y 2", "uw 4", "uh 4", "HasAlpha 1", "HasCMYK 1"}));
}

TEST_P(InvertTest, MappedImages) {
    const Ref image =
        TheHost().Construct("PictureTRV", 600, 6000, Format("RGB"), int64_t{0}, trvhost::FolderItem());
    TheHost().Call(image, "Invert", 1, 0, 599, 6000);
    for (const int64_t y : {0, 5999}) {
        const auto block = TheHost().Call(image, "Row(index as integer) as memoryblock", y).ToThing();
        const auto bytes = trvhost::MemoryBlock(block).Bytes();
        EXPECT_EQ(std::count(bytes.begin(), bytes.begin() + 1800, 255), 1797);
        EXPECT_EQ(bytes[0] + bytes[1] + bytes[2], 0);
    }
}

}  // namespace
}  // namespace trvtest
