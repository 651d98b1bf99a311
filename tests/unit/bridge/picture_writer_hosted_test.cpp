// New host pictures filled row by row, and what turns buffers and pictures into bitmaps.

#include "bridge/gd_image.h"
#include "bridge/picture_editor.h"
#include "unit/bridge/bridge_hosted_test.h"

namespace trv {
namespace {

using test::BridgeHostedTest;
using test::HostKind;
using test::HostOf;
using test::Picture;
using test::PictureStorage;
using ::testing::Contains;
using ::testing::Not;

class PictureWriterTest : public BridgeHostedTest {};

TEST_F(PictureWriterTest, SizesThatNoPictureHas) {
    PictureWriter writer;
    const struct {
        int64_t width;
        int64_t height;
        const char* line;
    } sizes[] = {{0, 0, "width < 1"},
                 {5, 0, "height < 1"},
                 {-1, 5, "width < 1"},
                 {32768, 5, "width > 32767"},
                 {5, 32768, "height > 32767"},
                 {32768, 0, "height < 1"},
                 {32768, 32768, "width > 32767"}};
    for (const auto& size : sizes) {
        bool opened = true;
        EXPECT_THAT(LogOf([&] { opened = writer.NewPictureWriter(size.width, size.height); }),
                    Contains(size.line));
        EXPECT_FALSE(opened);
    }
    EXPECT_EQ(TheHost().Calls("newPicture"), 0);
    EXPECT_TRUE(writer.NewPictureWriter(32767, 1));
    EXPECT_EQ(writer.Width, 32767);
    EXPECT_TRUE(writer.NewPictureWriter(1, 32767));
}

TEST_F(PictureWriterTest, APictureThatIsRenderedIsTheCallers) {
    PictureWriter writer;
    ASSERT_TRUE(writer.NewPictureWriter(3, 2));
    writer.HorizontalResolution = 144;
    writer.VerticalResolution = 96;
    for (int64_t y = 0; y < 2; ++y, writer.NextRow()) {
        uint8_t* cursor = writer.CurrentRow;
        for (uint8_t x = 0; x < 3; ++x)
            writer.PutPixel(cursor, 10, x, static_cast<uint8_t>(y));
        EXPECT_EQ(cursor, writer.CurrentRow + 12);
    }
    const Picture picture = Take(writer.RenderPictureWriter());
    EXPECT_EQ(picture.References(), 1);
    EXPECT_EQ(picture.DescriptionLocks(), 0);
    EXPECT_EQ(picture.CacheClears(), 2);
    EXPECT_EQ(picture.Pixel(2, 1), 0xFF0A0201U);
    EXPECT_EQ(picture.HorizontalResolution(), 144);
    EXPECT_EQ(picture.VerticalResolution(), 96);
    EXPECT_EQ(writer.RenderPictureWriter(), nullptr) << "once";
}

TEST_F(PictureWriterTest, AWriterThatNeverOpenedRendersNothing) {
    PictureWriter writer;
    EXPECT_THAT(LogOf([&] { EXPECT_EQ(writer.RenderPictureWriter(), nullptr); }),
                Contains("RenderPictureWriter done"));
}

TEST_F(PictureWriterTest, ResolutionsBelowOneAreLeftAlone) {
    for (const auto& [horizontal, vertical] : {std::pair{0, 100}, {100, 0}, {-5, 100}}) {
        PictureWriter writer;
        ASSERT_TRUE(writer.NewPictureWriter(3, 2));
        writer.HorizontalResolution = horizontal;
        writer.VerticalResolution = vertical;
        const Picture picture = Take(writer.RenderPictureWriter());
        EXPECT_EQ(picture.HorizontalResolution(), 72);
        EXPECT_EQ(picture.VerticalResolution(), 72);
    }
}

TEST_F(PictureWriterTest, ABufferIsRenderedWithoutAPicture) {
    PictureWriter writer;
    uint8_t pixels[2 * 8] = {1, 2, 3, 4, 5, 6, 0, 0, 7, 8, 9, 10, 11, 12, 0, 0};
    writer.RawBuffer = pixels;
    writer.Width = 2;
    writer.Height = 2;
    writer.RowBytes = 8;
    const Picture picture = Take(writer.RenderPictureWriter());
    EXPECT_EQ(picture.Pixel(1, 1), 0xFF0A0B0CU);
}

TEST_F(PictureWriterTest, PixelsOfEveryKind) {
    const struct {
        uint32_t kind;
        std::vector<uint8_t> bytes;
    } kinds[] = {{8, {3, 2, 1, 0}},
                 {9, {3, 2, 1, 255}},
                 {16, {3, 2, 1, 255}},
                 {17, {3, 2, 1, 255}},
                 {10, {3, 2, 1}},
                 {0, {}},
                 {11, {}}};
    for (const auto& kind : kinds) {
        PictureWriter writer;
        writer.PixelKind = kind.kind;
        std::vector<uint8_t> bytes(5, 77);
        uint8_t* cursor = bytes.data();
        writer.PutPixel(cursor, 1, 2, 3);
        EXPECT_EQ(cursor - bytes.data(), static_cast<int64_t>(kind.bytes.size())) << kind.kind;
        std::vector<uint8_t> expected = kind.bytes;
        expected.resize(5, 77);
        EXPECT_EQ(bytes, expected) << kind.kind;
    }
}

TEST_F(PictureWriterTest, AlphaOnRequest) {
    PictureWriter writer;
    ASSERT_TRUE(writer.NewPictureWriter(3, 2, true));
    EXPECT_TRUE(writer.HasAlphaChannel);
    const auto lines = LogOf([&] { ASSERT_TRUE(writer.NewPictureWriter(3, 2, false)); });
    EXPECT_THAT(lines, Contains("no alpha channel requested, so make a normal picture..."));
    EXPECT_FALSE(writer.HasAlphaChannel);
    EXPECT_FALSE(writer.NewPictureWriter(0, 2, true));
    EXPECT_TRUE(writer.NewPictureWriterWithAlphaChannel(32768, 1)) << "no limit here";
    EXPECT_FALSE(writer.NewPictureWriterWithAlphaChannel(0, 1));
    writer.clear();
    Load(HostOf(HostKind::Console, 2011.03));
    ASSERT_TRUE(writer.NewPictureWriter(3, 2, true));
    EXPECT_FALSE(writer.HasAlphaChannel);
    EXPECT_FALSE(writer.NewPictureWriterWithAlphaChannel(3, 2));
}

TEST_F(PictureWriterTest, ADestinationThatIsLargeEnoughIsReused) {
    const Picture large = NewPicture(9, 8);
    PictureWriter writer;
    EXPECT_THAT(LogOf([&] { ASSERT_TRUE(writer.NewPictureWriter(ObjectOf(large), 5, 4)); }),
                Contains("reuse picture"));
    EXPECT_EQ(writer.picture, ObjectOf(large));
    EXPECT_EQ(writer.Width, 9) << "the picture's size";
    EXPECT_EQ(writer.Height, 8);
    const Picture rendered = Take(writer.RenderPictureWriter());
    EXPECT_EQ(rendered, large);
}

TEST_F(PictureWriterTest, OtherDestinationsAreReplaced) {
    const Picture large = NewPicture(9, 8);
    PictureWriter writer;
    const auto replaces = [&](HostObject destination, int64_t width, int64_t height, bool tried) {
        const auto lines = LogOf([&] { ASSERT_TRUE(writer.NewPictureWriter(destination, width, height)); });
        EXPECT_THAT(lines, Contains("Create new picture"));
        if (tried) {
            EXPECT_THAT(lines, Contains("reuse picture"));
        } else {
            EXPECT_THAT(lines, Not(Contains("reuse picture")));
        }
        EXPECT_NE(writer.picture, destination);
        EXPECT_EQ(writer.Width, width);
        EXPECT_EQ(writer.Height, height);
    };
    replaces(ObjectOf(large), 10, 4, false);
    replaces(ObjectOf(large), 5, 9, false);
    replaces(nullptr, 5, 4, false);
    large.SetTypeCode(1);
    replaces(ObjectOf(large), 5, 4, true);
    EXPECT_FALSE(writer.NewPictureWriter(ObjectOf(large), 0, 4)) << "too small for anything";
    EXPECT_EQ(large.References(), 1);
}

TEST_F(PictureWriterTest, AWriterLikeAReader) {
    for (const bool alpha : {false, true}) {
        const Picture picture = NewPicture(6, 5, PictureStorage::GdTrueColor, alpha);
        picture.SetResolution(200, 201);
        PictureReader reader;
        ASSERT_TRUE(reader.GetPictureReader(ObjectOf(picture)));
        PictureWriter writer;
        ASSERT_TRUE(writer.NewPictureWriter(reader));
        EXPECT_EQ(writer.Width, 6);
        EXPECT_EQ(writer.Height, 5);
        EXPECT_EQ(writer.HasAlphaChannel, alpha);
        EXPECT_EQ(writer.HorizontalResolution, 200);
        EXPECT_EQ(writer.VerticalResolution, 201);
        ASSERT_TRUE(writer.NewPictureWriter(reader, 3, 2));
        EXPECT_EQ(writer.Width, 3);
        EXPECT_EQ(writer.HasAlphaChannel, alpha);
        ASSERT_TRUE(writer.NewPictureWriter(writer)) << "like itself";
        EXPECT_EQ(writer.Width, 3);
        EXPECT_EQ(writer.HorizontalResolution, 200);
        EXPECT_FALSE(writer.NewPictureWriter(reader, 0, 2));
        EXPECT_EQ(writer.HorizontalResolution, 200) << "whatever the outcome";
    }
}

// Buffers -------------------------------------------------------------------------------------------------

class BuildPictureTest : public BridgeHostedTest {
  protected:
    /// A picture of 2 by 2 from 12 bytes a row that count up.
    [[nodiscard]] Picture Build(int32_t pixelType) const {
        uint8_t bytes[24];
        for (uint8_t i = 0; i < sizeof bytes; ++i)
            bytes[i] = i;
        return Take(myREALBuildPictureFromBuffer(2, 2, pixelType, bytes, 12));
    }
};

TEST_F(BuildPictureTest, EveryPixelTypeOnEveryHost) {
    for (const HostKind kind : {HostKind::Console, HostKind::Desktop}) {
        Load(HostOf(kind, 2024.01));
        const int64_t byHost = kind == HostKind::Desktop ? 4 : 0;
        EXPECT_EQ(Build(1).Pixel(1, 1), 0xFF0F1011U);
        EXPECT_EQ(Build(2).Pixel(1, 1), 0xFF11100FU);
        EXPECT_EQ(Build(3).Pixel(1, 1), 0xFF111213U);
        EXPECT_EQ(Build(4).Pixel(1, 1), 0xFF121110U);
        EXPECT_EQ(TheHost().Calls("REALBuildPictureFromBuffer"), byHost);
        EXPECT_EQ(Build(5), nullptr);
        EXPECT_EQ(Build(0), nullptr);
        EXPECT_EQ(TheHost().Calls("REALBuildPictureFromBuffer"), byHost + 2)
            << "other types are the host's affair";
    }
}

TEST_F(BuildPictureTest, WhatAConsoleCannotWriteIsLeftToTheHost) {
    EXPECT_EQ(Take(myREALBuildPictureFromBuffer(2, 2, 1, nullptr, 12)), nullptr);
    const std::vector<uint8_t> wide(32768 * 3, 9);
    EXPECT_EQ(Take(myREALBuildPictureFromBuffer(32768, 1, 1, wide.data(), 0)).Pixel(32767, 0), 0xFF090909U);
    EXPECT_EQ(TheHost().Calls("REALBuildPictureFromBuffer"), 2);
}

// Bitmaps -------------------------------------------------------------------------------------------------

class BitmapPictureTest : public BridgeHostedTest {};

TEST_F(BitmapPictureTest, NilStaysNil) {
    EXPECT_EQ(BitmapPicture(nullptr), nullptr);
}

TEST_F(BitmapPictureTest, ABitmapIsItself) {
    Load(HostOf(HostKind::Desktop, 2024.01));
    const Picture picture = NewPicture(4, 3);
    EXPECT_EQ(Take(BitmapPicture(ObjectOf(picture))), picture);
    EXPECT_EQ(picture.References(), 1);
    EXPECT_EQ(picture.DescriptionLocks(), 0);
}

TEST_F(BitmapPictureTest, AnythingElseIsCopied) {
    Load(HostOf(HostKind::Desktop, 2024.01, PictureStorage::Packed32));
    for (const int32_t code : {0, 1}) {
        const Picture picture = NewPicture(4, 3);
        test::FillWithNumbers(picture);
        picture.SetTypeCode(code);
        const Picture copy = Take(BitmapPicture(ObjectOf(picture)));
        EXPECT_FALSE(copy == picture) << code;
        EXPECT_EQ(copy.Pixels(), picture.Pixels());
    }
    const Picture other = NewPicture(4, 3, PictureStorage::GdTrueColor);
    test::FillWithNumbers(other);
    const Picture copy = Take(BitmapPicture(ObjectOf(other)));
    EXPECT_EQ(copy.Storage(), PictureStorage::Packed32);
    EXPECT_EQ(copy.Pixels(), other.Pixels());
}

TEST_F(BitmapPictureTest, Direct2DIsForHostsAbove2016Point03) {
    Load(HostOf(HostKind::Desktop, 2016.03));
    const Picture picture = NewPicture(4, 3, PictureStorage::Packed32);
    EXPECT_FALSE(Take(BitmapPicture(ObjectOf(picture))) == picture);
}

}  // namespace
}  // namespace trv
