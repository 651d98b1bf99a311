// Whole scales in every form of the row kernels, against the reference: all families, all modes, odd sizes,
// views, and nothing written outside.

#include <gtest/gtest.h>

#include "frame/instruction_set.h"
#include "scale/kernels.h"
#include "scale/two_pass.h"
#include "unit/frame/log_capture.h"
#include "unit/scale/record_image.h"

namespace trv {
namespace {

using test::RecordImage;
using trvtest::reference::Family;
using trvtest::reference::Scaler;
using trvtest::reference::TempPixel;

class ScalePassesTest : public ::testing::TestWithParam<const char*> {
  protected:
    void SetUp() override {
        if (!ForceInstructionSet(GetParam())) GTEST_SKIP() << "this machine does not have " << GetParam();
    }
    void TearDown() override { ForceInstructionSet({}); }

    /// Scales with a temp of the family's format and compares temp and destination with the reference's.
    void Check(RecordImage& source, RecordImage& dest, int64_t mode, int64_t width, int64_t height,
               int64_t moreRows = 0) {
        const auto family = Family(source.Model(), dest.Model());
        ASSERT_TRUE(family.has_value());
        const int64_t format = ImageFormatScaling1 + TempPixel(*family) - 1;
        RecordImage temp(width, source.Record().Height + moreRows, format, 99, mode % 3);
        auto sourceModel = source.Model();
        auto destModel = dest.Model();
        auto tempModel = temp.Model();
        Scaler(*family, sourceModel, destModel, tempModel).Run(static_cast<int>(mode), width, height);
        ASSERT_TRUE(Scale({dest.Object(), source.Object(), temp.Object(), mode, width, height}));
        const std::string what = *family + " mode " + std::to_string(mode) + " " +
                                 std::to_string(source.Record().Width) + "x" +
                                 std::to_string(source.Record().Height) + ">" + std::to_string(width) + "x" +
                                 std::to_string(height);
        Compare(temp, tempModel, "temp of " + what);
        Compare(dest, destModel, what);
        EXPECT_EQ(source.Bytes(), sourceModel.bytes) << what;
        EXPECT_TRUE(source.GuardsIntact() && temp.GuardsIntact() && dest.GuardsIntact()) << what;
    }

    static void Compare(RecordImage& image, const trvtest::reference::Image& model, const std::string& what) {
        const auto bytes = image.Bytes();
        for (size_t i = 0; i < bytes.size(); ++i) {
            ASSERT_EQ(bytes[i], model.bytes[i]) << what << " byte " << i % static_cast<size_t>(model.rowSize)
                                                << " of row " << i / static_cast<size_t>(model.rowSize);
        }
    }

    std::mt19937 random_{11};
};

INSTANTIATE_TEST_SUITE_P(InstructionSets, ScalePassesTest,
                         ::testing::Values("plain", "baseline", "avx2", "avx512"),
                         [](const auto& test) { return std::string(test.param); });

TEST_P(ScalePassesTest, EveryWidthFromOnePastTwoVectors) {
    for (int64_t width = 1; width <= 70; ++width) {
        RecordImage source(width, 3, ImageFormatRGBA, 5, width % 2);
        RecordImage dest(width, 2, ImageFormatBGRA, 6, width % 3);
        Check(source, dest, ScaleTriangle, width, 2);
        RecordImage gray(71 - width, 5, ImageFormatG, 7);
        RecordImage smaller(width, 4, ImageFormatG, 8);
        Check(gray, smaller, ScaleCubic, width, 4);
        if (HasFatalFailure()) return;
    }
}

TEST_P(ScalePassesTest, EveryHeightFromOnePastABlock) {
    for (int64_t height = 1; height <= 40; ++height) {
        RecordImage source(9, height, ImageFormatRGB, 5);
        RecordImage dest(7, 41 - height, ImageFormatXBGR, 6);
        Check(source, dest, ScaleMitchell, 7, 41 - height);
        if (HasFatalFailure()) return;
    }
}

TEST_P(ScalePassesTest, EveryFamilyInEveryMode) {
    const int64_t formats[] = {ImageFormatRGB,   ImageFormatARGB,  ImageFormatBGRX,   ImageFormatG,
                               ImageFormatAG,    ImageFormat2of3,  ImageFormatG5,     ImageFormatCMYK,
                               ImageFormatAKYMC, ImageFormatXCMYK, ImageFormatGray16, ImageFormatABGR,
                               ImageFormatCMYKA, ImageFormatGA};
    for (const int64_t from : formats) {
        for (const int64_t to : formats) {
            for (int64_t mode = 1; mode <= 7; ++mode) {
                const int64_t width = 1 + random_() % 40;
                const int64_t height = 1 + random_() % 24;
                RecordImage source(1 + random_() % 40, 1 + random_() % 24, from, random_(), random_() % 7);
                RecordImage dest(width, height, to, random_(), random_() % 7);
                if (!Family(source.Model(), dest.Model())) continue;
                Check(source, dest, mode, width, height);
                if (HasFatalFailure()) return;
            }
        }
    }
}

TEST_P(ScalePassesTest, ListsLongerThanAPieceAndThanAWindow) {
    // A thousand taps and more to a list, across many windows in both directions.
    for (const int64_t format : {ImageFormatRGBA, ImageFormatG, ImageFormatGray16}) {
        RecordImage wide(3000, 2, format, 1);
        RecordImage narrow(7, 2, format, 2);
        Check(wide, narrow, ScaleLanczos3, 7, 2);
        RecordImage high(2, 3000, format, 3);
        RecordImage low(2, 20, format, 4);
        Check(high, low, ScaleLanczos8, 2, 20);
        RecordImage tall(3, 1500, format, 5);
        RecordImage one(3, 1, format, 6);
        Check(tall, one, ScaleTriangle, 3, 1);
        if (HasFatalFailure()) return;
    }
}

TEST_P(ScalePassesTest, ManyColumnsCrossTheBordersOfGroups) {
    RecordImage source(700, 5, ImageFormatRGB, 1);
    RecordImage dest(900, 3, ImageFormatRGB, 2);
    Check(source, dest, ScaleLanczos3, 900, 3);
    RecordImage gray(300, 70, ImageFormatGray16, 3);
    RecordImage grayDest(555, 130, ImageFormatGray16, 4);
    Check(gray, grayDest, ScaleCubic, 555, 130);
}

TEST_P(ScalePassesTest, ViewsByHand) {
    // A clip: all offsets shifted by columns, fewer rows and columns, the rows of the parent. One with a
    // channel whose offset stayed behind, one upside down.
    for (const int64_t format :
         {ImageFormatBGRX, ImageFormatCMYKA, ImageFormatKYMC, ImageFormatRGB, ImageFormatGA}) {
        for (int round = 0; round < 8; ++round) {
            RecordImage source(60, 30, format, random_());
            RecordImage dest(60, 30, format, random_());
            for (RecordImage* image : {&source, &dest}) {
                PictureTRV& record = image->Record();
                const int64_t column = 1 + random_() % 25;
                for (const ChannelField& field : kChannelFields) {
                    if (record.*field.has != 0) record.*field.offset += column * record.PixelSize;
                }
                record.RowOffset = 1 + random_() % 9;
                record.Width = 1 + random_() % 30;
                record.Height = 1 + random_() % 20;
                if (random_() % 2 != 0) record.GetRow = &GetRowLinearMirrored;
            }
            Check(source, dest, 1 + random_() % 7, dest.Record().Width, dest.Record().Height);
            if (HasFatalFailure()) return;
        }
    }
}

TEST_P(ScalePassesTest, OffsetsSetByHand) {
    // Two channels in one place, where the later store stays; a gray byte elsewhere in the pixel.
    for (int round = 0; round < 30; ++round) {
        RecordImage source(20, 11, ImageFormatRGBA, random_());
        RecordImage dest(33, 9, ImageFormatRGBA, random_());
        for (RecordImage* image : {&source, &dest}) {
            PictureTRV& record = image->Record();
            record.RedOffset = random_() % 4;
            record.GreenOffset = random_() % 4;
            record.BlueOffset = random_() % 4;
            record.AlphaOffset = random_() % 4;
        }
        Check(source, dest, 1 + random_() % 7, 33, 9);
        RecordImage cmyk(15, 8, ImageFormatCMYKA, random_());
        cmyk.Record().RedOffset = random_() % 5;
        RecordImage cmykDest(9, 14, ImageFormatCMYKA, random_());
        Check(cmyk, cmykDest, 1 + random_() % 7, 9, 14);
        if (HasFatalFailure()) return;
    }
}

TEST_P(ScalePassesTest, ATempWithMoreRowsThanTheSource) {
    RecordImage source(12, 9, ImageFormatRGBA, 1);
    RecordImage dest(17, 14, ImageFormatRGBA, 2);
    Check(source, dest, ScaleLanczos3, 17, 14, 5);
}

TEST_P(ScalePassesTest, FlatTwoToneAndSlowImages) {
    // Where ties and near ties gather: constant areas, two values in stripes and checks, gentle ramps.
    for (const int64_t format : {ImageFormatRGBA, ImageFormatG, ImageFormatGray16}) {
        for (int kind = 0; kind < 5; ++kind) {
            for (int64_t mode = 1; mode <= 7; ++mode) {
                RecordImage source(48, 36, format, 1);
                auto bytes = source.Bytes();
                for (size_t i = 0; i < bytes.size(); ++i) {
                    const size_t y = i / static_cast<size_t>(source.Record().RowSize);
                    const size_t x = i % static_cast<size_t>(source.Record().RowSize) /
                                     static_cast<size_t>(source.Record().PixelSize);
                    const size_t values[] = {77, x % 2 * 255, (x + y) % 2 * 255, x * 2 + y,
                                             x < 23 ? 10u : 201u};
                    bytes[i] = static_cast<uint8_t>(values[kind]);
                }
                source.SetBytes(bytes);
                for (const auto& [width, height] : {std::pair<int64_t, int64_t>{24, 18},
                                                    {12, 9},
                                                    {72, 54},
                                                    {96, 72},
                                                    {8, 6},
                                                    {48, 36},
                                                    {32, 24}}) {
                    RecordImage dest(width, height, format, 2);
                    Check(source, dest, mode, width, height);
                    if (HasFatalFailure()) return;
                }
            }
        }
    }
}

TEST_P(ScalePassesTest, StripesFromWhichDoubtsCome) {
    // Large enough for the pass to give up float in the middle.
    RecordImage source(1500, 130, ImageFormatRGBA, 1);
    auto bytes = source.Bytes();
    for (size_t i = 0; i < bytes.size(); ++i)
        bytes[i] = i / 4 % 2 != 0 ? 255 : 0;
    source.SetBytes(bytes);
    RecordImage dest(750, 65, ImageFormatRGBA, 2);
    Check(source, dest, ScaleLanczos3, 750, 65);
}

TEST_P(ScalePassesTest, LumaOfNoise) {
    for (int64_t mode = 1; mode <= 7; ++mode) {
        RecordImage source(301, 40, ImageFormatBGR, random_());
        RecordImage dest(120, 33, ImageFormatG, random_());
        Check(source, dest, mode, 120, 33);
        RecordImage alpha(50, 20, ImageFormatARGB, random_());
        RecordImage alphaDest(75, 30, ImageFormatAG, random_());
        Check(alpha, alphaDest, mode, 75, 30);
        if (HasFatalFailure()) return;
    }
}

// What a caller must not do, and what then happens
// ---------------------------------------------------------------------------------------------------------------------

TEST_P(ScalePassesTest, ATempThatIsTooSmallIsNotOverrun) {
    RecordImage source(40, 30, ImageFormatRGBA, 1);
    for (const auto& [width, height, format] :
         {std::tuple<int64_t, int64_t, int64_t>{10, 30, ImageFormatScaling4},
          {50, 10, ImageFormatScaling4},
          {50, 30, ImageFormatScaling1},
          {1, 1, ImageFormatG}}) {
        RecordImage temp(width, height, format, 2);
        RecordImage dest(50, 50, ImageFormatRGBA, 3);
        EXPECT_TRUE(Scale({dest.Object(), source.Object(), temp.Object(), ScaleLanczos3, 50, 50}));
        EXPECT_TRUE(source.GuardsIntact() && temp.GuardsIntact() && dest.GuardsIntact());
    }
}

TEST_P(ScalePassesTest, ARequestBeyondTheDestinationIsCut) {
    RecordImage source(8, 8, ImageFormatRGB, 1);
    RecordImage temp(64, 8, ImageFormatScaling4, 2);
    RecordImage dest(20, 10, ImageFormatRGB, 3);
    auto sourceModel = source.Model();
    auto destModel = dest.Model();
    auto tempModel = temp.Model();
    Scaler("RGB_to_RGB", sourceModel, destModel, tempModel).Run(ScaleCubic, 64, 32);
    ASSERT_TRUE(Scale({dest.Object(), source.Object(), temp.Object(), ScaleCubic, 64, 32}));
    Compare(dest, destModel, "destination");
    Compare(temp, tempModel, "temp");
    EXPECT_TRUE(temp.GuardsIntact() && dest.GuardsIntact());
}

TEST_P(ScalePassesTest, ImagesThatShareMemory) {
    // The source as destination is no trouble at all.
    RecordImage image(30, 20, ImageFormatRGBA, 1);
    RecordImage temp(30, 20, ImageFormatScaling4, 2);
    auto sourceModel = image.Model();
    auto destModel = image.Model();
    auto tempModel = temp.Model();
    Scaler("RGBA_to_RGBA", sourceModel, destModel, tempModel).Run(ScaleLanczos3, 15, 10);
    ASSERT_TRUE(Scale({image.Object(), image.Object(), temp.Object(), ScaleLanczos3, 15, 10}));
    Compare(image, destModel, "in place");
    // One image for everything: the order of single pixels decides.
    for (const int64_t size : {10, 20}) {
        RecordImage all(20, 20, ImageFormatRGBA, 3);
        auto model = all.Model();
        Scaler("RGBA_to_RGBA", model, model, model).Run(ScaleTriangle, size, size);
        ASSERT_TRUE(Scale({all.Object(), all.Object(), all.Object(), ScaleTriangle, size, size}));
        // The reference works channel by channel, so only a scale that reads no pixel it has written
        // compares.
        if (size == 20) Compare(all, model, "all in one");
        EXPECT_TRUE(all.GuardsIntact());
    }
}

TEST_P(ScalePassesTest, RowsThatLieOverEachOtherAreWrittenInTheirOrder) {
    for (const int64_t rowSize : {0, 1, 7, 100, 131}) {
        RecordImage source(40, 90, ImageFormatRGBA, 1);
        RecordImage temp(33, 90, ImageFormatScaling4, 2);
        RecordImage dest(33, 70, ImageFormatRGBA, 3);
        dest.Record().RowSize = rowSize;
        Check(source, dest, ScaleLanczos3, 33, 70);
        RecordImage other(33, 70, ImageFormatRGBA, 3);
        temp.Record().RowSize = rowSize;
        auto sourceModel = source.Model();
        auto destModel = other.Model();
        auto tempModel = temp.Model();
        Scaler("RGBA_to_RGBA", sourceModel, destModel, tempModel).Run(ScaleLanczos3, 33, 70);
        ASSERT_TRUE(Scale({other.Object(), source.Object(), temp.Object(), ScaleLanczos3, 33, 70}));
        EXPECT_TRUE(other.Bytes() == destModel.bytes) << "temp " << rowSize;
        EXPECT_TRUE(temp.Bytes() == tempModel.bytes) << "temp " << rowSize;
    }
}

TEST_P(ScalePassesTest, ASixteenBitOffsetAtTheEndOfAPixelIsRefused) {
    RecordImage source(8, 8, ImageFormatGray16, 1);
    RecordImage dest(8, 8, ImageFormatGray16, 2);
    RecordImage temp(8, 8, ImageFormatScaling2, 3);
    dest.Record().GrayOffset = 1;
    EXPECT_FALSE(Scale({dest.Object(), source.Object(), temp.Object(), ScaleBox, 8, 8}));
    dest.Record().GrayOffset = 0;
    source.Record().GrayOffset = 1;
    EXPECT_FALSE(Scale({dest.Object(), source.Object(), temp.Object(), ScaleBox, 8, 8}));
    source.Record().GrayOffset = 0;
    EXPECT_TRUE(Scale({dest.Object(), source.Object(), temp.Object(), ScaleBox, 8, 8}));
}

TEST_P(ScalePassesTest, SizesThatNoTableCanHold) {
    RecordImage source(4, 4, ImageFormatG, 1);
    RecordImage dest(4, 4, ImageFormatG, 2);
    RecordImage temp(4, 4, ImageFormatScaling1, 3);
    EXPECT_FALSE(Scale({dest.Object(), source.Object(), temp.Object(), ScaleBox, INT64_MAX, 4}));
    EXPECT_FALSE(Scale({dest.Object(), source.Object(), temp.Object(), ScaleBox, 4, INT64_MAX}));
    source.Record().RowSize = 0;  // a valid image of any height
    source.Record().Height = int64_t{1} << 40;
    EXPECT_FALSE(Scale({dest.Object(), source.Object(), temp.Object(), ScaleBox, 4, 4}));
    source.Record().Height = 4;
    source.Record().Width = int64_t{1} << 40;
    EXPECT_FALSE(Scale({dest.Object(), source.Object(), temp.Object(), ScaleBox, 4, 4}));
}

TEST_P(ScalePassesTest, ASourceWithoutColumnsGivesZeros) {
    RecordImage source(4, 4, ImageFormatRGB, 1);
    source.Record().Width = 0;
    RecordImage dest(5, 3, ImageFormatRGB, 2);
    RecordImage temp(5, 4, ImageFormatScaling4, 3);
    ASSERT_TRUE(Scale({dest.Object(), source.Object(), temp.Object(), ScaleLanczos3, 5, 3}));
    EXPECT_EQ(dest.Bytes(), std::vector<uint8_t>(45, 0));
}

TEST_P(ScalePassesTest, RowsThatDoNotExist) {
    // A table reader answers null for rows outside; the taps there are left out, the sum of the weights is
    // not.
    RecordImage source(6, 6, ImageFormatG, 1);
    RecordImage temp(6, 6, ImageFormatScaling1, 2);
    RecordImage dest(6, 6, ImageFormatG, 3);
    std::vector<int32_t*> rows;
    for (int64_t y = 0; y < 6; ++y)
        rows.push_back(reinterpret_cast<int32_t*>(GetRowLinear(&temp.Record(), y)));
    rows[4] = nullptr;
    temp.Record().tpixels = rows.data();
    temp.Record().GetRow = &GetRowGDImage;
    const auto before = temp.Bytes();
    ASSERT_TRUE(Scale({dest.Object(), source.Object(), temp.Object(), ScaleTriangle, 6, 6}));
    const auto from = source.Bytes();
    const auto middle = temp.Bytes();
    const auto to = dest.Bytes();
    for (size_t y = 0; y < 6; ++y) {
        for (size_t x = 0; x < 6; ++x) {
            EXPECT_EQ(middle[y * 6 + x], y == 4 ? before[y * 6 + x] : from[y * 6 + x]);
            EXPECT_EQ(to[y * 6 + x], y == 4 ? 0 : from[y * 6 + x]);
        }
    }
    // A destination with missing rows loses those and no other.
    RecordImage second(6, 6, ImageFormatG, 4);
    for (int64_t y = 0; y < 6; ++y) {
        rows[static_cast<size_t>(y)] = reinterpret_cast<int32_t*>(GetRowLinear(&second.Record(), y));
    }
    rows[2] = nullptr;
    second.Record().tpixels = rows.data();
    second.Record().GetRow = &GetRowGDImage;
    RecordImage plainTemp(6, 6, ImageFormatScaling1, 5);
    const auto kept = second.Bytes();
    ASSERT_TRUE(Scale({second.Object(), source.Object(), plainTemp.Object(), ScaleTriangle, 6, 6}));
    const auto result = second.Bytes();
    for (size_t i = 0; i < 36; ++i)
        EXPECT_EQ(result[i], i / 6 == 2 ? kept[i] : from[i]);
    // And a source with missing rows counts them as zeros.
    for (int64_t y = 0; y < 6; ++y) {
        rows[static_cast<size_t>(y)] = reinterpret_cast<int32_t*>(GetRowLinear(&source.Record(), y));
    }
    rows[0] = nullptr;
    source.Record().tpixels = rows.data();
    source.Record().GetRow = &GetRowGDImage;
    RecordImage third(6, 6, ImageFormatG, 6);
    ASSERT_TRUE(Scale({third.Object(), source.Object(), plainTemp.Object(), ScaleTriangle, 6, 6}));
    for (size_t i = 0; i < 36; ++i)
        EXPECT_EQ(third.Bytes()[i], i / 6 == 0 ? 0 : from[i]);
}

TEST(ScaleFrontEnd, NilImages) {
    RecordImage image(4, 4, ImageFormatG, 1);
    test::LogCapture log;
    EXPECT_EQ(rbScale(nullptr, image.Object(), nullptr, 1, 0, 0), 0);
    EXPECT_EQ(rbScale(image.Object(), nullptr, nullptr, 1, 0, 0), 0);
    EXPECT_EQ(rbScale(nullptr, nullptr, nullptr, 9, 0, 0), 0);
    EXPECT_EQ(log.Lines(),
              (std::vector<std::string>{"PictureScaleTRV 1, 0, 0", "dest is nil", "PictureScaleTRV 1, 0, 0",
                                        "source is nil", "PictureScaleTRV 9, 0, 0", "dest is nil"}));
}

}  // namespace
}  // namespace trv
