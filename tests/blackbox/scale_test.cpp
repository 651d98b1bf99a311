// Scale, from outside, against the slow reference, and its edge cases.

#include <gmock/gmock.h>

#include "scale_images.h"

namespace trvtest {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::HasSubstr;
using ::testing::IsSupersetOf;
using ::testing::Not;
using ::testing::StartsWith;

class ScaleTest : public PluginTest {
  protected:
    [[nodiscard]] MemoryImage Memory(int64_t width, int64_t height, std::string_view format,
                                     unsigned seed = 1, int64_t rowSize = 0) const {
        return MemoryImage(TheHost(), width, height, Constant(format), rowSize, seed);
    }
    [[nodiscard]] reference::Image Model(const MemoryImage& image) const {
        return ModelOf(TheHost(), image, image.Bytes());
    }
    bool Scale(const Ref& dest, const Ref& source, const Ref& temp, int64_t mode, int64_t width,
               int64_t height) const {
        return TheHost().Call(dest, "Scale", source, temp, mode, width, height).ToBool();
    }
    /// Scales and compares the destination with the reference.
    void Check(const MemoryImage& source, const MemoryImage& dest, int64_t mode, int64_t width,
               int64_t height) const {
        const Expected expected = Expect(Model(source), Model(dest), mode, width, height);
        const auto sourceBytes = source.Bytes();
        const auto destBytes = dest.Bytes();
        const std::string what = expected.family + " mode " + std::to_string(mode) + " to " +
                                 std::to_string(width) + "x" + std::to_string(height);
        ASSERT_EQ(Scale(dest, source, nullptr, mode, width, height), !expected.family.empty()) << what;
        const auto& shouldBe = expected.family.empty() ? destBytes : expected.dest.bytes;
        ASSERT_EQ(Difference(dest.Bytes(), shouldBe, dest.RowSize()), "") << what;
        ASSERT_EQ(source.Bytes(), sourceBytes) << what;
        ASSERT_TRUE(dest.GuardIntact()) << what;
    }

    std::mt19937 random_{5};
};

TEST_F(ScaleTest, EveryPairOfFormats) {
    int64_t mode = 1;
    for (const int64_t from : AllFormats()) {
        for (const int64_t to : AllFormats()) {
            const int64_t width = 1 + random_() % 12;
            const int64_t height = 1 + random_() % 9;
            const MemoryImage source(TheHost(), 1 + random_() % 12, 1 + random_() % 9, from, 0, random_());
            const MemoryImage dest(TheHost(), width, height, to, 0, random_());
            Check(source, dest, mode, width, height);
            if (HasFatalFailure()) FAIL() << from << " > " << to;
            mode = mode % 7 + 1;
        }
    }
}

TEST_F(ScaleTest, SevenModesAtRandomSizes) {
    const char* formats[] = {"ImageFormatRGBA", "ImageFormatBGR", "ImageFormatG", "ImageFormatGray16",
                             "ImageFormatACMYK"};
    for (int64_t mode = 1; mode <= 7; ++mode) {
        for (const char* format : formats) {
            for (int round = 0; round < 4; ++round) {
                const int64_t width = 1 + random_() % 90;
                const int64_t height = 1 + random_() % 60;
                // The destination may be larger than the request; the rest of it stays.
                const MemoryImage source = Memory(1 + random_() % 90, 1 + random_() % 60, format, random_());
                const MemoryImage dest =
                    Memory(width + random_() % 3, height + random_() % 3, format, random_());
                Check(source, dest, mode, width, height);
                if (HasFatalFailure()) FAIL() << format;
            }
        }
    }
}

TEST_F(ScaleTest, RowsLongerThanTheirPixels) {
    for (const int64_t spare : {1, 5, 64}) {
        const MemoryImage source = Memory(21, 13, "ImageFormatXBGR", 1, 21 * 4 + spare);
        const MemoryImage dest = Memory(34, 8, "ImageFormatAG", 2, 34 * 2 + spare);
        Check(source, dest, 3, 34, 8);
    }
}

// Refusals
// ---------------------------------------------------------------------------------------------------------------------

TEST_F(ScaleTest, RefusesModesThatDoNotExist) {
    const MemoryImage source = Memory(4, 4, "ImageFormatRGB");
    const MemoryImage dest = Memory(2, 2, "ImageFormatRGB", 2);
    const auto before = dest.Bytes();
    for (const int64_t mode : {int64_t{0}, int64_t{8}, int64_t{-1}, INT64_MIN, INT64_MAX}) {
        bool result = true;
        const auto log = LogOf([&] { result = Scale(dest, source, nullptr, mode, 2, 2); });
        EXPECT_FALSE(result);
        EXPECT_THAT(log, ElementsAre("PictureScaleTRV " + std::to_string(mode) + ", 2, 2",
                                     "Invalid mode " + std::to_string(mode)));
        EXPECT_EQ(dest.Bytes(), before);
    }
}

TEST_F(ScaleTest, TestsItsArgumentsInOrder) {
    const MemoryImage source = Memory(4, 4, "ImageFormatRGB");
    const MemoryImage dest = Memory(2, 2, "ImageFormatRGB", 2);
    const auto logOf = [&](const Ref& from, int64_t mode, int64_t width, int64_t height) {
        return LogOf([&] { EXPECT_FALSE(Scale(dest, from, nullptr, mode, width, height)); });
    };
    EXPECT_THAT(logOf(nullptr, 1, 0, 0), ElementsAre("PictureScaleTRV 1, 0, 0", "source is nil"));
    EXPECT_THAT(logOf(source, 0, 0, 0), ElementsAre("PictureScaleTRV 0, 0, 0", "pDestHeight < 1"));
    EXPECT_THAT(logOf(source, 9, 2, -3), ElementsAre("PictureScaleTRV 9, 2, -3", "pDestHeight < 1"));
    EXPECT_THAT(logOf(source, 9, 0, 2), ElementsAre("PictureScaleTRV 9, 0, 2", "pDestWidth < 1"));
}

TEST_F(ScaleTest, RefusesRgbWithCmykBeforeATempIsMade) {
    for (const auto& [from, to] : {std::pair("ImageFormatRGB", "ImageFormatCMYK"),
                                   {"ImageFormatCMYKA", "ImageFormatRGBA"},
                                   {"ImageFormatBuffer", "ImageFormatRGB"},
                                   {"ImageFormatG", "ImageFormatScaling1"}}) {
        const MemoryImage source = Memory(4, 4, from);
        const MemoryImage dest = Memory(2, 2, to, 2);
        const int64_t made = TheHost().Calls("PluginNewInstance");
        const auto log = LogOf([&] { EXPECT_FALSE(Scale(dest, source, nullptr, 1, 2, 2)); });
        EXPECT_THAT(log, ElementsAre("PictureScaleTRV 1, 2, 2"));
        EXPECT_EQ(TheHost().Calls("PluginNewInstance"), made);
    }
}

TEST_F(ScaleTest, RefusesGrayOfDifferentDepth) {
    const MemoryImage gray = Memory(4, 4, "ImageFormatG");
    const MemoryImage deep = Memory(4, 4, "ImageFormatGray16");
    EXPECT_FALSE(Scale(deep, gray, nullptr, 1, 4, 4));
    EXPECT_FALSE(Scale(gray, deep, nullptr, 1, 4, 4));
    EXPECT_TRUE(Scale(deep, deep, nullptr, 1, 4, 4));
}

TEST_F(ScaleTest, RefusesImagesThatAreNotValid) {
    const MemoryImage source = Memory(4, 4, "ImageFormatRGB");
    const MemoryImage dest = Memory(2, 2, "ImageFormatRGB", 2);
    const Ref invalid = TheHost().New("PictureTRV");
    const std::string first = "PictureScaleTRV 1, 2, 2";
    EXPECT_THAT(LogOf([&] { EXPECT_FALSE(Scale(dest, source, invalid, 1, 2, 2)); }),
                ElementsAre(first, "Picture not valid."));
    EXPECT_THAT(LogOf([&] { EXPECT_FALSE(Scale(invalid, source, nullptr, 1, 2, 2)); }),
                ElementsAre(first, "Picture not valid."));
    EXPECT_THAT(LogOf([&] { EXPECT_FALSE(Scale(dest, invalid, nullptr, 1, 2, 2)); }),
                ElementsAre(first, "Picture not valid."));
}

TEST_F(ScaleTest, RefusesClosedImages) {
    const Ref open = NewImage(4, 4, "ImageFormatRGBA");
    const Ref closed = NewImage(4, 4, "ImageFormatRGBA");
    TheHost().Call(closed, "Close");
    for (const auto& images : {std::pair(open, closed), {closed, open}}) {
        const auto log = LogOf([&] { EXPECT_FALSE(Scale(images.first, images.second, nullptr, 1, 4, 4)); });
        EXPECT_EQ(log.back(), "GetRow is nil");
    }
    const auto log = LogOf([&] { EXPECT_FALSE(Scale(open, open, closed, 1, 4, 4)); });
    EXPECT_EQ(log.back(), "GetRow is nil");
}

TEST_F(ScaleTest, SizesThatNoTableCanHold) {
    const MemoryImage source = Memory(4, 4, "ImageFormatG");
    const MemoryImage dest = Memory(4, 4, "ImageFormatG", 2);
    const MemoryImage temp = Memory(4, 4, "ImageFormatScaling1", 3);
    for (const auto& size :
         {std::pair<int64_t, int64_t>{INT64_MAX, 4}, {4, INT64_MAX}, {INT64_MAX, INT64_MAX}}) {
        const auto log = LogOf([&] { EXPECT_FALSE(Scale(dest, source, temp, 2, size.first, size.second)); });
        EXPECT_EQ(log.back(), "Failed to allocate contrib");
    }
    EXPECT_TRUE(temp.GuardIntact() && dest.GuardIntact());
}

// Families
// ---------------------------------------------------------------------------------------------------------------------

/// A plane of an image, by its offset.
std::vector<uint8_t> Plane(const MemoryImage& image, int64_t width, int64_t height, int64_t offset) {
    std::vector<uint8_t> plane;
    for (int64_t y = 0; y < height; ++y) {
        for (int64_t x = 0; x < width; ++x)
            plane.push_back(image.At(x, y, offset));
    }
    return plane;
}

TEST_F(ScaleTest, GrayWithAlphaLeavesTheDestinationsAlpha) {
    const MemoryImage source = Memory(9, 9, "ImageFormatGA", 1);
    const MemoryImage dest = Memory(6, 6, "ImageFormatGA", 2);
    const auto alpha = Plane(dest, 6, 6, 1);
    const auto gray = Plane(dest, 6, 6, 0);
    ASSERT_TRUE(Scale(dest, source, nullptr, 1, 6, 6));
    EXPECT_EQ(Plane(dest, 6, 6, 1), alpha);
    EXPECT_NE(Plane(dest, 6, 6, 0), gray);
}

TEST_F(ScaleTest, ColourWithAlphaScalesAlpha) {
    const MemoryImage source = Memory(6, 6, "ImageFormatRGBA", 1);
    const MemoryImage dest = Memory(6, 6, "ImageFormatARGB", 2);
    const MemoryImage gray = Memory(6, 6, "ImageFormatGA", 3);
    ASSERT_TRUE(Scale(dest, source, nullptr, 1, 6, 6));
    ASSERT_TRUE(Scale(gray, source, nullptr, 1, 6, 6));
    EXPECT_EQ(Plane(dest, 6, 6, 0), Plane(source, 6, 6, 3));
    EXPECT_EQ(Plane(gray, 6, 6, 1), Plane(source, 6, 6, 3));
}

TEST_F(ScaleTest, ColourWithoutAlphaLeavesTheDestinationsAlpha) {
    const MemoryImage source = Memory(6, 6, "ImageFormatRGB", 1);
    const MemoryImage dest = Memory(6, 6, "ImageFormatRGBA", 2);
    const auto alpha = Plane(dest, 6, 6, 3);
    ASSERT_TRUE(Scale(dest, source, nullptr, 3, 6, 6));
    EXPECT_EQ(Plane(dest, 6, 6, 3), alpha);
}

TEST_F(ScaleTest, YellowBecomesTheByteThatIsFirst) {
    const MemoryImage source = Memory(8, 8, "ImageFormatCMYK", 1);
    const MemoryImage dest = Memory(5, 7, "ImageFormatCMYK", 2);
    ASSERT_TRUE(Scale(dest, source, nullptr, 3, 5, 7));
    EXPECT_EQ(Plane(dest, 5, 7, 2), Plane(dest, 5, 7, 0)) << "yellow is scaled cyan";
    // In the reverse order the first byte is black, with alpha in front it is alpha.
    const MemoryImage reverse = Memory(8, 8, "ImageFormatKYMC", 3);
    const MemoryImage result = Memory(8, 8, "ImageFormatCMYK", 4);
    ASSERT_TRUE(Scale(result, reverse, nullptr, 1, 8, 8));
    EXPECT_EQ(Plane(result, 8, 8, 2), Plane(reverse, 8, 8, 0));
    const MemoryImage alpha = Memory(8, 8, "ImageFormatACMYK", 5);
    ASSERT_TRUE(Scale(result, alpha, nullptr, 1, 8, 8));
    EXPECT_EQ(Plane(result, 8, 8, 2), Plane(alpha, 8, 8, 0));
    // A caller can choose the byte.
    TheHost().Set(source, "RedOffset", 2);
    ASSERT_TRUE(Scale(result, source, nullptr, 1, 8, 8));
    EXPECT_EQ(Plane(result, 8, 8, 2), Plane(source, 8, 8, 2));
}

TEST_F(ScaleTest, PureCyanBecomesGrayZero) {
    const MemoryImage source = Memory(3, 3, "ImageFormatCMYK");
    for (int64_t i = 0; i < 9; ++i) {
        for (int64_t c = 0; c < 4; ++c)
            source.At(i % 3, i / 3, c) = c == 0 ? 255 : 0;
    }
    const MemoryImage dest = Memory(3, 3, "ImageFormatG");
    ASSERT_TRUE(Scale(dest, source, nullptr, 1, 3, 3));
    EXPECT_EQ(dest.Bytes(), std::vector<uint8_t>(9, 0));
}

TEST_F(ScaleTest, GrayGoesIntoAllFourInks) {
    const MemoryImage source = Memory(4, 4, "ImageFormatAG");
    const MemoryImage dest = Memory(4, 4, "ImageFormatCMYK", 2);
    ASSERT_TRUE(Scale(dest, source, nullptr, 1, 4, 4));
    for (int64_t channel = 0; channel < 4; ++channel) {
        EXPECT_EQ(Plane(dest, 4, 4, channel), Plane(source, 4, 4, 0)) << "the byte at 0, which is alpha here";
    }
}

// Kernels and tables
// ---------------------------------------------------------------------------------------------------------------------

TEST_F(ScaleTest, TriangleAtOneIsTheIdentity) {
    const MemoryImage source = Memory(33, 21, "ImageFormatRGBA", 1);
    const MemoryImage dest = Memory(33, 21, "ImageFormatRGBA", 2);
    ASSERT_TRUE(Scale(dest, source, nullptr, 1, 33, 21));
    EXPECT_EQ(dest.Bytes(), source.Bytes());
    const MemoryImage boxed = Memory(33, 21, "ImageFormatRGBA", 3);
    ASSERT_TRUE(Scale(boxed, source, nullptr, 2, 33, 21));
    EXPECT_EQ(boxed.Bytes(), source.Bytes());
}

TEST_F(ScaleTest, BoxAtTwoDoublesEveryPixel) {
    const MemoryImage source = Memory(5, 4, "ImageFormatG", 1);
    const MemoryImage dest = Memory(10, 8, "ImageFormatG", 2);
    ASSERT_TRUE(Scale(dest, source, nullptr, 2, 10, 8));
    for (int64_t y = 0; y < 8; ++y) {
        for (int64_t x = 0; x < 10; ++x)
            EXPECT_EQ(dest.At(x, y), source.At(x / 2, y / 2));
    }
}

TEST_F(ScaleTest, BoxTakesBothNeighboursAtAHalf) {
    const MemoryImage source = Memory(2, 1, "ImageFormatG");
    source.At(0, 0) = 10;
    source.At(1, 0) = 21;
    const MemoryImage dest = Memory(3, 1, "ImageFormatG");
    ASSERT_TRUE(Scale(dest, source, nullptr, 2, 3, 1));
    EXPECT_THAT(dest.Bytes(), ElementsAre(10, 16, 21)) << "a tie rounds up";
}

TEST_F(ScaleTest, OneColumnOneRow) {
    const MemoryImage source = Memory(1, 1, "ImageFormatRGB", 9);
    for (int64_t mode = 1; mode <= 7; ++mode) {
        const MemoryImage dest = Memory(13, 6, "ImageFormatRGB", 2);
        ASSERT_TRUE(Scale(dest, source, nullptr, mode, 13, 6));
        for (int64_t i = 0; i < 13 * 6; ++i) {
            for (int64_t c = 0; c < 3; ++c)
                EXPECT_EQ(dest.At(i % 13, i / 13, c), source.At(0, 0, c)) << mode;
        }
    }
}

TEST_F(ScaleTest, AFlatImageStaysFlatToTheBorder) {
    for (int64_t mode = 1; mode <= 7; ++mode) {
        for (const auto& [width, height] : {std::pair<int64_t, int64_t>{7, 9}, {90, 40}, {20, 20}, {33, 3}}) {
            const MemoryImage source = Memory(20, 20, "ImageFormatGray16");
            for (int64_t i = 0; i < 400; ++i) {
                source.At(i % 20, i / 20, 0) = 0x39;
                source.At(i % 20, i / 20, 1) = 0xD4;
            }
            const MemoryImage dest = Memory(width, height, "ImageFormatGray16");
            ASSERT_TRUE(Scale(dest, source, nullptr, mode, width, height));
            for (int64_t i = 0; i < width * height; ++i) {
                ASSERT_EQ(dest.At(i % width, i / width, 0), 0x39) << mode;
                ASSERT_EQ(dest.At(i % width, i / width, 1), 0xD4) << mode;
            }
        }
    }
}

// The temp
// ---------------------------------------------------------------------------------------------------------------------

TEST_F(ScaleTest, ASuppliedTempHoldsTheHorizontalResult) {
    const MemoryImage source = Memory(30, 20, "ImageFormatRGB", 1);
    const MemoryImage dest = Memory(13, 11, "ImageFormatRGB", 2);
    const MemoryImage temp = Memory(13, 20, "ImageFormatScaling4", 3);
    const Expected expected = Expect(Model(source), Model(dest), 3, 13, 11);
    ASSERT_TRUE(Scale(dest, source, temp, 3, 13, 11));
    EXPECT_EQ(Difference(temp.Bytes(), expected.temp.bytes, temp.RowSize()), "");
    EXPECT_EQ(Difference(dest.Bytes(), expected.dest.bytes, dest.RowSize()), "");
    EXPECT_EQ(temp.Object().References(), 1);
}

TEST_F(ScaleTest, ASuppliedTempMayBeAnyImageWithRoom) {
    // An ordinary image of another format, wider and with longer rows; what is not needed of it stays.
    const MemoryImage source = Memory(30, 20, "ImageFormatRGBA", 1);
    const MemoryImage dest = Memory(13, 11, "ImageFormatRGBA", 2);
    const MemoryImage temp = Memory(20, 20, "ImageFormatCMYKA", 3, 120);
    const auto before = temp.Bytes();
    const Expected expected = Expect(Model(source), Model(dest), 3, 13, 11);
    ASSERT_TRUE(Scale(dest, source, temp, 3, 13, 11));
    EXPECT_EQ(Difference(dest.Bytes(), expected.dest.bytes, dest.RowSize()), "");
    auto shouldBe = before;
    for (int64_t y = 0; y < 20; ++y) {
        std::copy_n(expected.temp.bytes.begin() + y * 52, 52, shouldBe.begin() + y * 120);
    }
    EXPECT_EQ(Difference(temp.Bytes(), shouldBe, 120), "");
}

TEST_F(ScaleTest, OvershootIsClampedInTheTempAlready) {
    const MemoryImage source = Memory(20, 1, "ImageFormatG");
    for (int64_t x = 0; x < 20; ++x)
        source.At(x, 0) = x < 10 ? 0 : 255;
    const MemoryImage temp = Memory(80, 1, "ImageFormatScaling1");
    const MemoryImage dest = Memory(80, 1, "ImageFormatG");
    for (const int64_t mode : {3, 6}) {
        ASSERT_TRUE(Scale(dest, source, temp, mode, 80, 1));
        const auto bytes = temp.Bytes();
        EXPECT_EQ(bytes, dest.Bytes());
        EXPECT_EQ(bytes[36], 0) << "the kernel undershoots here";
        EXPECT_EQ(bytes[43], 255);
        EXPECT_GT(bytes[40], 100);
    }
}

TEST_F(ScaleTest, TheTempsHeightSetsTheRange) {
    // Four rows of source, six of temp: the last list reaches into rows that only the temp has.
    const MemoryImage source = Memory(1, 4, "ImageFormatG");
    for (int64_t y = 0; y < 4; ++y)
        source.At(0, y) = 0;
    const MemoryImage temp = Memory(1, 6, "ImageFormatScaling1");
    temp.At(0, 4) = 255;
    temp.At(0, 5) = 255;
    const MemoryImage dest = Memory(1, 8, "ImageFormatG");
    ASSERT_TRUE(Scale(dest, source, temp, 1, 1, 8));
    // Row 7 has its centre at 3.75, a quarter above row 3: 0.75 of row 3 and 0.25 of row 4.
    EXPECT_THAT(dest.Bytes(), ElementsAre(0, 0, 0, 0, 0, 0, 0, 64));
}

TEST_F(ScaleTest, ATempThatIsTooSmallIsNotOverrun) {
    const MemoryImage source = Memory(40, 30, "ImageFormatRGBA", 1);
    for (const auto& [width, height, format] :
         {std::tuple<int64_t, int64_t, const char*>{10, 30, "ImageFormatScaling4"},
          {50, 10, "ImageFormatScaling4"},
          {50, 30, "ImageFormatScaling1"},
          {1, 1, "ImageFormatG"}}) {
        const MemoryImage temp = Memory(width, height, format, 2);
        const MemoryImage dest = Memory(50, 50, "ImageFormatRGBA", 3);
        EXPECT_TRUE(Scale(dest, source, temp, 3, 50, 50));
        EXPECT_TRUE(source.GuardIntact() && temp.GuardIntact() && dest.GuardIntact());
    }
}

TEST_F(ScaleTest, ARequestBeyondTheDestinationIsCut) {
    const MemoryImage source = Memory(8, 8, "ImageFormatRGB", 1);
    const MemoryImage dest = Memory(20, 10, "ImageFormatRGB", 3);
    const Expected expected = Expect(Model(source), Model(dest), 7, 64, 32);
    ASSERT_TRUE(Scale(dest, source, nullptr, 7, 64, 32));
    EXPECT_EQ(Difference(dest.Bytes(), expected.dest.bytes, dest.RowSize()), "");
    EXPECT_TRUE(dest.GuardIntact());
}

TEST_F(ScaleTest, TheFactoryMakesTheTemp) {
    const MemoryImage source = Memory(30, 20, "ImageFormatRGB", 1);
    const MemoryImage dest = Memory(13, 11, "ImageFormatRGB", 2);
    const Expected expected = Expect(Model(source), Model(dest), 3, 13, 11);
    std::vector<std::vector<int64_t>> asked;
    Ref made;
    const Ref factory = TheHost().NewFactory([&](int64_t width, int64_t height, int64_t format) {
        asked.push_back({width, height, format});
        made = TheHost().Construct("PictureTRV", width + 3, height + 5, format);
        return made;
    });
    TheHost().Set(source, "Factory", factory);
    ASSERT_TRUE(Scale(dest, source, nullptr, 3, 13, 11));
    EXPECT_EQ(asked, (std::vector<std::vector<int64_t>>{{13, 20, Constant("ImageFormatScaling4")}}));
    EXPECT_EQ(made.References(), 1) << "the scaler has released it";
    // A larger temp has more rows for the lists to reach into, so only rows away from the lower end compare.
    const auto is = dest.Bytes();
    for (size_t i = 0; i < 8 * 13 * 3; ++i)
        ASSERT_EQ(is[i], expected.dest.bytes[i]);
    TheHost().Set(source, "Factory", nullptr);
}

TEST_F(ScaleTest, TheSourcesFactoryIsAskedAndNotTheDestinations) {
    const MemoryImage source = Memory(3, 3, "ImageFormatG", 1);
    const MemoryImage dest = Memory(3, 3, "ImageFormatG", 2);
    int calls = 0;
    const Ref factory = TheHost().NewFactory([&](int64_t, int64_t, int64_t) {
        ++calls;
        return Ref();
    });
    TheHost().Set(dest, "Factory", factory);
    EXPECT_TRUE(Scale(dest, source, nullptr, 1, 3, 3));
    EXPECT_EQ(calls, 0);
    TheHost().Set(dest, "Factory", nullptr);
    TheHost().Set(source, "Factory", factory);
    EXPECT_TRUE(Scale(dest, source, nullptr, 1, 3, 3)) << "nil from the factory, and the plain way serves";
    EXPECT_EQ(calls, 1);
    TheHost().Set(source, "Factory", nullptr);
}

TEST_F(ScaleTest, AWrongFormatStartsAnewAsOftenAsItComes) {
    const MemoryImage source = Memory(9, 8, "ImageFormatRGB", 1);
    const MemoryImage dest = Memory(4, 4, "ImageFormatRGB", 2);
    const Expected expected = Expect(Model(source), Model(dest), 5, 4, 4);
    int left = 20000;  // far more than a stack would bear
    const Ref factory = TheHost().NewFactory([&](int64_t width, int64_t height, int64_t format) {
        return TheHost().Construct("PictureTRV", width, height,
                                   --left > 0 ? Constant("ImageFormatRGBA") : format);
    });
    TheHost().Set(source, "Factory", factory);
    ASSERT_TRUE(Scale(dest, source, nullptr, 5, 4, 4));
    EXPECT_EQ(left, 0);
    EXPECT_EQ(Difference(dest.Bytes(), expected.dest.bytes, dest.RowSize()), "");
    left = 3;
    const auto log = LogOf([&] { EXPECT_TRUE(Scale(dest, source, nullptr, 5, 4, 4)); });
    EXPECT_EQ(std::count(log.begin(), log.end(), "PictureScaleTRV 5, 4, 4"), 3);
    EXPECT_EQ(std::count(log.begin(), log.end(), "CreatePicture gave invalid format"), 2);
    EXPECT_EQ(std::count(log.begin(), log.end(), "RGB_to_RGB_Scale7 4, 4"), 1);
    TheHost().Set(source, "Factory", nullptr);
}

TEST_F(ScaleTest, NoTempToBeHad) {
    const MemoryImage source = Memory(9, 8, "ImageFormatRGB", 1);
    const MemoryImage dest = Memory(4, 4, "ImageFormatRGB", 2);
    const auto before = dest.Bytes();
    TheHost().FailNewInstance(1);
    auto log = LogOf([&] { EXPECT_FALSE(Scale(dest, source, nullptr, 5, 4, 4)); });
    EXPECT_EQ(log.back(), "CreatePicture returned nil");
    TheHost().FailMemoryBlock(1);
    log = LogOf([&] { EXPECT_FALSE(Scale(dest, source, nullptr, 5, 4, 4)); });
    EXPECT_EQ(log.back(), "CreatePicture returned nil");
    const auto exception = TheHost().TakeException();
    ASSERT_TRUE(exception.has_value());
    EXPECT_EQ(exception->className, "OutOfMemoryException");
    EXPECT_EQ(dest.Bytes(), before);
}

// The log
// ---------------------------------------------------------------------------------------------------------------------

/// The lines from the first that starts with `label` on.
std::vector<std::string> From(const std::vector<std::string>& lines, const std::string& label) {
    const auto first =
        std::find_if(lines.begin(), lines.end(), [&](const auto& line) { return line.starts_with(label); });
    return {first, lines.end()};
}

TEST_F(ScaleTest, SaysWhatItDoes) {
    const MemoryImage source = Memory(8, 4, "ImageFormatRGBX", 1);
    const MemoryImage dest = Memory(4, 8, "ImageFormatBGR", 2);
    const auto log = LogOf([&] { ASSERT_TRUE(Scale(dest, source, nullptr, 3, 4, 8)); });
    ASSERT_GE(log.size(), 5u);
    EXPECT_THAT(std::vector(log.begin(), log.begin() + 5),
                ElementsAre("PictureScaleTRV 3, 4, 8", "RGB_to_RGB 4, 8", "sizeof(MyPixel) 4",
                            "Creating PictureReader", "Create temp picture"));
    EXPECT_THAT(From(log, "RGB_to_RGB_Scale7"),
                ElementsAre("RGB_to_RGB_Scale7 4, 8", "StartImage ok", "StartImage ok", "StartImage ok",
                            StartsWith("contrib "), "xScale*1000 500.000000", "yScale*1000 2000.000000",
                            "RGB_to_RGB_Scale1", "RGB_to_RGB_Scale3", StartsWith("contrib "),
                            "RGB_to_RGB_Scale5", "wdth*1000 3000", "RGB_to_RGB_Scale6", "me->PixelSize 3",
                            "mdest->PixelSize 3", "mtemp->PixelSize 4", "function 6 done"));
}

TEST_F(ScaleTest, SaysWhatItDoesWithATemp) {
    const MemoryImage source = Memory(3, 8, "ImageFormatAG", 1);
    const MemoryImage dest = Memory(7, 4, "ImageFormatKYMCA", 2);
    const MemoryImage temp = Memory(7, 8, "ImageFormatScaling8", 3);
    const auto log = LogOf([&] { ASSERT_TRUE(Scale(dest, source, temp, 2, 7, 4)); });
    EXPECT_THAT(
        log, ElementsAre("PictureScaleTRV 2, 7, 4", "GA_to_CMYKA 7, 4", "sizeof(MyPixel) 5",
                         "Creating PictureReader", "GA_to_CMYKA_Scale7 7, 4", "StartImage ok",
                         "StartImage ok", "StartImage ok", StartsWith("contrib "), "xScale*1000 2333.333333",
                         "yScale*1000 500.000000", "GA_to_CMYKA_Scale2", "GA_to_CMYKA_Scale3",
                         StartsWith("contrib "), "GA_to_CMYKA_Scale4", "wdth*1000 1000", "GA_to_CMYKA_Scale6",
                         "me->PixelSize 5", "mdest->PixelSize 5", "mtemp->PixelSize 8", "function 6 done"));
}

TEST_F(ScaleTest, ResultsAreTheSameWhileItTalks) {
    const MemoryImage source = Memory(40, 30, "ImageFormatRGBA", 1);
    const MemoryImage quiet = Memory(25, 45, "ImageFormatRGBA", 2);
    const MemoryImage loud = Memory(25, 45, "ImageFormatRGBA", 2);
    ASSERT_TRUE(Scale(quiet, source, nullptr, 4, 25, 45));
    LogOf([&] { ASSERT_TRUE(Scale(loud, source, nullptr, 4, 25, 45)); });
    EXPECT_EQ(quiet.Bytes(), loud.Bytes());
}

// The host's time
// ---------------------------------------------------------------------------------------------------------------------

TEST_F(ScaleTest, GivesTheHostItsTime) {
    const MemoryImage source = Memory(700, 600, "ImageFormatRGBA", 1);
    const MemoryImage dest = Memory(500, 400, "ImageFormatRGBA", 2);
    const MemoryImage patient = Memory(500, 400, "ImageFormatRGBA", 2);
    ASSERT_TRUE(Scale(patient, source, nullptr, 4, 500, 400));
    EXPECT_EQ(TheHost().Calls("REALYieldToRB"), 0);
    TheHost().Set(dest, "YieldTicks", -1);
    int yields = 0;
    TheHost().OnYield([&] { ++yields; });
    ASSERT_TRUE(Scale(dest, source, nullptr, 4, 500, 400));
    EXPECT_GT(yields, 0);
    EXPECT_EQ(dest.Bytes(), patient.Bytes());
    // The source's interval counts at its start only.
    yields = 0;
    TheHost().Set(dest, "YieldTicks", 0);
    TheHost().Set(source, "YieldTicks", -1);
    ASSERT_TRUE(Scale(dest, source, nullptr, 4, 500, 400));
    EXPECT_LE(yields, 1);
}

TEST_F(ScaleTest, SurvivesImagesThatAreClosedMeanwhile) {
    for (int victim = 0; victim < 3; ++victim) {
        const Ref source = NewImage(900, 900, "ImageFormatRGBA");
        const Ref dest = NewImage(900, 900, "ImageFormatRGBA");
        const Ref temp = NewImage(900, 900, "ImageFormatScaling4");
        TheHost().Set(dest, "YieldTicks", -1);
        int yields = 0;
        TheHost().OnYield([&] {
            if (++yields == 3) TheHost().Call(victim == 0 ? source : victim == 1 ? dest : temp, "Close");
        });
        Scale(dest, source, temp, 4, 900, 900);
        TheHost().OnYield({});
    }
}

// Views
// ---------------------------------------------------------------------------------------------------------------------

TEST_F(ScaleTest, ClipsAsSourceAndDestination) {
    for (int round = 0; round < 20; ++round) {
        const char* formats[] = {"ImageFormatRGBA", "ImageFormatBGR", "ImageFormatGA", "ImageFormatGray16"};
        const char* format = formats[round % 4];
        const MemoryImage source = Memory(50, 40, format, random_());
        const MemoryImage dest = Memory(50, 40, format, random_());
        const auto clip = [&](const MemoryImage& image) {
            const int64_t x = random_() % 30;
            const int64_t y = random_() % 30;
            return TheHost()
                .Call(image, "ClipImage", x, y, static_cast<int64_t>(1 + random_() % 20),
                      static_cast<int64_t>(1 + random_() % 10))
                .ToThing();
        };
        const Ref from = clip(source);
        const Ref to = clip(dest);
        const auto width = TheHost().Get<int64_t>(to, "Width");
        const auto height = TheHost().Get<int64_t>(to, "Height");
        const int64_t mode = 1 + random_() % 7;
        const Expected expected = Expect(ModelOf(TheHost(), from, source.Bytes()),
                                         ModelOf(TheHost(), to, dest.Bytes()), mode, width, height);
        ASSERT_TRUE(Scale(to, from, nullptr, mode, width, height));
        ASSERT_EQ(Difference(dest.Bytes(), expected.dest.bytes, dest.RowSize()), "") << format;
    }
}

TEST_F(ScaleTest, ChannelViewsAndMirrors) {
    const MemoryImage source = Memory(31, 17, "ImageFormatRGBA", 1);
    const MemoryImage dest = Memory(20, 25, "ImageFormatBGRA", 2);
    const Ref from = TheHost().Call(source, "GreenChannel").ToThing();
    const Ref to = TheHost().Call(dest, "AlphaChannel").ToThing();
    Expected expected =
        Expect(ModelOf(TheHost(), from, source.Bytes()), ModelOf(TheHost(), to, dest.Bytes()), 6, 20, 25);
    ASSERT_EQ(expected.family, "G_to_G");
    ASSERT_TRUE(Scale(to, from, nullptr, 6, 20, 25));
    EXPECT_EQ(Difference(dest.Bytes(), expected.dest.bytes, dest.RowSize()), "");

    const Ref mirroredSource = TheHost().Call(source, "MirroredView").ToThing();
    const Ref mirroredDest = TheHost().Call(dest, "MirroredView").ToThing();
    auto sourceModel = ModelOf(TheHost(), mirroredSource, source.Bytes());
    auto destModel = ModelOf(TheHost(), mirroredDest, dest.Bytes());
    sourceModel.mirrored = true;
    destModel.mirrored = true;
    expected = Expect(sourceModel, destModel, 3, 20, 25);
    ASSERT_TRUE(Scale(mirroredDest, mirroredSource, nullptr, 3, 20, 25));
    EXPECT_EQ(Difference(dest.Bytes(), expected.dest.bytes, dest.RowSize()), "");
}

}  // namespace
}  // namespace trvtest
