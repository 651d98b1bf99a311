// Pictures that only Windows has: bitmaps of other depths, bitmaps of a device, GDI+ bitmaps that cannot be
// written.

#include <gmock/gmock.h>

#include "bridge_pictures.h"

namespace trvtest {
namespace {

using ::testing::Contains;
using ::testing::Not;

class WindowsPictureTest : public PluginTest {
  protected:
    WindowsPictureTest() : PluginTest(HostOf(HostKind::Desktop, 2024.01)) {}

    /// Draws a picture into an image of its size and compares it with what the picture shows.
    void ExpectDrawn(const Picture& picture) const {
        const MemoryImage image(TheHost(), picture.Width(), picture.Height(), Constant("ImageFormatRGB"));
        TheHost().Call(image, "DrawPictureRGB", picture);
        for (int64_t y = 0; y < picture.Height(); ++y) {
            for (int64_t x = 0; x < picture.Width(); ++x) {
                const uint32_t pixel = picture.Pixel(x, y);
                ASSERT_EQ(image.At(x, y, 0), RedOf(pixel)) << x << " " << y;
                ASSERT_EQ(image.At(x, y, 1), GreenOf(pixel)) << x << " " << y;
                ASSERT_EQ(image.At(x, y, 2), BlueOf(pixel)) << x << " " << y;
            }
        }
        EXPECT_EQ(picture.References(), 1);
        EXPECT_EQ(picture.DescriptionLocks(), 0);
    }

    void ExpectNotWrapped(const Picture& picture) const {
        const Ref image = TheHost().Construct("PictureTRV", picture);
        const auto exception = TheHost().TakeException();
        ASSERT_TRUE(exception);
        EXPECT_EQ(exception->message, "Failed to access picture. Not a bitmap?");
        EXPECT_EQ(picture.References(), 1);
        EXPECT_EQ(picture.DescriptionLocks(), 0);
    }
};

TEST_F(WindowsPictureTest, BitmapsOfOtherDepthsAreReadThroughACopy) {
    for (const PictureStorage storage : {PictureStorage::Dib16, PictureStorage::Dib8}) {
        const Picture picture = TheHost().NewPicture(7, 5, storage);
        FillRandom(picture, 1);
        ExpectNotWrapped(picture);
        EXPECT_THAT(LogOf([&] { ExpectDrawn(picture); }), Contains(::testing::StartsWith("cp ")));
    }
}

TEST_F(WindowsPictureTest, AHostThatKnowsOnlyOtherDepths) {
    for (const PictureStorage storage : {PictureStorage::Dib16, PictureStorage::Dib8}) {
        Load(HostOf(HostKind::Desktop, 2024.01, storage));
        const Picture picture = TheHost().NewPicture(7, 5);
        picture.Fill(0xFF000000);
        const MemoryImage image(TheHost(), 7, 5, Constant("ImageFormatRGB"));
        const auto before = image.Bytes();
        TheHost().Call(image, "DrawPictureRGB", picture);
        EXPECT_EQ(image.Bytes(), before) << "a copy is of the same depth, and is not copied for ever";
        // A writer opens, and its stores have no effect.
        const Picture made(TheHost().Call(image, "CopyPicture as picture").ToThing());
        ASSERT_TRUE(made);
        EXPECT_EQ(made.Width(), 7);
        EXPECT_EQ(made.Pixel(3, 3), 0xFFFFFFFFU);
    }
}

TEST_F(WindowsPictureTest, BitmapsOfADeviceHaveNoAddress) {
    const Picture picture = TheHost().NewPicture(7, 5, PictureStorage::DeviceBitmap);
    FillRandom(picture, 2);
    ExpectNotWrapped(picture);
    EXPECT_THAT(LogOf([&] { ExpectDrawn(picture); }), Contains("Trying clone...."));
}

TEST_F(WindowsPictureTest, ANewPictureWithoutAddressIsNotWritten) {
    Load(HostOf(HostKind::Desktop, 2024.01, PictureStorage::DeviceBitmap));
    const Ref image = NewImage(7, 5, "ImageFormatRGB");
    EXPECT_FALSE(TheHost().Call(image, "CopyPicture as picture").ToThing());
}

TEST_F(WindowsPictureTest, TheBitsOfAGdiPlusBitmapAreLockedForTheLifeOfTheImage) {
    for (const PictureStorage storage :
         {PictureStorage::GdiPlusPargb, PictureStorage::GdiPlusArgb, PictureStorage::GdiPlusRgb24}) {
        const bool alpha = storage != PictureStorage::GdiPlusRgb24;
        const Picture picture = TheHost().NewPicture(7, 5, storage, alpha);
        FillRandom(picture, 3, true);
        const uint32_t before = picture.Pixel(6, 4);
        {
            const Ref image = TheHost().Construct("PictureTRV", picture, true);
            EXPECT_EQ(TheHost().Live().bitmapLocks, 1);
            TheHost().Call(image, "FillRectRGB", 1, 1, 3, 2, 10, 20, 30);
            TheHost().Call(image, "Constructor", picture, true);
            EXPECT_EQ(TheHost().Live().bitmapLocks, 1) << "the first lock went back";
            TheHost().Call(image, "FillRectRGB", 4, 1, 1, 1, 40, 50, 60);
        }
        EXPECT_EQ(TheHost().Live().bitmapLocks, 0);
        EXPECT_EQ(picture.Pixel(3, 2), 0xFF0A141EU);
        EXPECT_EQ(picture.Pixel(4, 1), 0xFF28323CU);
        EXPECT_EQ(picture.Pixel(6, 4), before);
    }
}

TEST_F(WindowsPictureTest, GdiPlusBitmapsWithoutAlphaAreReadThroughACopy) {
    for (const PictureStorage storage : {PictureStorage::GdiPlusRgb24, PictureStorage::GdiPlusIndexed8}) {
        const Picture picture = TheHost().NewPicture(7, 5, storage);
        FillRandom(picture, 5);
        const auto lines = LogOf([&] { ExpectDrawn(picture); });
        EXPECT_THAT(lines, Contains("REALLockPictureDescription with pictureWin32Bitmap failed."));
        EXPECT_THAT(lines, Contains("Trying clone...."));
    }
}

TEST_F(WindowsPictureTest, ThePixelFormatOfAGdiPlusBitmapIsLogged) {
    const struct {
        PictureStorage storage;
        const char* name;
    } formats[] = {{PictureStorage::GdiPlusPargb, "PixelFormat32bppPARGB"},
                   {PictureStorage::GdiPlusArgb, "PixelFormat32bppARGB"}};
    for (const auto& [storage, name] : formats) {
        const Picture picture = TheHost().NewPicture(7, 5, storage, true);
        FillRandom(picture, 6, true);
        const auto lines = LogOf([&] { ExpectDrawn(picture); });
        EXPECT_THAT(lines, Contains(name));
        EXPECT_THAT(lines, Not(Contains("Try ARGB read and write")));
    }
}

TEST_F(WindowsPictureTest, Bitmaps24HaveNoAlpha) {
    Load(HostOf(HostKind::Desktop, 2024.01, PictureStorage::Dib24));
    const MemoryImage image(TheHost(), 6, 4, Constant("ImageFormatCMYKA"));
    const Picture colours(TheHost().Call(image, "CopyPicture as picture").ToThing());
    const Picture withAlpha(TheHost().Call(image, "CopyPictureWithAlpha as picture").ToThing());
    EXPECT_EQ(withAlpha.Pixels(), colours.Pixels()) << "the alpha is dropped";
    const Ref over = TheHost().Construct("PictureTRV", colours, true);
    EXPECT_FALSE(TheHost().Get<bool>(over, "HasAlpha"));
    EXPECT_EQ(TheHost().Get<int64_t>(over, "PixelSize"), 3);
    EXPECT_EQ(TheHost().Get<int64_t>(over, "AlphaOffset"), 0);
}

TEST_F(WindowsPictureTest, MixedKindsOfPictureAndMask) {
    const PictureStorage storages[] = {PictureStorage::Dib32, PictureStorage::Dib24, PictureStorage::Packed32,
                                       PictureStorage::Dib16};
    for (const PictureStorage pictureStorage : storages) {
        for (const PictureStorage maskStorage : storages) {
            const Picture picture = TheHost().NewPicture(7, 5, pictureStorage);
            const Picture mask = TheHost().NewPicture(7, 5, maskStorage);
            FillRandom(picture, 7);
            FillRandom(mask, 8);
            picture.SetMask(mask);
            const MemoryImage image(TheHost(), 7, 5, Constant("ImageFormatABGR"));
            TheHost().Call(image, "DrawMaskedPictureRGB", picture);
            for (int64_t y = 0; y < 5; ++y) {
                for (int64_t x = 0; x < 7; ++x) {
                    ASSERT_EQ(image.At(x, y, 0), RedOf(mask.Pixel(x, y)));
                    // A copy of a masked picture is drawn without its mask.
                    ASSERT_EQ(image.At(x, y, 3), RedOf(picture.Pixel(x, y)));
                }
            }
            EXPECT_EQ(picture.Mask(), mask);
            picture.SetMask(Picture());
        }
    }
}

}  // namespace
}  // namespace trvtest
