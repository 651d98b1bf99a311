// The methods that copy a rectangle of a host picture into an image, in every way in which a host keeps
// pictures, against references that go pixel by pixel.

#include "bridge_pictures.h"

namespace trvtest {
namespace {

constexpr int64_t kWidth = 13;
constexpr int64_t kHeight = 9;

class ImportTest : public EveryPictureWay {};
INSTANTIATE_TEST_SUITE_P(Ways, ImportTest, ::testing::ValuesIn(PictureWays()), WayName);

/// Calls `store` with the byte address of the image's pixel and the coordinates in the picture, for each
/// pixel of the clipped rectangle.
template <class Store>
void ForEachPixel(const MemoryImage& image, int64_t imageWidth, int64_t imageHeight, const Picture& picture,
                  const Between& r, std::vector<uint8_t>& bytes, Store&& store) {
    const auto clipped = Clip(r, imageWidth, imageHeight, picture.Width(), picture.Height());
    if (!clipped) return;
    for (int64_t y = 0; y < clipped->height; ++y) {
        for (int64_t x = 0; x < clipped->width; ++x) {
            uint8_t* pixel = bytes.data() + (clipped->destY + y) * image.RowSize() +
                             (clipped->destX + x) * image.PixelSize();
            store(pixel, clipped->sourceX + x, clipped->sourceY + y);
        }
    }
}

TEST_P(ImportTest, ColoursInRandomRectangles) {
    std::mt19937 random(1);
    const Picture picture = NewPicture(kWidth - 2, kHeight + 3, 7);
    for (const char* format : kRgbFormats) {
        const MemoryImage image(TheHost(), kWidth, kHeight, Constant(format), 0, 3);
        const ChannelOffsets at(TheHost(), image);
        for (int round = 0; round < 60; ++round) {
            const Between r = RandomBetween(random, kWidth);
            std::vector<uint8_t> expected = image.Bytes();
            ForEachPixel(image, kWidth, kHeight, picture, r, expected,
                         [&](uint8_t* to, int64_t x, int64_t y) {
                             const uint32_t pixel = picture.Pixel(x, y);
                             to[at.red] = RedOf(pixel);
                             to[at.green] = GreenOf(pixel);
                             to[at.blue] = BlueOf(pixel);
                         });
            TheHost().Call(image, "DrawPictureRGB", picture, r.destX, r.destY, r.width, r.height, r.sourceX,
                           r.sourceY);
            ASSERT_EQ(image.Bytes(), expected) << format << " " << r;
        }
        EXPECT_TRUE(image.GuardIntact());
    }
    EXPECT_EQ(picture.DescriptionLocks(), 0);
    EXPECT_EQ(picture.CacheClears(), 0);
    EXPECT_EQ(picture.References(), 1);
}

TEST_P(ImportTest, OneColourIntoGray) {
    std::mt19937 random(2);
    const Picture picture = NewPicture(kWidth, kHeight, 8);
    const struct {
        const char* method;
        uint8_t (*component)(uint32_t);
    } colours[] = {{"DrawPictureRedToGrayChannel", RedOf},
                   {"DrawPictureGreenToGrayChannel", GreenOf},
                   {"DrawPictureBlueToGrayChannel", BlueOf}};
    for (const char* format : {"ImageFormatG", "ImageFormatGA", "ImageFormatAG", "ImageFormat3of4",
                               "ImageFormat2of3", "ImageFormatG8", "ImageFormatGray16"}) {
        const MemoryImage image(TheHost(), kWidth + 4, kHeight, Constant(format), 0, 4);
        const ChannelOffsets at(TheHost(), image);
        for (const auto& [method, component] : colours) {
            for (int round = 0; round < 30; ++round) {
                const Between r = RandomBetween(random, kWidth);
                std::vector<uint8_t> expected = image.Bytes();
                ForEachPixel(image, kWidth + 4, kHeight, picture, r, expected,
                             [&, component = component](uint8_t* to, int64_t x, int64_t y) {
                                 to[at.gray] = component(picture.Pixel(x, y));
                             });
                TheHost().Call(image, method, picture, r.destX, r.destY, r.width, r.height, r.sourceX,
                               r.sourceY);
                ASSERT_EQ(image.Bytes(), expected) << format << " " << method << " " << r;
            }
        }
        EXPECT_TRUE(image.GuardIntact());
    }
}

TEST_P(ImportTest, MaskIntoAlpha) {
    std::mt19937 random(3);
    const Picture picture = NewPicture(kWidth, kHeight, 9);
    const Picture mask = NewPicture(kWidth, kHeight, 10);
    for (const char* format : kRgbFormats) {
        const MemoryImage image(TheHost(), kWidth, kHeight + 1, Constant(format), 0, 5);
        const ChannelOffsets at(TheHost(), image);
        for (int round = 0; round < 60; ++round) {
            const Between r = RandomBetween(random, kWidth);
            const bool invert = round % 2 != 0;
            const bool masked = round % 4 < 2;
            picture.SetMask(masked ? mask : Picture());
            std::vector<uint8_t> expected = image.Bytes();
            ForEachPixel(image, kWidth, kHeight + 1, picture, r, expected,
                         [&](uint8_t* to, int64_t x, int64_t y) {
                             const int a = masked ? RedOf(mask.Pixel(x, y)) : 255;
                             const uint32_t pixel = picture.Pixel(x, y);
                             to[at.alpha] = static_cast<uint8_t>(invert ? 255 - a : a);
                             to[at.red] = RedOf(pixel);
                             to[at.green] = GreenOf(pixel);
                             to[at.blue] = BlueOf(pixel);
                         });
            TheHost().Call(image, "DrawMaskedPictureRGB", picture, r.destX, r.destY, r.width, r.height,
                           r.sourceX, r.sourceY, invert);
            ASSERT_EQ(image.Bytes(), expected) << format << " " << r << (invert ? " inverted" : "");
        }
        EXPECT_TRUE(image.GuardIntact());
    }
    picture.SetMask(Picture());
    EXPECT_EQ(mask.References(), 1);
    EXPECT_EQ(mask.DescriptionLocks(), 0);
}

TEST_P(ImportTest, BlendThroughTheMask) {
    std::mt19937 random(4);
    const Picture picture = NewPicture(kWidth, kHeight, 11);
    const Picture mask = NewPicture(kWidth, kHeight, 12);
    for (const char* format : kRgbFormats) {
        const MemoryImage image(TheHost(), kWidth, kHeight, Constant(format), 0, 6);
        const ChannelOffsets at(TheHost(), image);
        for (int round = 0; round < 60; ++round) {
            const Between r = RandomBetween(random, kWidth);
            const bool invert = round % 2 != 0;
            const bool masked = round % 8 < 6;
            picture.SetMask(masked ? mask : Picture());
            std::vector<uint8_t> expected = image.Bytes();
            ForEachPixel(image, kWidth, kHeight, picture, r, expected,
                         [&](uint8_t* to, int64_t x, int64_t y) {
                             const uint32_t pixel = picture.Pixel(x, y);
                             const uint32_t cover = masked ? mask.Pixel(x, y) : 0;
                             const auto blend = [&](int64_t offset, uint8_t (*component)(uint32_t)) {
                                 const int s = component(pixel);
                                 const int d = to[offset];
                                 const int m = component(cover);
                                 const int value = !masked  ? s
                                                   : invert ? (d * (255 - m) + s * m) / 255
                                                            : (s * (255 - m) + d * m) / 255;
                                 to[offset] = static_cast<uint8_t>(value);
                             };
                             blend(at.red, RedOf);
                             blend(at.green, GreenOf);
                             blend(at.blue, BlueOf);
                         });
            TheHost().Call(image, "DrawMaskedPictureApplyMaskRGB", picture, r.destX, r.destY, r.width,
                           r.height, r.sourceX, r.sourceY, invert);
            ASSERT_EQ(image.Bytes(), expected) << format << " " << r << (invert ? " inverted" : "");
        }
        EXPECT_TRUE(image.GuardIntact());
    }
    picture.SetMask(Picture());
    EXPECT_EQ(mask.DescriptionLocks(), 0);
}

TEST_P(ImportTest, EveryPairOfPictureAndMaskValueBlendsAsTheFormulaSays) {
    const Picture picture = TheHost().NewPicture(256, 3, GetParam().storage, GetParam().alpha);
    const Picture mask = TheHost().NewPicture(256, 3, GetParam().storage, GetParam().alpha);
    for (uint32_t x = 0; x < 256; ++x) {
        for (int64_t y = 0; y < 3; ++y)
            mask.SetPixel(x, y, 0xFF000000 | x * 0x010101);
    }
    picture.SetMask(mask);
    const MemoryImage image(TheHost(), 256, 3, Constant("ImageFormatBGRA"));
    for (const int s : {0, 1, 77, 128, 254, 255}) {
        picture.Fill(0xFF000000 | static_cast<uint32_t>(s) * 0x010101);
        for (const int d : {0, 1, 99, 200, 255}) {
            image.SetBytes(std::vector<uint8_t>(image.Bytes().size(), static_cast<uint8_t>(d)));
            TheHost().Call(image, "DrawMaskedPictureApplyMaskRGB", picture);
            for (int m = 0; m < 256; ++m) {
                for (int64_t channel = 0; channel < 3; ++channel)
                    ASSERT_EQ(image.At(m, 1, channel), (s * (255 - m) + d * m) / 255)
                        << s << " " << d << " " << m;
                ASSERT_EQ(image.At(m, 1, 3), d);
            }
        }
    }
}

TEST_P(ImportTest, ShorterFormsTakeThePicturesSizeAndTheOrigin) {
    const Picture picture = NewPicture(5, 4, 13);
    const Picture mask = NewPicture(5, 4, 14);
    picture.SetMask(mask);
    const auto& host = TheHost();
    const auto drawn = [&](const char* format, auto&&... call) {
        const MemoryImage image(TheHost(), kWidth, kHeight, Constant(format), 0, 20);
        host.Call(image, call...);
        return image.Bytes();
    };
    const auto colours = [&](auto&&... call) { return drawn("ImageFormatRGBA", call...); };
    const auto untouched =
        MemoryImage(TheHost(), kWidth, kHeight, Constant("ImageFormatRGBA"), 0, 20).Bytes();

    const auto whole = colours("DrawPictureRGB", picture, 0, 0, 5, 4, 0, 0);
    EXPECT_NE(whole, untouched);
    EXPECT_EQ(colours("DrawPictureRGB", picture), whole);
    EXPECT_EQ(colours("DrawPictureRGB", picture, 3, 2), colours("DrawPictureRGB", picture, 3, 2, 5, 4, 0, 0));
    EXPECT_EQ(colours("DrawPictureRGB", picture, 3, 2, 2, 1),
              colours("DrawPictureRGB", picture, 3, 2, 2, 1, 0, 0));

    for (const char* method : {"DrawMaskedPictureRGB", "DrawMaskedPictureApplyMaskRGB"}) {
        for (const bool invert : {false, true}) {
            EXPECT_EQ(colours(method, picture, invert), colours(method, picture, 0, 0, 5, 4, 0, 0, invert));
            EXPECT_EQ(colours(method, picture, 3, 2, invert),
                      colours(method, picture, 3, 2, 5, 4, 0, 0, invert));
            EXPECT_EQ(colours(method, picture, 3, 2, 2, 1, invert),
                      colours(method, picture, 3, 2, 2, 1, 0, 0, invert));
        }
        EXPECT_EQ(colours(method, picture), colours(method, picture, false))
            << "not inverted unless asked for";
        EXPECT_NE(colours(method, picture, true), colours(method, picture, false));
    }
    for (const char* method :
         {"DrawPictureRedToGrayChannel", "DrawPictureGreenToGrayChannel", "DrawPictureBlueToGrayChannel"}) {
        EXPECT_EQ(drawn("ImageFormatGA", method, picture, 3, 2, 2, 1),
                  drawn("ImageFormatGA", method, picture, 3, 2, 2, 1, 0, 0));
    }
    picture.SetMask(Picture());
}

TEST_P(ImportTest, RowsThatCrossTheBlockOfTheKernels) {
    for (const int64_t width : {511, 512, 513, 1025, 1600}) {
        const Picture picture = NewPicture(width, 2, static_cast<unsigned>(width));
        const Picture mask = NewPicture(width, 2, static_cast<unsigned>(width) + 1);
        picture.SetMask(mask);
        for (const char* format : {"ImageFormatBGR", "ImageFormatARGB"}) {
            const MemoryImage image(TheHost(), width, 2, Constant(format));
            const ChannelOffsets at(TheHost(), image);
            std::vector<uint8_t> expected = image.Bytes();
            ForEachPixel(image, width, 2, picture, {0, 0, width, 2, 0, 0}, expected,
                         [&](uint8_t* to, int64_t x, int64_t y) {
                             to[at.alpha] = RedOf(mask.Pixel(x, y));
                             to[at.red] = RedOf(picture.Pixel(x, y));
                             to[at.green] = GreenOf(picture.Pixel(x, y));
                             to[at.blue] = BlueOf(picture.Pixel(x, y));
                         });
            TheHost().Call(image, "DrawMaskedPictureRGB", picture);
            ASSERT_EQ(image.Bytes(), expected) << format << " " << width;
        }
        picture.SetMask(Picture());
    }
}

TEST_P(ImportTest, StaysInsideViews) {
    const Picture picture = NewPicture(4, 4, 15);
    const Picture mask = NewPicture(4, 4, 16);
    picture.SetMask(mask);
    for (const char* format : kRgbFormats) {
        const MemoryImage image(TheHost(), kWidth, kHeight, Constant(format), 0, 21);
        const ChannelOffsets at(TheHost(), image);
        const bool hasAlpha = TheHost().Get<bool>(image, "HasAlpha");
        const Ref view = TheHost().Call(image, "ClipImage", 6, 3, 4, 4).ToThing();
        for (const char* method : {"DrawPictureRGB", "DrawMaskedPictureRGB"}) {
            std::vector<uint8_t> expected = image.Bytes();
            ForEachPixel(image, kWidth, kHeight, picture, {6, 3, 4, 4, 0, 0}, expected,
                         [&](uint8_t* to, int64_t x, int64_t y) {
                             // A view that starts at a column has no byte of its own for an alpha that it
                             // lacks.
                             if (hasAlpha && method[4] == 'M') to[at.alpha] = RedOf(mask.Pixel(x, y));
                             to[at.red] = RedOf(picture.Pixel(x, y));
                             to[at.green] = GreenOf(picture.Pixel(x, y));
                             to[at.blue] = BlueOf(picture.Pixel(x, y));
                         });
            TheHost().Call(view, method, picture);
            ASSERT_EQ(image.Bytes(), expected) << format << " " << method;
        }
    }
    picture.SetMask(Picture());
}

// Single facts, with numbers of their own -----------------------------------------------------------------

class ImportFactTest : public PluginTest {
  protected:
    ImportFactTest() : PluginTest(HostOf(HostKind::Console, 2019.02)) {}

    /// A picture whose pixel at x, y is 0xFF000000 + x * 0x10000 + y * 0x100 + 7.
    [[nodiscard]] Picture Coordinates(int64_t width, int64_t height) const {
        const Picture picture = TheHost().NewPicture(width, height);
        for (int64_t y = 0; y < height; ++y) {
            for (int64_t x = 0; x < width; ++x)
                picture.SetPixel(x, y, 0xFF000007 + static_cast<uint32_t>(x << 16 | y << 8));
        }
        return picture;
    }
};

TEST_F(ImportFactTest, ANegativeDestinationStartsInsideThePicture) {
    const Picture picture = Coordinates(10, 10);
    const MemoryImage image(TheHost(), 10, 10, Constant("ImageFormatRGB"));
    TheHost().Call(image, "DrawPictureRGB", picture, -3, 0, 10, 10, 0, 0);
    EXPECT_EQ(image.At(0, 0, 0), 3);
    EXPECT_EQ(image.At(6, 9, 0), 9);
    EXPECT_EQ(image.At(6, 9, 1), 9);
    EXPECT_EQ(image.At(6, 9, 2), 7);
}

TEST_F(ImportFactTest, AMasklessPictureIsOpaque) {
    const Picture picture = Coordinates(3, 2);
    const MemoryImage image(TheHost(), 3, 2, Constant("ImageFormatRGBA"));
    TheHost().Call(image, "DrawMaskedPictureRGB", picture);
    EXPECT_EQ(image.At(2, 1, 3), 255);
    TheHost().Call(image, "DrawMaskedPictureRGB", picture, true);
    EXPECT_EQ(image.At(2, 1, 3), 0);
    EXPECT_FALSE(picture.Mask()) << "none was made";
}

TEST_F(ImportFactTest, ABlackMaskGivesAlpha0) {
    const Picture picture = Coordinates(3, 2);
    picture.Mask(true).Fill(0xFF000000);
    const MemoryImage image(TheHost(), 3, 2, Constant("ImageFormatRGBA"));
    TheHost().Call(image, "DrawMaskedPictureRGB", picture);
    EXPECT_EQ(image.At(1, 1, 3), 0);
    TheHost().Call(image, "DrawMaskedPictureRGB", picture, true);
    EXPECT_EQ(image.At(1, 1, 3), 255);
}

TEST_F(ImportFactTest, AMaskOf128Blends) {
    const Picture picture = Coordinates(200, 1);
    picture.Mask(true).Fill(0xFF808080);
    const MemoryImage image(TheHost(), 200, 1, Constant("ImageFormatBGR"));
    const int d = image.At(150, 0, 2);
    TheHost().Call(image, "DrawMaskedPictureApplyMaskRGB", picture);
    EXPECT_EQ(image.At(150, 0, 2), (150 * 127 + d * 128) / 255);
}

TEST_F(ImportFactTest, AlphaGoesIntoThePaddingOfAnImageWithoutAlpha) {
    const Picture picture = Coordinates(3, 2);
    const MemoryImage padded(TheHost(), 3, 2, Constant("ImageFormatXRGB"));
    TheHost().Call(padded, "DrawMaskedPictureRGB", picture, true);
    EXPECT_EQ(padded.At(2, 1, 0), 0);
    EXPECT_EQ(padded.At(2, 1, 1), 2);
    const MemoryImage packed(TheHost(), 3, 2, Constant("ImageFormatRGB"));
    TheHost().Call(packed, "DrawMaskedPictureRGB", picture, true);
    EXPECT_EQ(packed.At(2, 1, 0), 2) << "red is stored over it";
}

TEST_F(ImportFactTest, WhatDoesNotFitLeavesTheImageAlone) {
    const Picture picture = Coordinates(4, 4);
    picture.Mask(true).Fill(0xFF000000);
    const auto stays = [&](const char* format, auto&&... call) {
        const MemoryImage image(TheHost(), 4, 4, Constant(format));
        const std::vector<uint8_t> before = image.Bytes();
        TheHost().Call(image, call...);
        EXPECT_EQ(image.Bytes(), before) << format;
    };
    for (const char* format : {"ImageFormatG", "ImageFormatCMYK", "ImageFormatBuffer", "ImageFormatCMYKA"}) {
        stays(format, "DrawPictureRGB", picture);
        stays(format, "DrawMaskedPictureRGB", picture);
        stays(format, "DrawMaskedPictureApplyMaskRGB", picture);
    }
    for (const char* format : {"ImageFormatRGB", "ImageFormatCMYK", "ImageFormatBuffer"})
        stays(format, "DrawPictureRedToGrayChannel", picture, 0, 0, 4, 4);
    for (const char* method : {"DrawPictureRGB", "DrawMaskedPictureRGB", "DrawMaskedPictureApplyMaskRGB"}) {
        stays("ImageFormatRGB", method, nullptr, 0, 0, 4, 4);
        stays("ImageFormatRGB", method, nullptr);
        stays("ImageFormatRGB", method, picture, 4, 0, 4, 4);
        stays("ImageFormatRGB", method, picture, 0, 0, 0, 4);
    }
    stays("ImageFormatRGB", "DrawPictureRGB", picture, 0, 0, 4, 4, 4, 0);
    stays("ImageFormatRGB", "DrawPictureRGB", picture, 0, 0, 4, 4, 0, 1000000000000);
    stays("ImageFormatRGB", "DrawPictureRGB", picture, INT64_MIN, INT64_MIN, INT64_MAX, INT64_MAX, INT64_MAX,
          0);
    stays("ImageFormatRGB", "DrawPictureRGB", picture, INT64_MAX, 0, INT64_MAX, INT64_MAX, INT64_MIN,
          INT64_MIN);
    stays("ImageFormatG", "DrawPictureBlueToGrayChannel", nullptr, 0, 0, 4, 4);
}

TEST_F(ImportFactTest, ClosedAndInvalidImagesAreLeftAlone) {
    const Picture picture = Coordinates(4, 4);
    const Ref closed = NewImage(4, 4, "ImageFormatRGB");
    TheHost().Call(closed, "Close");
    const Ref invalid = TheHost().New("PictureTRV");
    for (const Ref& image : {closed, invalid}) {
        TheHost().Call(image, "DrawPictureRGB", picture);
        TheHost().Call(image, "DrawMaskedPictureRGB", picture);
        TheHost().Call(image, "DrawMaskedPictureApplyMaskRGB", picture);
        TheHost().Call(image, "DrawPictureRedToGrayChannel", picture, 0, 0, 4, 4);
    }
    EXPECT_EQ(TheHost().Calls("REALLockPictureDescription"), 0);
}

TEST_F(ImportFactTest, AnImageWithAllButOneColourTakesNothing) {
    const Picture picture = Coordinates(4, 4);
    const MemoryImage image(TheHost(), 4, 4, Constant("ImageFormatRGB"));
    // A view of three channels does not carry the flags of its channels.
    const Ref view = TheHost().Call(image, "RGBChannels").ToThing();
    const std::vector<uint8_t> before = image.Bytes();
    TheHost().Call(view, "DrawPictureRGB", picture);
    EXPECT_EQ(image.Bytes(), before);
}

TEST_F(ImportFactTest, AMaskSmallerThanThePicture) {
    const Picture picture = Coordinates(6, 6);
    const Picture mask = TheHost().NewPicture(4, 3);
    for (int64_t y = 0; y < 3; ++y) {
        for (int64_t x = 0; x < 4; ++x)
            mask.SetPixel(x, y, 0xFF000000 + static_cast<uint32_t>(100 + 10 * y + x) * 0x010101);
    }
    picture.SetMask(mask);
    const MemoryImage image(TheHost(), 6, 6, Constant("ImageFormatRGBA"));
    TheHost().Call(image, "DrawMaskedPictureRGB", picture);
    EXPECT_EQ(image.At(3, 2, 3), 123);
    EXPECT_EQ(image.At(3, 3, 3), 103) << "rows below the mask read its first row";
    EXPECT_EQ(image.At(4, 2, 3), 0) << "columns right of the mask are zeros";
    EXPECT_EQ(image.At(5, 5, 0), 5) << "the colours are there all the same";
    TheHost().Call(image, "DrawMaskedPictureRGB", picture, 0, 0, 6, 6, 5, 0, true);
    EXPECT_EQ(image.At(0, 0, 3), 255) << "a rectangle that begins right of the mask";
    picture.SetMask(Picture());
}

TEST_F(ImportFactTest, AMaskThatDoesNotOpenLeavesTheImageAlone) {
    const Picture picture = Coordinates(6, 6);
    const Picture mask = TheHost().NewPicture(6, 6, PictureStorage::GdPalette);
    picture.SetMask(mask);
    const MemoryImage image(TheHost(), 6, 6, Constant("ImageFormatRGBA"));
    const std::vector<uint8_t> before = image.Bytes();
    TheHost().Call(image, "DrawMaskedPictureRGB", picture);
    TheHost().Call(image, "DrawMaskedPictureApplyMaskRGB", picture);
    EXPECT_EQ(image.Bytes(), before);
    EXPECT_EQ(mask.References(), 2);
    picture.SetMask(Picture());
}

TEST_F(ImportFactTest, MixedStoragesOfPictureAndMask) {
    const Picture picture = Coordinates(5, 3);
    const Picture mask = TheHost().NewPicture(5, 3, PictureStorage::Packed32);
    FillRandom(mask, 44);
    picture.SetMask(mask);
    const MemoryImage image(TheHost(), 5, 3, Constant("ImageFormatRGBA"));
    TheHost().Call(image, "DrawMaskedPictureRGB", picture);
    for (int64_t y = 0; y < 3; ++y) {
        for (int64_t x = 0; x < 5; ++x) {
            EXPECT_EQ(image.At(x, y, 3), RedOf(mask.Pixel(x, y)));
            EXPECT_EQ(image.At(x, y, 0), x);
        }
    }
    picture.SetMask(Picture());
}

TEST_F(ImportFactTest, YieldsAfterEachRow) {
    const Picture picture = Coordinates(2, 5);
    const Ref image = NewImage(2, 8, "ImageFormatRGB");
    TheHost().Set(image, "YieldTicks", -1);
    int64_t yields = 0;
    TheHost().OnYield([&] { ++yields; });
    // The clock rarely moves within a call; a change of the last yield's time makes each row due.
    TheHost().Call(image, "DrawPictureRGB", picture);
    EXPECT_GE(yields, 1);
    yields = 0;
    TheHost().OnYield([&] {
        if (++yields == 1) TheHost().Call(image, "Close");
    });
    TheHost().Call(image, "DrawPictureRGB", picture);
    EXPECT_FALSE(TheHost().HasException()) << "a closed image ends the work quietly";
}

}  // namespace
}  // namespace trvtest
