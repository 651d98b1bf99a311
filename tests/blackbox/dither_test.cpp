// The dither filter, from outside, against a reference that goes by the definition with matrices typed again.

#include <array>

#include "dither_matrices.h"
#include "filter_cases.h"

namespace trvtest {
namespace {

void DitherReference(const Shown& from, const Shown& to, int64_t number, int64_t levels) {
    if (number < 1 || number > 10) return;
    const std::vector<int64_t>& matrix = kDitherMatrices.at(static_cast<size_t>(number - 1));
    int64_t n = 1;
    while (n * n < static_cast<int64_t>(matrix.size()))
        ++n;
    std::array<int64_t, 256> outLevel{}, levelOf{}, rank{};
    for (int64_t i = 0; i < levels; ++i)
        outLevel[static_cast<size_t>(i)] = i * 255 / (levels - 1);
    for (int64_t v = 0; v < 256; ++v) {
        levelOf[static_cast<size_t>(v)] = (levels - 1) * v / 256;
        rank[static_cast<size_t>(v)] = v * (n * n + 1) / 256;
    }
    ChangeSamples(from, to, from.Channels(true, false),
                  [&](uint8_t v, const std::string&, int64_t x, int64_t y) {
                      const int64_t t = matrix[static_cast<size_t>(y % n * n + x % n)];
                      const int64_t level = levelOf[v] + (rank[v] > t ? 0 : 1);
                      return outLevel[static_cast<size_t>(level)];
                  });
}

class Dither : public FilterCaseTest {
  protected:
    Ref Reduce(const Ref& image, const Ref& dest, int64_t matrix, int64_t levels) {
        return Filter(image, "DitherFilter", dest, matrix, levels);
    }
};

TEST_F(Dither, InAllFormatsMatchesTheReference) {
    for (const int64_t format : Formats()) {
        for (const DestKind kind : kDestKinds) {
            for (int64_t matrix = 0; matrix <= 11; ++matrix) {
                Case made = DrawCase(format, kind, 50, 20);
                const int64_t levels = Draw(0, 1) == 0 ? Draw(2, 9) : Draw(2, 256);
                Check(
                    made,
                    [&](const Ref& image, const Ref& dest) { return Reduce(image, dest, matrix, levels); },
                    [&](const Shown& from, const Shown& to) { DitherReference(from, to, matrix, levels); },
                    made.from->side.wide);
                ASSERT_FALSE(HasFatalFailure())
                    << format << " " << static_cast<int>(kind) << " " << matrix << " " << levels;
            }
        }
    }
}

TEST_F(Dither, EverySampleMeetsEveryThreshold) {
    // Each row one sample value, the columns all thresholds of a matrix' row: as many images as matrices and
    // rows.
    for (int64_t matrix = 1; matrix <= 10; ++matrix) {
        for (const int64_t levels : {2, 3, 16, 17, 255, 256}) {
            const MemoryImage image(TheHost(), 16, 256 * 16, Constant("ImageFormatG")),
                dest(TheHost(), 16, 256 * 16, Constant("ImageFormatG"));
            for (int64_t y = 0; y < 256 * 16; ++y)
                std::memset(image.Row(y), static_cast<int>(y / 16), 16);
            const auto store = std::make_shared<std::vector<uint8_t>>(dest.Bytes());
            Reduce(image, dest, matrix, levels);
            DitherReference(Show(image, std::make_shared<std::vector<uint8_t>>(image.Bytes())),
                            Show(dest, store), matrix, levels);
            ASSERT_EQ(dest.Bytes(), *store) << matrix << " " << levels;
        }
    }
}

TEST_F(Dither, TwoLevelsOfTheSmallestMatrixAreANegative) {
    const MemoryImage image(TheHost(), 4, 2, Constant("ImageFormatG"));
    image.SetBytes(std::vector<uint8_t>(8, 128));
    const Ref made = Reduce(image, image, Constant("DitherMagic2x2Matrix"), 2);
    EXPECT_EQ(image.Bytes(), (std::vector<uint8_t>{0, 255, 0, 255, 255, 0, 255, 0}));
    image.SetBytes(std::vector<uint8_t>(8, 0));
    Reduce(image, image, 1, 2);
    EXPECT_EQ(image.Bytes(), std::vector<uint8_t>(8, 255));
}

TEST_F(Dither, ThreeLevelsAndAllOfThem) {
    const MemoryImage image(TheHost(), 256, 6, Constant("ImageFormatG")),
        dest(TheHost(), 256, 6, Constant("ImageFormatG"));
    for (int64_t i = 0; i < 256 * 6; ++i)
        image.At(i % 256, i / 256) = static_cast<uint8_t>(i % 256);
    Reduce(image, dest, Constant("Dither90Halftone6x6Matrix"), 3);
    for (const uint8_t v : dest.Bytes())
        EXPECT_TRUE(v == 0 || v == 127 || v == 255);
    Reduce(image, dest, Constant("Dither90Halftone6x6Matrix"), 256);
    for (int64_t i = 0; i < 256 * 6; ++i)
        EXPECT_NEAR(dest.At(i % 256, i / 256), image.At(i % 256, i / 256), 1);
}

TEST_F(Dither, UnknownMatricesLeaveTheDestination) {
    const MemoryImage image(TheHost(), 4, 2, Constant("ImageFormatRGB")),
        dest(TheHost(), 4, 2, Constant("ImageFormatRGB"));
    const auto before = dest.Bytes();
    for (const int64_t matrix : {int64_t{0}, int64_t{11}, int64_t{-1}, std::numeric_limits<int64_t>::max(),
                                 std::numeric_limits<int64_t>::min()}) {
        EXPECT_EQ(Reduce(image, dest, matrix, 4).Handle(), dest.Object().Handle());
        EXPECT_EQ(dest.Bytes(), before);
        const Ref fresh = Reduce(image, nullptr, matrix, 4);
        ASSERT_TRUE(fresh);
        EXPECT_EQ(StoreOf(fresh), std::vector<uint8_t>(StoreOf(fresh).size(), 0));
    }
}

TEST_F(Dither, LevelsOutOfRangeAreRefused) {
    const MemoryImage image(TheHost(), 4, 2, Constant("ImageFormatRGB")),
        dest(TheHost(), 4, 2, Constant("ImageFormatRGB"));
    const auto before = dest.Bytes();
    for (const int64_t levels : {int64_t{1}, int64_t{0}, int64_t{-1}, int64_t{257},
                                 std::numeric_limits<int64_t>::max(), std::numeric_limits<int64_t>::min()}) {
        EXPECT_FALSE(Reduce(image, dest, 1, levels)) << levels;
        EXPECT_FALSE(Reduce(image, nullptr, 1, levels)) << levels;
        EXPECT_EQ(dest.Bytes(), before);
    }
    EXPECT_EQ(dest.Object().References(), 1);
}

TEST_F(Dither, LevelsOutOfRangeDoNotMatterWhereNothingIsDithered) {
    const MemoryImage gray(TheHost(), 4, 2, Constant("ImageFormatG")),
        inks(TheHost(), 4, 2, Constant("ImageFormatCMYK")),
        bytes(TheHost(), 4, 2, Constant("ImageFormatBuffer"));
    const auto before = gray.Bytes();
    for (const int64_t levels : {1, 0, -1, 257}) {
        for (const int64_t matrix : {0, 11})
            EXPECT_EQ(Reduce(gray, gray.Object(), matrix, levels), gray.Object()) << levels;
        for (const MemoryImage* image : {&inks, &bytes})
            EXPECT_EQ(Reduce(*image, gray.Object(), 1, levels), gray.Object()) << levels;
    }
    EXPECT_EQ(gray.Bytes(), before);
}

TEST_F(Dither, ThePatternStartsAtTheViewsCorner) {
    const MemoryImage image(TheHost(), 5, 3, Constant("ImageFormatG"));
    image.SetBytes(std::vector<uint8_t>(15, 128));
    const Ref view = TheHost().Call(image, "ClipImage", 1, 0, 4, 3).ToThing();
    Reduce(view, view, 1, 2);
    EXPECT_EQ(image.At(1, 0), 0);
    EXPECT_EQ(image.At(2, 0), 255);
    EXPECT_EQ(image.At(0, 0), 128);
}

TEST_F(Dither, StagesAreNamed) {
    const Ref image = NewImage(4, 2, "ImageFormatRGBA");
    const auto lines = LogOf([&] { Reduce(image, image, 7, 4); });
    EXPECT_EQ(lines.front(), "DitherFilter 7, 4");
    EXPECT_EQ(lines.back(), "DitherFilterRGBA");
    EXPECT_TRUE(
        std::any_of(lines.begin(), lines.end(), [](const auto& l) { return l.starts_with("dest "); }));
}

}  // namespace
}  // namespace trvtest
