// Images made over host pictures: what the record says, that pixels are shared, what is refused, and that
// every reference and lock goes back.

#include <gmock/gmock.h>

#include "bridge_pictures.h"

namespace trvtest {
namespace {

using trvhost::ExceptionInfo;

const ExceptionInfo kNotABitmap{"UnsupportedOperationException", "Failed to access picture. Not a bitmap?",
                                0};

class OverPictureTest : public EveryPictureWay {
  protected:
    [[nodiscard]] bool IsTable() const { return GetParam().storage == PictureStorage::GdTrueColor; }
    [[nodiscard]] bool Has24Bits() const { return GetParam().storage == PictureStorage::Dib24; }
    template <class T>
    [[nodiscard]] T Get(const Ref& image, const char* name) const {
        return TheHost().Get<T>(image, name);
    }
};
INSTANTIATE_TEST_SUITE_P(Ways, OverPictureTest, ::testing::ValuesIn(PictureWays()), WayName);

TEST_P(OverPictureTest, TheRecordDescribesThePixels) {
    for (const bool useAlpha : {false, true}) {
        const Picture picture = NewPicture(7, 5, 1);
        const Ref image = TheHost().Construct("PictureTRV", picture, useAlpha);
        ASSERT_FALSE(TheHost().HasException());
        const bool hasAlpha = useAlpha && !Has24Bits();
        EXPECT_TRUE(Get<bool>(image, "Valid"));
        EXPECT_EQ(Get<int64_t>(image, "Width"), 7);
        EXPECT_EQ(Get<int64_t>(image, "Height"), 5);
        EXPECT_EQ(Get<int64_t>(image, "UnclippedHeight"), 5);
        EXPECT_EQ(Get<int64_t>(image, "PixelSize"), Has24Bits() ? 3 : 4);
        EXPECT_EQ(Get<int64_t>(image, "BitsPerComponent"), 8);
        EXPECT_EQ(Get<int64_t>(image, "RowSize"), Has24Bits() ? 24 : 28);
        EXPECT_EQ(Get<int64_t>(image, "TotalSize"), 5 * Get<int64_t>(image, "RowSize"));
        EXPECT_EQ(Get<int64_t>(image, "MappingFirstRow"), -1);
        EXPECT_EQ(Get<int64_t>(image, "MappingLastRow"), -1);
        EXPECT_EQ(Get<int64_t>(image, "MappingRows"), IsTable() ? 0 : 5);
        EXPECT_EQ(Get<int64_t>(image, "ImageFormat"),
                  Constant(IsTable()     ? (useAlpha ? "ImageFormatARGB" : "ImageFormatXRGB")
                           : Has24Bits() ? "ImageFormatBGR"
                           : useAlpha    ? "ImageFormatBGRA"
                                         : "ImageFormatBGRX"));
        EXPECT_EQ(Get<int64_t>(image, "ChannelCount"), hasAlpha ? 4 : 3);
        EXPECT_EQ(Get<bool>(image, "HasAlpha"), hasAlpha);
        for (const char* flag : {"IsRGB", "HasRed", "HasGreen", "HasBlue"})
            EXPECT_TRUE(Get<bool>(image, flag)) << flag;
        for (const char* flag : {"IsGray", "HasGray", "IsCMYK", "IsMapping"})
            EXPECT_FALSE(Get<bool>(image, flag)) << flag;
        const ChannelOffsets at(TheHost(), image);
        EXPECT_EQ(at.blue, 0);
        EXPECT_EQ(at.green, 1);
        EXPECT_EQ(at.red, 2);
        EXPECT_EQ(at.alpha, Has24Bits() ? 0 : 3);
        EXPECT_EQ(TheHost().Get<Ref>(image, "Target"), picture);
        EXPECT_EQ(picture.References(), 2);
        EXPECT_EQ(picture.DescriptionLocks(), 0) << "only the pixels stay in use";
    }
}

TEST_P(OverPictureTest, ImageAndPictureShareTheirPixels) {
    const Picture picture = NewPicture(6, 4, 2);
    const Ref image = TheHost().Construct("PictureTRV", picture, true);
    const Ref bytes = NewImage(6, 4, "ImageFormatRGB");
    ASSERT_TRUE(TheHost().Call(bytes, "CopyPixels", image).ToBool());
    const auto block = trvhost::MemoryBlock(TheHost().Get<Ref>(bytes, "Memory"));
    // What is written into the image is in the picture.
    TheHost().Call(image, "FillRectRGB", 2, 1, 3, 2, 10, 20, 30);
    TheHost().Call(image, "ClearCache");
    EXPECT_EQ(picture.CacheClears(), 1);
    const auto before = picture.References();
    TheHost().Call(image, "Close");
    EXPECT_EQ(picture.References(), before - 1);
    EXPECT_EQ(picture.CacheClears(), 2) << "the end of the image tells the host as well";
    for (int64_t y = 0; y < 4; ++y) {
        for (int64_t x = 0; x < 6; ++x) {
            const uint32_t pixel = picture.Pixel(x, y);
            const bool filled = x >= 2 && x < 5 && y >= 1 && y < 3;
            const uint8_t* old = block.Bytes().data() + y * 64 + x * 3;
            EXPECT_EQ(RedOf(pixel), filled ? 10 : old[0]) << x << " " << y;
            EXPECT_EQ(GreenOf(pixel), filled ? 20 : old[1]);
            EXPECT_EQ(BlueOf(pixel), filled ? 30 : old[2]);
        }
    }
    TheHost().Call(image, "ClearCache");
    EXPECT_EQ(picture.CacheClears(), 2) << "a closed image has no picture";
}

TEST_P(OverPictureTest, ASecondConstructorReleasesWhatTheFirstTook) {
    const Picture first = NewPicture(6, 4, 3);
    const Picture second = NewPicture(8, 2, 4);
    const Ref image = TheHost().Construct("PictureTRV", first);
    TheHost().Call(image, "Constructor", second, true);
    EXPECT_EQ(first.References(), 1);
    EXPECT_EQ(second.References(), 2);
    EXPECT_EQ(Get<int64_t>(image, "Width"), 8);
    TheHost().Call(image, "Constructor", second, false);
    EXPECT_EQ(second.References(), 2) << "over the same picture again";
    TheHost().Call(image, "Constructor", 3, 3, Constant("ImageFormatG"));
    EXPECT_EQ(second.References(), 1);
    EXPECT_EQ(Get<int64_t>(image, "Width"), 3);
    TheHost().Call(image, "Constructor", first);
    EXPECT_EQ(Get<int64_t>(image, "Width"), 6);
    EXPECT_FALSE(TheHost().Get<Ref>(image, "MemoryTarget"));
}

TEST_P(OverPictureTest, NilIsRefusedAndLeavesTheObjectAsItWas) {
    const Picture picture = NewPicture(6, 4, 3);
    const Ref image = TheHost().Construct("PictureTRV", picture);
    TheHost().Call(image, "Constructor(pic as picture, UseAlpha as boolean=false)", nullptr);
    EXPECT_EQ(TheHost().TakeException(), (ExceptionInfo{"NilObjectException", "picture is nil", 0}));
    EXPECT_EQ(Get<int64_t>(image, "Width"), 6);
}

TEST_P(OverPictureTest, ViewsAndClonesOutliveTheImage) {
    const Picture picture = NewPicture(6, 4, 5);
    Ref image = TheHost().Construct("PictureTRV", picture, true);
    const Ref view = TheHost().Call(image, "ClipImage", 1, 1, 3, 2).ToThing();
    const Ref clone = TheHost().Call(image, "Clone").ToThing();
    EXPECT_FALSE(TheHost().Get<Ref>(clone, "Target"));
    const uint8_t red = RedOf(picture.Pixel(1, 1));
    image.Reset();
    const MemoryImage bytes(TheHost(), 3, 2, Constant("ImageFormatRGB"));
    ASSERT_TRUE(TheHost().Call(bytes, "CopyPixels", view).ToBool());
    if (GetParam().exact) {
        EXPECT_EQ(bytes.At(0, 0), red);
    }
    const MemoryImage whole(TheHost(), 6, 4, Constant("ImageFormatRGB"));
    ASSERT_TRUE(TheHost().Call(whole, "CopyPixels", clone).ToBool());
    EXPECT_EQ(whole.At(1, 1), bytes.At(0, 0));
}

TEST_P(OverPictureTest, APictureDrawnOverItself) {
    // Pixels go one by one from the left, so a shift to the right repeats the first ones.
    const Picture picture = NewPicture(9, 3, 6);
    const uint32_t first = picture.Pixel(0, 1) & 0xFFFFFF;
    const uint32_t second = picture.Pixel(1, 1) & 0xFFFFFF;
    const uint32_t last = picture.Pixel(8, 1) & 0xFFFFFF;
    if (!GetParam().exact || GetParam().storage == PictureStorage::GdiPlusPargb)
        return;  // locked bits are a copy
    const Ref image = TheHost().Construct("PictureTRV", picture);
    TheHost().Call(image, "DrawPictureRGB", picture, 2, 0, 6, 3, 0, 0);
    for (int64_t x = 0; x < 8; ++x)
        EXPECT_EQ(picture.Pixel(x, 1) & 0xFFFFFF, x % 2 == 0 ? first : second) << x;
    EXPECT_EQ(picture.Pixel(8, 1) & 0xFFFFFF, last);
}

// What cannot be wrapped ----------------------------------------------------------------------------------

class RefusedPictureTest : public PluginTest {
  protected:
    void ExpectRefused(const Picture& picture) const {
        const Ref image = TheHost().Construct("PictureTRV", picture);
        EXPECT_EQ(TheHost().TakeException(), kNotABitmap);
        EXPECT_FALSE(TheHost().Get<bool>(image, "Valid"));
        EXPECT_EQ(picture.References(), 1);
        EXPECT_EQ(picture.DescriptionLocks(), 0);
        EXPECT_EQ(picture.CacheClears(), 0);
    }
};

TEST_F(RefusedPictureTest, VectorPictureOnADesktop) {
    Load(HostOf(HostKind::Desktop, 2024.01));
    const Picture picture = TheHost().NewPicture(4, 3, PictureStorage::Vector);
    picture.Fill(0xFF102030);
    ExpectRefused(picture);
    // A reader has more to fall back on: it opens a copy.
    const MemoryImage image(TheHost(), 4, 3, Constant("ImageFormatRGB"));
    TheHost().Call(image, "DrawPictureRGB", picture);
    EXPECT_EQ(image.At(3, 2, 0), 0x10);
    EXPECT_EQ(image.At(3, 2, 1), 0x20);
    EXPECT_EQ(image.At(3, 2, 2), 0x30);
    EXPECT_EQ(picture.References(), 1);
}

TEST_F(RefusedPictureTest, PalettePictureOnAConsole) {
    Load(HostOf(HostKind::Console, 2024.01));
    const Picture picture = TheHost().NewPicture(4, 3, PictureStorage::GdPalette);
    ExpectRefused(picture);
    const int64_t made = TheHost().Calls("newPicture");
    const MemoryImage image(TheHost(), 4, 3, Constant("ImageFormatRGB"));
    const auto before = image.Bytes();
    TheHost().Call(image, "DrawPictureRGB", picture);
    EXPECT_EQ(image.Bytes(), before);
    EXPECT_EQ(TheHost().Calls("newPicture"), made) << "no copy is tried on a console host";
}

TEST_F(RefusedPictureTest, Direct2DNeedsAHostAbove2016Point03) {
    const auto isWrapped = [&](double version) {
        Load(HostOf(HostKind::Desktop, version, PictureStorage::Packed32));
        const Picture picture = TheHost().NewPicture(4, 3);
        const Ref image = TheHost().Construct("PictureTRV", picture);
        const bool raised = TheHost().TakeException().has_value();
        EXPECT_NE(raised, TheHost().Get<bool>(image, "Valid"));
        return !raised;
    };
    EXPECT_FALSE(isWrapped(2016.0));
    EXPECT_FALSE(isWrapped(2016.03));
    EXPECT_TRUE(isWrapped(2016.031));
    EXPECT_TRUE(isWrapped(2018.02));
}

TEST_F(RefusedPictureTest, GdPicturesAreNotForDesktopsNorDirect2DOnesForConsoles) {
    Load(HostOf(HostKind::Desktop, 2024.01));
    ExpectRefused(TheHost().NewPicture(4, 3, PictureStorage::GdTrueColor));
    Load(HostOf(HostKind::Console, 2024.01));
    ExpectRefused(TheHost().NewPicture(4, 3, PictureStorage::Packed32));
}

TEST_F(RefusedPictureTest, AHostOfNoKnownKindIsLearnedFromItsPictures) {
    const auto wrapFirstAndRefuseSecond = [&](PictureStorage first, PictureStorage second) {
        Load(HostOf(HostKind::Unknown, 2024.01));
        const Ref image = TheHost().Construct("PictureTRV", TheHost().NewPicture(4, 3, first));
        EXPECT_TRUE(TheHost().Get<bool>(image, "Valid"));
        ExpectRefused(TheHost().NewPicture(4, 3, second));
    };
    wrapFirstAndRefuseSecond(PictureStorage::GdTrueColor, PictureStorage::Packed32);
    wrapFirstAndRefuseSecond(PictureStorage::Packed32, PictureStorage::GdTrueColor);
}

TEST_F(RefusedPictureTest, AHostWithoutDescriptionLocks) {
    Options options = HostOf(HostKind::Desktop, 2024.01);
    options.missingEntries = {"REALLockPictureDescription"};
    Load(options);
    ExpectRefused(TheHost().NewPicture(4, 3));
}

TEST_F(RefusedPictureTest, AHostThatCannotLockObjectsCouldTakeThePixelsAway) {
    for (const HostKind kind : {HostKind::Console, HostKind::Desktop}) {
        Options options = HostOf(kind, 2024.01);
        options.missingEntries = {"REALLockObject"};
        Load(options);
        const Picture picture = TheHost().NewPicture(4, 3);
        ExpectRefused(picture);
        const Ref image = NewImage(4, 3, "ImageFormatRGB");
        TheHost().Call(image, "DrawPictureRGB", picture);
        TheHost().TakeException();
        EXPECT_EQ(picture.References(), 1);
        EXPECT_EQ(picture.DescriptionLocks(), 0);
    }
}

TEST_F(RefusedPictureTest, AFailedConstructorDropsWhatTheObjectHad) {
    Load(HostOf(HostKind::Console, 2024.01));
    const Picture good = TheHost().NewPicture(4, 3);
    const Ref image = TheHost().Construct("PictureTRV", good);
    TheHost().Call(image, "Constructor", TheHost().NewPicture(4, 3, PictureStorage::GdPalette));
    EXPECT_EQ(TheHost().TakeException(), kNotABitmap);
    EXPECT_EQ(good.References(), 1);
    EXPECT_FALSE(TheHost().Get<bool>(image, "Valid"));
    const auto lines = LogOf([&] { TheHost().Call(image, "FillRect", 0); });
    EXPECT_THAT(lines, ::testing::Not(::testing::Contains("StartImage ok")));
}

TEST_F(RefusedPictureTest, TheMembersOfThisBridgeNeedAHostOf2010Point029) {
    Load(HostOf(HostKind::Console, 2010.02));
    for (const char* name : {"DrawPictureRGB(pic as picture)", "CopyPicture as picture",
                             "Constructor(pic as picture, UseAlpha as boolean=false)"}) {
        EXPECT_EQ(TheHost().FindMethod("PictureTRV", name)->flags, 0) << name;
    }
    Load(HostOf(HostKind::Console, 2010.029));
    EXPECT_EQ(TheHost().FindMethod("PictureTRV", "CopyPicture as picture")->flags, 4);
}

}  // namespace
}  // namespace trvtest
