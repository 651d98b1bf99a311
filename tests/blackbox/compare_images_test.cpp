// CompareImages, from outside.

#include <gmock/gmock.h>

#include "shared_pixels.h"

namespace trvtest {
namespace {

using testing::Contains;

class CompareImagesTest : public FilterTest {
  protected:
    int64_t Compare(const Ref& image, const Ref& other) {
        return TheHost().Call(image, "CompareImages", other).ToInt();
    }
};

TEST_F(CompareImagesTest, CountsThePixelsOfImagesOfOneShapeWhateverTheyShow) {
    for (const int64_t format : Formats()) {
        const TestImage a = Plain(7, 5, format), b = Plain(7, 5, format);
        const int64_t expected = a.side.family == '-' ? -1 : 35;
        EXPECT_EQ(Compare(a.image, b.image), expected) << format;
        EXPECT_EQ(Compare(a.image, a.image), expected) << format;
        TheHost().Call(b.image, "Invert");
        EXPECT_EQ(Compare(a.image, b.image), expected) << format;
    }
    // The order of the channels is not part of the shape, nor is padding.
    EXPECT_EQ(Compare(Plain(7, 5, 1).image, Plain(7, 5, 10).image), 35);
}

TEST_F(CompareImagesTest, OtherShapesAreMinusOne) {
    const TestImage image = Plain(7, 5, Constant("ImageFormatRGB"));
    EXPECT_EQ(Compare(image.image, nullptr), -1);
    EXPECT_EQ(Compare(image.image, Plain(6, 5, 1).image), -1);
    EXPECT_EQ(Compare(image.image, Plain(7, 6, 1).image), -1);
    for (const char* format : {"RGBA", "G", "GA", "CMYK", "Gray16", "Buffer"})
        EXPECT_EQ(Compare(image.image, Plain(7, 5, Constant("ImageFormat" + std::string(format))).image), -1);
    EXPECT_EQ(Compare(Plain(7, 5, 41).image, Plain(7, 5, 11).image), -1);
    const TestImage closed = Plain(7, 5, 1);
    TheHost().Call(closed.image, "Close");
    EXPECT_EQ(Compare(image.image, closed.image), -1);
    EXPECT_EQ(Compare(closed.image, image.image), -1);
}

TEST_F(CompareImagesTest, InvalidImagesAreZero) {
    const TestImage image = Plain(7, 5, 1);
    const Ref unconstructed = TheHost().New("PictureTRV");
    EXPECT_THAT(LogOf([&] { EXPECT_EQ(Compare(image.image, unconstructed), 0); }),
                Contains("Picture not valid."));
    EXPECT_EQ(Compare(unconstructed, image.image), 0);
    EXPECT_EQ(Compare(unconstructed, nullptr), -1);
}

TEST_F(CompareImagesTest, TheLog) {
    for (const char* letters : {"GA", "RGBA", "CMYKA", "G", "RGB", "CMYK"}) {
        const TestImage image = Plain(7, 5, Constant("ImageFormat" + std::string(letters)));
        EXPECT_THAT(
            LogOf([&] { Compare(image.image, image.image); }),
            testing::IsSupersetOf({std::string("CompareImages"), std::string("CompareImages") + letters}));
    }
}

TEST_F(CompareImagesTest, SizesWithoutEndAreMultipliedIn64Bits) {
    // Rows of no bytes: each is the same one, and there can be any number of them.
    const trvhost::MemoryBlock block = TheHost().NewMemoryBlock(64);
    const auto sized = [&](int64_t width, int64_t height) {
        return TheHost().Construct("PictureTRV", block, width, height, 1, int64_t{0});
    };
    constexpr int64_t kMany = int64_t{1} << 61;
    EXPECT_EQ(Compare(sized(3, kMany), sized(3, kMany)), 3 * kMany);
    EXPECT_EQ(Compare(sized(4, kMany), sized(4, kMany)), INT64_MIN);
    EXPECT_EQ(Compare(sized(INT64_MAX, INT64_MAX), sized(INT64_MAX, INT64_MAX)), 1);
    const Ref tall = sized(2, kMany), mirrored = TheHost().Call(tall, "MirroredView").ToThing();
    EXPECT_EQ(Compare(mirrored, tall), 2 * kMany);
}

TEST_F(CompareImagesTest, ViewsWithoutPixels) {
    const TestImage image = Plain(7, 5, 1);
    const auto clip = [&](int64_t x, int64_t width) {
        return TheHost().Call(image.image, "ClipImage", x, 0, width, 5).ToThing();
    };
    EXPECT_EQ(Compare(clip(7, 3), clip(2, 0)), 0);
    // A width below 0 is no width to start with.
    EXPECT_EQ(Compare(clip(-9, 7), clip(-9, 7)), -1);
    EXPECT_EQ(Compare(clip(-4, 2), clip(-5, 3)), -1);
}

TEST_F(CompareImagesTest, FetchesEveryRow) {
    // Windows of 16 MB over 24: the last row is in the window at the end.
    const Ref image = TheHost().Construct("PictureTRV", 600, 6000, Constant("ImageFormatRGB"), int64_t{0},
                                          trvhost::FolderItem());
    const Ref other = NewImage(600, 6000, "ImageFormatRGB");
    for (const auto& [a, b] : {std::pair(image, other), std::pair(other, image)}) {
        EXPECT_TRUE(TheHost().Call(image, "MapInRows", 0, 10).ToBool());
        EXPECT_EQ(Compare(a, b), 600 * 6000);
        EXPECT_GE(TheHost().Get<int64_t>(image, "MappingLastRow"), 5999);
    }
}

}  // namespace
}  // namespace trvtest
