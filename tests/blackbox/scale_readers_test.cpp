// Scale on images whose rows do not simply lie in memory: mapped images, whose rows move, and host pictures
// kept as rows; and in every form of the row kernels. What comes out is compared with the same scale on plain
// images.

#include <gmock/gmock.h>

#include "mapped_test.h"
#include "scale_images.h"

namespace trvtest {
namespace {

using ::testing::ElementsAre;

class ScaleReadersTest : public MappedTest {
  protected:
    explicit ScaleReadersTest(trvhost::Options options = {}) : MappedTest(std::move(options)) {}

    [[nodiscard]] MemoryImage Memory(int64_t width, int64_t height, std::string_view format,
                                     unsigned seed) const {
        return MemoryImage(TheHost(), width, height, Constant(format), 0, seed);
    }
    bool Scale(const Ref& dest, const Ref& source, const Ref& temp, int64_t mode) const {
        return TheHost()
            .Call(dest, "Scale", source, temp, mode, Number(dest, "Width"), Number(dest, "Height"))
            .ToBool();
    }
    void Copy(const Ref& from, const Ref& to) const {
        ASSERT_TRUE(TheHost().Call(to, "CopyPixels", from).ToBool());
    }
    /// A mapped image with the pixels of another.
    [[nodiscard]] Ref MappedCopy(const Ref& image, std::string_view format) const {
        const Ref mapped =
            NewMapped(Number(image, "Width"), Number(image, "Height"), format, 0, std::nullopt);
        Copy(image, mapped);
        return mapped;
    }
    /// A memory image with the pixels of another.
    [[nodiscard]] std::vector<uint8_t> PixelsOf(const Ref& image, std::string_view format) const {
        const MemoryImage copy = Memory(Number(image, "Width"), Number(image, "Height"), format, 0);
        Copy(image, copy);
        return copy.Bytes();
    }
};

// Rows of 4096 bytes, of which the smallest window holds 4096.
constexpr int64_t kRows = 9000;

TEST_F(ScaleReadersTest, MappedSource) {
    const MemoryImage source = Memory(300, kRows, "ImageFormatRGBA", 1);
    const Ref mapped = MappedCopy(source, "ImageFormatRGBA");
    for (const int64_t mode : {1, 3}) {
        const MemoryImage plain = Memory(70, 90, "ImageFormatBGRA", 2);
        const MemoryImage dest = Memory(70, 90, "ImageFormatBGRA", 2);
        ASSERT_TRUE(Scale(plain, source, nullptr, mode));
        ASSERT_TRUE(Scale(dest, mapped, nullptr, mode));
        EXPECT_EQ(Difference(dest.Bytes(), plain.Bytes(), dest.RowSize()), "");
    }
}

TEST_F(ScaleReadersTest, ViewsOfAMappedSource) {
    const MemoryImage source = Memory(120, kRows, "ImageFormatRGB", 1);
    const Ref mapped = MappedCopy(source, "ImageFormatRGB");
    const auto view = [&](const Ref& image, bool mirrored) {
        const Ref clip = TheHost().Call(image, "ClipImage", 11, 1000, 90, 7800).ToThing();
        return mirrored ? TheHost().Call(clip, "MirroredView").ToThing() : clip;
    };
    for (const bool mirrored : {false, true}) {
        const MemoryImage plain = Memory(50, 200, "ImageFormatG", 2);
        const MemoryImage dest = Memory(50, 200, "ImageFormatG", 2);
        ASSERT_TRUE(Scale(plain, view(source, mirrored), nullptr, 5));
        ASSERT_TRUE(Scale(dest, view(mapped, mirrored), nullptr, 5));
        EXPECT_EQ(Difference(dest.Bytes(), plain.Bytes(), dest.RowSize()), "") << mirrored;
    }
}

TEST_F(ScaleReadersTest, MappedDestination) {
    const MemoryImage source = Memory(100, 500, "ImageFormatRGBA", 1);
    const MemoryImage plain = Memory(130, kRows, "ImageFormatRGBX", 2);
    const Ref mapped = MappedCopy(plain, "ImageFormatRGBX");
    ASSERT_TRUE(Scale(plain, source, nullptr, 7));
    ASSERT_TRUE(Scale(mapped, source, nullptr, 7));
    EXPECT_EQ(Difference(PixelsOf(mapped, "ImageFormatRGB"), PixelsOf(plain, "ImageFormatRGB"), 130 * 3), "");
    const Ref mirrored = TheHost().Call(mapped, "MirroredView").ToThing();
    const Ref plainMirrored = TheHost().Call(plain, "MirroredView").ToThing();
    ASSERT_TRUE(Scale(mirrored, source, nullptr, 1));
    ASSERT_TRUE(Scale(plainMirrored, source, nullptr, 1));
    EXPECT_EQ(Difference(PixelsOf(mapped, "ImageFormatRGB"), PixelsOf(plain, "ImageFormatRGB"), 130 * 3), "");
}

TEST_F(ScaleReadersTest, MappedTemp) {
    for (const char* format : {"ImageFormatRGB", "ImageFormatGray16", "ImageFormatCMYKA"}) {
        const MemoryImage source = Memory(40, kRows, format, 1);
        const std::string_view tempFormat = format == std::string("ImageFormatRGB") ? "ImageFormatScaling4"
                                            : format == std::string("ImageFormatGray16")
                                                ? "ImageFormatScaling2"
                                                : "ImageFormatScaling5";
        for (const int64_t height : {60, 12000}) {
            const MemoryImage plain = Memory(200, height, format, 2);
            const MemoryImage dest = Memory(200, height, format, 2);
            const Ref temp = NewMapped(200, kRows, tempFormat, 0, std::nullopt);
            ASSERT_TRUE(Scale(plain, source, nullptr, 1));
            ASSERT_TRUE(Scale(dest, source, temp, 1));
            EXPECT_EQ(Difference(dest.Bytes(), plain.Bytes(), dest.RowSize()), "") << format << " " << height;
        }
    }
}

TEST_F(ScaleReadersTest, AFactoryThatMapsEverything) {
    const MemoryImage source = Memory(90, 60, "ImageFormatRGBA", 1);
    const MemoryImage plain = Memory(50, 80, "ImageFormatRGBA", 2);
    const MemoryImage dest = Memory(50, 80, "ImageFormatRGBA", 2);
    ASSERT_TRUE(Scale(plain, source, nullptr, 4));
    const Ref factory = TheHost().NewFactory([&](int64_t width, int64_t height, int64_t format) {
        return TheHost().Construct("PictureTRV", width, height, format, 0, trvhost::FolderItem());
    });
    TheHost().Set(source, "Factory", factory);
    ASSERT_TRUE(Scale(dest, source, nullptr, 4));
    EXPECT_EQ(dest.Bytes(), plain.Bytes());
    TheHost().Set(source, "Factory", nullptr);
}

TEST_F(ScaleReadersTest, WindowsOfFiveRows) {
    // Rows so long that a window holds no more of them than it must.
    const MemoryImage source = Memory(900000, 12, "ImageFormatRGBA", 1);
    const Ref mapped = MappedCopy(source, "ImageFormatRGBA");
    ASSERT_EQ(Number(mapped, "MappingRows"), 5);
    const MemoryImage plain = Memory(60, 9, "ImageFormatRGBA", 2);
    const MemoryImage dest = Memory(60, 9, "ImageFormatRGBA", 2);
    ASSERT_TRUE(Scale(plain, source, nullptr, 1));
    ASSERT_TRUE(Scale(dest, mapped, nullptr, 1));
    EXPECT_EQ(Difference(dest.Bytes(), plain.Bytes(), dest.RowSize()), "");
    const Ref mirrored = TheHost().Call(mapped, "MirroredView").ToThing();
    const Ref plainMirrored = TheHost().Call(source, "MirroredView").ToThing();
    ASSERT_TRUE(Scale(plain, plainMirrored, nullptr, 1));
    ASSERT_TRUE(Scale(dest, mirrored, nullptr, 1));
    EXPECT_EQ(Difference(dest.Bytes(), plain.Bytes(), dest.RowSize()), "");
}

TEST_F(ScaleReadersTest, TempAndDestinationOfFiveRows) {
    const MemoryImage source = Memory(300, 14, "ImageFormatRGBA", 1);
    const MemoryImage plain = Memory(900000, 10, "ImageFormatRGBA", 2);
    const Ref dest = MappedCopy(plain, "ImageFormatRGBA");
    const Ref temp = NewMapped(900000, 14, "ImageFormatScaling4", 0, std::nullopt);
    ASSERT_EQ(Number(temp, "MappingRows"), 5);
    ASSERT_TRUE(Scale(plain, source, nullptr, 2));
    ASSERT_TRUE(Scale(dest, source, temp, 2));
    EXPECT_EQ(Difference(PixelsOf(dest, "ImageFormatRGBA"), plain.Bytes(), plain.RowSize()), "");
}

TEST_F(ScaleReadersTest, MappedRowsAreFetchedInOrder) {
    const MemoryImage source = Memory(16, kRows, "ImageFormatG", 1);
    const Ref mapped = MappedCopy(source, "ImageFormatG");
    const MemoryImage plain = Memory(16, 8, "ImageFormatG", 2);
    const MemoryImage dest = Memory(16, 8, "ImageFormatG", 2);
    ASSERT_TRUE(Scale(plain, source, nullptr, 2));
    Touch(mapped, 0, source.At(0, 0));
    const auto windows = WindowsOf([&] { ASSERT_TRUE(Scale(dest, mapped, nullptr, 2)); });
    EXPECT_THAT(windows, ElementsAre(4094, 4904));
    EXPECT_EQ(dest.Bytes(), plain.Bytes()) << "and tracing changes nothing";
    Touch(mapped, 0, source.At(0, 0));
    ASSERT_TRUE(Scale(dest, mapped, nullptr, 2));
    EXPECT_EQ(dest.Bytes(), plain.Bytes());
}

TEST_F(ScaleReadersTest, AMappedImageAsItsOwnTemp) {
    const MemoryImage start = Memory(20, 30, "ImageFormatRGBA", 1);
    const Ref image = MappedCopy(start, "ImageFormatRGBA");
    const Ref view = TheHost().Call(image, "ClipImage").ToThing();
    EXPECT_TRUE(Scale(image, view, image, 1));
    EXPECT_EQ(PixelsOf(image, "ImageFormatRGBA"), start.Bytes()) << "the identity, whatever shares memory";
}

// Pictures kept as rows
// ---------------------------------------------------------------------------------------------------------------------

class ScalePictureTest : public ScaleReadersTest {
  protected:
    static trvhost::Options ConsoleHost() {
        trvhost::Options options;
        options.kind = trvhost::HostKind::Console;
        options.pictureStorage = trvhost::PictureStorage::GdTrueColor;
        return options;
    }
    ScalePictureTest() : ScaleReadersTest(ConsoleHost()) {}

    /// An image over a picture, with pixels by a rule.
    [[nodiscard]] Ref OverPicture(int64_t width, int64_t height, uint32_t seed) const {
        const trvhost::Picture picture =
            TheHost().NewPicture(width, height, trvhost::PictureStorage::GdTrueColor);
        for (int64_t y = 0; y < height; ++y) {
            for (int64_t x = 0; x < width; ++x) {
                seed = seed * 1664525u + 1013904223u;
                picture.SetPixel(x, y, 0xFF000000u | seed >> 8);
            }
        }
        const Ref image = TheHost().Construct("PictureTRV", picture);
        EXPECT_TRUE(Flag(image, "Valid"));
        return image;
    }
    [[nodiscard]] Ref CloneOf(const Ref& image) const { return TheHost().Call(image, "Clone").ToThing(); }
    [[nodiscard]] std::vector<uint8_t> Rgb(const Ref& image) const {
        return PixelsOf(image, "ImageFormatRGB");
    }
};

TEST_F(ScalePictureTest, SourceAndDestination) {
    const Ref source = OverPicture(40, 30, 1);
    const Ref dest = OverPicture(25, 50, 2);
    const Ref plainSource = CloneOf(source);
    const Ref plainDest = CloneOf(dest);
    for (int64_t mode = 1; mode <= 7; ++mode) {
        ASSERT_TRUE(Scale(dest, source, nullptr, mode));
        ASSERT_TRUE(Scale(plainDest, plainSource, nullptr, mode));
        ASSERT_EQ(Rgb(dest), Rgb(plainDest)) << mode;
    }
    const Ref mirrored = TheHost().Call(dest, "MirroredView").ToThing();
    const Ref plainMirrored = TheHost().Call(plainDest, "MirroredView").ToThing();
    ASSERT_TRUE(Scale(mirrored, source, nullptr, 3));
    ASSERT_TRUE(Scale(plainMirrored, plainSource, nullptr, 3));
    EXPECT_EQ(Rgb(dest), Rgb(plainDest));
}

TEST_F(ScalePictureTest, Temp) {
    const MemoryImage source = Memory(40, 30, "ImageFormatRGB", 1);
    const MemoryImage plain = Memory(20, 20, "ImageFormatRGB", 2);
    const MemoryImage dest = Memory(20, 20, "ImageFormatRGB", 2);
    const Ref temp = OverPicture(20, 30, 3);
    ASSERT_TRUE(Scale(plain, source, nullptr, 3));
    ASSERT_TRUE(Scale(dest, source, temp, 3));
    EXPECT_EQ(dest.Bytes(), plain.Bytes());
}

TEST_F(ScalePictureTest, DestinationRowsThatAreNotThere) {
    const MemoryImage source = Memory(5, 4, "ImageFormatRGB", 1);
    const Ref dest = OverPicture(2, 6, 2);
    const Ref plain = NewImage(2, 8, "ImageFormatRGB");
    ASSERT_TRUE(TheHost().Call(plain, "Scale", source, nullptr, 1, 2, 8).ToBool());
    const auto log =
        LogOf([&] { ASSERT_TRUE(TheHost().Call(dest, "Scale", source, nullptr, 1, 2, 8).ToBool()); });
    std::vector<std::string> expected;
    for (int64_t y = 6; y < 8; ++y) {
        for (int64_t x = 0; x < 2; ++x) {
            expected.insert(expected.end(), {"Error: index>=Height in GetRowGDImage!",
                                             "index " + std::to_string(y), "OffsetRow 0", "Height 6",
                                             "TotalHeight 6", "GetRow mdest is nil " + std::to_string(y)});
        }
    }
    expected.emplace_back("function 6 done");
    ASSERT_GE(log.size(), expected.size());
    EXPECT_EQ(std::vector<std::string>(log.end() - static_cast<std::ptrdiff_t>(expected.size()), log.end()),
              expected);
    const auto pixels = Rgb(plain);
    EXPECT_EQ(Rgb(dest), std::vector<uint8_t>(pixels.begin(), pixels.begin() + 36));
    // The same without the log.
    const Ref again = OverPicture(2, 6, 3);
    ASSERT_TRUE(TheHost().Call(again, "Scale", source, nullptr, 1, 2, 8).ToBool());
    EXPECT_EQ(Rgb(again), Rgb(dest));
}

TEST_F(ScalePictureTest, TempRowsThatAreNotThere) {
    const MemoryImage source = Memory(3, 5, "ImageFormatRGB", 1);
    const Ref temp = OverPicture(2, 4, 2);
    const MemoryImage dest = Memory(2, 5, "ImageFormatRGB", 3);
    const auto log = LogOf([&] { ASSERT_TRUE(Scale(dest, source, temp, 1)); });
    EXPECT_EQ(std::count(log.begin(), log.end(), "GetRow temp failed 4"), 2)
        << "one for each pixel of the row";
    EXPECT_EQ(std::count(log.begin(), log.end(), "Error: index>=Height in GetRowGDImage!"), 2);
    // The vertical lists range over the temp's four rows, so the fifth has no tap at all.
    for (int64_t x = 0; x < 2; ++x) {
        for (int64_t c = 0; c < 3; ++c)
            EXPECT_EQ(dest.At(x, 4, c), 0);
    }
    const MemoryImage quiet = Memory(2, 5, "ImageFormatRGB", 3);
    ASSERT_TRUE(Scale(quiet, source, OverPicture(2, 4, 2), 1));
    EXPECT_EQ(quiet.Bytes(), dest.Bytes());
}

// Forms of the row kernels
// ---------------------------------------------------------------------------------------------------------------------

void SetVariable(const char* name, const char* value) {
#ifdef _WIN32
    _putenv_s(name, value);
#else
    setenv(name, value, 1);
#endif
}

class ScaleFormsTest : public ScaleReadersTest {
  protected:
    void TearDown() override {
        SetVariable("TRV_INSTRUCTION_SET", "");
        ScaleReadersTest::TearDown();
    }
    /// Results of a set of scales by a fresh library.
    std::vector<std::vector<uint8_t>> Results(const char* form) {
        SetVariable("TRV_INSTRUCTION_SET", form);
        Load({});
        std::vector<std::vector<uint8_t>> results;
        for (const auto& [from, to] : {std::pair("ImageFormatRGBA", "ImageFormatBGRA"),
                                       {"ImageFormatBGR", "ImageFormatG"},
                                       {"ImageFormatGray16", "ImageFormatGray16"},
                                       {"ImageFormatG", "ImageFormatXRGB"}}) {
            for (int64_t mode = 1; mode <= 7; ++mode) {
                const MemoryImage source = Memory(97, 61, from, 4);
                const MemoryImage dest = Memory(70 + 9 * mode, 80, to, 5);
                EXPECT_TRUE(Scale(dest, source, nullptr, mode));
                results.push_back(dest.Bytes());
            }
        }
        return results;
    }
};

TEST_F(ScaleFormsTest, AllGiveTheSameBytes) {
    const auto plain = Results("plain");
    for (const char* form : {"baseline", "avx2", "avx512", ""})
        EXPECT_EQ(Results(form), plain) << form;
}

TEST_F(ScaleFormsTest, AnUnknownFormIsReportedAndIgnored) {
    const auto plain = Results("plain");
    SetVariable("TRV_INSTRUCTION_SET", "sse9");
    Load({});
    const auto log = LogOf([&] {
        const MemoryImage image = Memory(2, 2, "ImageFormatG", 1);
        EXPECT_TRUE(Scale(image, image, nullptr, 1));
    });
    EXPECT_THAT(log, ::testing::Contains("TRV_INSTRUCTION_SET is unknown or not supported here sse9"));
    EXPECT_EQ(Results("sse9"), plain);
}

}  // namespace
}  // namespace trvtest
