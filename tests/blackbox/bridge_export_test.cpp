// Images turned into host pictures, in every way in which a host keeps pictures, against references that go
// pixel by pixel and know how each storage holds a colour.

#include <gmock/gmock.h>

#include "bridge_pictures.h"

namespace trvtest {
namespace {

constexpr int64_t kWidth = 11;
constexpr int64_t kHeight = 7;

constexpr const char* kFormats[] = {
    "ImageFormatG",     "ImageFormatGA",   "ImageFormatAG",    "ImageFormatGray16", "ImageFormat2of4",
    "ImageFormatG8",    "ImageFormatRGB",  "ImageFormatRGBA",  "ImageFormatRGBX",   "ImageFormatARGB",
    "ImageFormatXRGB",  "ImageFormatBGR",  "ImageFormatBGRA",  "ImageFormatBGRX",   "ImageFormatABGR",
    "ImageFormatXBGR",  "ImageFormatCMYK", "ImageFormatCMYKA", "ImageFormatACMYK",  "ImageFormatCMYKX",
    "ImageFormatXCMYK", "ImageFormatKYMC", "ImageFormatKYMCA", "ImageFormatAKYMC",  "ImageFormatKYMCX",
    "ImageFormatXKYMC"};

/// A rectangle as the caller gives it.
struct Asked {
    int64_t x, y, width, height;
    friend std::ostream& operator<<(std::ostream& out, const Asked& r) {
        return out << "(" << r.x << ", " << r.y << ", " << r.width << ", " << r.height << ")";
    }
};

void ClipAxis(int64_t& origin, int64_t& size, int64_t limit) {
    if (size < 0) {
        origin += size;
        size = -size;
    }
    if (origin < 0) {
        size += origin;
        origin = 0;
    }
    if (origin >= limit) size = 0;
    if (origin + size > limit) size = limit - origin;
}

Asked Clipped(Asked r) {
    ClipAxis(r.x, r.width, kWidth);
    ClipAxis(r.y, r.height, kHeight);
    return r;
}

/// The colour of an image's pixel as 0xRRGGBB.
uint32_t ColourOf(trvhost::Host& host, const Ref& image, const uint8_t* pixel) {
    const ChannelOffsets at(host, image);
    const auto pack = [](int r, int g, int b) { return static_cast<uint32_t>(r << 16 | g << 8 | b); };
    if (host.Get<bool>(image, "IsGray")) return pixel[at.gray] * 0x010101u;
    if (host.Get<bool>(image, "IsRGB")) return pack(pixel[at.red], pixel[at.green], pixel[at.blue]);
    const int black = pixel[at.black];
    const auto light = [&](int ink) { return 255 - (ink * (255 - black)) / 255 - black; };
    return pack(light(pixel[at.cyan]), light(pixel[at.magenta]), light(pixel[at.yellow]));
}

class ExportTest : public EveryPictureWay {
  protected:
    /// What the storage of this way holds for a colour, opaque or with an alpha value.
    [[nodiscard]] uint32_t Stored(uint32_t rgb, std::optional<uint8_t> alpha) const {
        switch (GetParam().storage) {
            case PictureStorage::GdTrueColor:
                return rgb | (alpha ? uint32_t{*alpha} >> 1 << 24 : 0);
            case PictureStorage::Dib24:
                return rgb;
            default:
                return rgb | uint32_t{alpha.value_or(255)} << 24;
        }
    }

    /// Compares a result with the image's rectangle, pixel by pixel.
    template <class Expected>
    void ExpectPixels(const Ref& result, const MemoryImage& image, const Asked& asked,
                      Expected&& expected) const {
        const Asked r = Clipped(asked);
        if (r.width < 1 || r.height < 1) {
            ASSERT_FALSE(result) << asked;
            return;
        }
        ASSERT_TRUE(result) << asked;
        ASSERT_EQ(result.References(), 1);
        const Picture picture(result);
        ASSERT_EQ(picture.Width(), r.width) << asked;
        ASSERT_EQ(picture.Height(), r.height) << asked;
        ASSERT_EQ(picture.DescriptionLocks(), 0);
        ASSERT_GE(picture.CacheClears(), 1);
        for (int64_t y = 0; y < r.height; ++y) {
            for (int64_t x = 0; x < r.width; ++x) {
                ASSERT_EQ(picture.RawPixel(x, y), expected(&image.At(r.x + x, r.y + y)))
                    << asked << " " << x << " " << y;
            }
        }
    }

    [[nodiscard]] Ref Copy(const char* method, const Ref& image, const Asked& r) const {
        return TheHost().Call(image, method, r.x, r.y, r.width, r.height).ToThing();
    }

    static Asked RandomAsked(std::mt19937& random) {
        const auto number = [&](int64_t low, int64_t high) {
            return std::uniform_int_distribution<int64_t>(low, high)(random);
        };
        return {number(-4, kWidth + 2), number(-4, kHeight + 2), number(-6, kWidth + 4),
                number(-6, kHeight + 4)};
    }
};
INSTANTIATE_TEST_SUITE_P(Ways, ExportTest, ::testing::ValuesIn(PictureWays()), WayName);

TEST_P(ExportTest, Colours) {
    std::mt19937 random(1);
    for (const char* format : kFormats) {
        const MemoryImage image(TheHost(), kWidth, kHeight, Constant(format), 0, 2);
        for (int round = 0; round < 25; ++round) {
            const Asked r = RandomAsked(random);
            ExpectPixels(Copy("CopyPicture", image, r), image, r, [&](const uint8_t* pixel) {
                return Stored(ColourOf(TheHost(), image, pixel), std::nullopt);
            });
            if (HasFailure()) FAIL() << format;
        }
    }
}

TEST_P(ExportTest, ColoursWithAlpha) {
    // A host of this way's storage makes pictures with an alpha channel of the same storage.
    std::mt19937 random(2);
    for (const char* format : kFormats) {
        const MemoryImage image(TheHost(), kWidth, kHeight, Constant(format), 0, 3);
        const bool hasAlpha = TheHost().Get<bool>(image, "HasAlpha");
        const int64_t alphaOffset = TheHost().Get<int64_t>(image, "AlphaOffset");
        for (int round = 0; round < 25; ++round) {
            const Asked r = RandomAsked(random);
            const Ref result = Copy("CopyPictureWithAlpha", image, r);
            // GDI+ turns premultiplied bits into what such a bitmap holds.
            if (GetParam().exact) {
                ExpectPixels(result, image, r, [&](const uint8_t* pixel) {
                    const uint32_t rgb = ColourOf(TheHost(), image, pixel);
                    return hasAlpha ? Stored(rgb, pixel[alphaOffset]) : Stored(rgb, std::nullopt);
                });
            }
            if (HasFailure()) FAIL() << format;
        }
    }
}

TEST_P(ExportTest, Masks) {
    std::mt19937 random(3);
    for (const char* format : kFormats) {
        const MemoryImage image(TheHost(), kWidth, kHeight, Constant(format), 0, 4);
        const bool hasAlpha = TheHost().Get<bool>(image, "HasAlpha");
        const int64_t alphaOffset = TheHost().Get<int64_t>(image, "AlphaOffset");
        for (int round = 0; round < 25; ++round) {
            const Asked r = RandomAsked(random);
            const Ref result = Copy("CopyMask", image, r);
            if (!hasAlpha) {
                ASSERT_FALSE(result);
                continue;
            }
            ExpectPixels(result, image, r, [&](const uint8_t* pixel) {
                return Stored(pixel[alphaOffset] * 0x010101u, std::nullopt);
            });
            if (HasFailure()) FAIL() << format;
        }
    }
}

TEST_P(ExportTest, PicturesWithMasks) {
    std::mt19937 random(4);
    for (const char* format : {"ImageFormatRGBA", "ImageFormatAG", "ImageFormatKYMCA", "ImageFormatRGB"}) {
        const MemoryImage image(TheHost(), kWidth, kHeight, Constant(format), 0, 5);
        const bool hasAlpha = TheHost().Get<bool>(image, "HasAlpha");
        const int64_t alphaOffset = TheHost().Get<int64_t>(image, "AlphaOffset");
        for (int round = 0; round < 25; ++round) {
            const Asked r = RandomAsked(random);
            const Ref result = Copy("CopyPictureWithMask", image, r);
            ExpectPixels(result, image, r, [&](const uint8_t* pixel) {
                return Stored(ColourOf(TheHost(), image, pixel), std::nullopt);
            });
            if (HasFailure()) FAIL() << format;
            if (!result) continue;
            const Picture mask = Picture(result).Mask();
            // The mask is drawn in the size asked for, and not at all in a negative one.
            ASSERT_EQ(static_cast<bool>(mask), hasAlpha && r.width > 0 && r.height > 0) << r;
            if (!mask) continue;
            const Asked clipped = Clipped(r);
            for (int64_t y = 0; y < clipped.height; ++y) {
                for (int64_t x = 0; x < clipped.width; ++x) {
                    const int64_t drawnWidth = std::min(clipped.width, r.width);
                    if (x >= drawnWidth) continue;
                    ASSERT_EQ(RedOf(mask.Pixel(x, y)), image.At(clipped.x + x, clipped.y + y, alphaOffset))
                        << format << r << " " << x << " " << y;
                }
            }
        }
    }
}

TEST_P(ExportTest, FormsForTheWholeImage) {
    const MemoryImage image(TheHost(), kWidth, kHeight, Constant("ImageFormatCMYKA"), 0, 6);
    for (const char* method : {"CopyPicture", "CopyPictureWithAlpha", "CopyMask", "CopyPictureWithMask"}) {
        const Picture whole(TheHost().Call(image, std::string(method) + " as picture").ToThing());
        const Picture asked(TheHost().Call(image, method, 0, 0, kWidth, kHeight).ToThing());
        EXPECT_EQ(whole.Pixels(), asked.Pixels()) << method;
        EXPECT_EQ(static_cast<bool>(whole.Mask()), static_cast<bool>(asked.Mask()));
    }
}

TEST_P(ExportTest, RowsThatCrossTheBlockOfTheKernels) {
    for (const int64_t width : {511, 512, 513, 1200}) {
        const MemoryImage image(TheHost(), width, 2, Constant("ImageFormatXCMYK"));
        const Picture picture(TheHost().Call(image, "CopyPicture as picture").ToThing());
        for (int64_t x = 0; x < width; ++x) {
            ASSERT_EQ(picture.RawPixel(x, 1),
                      Stored(ColourOf(TheHost(), image, &image.At(x, 1)), std::nullopt))
                << x;
        }
    }
}

TEST_P(ExportTest, ViewsExportWhatTheyShow) {
    const MemoryImage image(TheHost(), kWidth, kHeight, Constant("ImageFormatRGBA"), 0, 7);
    const Ref clip = TheHost().Call(image, "ClipImage", 3, 2, 5, 4).ToThing();
    const Picture picture(TheHost().Call(clip, "CopyPicture", 1, 1, 100, 100).ToThing());
    ASSERT_EQ(picture.Width(), 4);
    ASSERT_EQ(picture.Height(), 3);
    EXPECT_EQ(picture.Pixel(2, 1) & 0xFFFFFF, ColourOf(TheHost(), image, &image.At(6, 4)));
    const Ref blue = TheHost().Call(clip, "BlueChannel").ToThing();
    const Picture gray(TheHost().Call(blue, "CopyPicture as picture").ToThing());
    EXPECT_EQ(gray.Pixel(4, 3) & 0xFFFFFF, image.At(7, 5, 2) * 0x010101u);
    const Ref mirrored = TheHost().Call(image, "MirroredView").ToThing();
    const Picture upsideDown(TheHost().Call(mirrored, "CopyPicture as picture").ToThing());
    EXPECT_EQ(upsideDown.Pixel(0, 0) & 0xFFFFFF, ColourOf(TheHost(), image, &image.At(0, kHeight - 1)));
}

TEST_P(ExportTest, ThereAndBack) {
    const MemoryImage image(TheHost(), kWidth, kHeight, Constant("ImageFormatRGBA"), 0, 8);
    const Picture picture(TheHost().Call(image, "CopyPictureWithMask as picture").ToThing());
    const MemoryImage back(TheHost(), kWidth, kHeight, Constant("ImageFormatRGBA"), 0, 9);
    ASSERT_NE(back.Bytes(), image.Bytes());
    TheHost().Call(back, "DrawMaskedPictureRGB", picture);
    EXPECT_EQ(back.Bytes(), image.Bytes());
}

TEST_P(ExportTest, EveryInkOnEveryBlack) {
    const MemoryImage image(TheHost(), 256, 256, Constant("ImageFormatCMYK"));
    for (int64_t black = 0; black < 256; ++black) {
        for (int64_t ink = 0; ink < 256; ++ink) {
            for (int64_t channel = 0; channel < 3; ++channel)
                image.At(ink, black, channel) = static_cast<uint8_t>(ink);
            image.At(ink, black, 3) = static_cast<uint8_t>(black);
        }
    }
    const Picture picture(TheHost().Call(image, "CopyPicture as picture").ToThing());
    for (int black = 0; black < 256; ++black) {
        for (int ink = 0; ink < 256; ++ink)
            ASSERT_EQ(BlueOf(picture.Pixel(ink, black)), 255 - (ink * (255 - black)) / 255 - black);
    }
    EXPECT_EQ(picture.Pixel(0, 0) & 0xFFFFFF, 0xFFFFFFu);
    EXPECT_EQ(picture.Pixel(0, 255) & 0xFFFFFF, 0u);
    EXPECT_EQ(picture.Pixel(255, 100) & 0xFFFFFF, 0u);
}

// Single facts, with numbers of their own -----------------------------------------------------------------

class ExportFactTest : public PluginTest {
  protected:
    ExportFactTest() : PluginTest(HostOf(HostKind::Console, 2024.01)) {}

    [[nodiscard]] Ref Call(const Ref& image, const char* method, int64_t x, int64_t y, int64_t w,
                           int64_t h) const {
        return TheHost().Call(image, method, x, y, w, h).ToThing();
    }
};

constexpr const char* kMethods[] = {"CopyPicture", "CopyPictureWithAlpha", "CopyMask", "CopyPictureWithMask"};

TEST_F(ExportFactTest, EmptyAndCutRectangles) {
    const Ref image = NewImage(20, 20, "ImageFormatRGBA");
    for (const char* method : kMethods) {
        EXPECT_FALSE(Call(image, method, 0, 0, 0, 10));
        EXPECT_FALSE(Call(image, method, 20, 0, 1, 1));
        EXPECT_FALSE(Call(image, method, -5, 0, 5, 10));
        const Picture cut(Call(image, method, -5, 0, 10, 10));
        EXPECT_EQ(cut.Width(), 5) << method;
        EXPECT_EQ(cut.Height(), 10) << method;
        EXPECT_EQ(Picture(Call(image, method, 10, 10, -4, -3)).Width(), 4) << method;
        EXPECT_FALSE(Call(image, method, INT64_MAX, INT64_MIN, INT64_MIN, INT64_MAX));
        EXPECT_EQ(Picture(Call(image, method, INT64_MIN, 0, INT64_MAX, 2)).Handle(), nullptr);
    }
}

TEST_F(ExportFactTest, ImagesWithoutAColourFamilyGiveNil) {
    for (const char* format : {"ImageFormatBuffer", "ImageFormatScaling4"}) {
        const Ref image = NewImage(4, 4, format);
        for (const char* method : kMethods)
            EXPECT_FALSE(Call(image, method, 0, 0, 4, 4)) << format << " " << method;
    }
}

TEST_F(ExportFactTest, ImagesWithoutAlpha) {
    const MemoryImage image(TheHost(), 4, 4, Constant("ImageFormatRGB"));
    EXPECT_FALSE(Call(image, "CopyMask", 0, 0, 4, 4));
    EXPECT_EQ(Picture(Call(image, "CopyPictureWithAlpha", 0, 0, 4, 4)).HasAlpha(), true);
    const Picture plain(Call(image, "CopyPicture", 0, 0, 4, 4));
    const Picture masked(Call(image, "CopyPictureWithMask", 0, 0, 4, 4));
    EXPECT_EQ(masked.Pixels(), plain.Pixels());
    EXPECT_FALSE(masked.Mask());
}

TEST_F(ExportFactTest, InvalidAndClosedImagesGiveNil) {
    const Ref invalid = TheHost().New("PictureTRV");
    const Ref closed = NewImage(4, 4, "ImageFormatRGBA");
    TheHost().Call(closed, "Close");
    for (const char* method : kMethods) {
        EXPECT_FALSE(Call(invalid, method, 0, 0, 4, 4));
        EXPECT_FALSE(Call(closed, method, 0, 0, 4, 4));
        EXPECT_FALSE(TheHost().Call(closed, std::string(method) + " as picture").ToThing());
    }
    EXPECT_EQ(TheHost().Calls("newPicture"), 0);
}

TEST_F(ExportFactTest, AlphaOf255IsHalvedIntoGdsTransparency) {
    const MemoryImage image(TheHost(), 3, 1, Constant("ImageFormatGA"));
    image.At(0, 0, 0) = 0x22, image.At(0, 0, 1) = 255;
    image.At(1, 0, 0) = 0x33, image.At(1, 0, 1) = 0;
    image.At(2, 0, 0) = 0x44, image.At(2, 0, 1) = 1;
    const Picture picture(Call(image, "CopyPictureWithAlpha", 0, 0, 3, 1));
    EXPECT_EQ(picture.RawPixel(0, 0), 0x7F222222u);
    EXPECT_EQ(picture.RawPixel(1, 0), 0x00333333u);
    EXPECT_EQ(picture.RawPixel(2, 0), 0x00444444u);
    const Picture opaque(Call(image, "CopyPicture", 0, 0, 3, 1));
    EXPECT_EQ(opaque.RawPixel(0, 0), 0x00222222u);
}

TEST_F(ExportFactTest, TheDebugPictureIsACornerOf512Pixels) {
    const MemoryImage small(TheHost(), 5, 4, Constant("ImageFormatRGBA"));
    EXPECT_FALSE(TheHost().Get<Ref>(small, "DebugPicture"));
    TheHost().Set(small, "DebugPictureEnabled", true);
    const Picture picture(TheHost().Get<Ref>(small, "DebugPicture"));
    EXPECT_EQ(picture.Width(), 5);
    EXPECT_EQ(picture.Height(), 4);
    ASSERT_TRUE(picture.Mask());
    // The mask of 5 by 4 is drawn as if it were of 512 by 512, of which the picture shows the corner.
    EXPECT_EQ(RedOf(picture.Mask().Pixel(4, 3)), small.At(4, 3, 3));

    const Ref large = NewImage(600, 520, "ImageFormatG");
    TheHost().Set(large, "DebugPictureEnabled", true);
    const Picture corner(TheHost().Get<Ref>(large, "DebugPicture"));
    EXPECT_EQ(corner.Width(), 512);
    EXPECT_EQ(corner.Height(), 512);
    EXPECT_FALSE(corner.Mask());
    TheHost().Set(large, "DebugPictureEnabled", false);
    EXPECT_FALSE(TheHost().Get<Ref>(large, "DebugPicture"));
}

TEST_F(ExportFactTest, TheHostsRefusalGivesNil) {
    const Ref image = NewImage(4, 4, "ImageFormatRGBA");
    for (const char* method : kMethods) {
        TheHost().FailNewPicture(1);
        const Ref result = Call(image, method, 0, 0, 4, 4);
        if (std::string_view(method) == "CopyPictureWithAlpha") {
            // A picture with alpha that cannot be had is replaced by one without.
            EXPECT_TRUE(result);
            EXPECT_FALSE(Picture(result).HasAlpha());
            EXPECT_TRUE(TheHost().TakeException()) << "the host's own, from its constructor";
        } else {
            EXPECT_FALSE(result) << method;
        }
    }
    TheHost().FailNewPicture(2);
    const Picture unmasked(Call(image, "CopyPictureWithMask", 0, 0, 4, 4));
    EXPECT_TRUE(unmasked);
    EXPECT_FALSE(unmasked.Mask());
}

TEST_F(ExportFactTest, PicturesEndAt32767Pixels) {
    for (const auto& [width, height] : {std::pair<int64_t, int64_t>{32768, 1}, {1, 32768}}) {
        const Ref image = NewImage(width, height, "ImageFormatGA");
        EXPECT_FALSE(Call(image, "CopyPicture", 0, 0, width, height));
        EXPECT_FALSE(Call(image, "CopyMask", 0, 0, width, height));
        EXPECT_EQ(TheHost().Calls("newPicture"), 0);
        // With an alpha channel there is no such limit.
        EXPECT_EQ(Picture(Call(image, "CopyPictureWithAlpha", 0, 0, width, height)).Width(), width);
    }
    const Ref image = NewImage(32767, 1, "ImageFormatGA");
    EXPECT_EQ(Picture(Call(image, "CopyPicture", 0, 0, 32767, 1)).Width(), 32767);
}

TEST_F(ExportFactTest, APictureWithAlphaNeedsAHostOf2011Point04) {
    for (const auto& [version, hasAlpha] : {std::pair{2011.03, false}, {2011.04, true}, {2024.01, true}}) {
        Load(HostOf(HostKind::Console, version));
        const Ref image = NewImage(4, 4, "ImageFormatRGBA");
        const Picture picture(Call(image, "CopyPictureWithAlpha", 0, 0, 4, 4));
        EXPECT_EQ(picture.HasAlpha(), hasAlpha) << version;
    }
}

TEST_F(ExportFactTest, AWriterNeedsAMutablePicture) {
    const auto canExport = [&](const Options& options) {
        Load(options);
        const Ref image = NewImage(4, 4, "ImageFormatRGBA");
        return static_cast<bool>(Call(image, "CopyPicture", 0, 0, 4, 4));
    };
    for (const PictureStorage storage :
         {PictureStorage::Vector, PictureStorage::VectorMac, PictureStorage::HiDpi})
        EXPECT_FALSE(canExport(HostOf(HostKind::Desktop, 2024.01, storage)));
    EXPECT_TRUE(canExport(HostOf(HostKind::Desktop, 2024.01)));
    Options options = HostOf(HostKind::Desktop, 2024.01);
    options.missingEntries = {"PluginPictureGetType"};
    EXPECT_TRUE(canExport(options)) << "where the host cannot tell, pictures are mutable";
}

TEST_F(ExportFactTest, MasksAreDrawnByWhateverTheHostHas) {
    struct Case {
        double version;
        std::set<std::string, std::less<>> missing;
    };
    const std::string doubles =
        "DrawPicture(Image as Picture, x as Double, y as Double, w as Double, h as Double, sx as Double = 0, "
        "sy as "
        "Double = 0, sw as Double = -10000, sh as Double = -10000)";
    const std::string integers =
        "DrawPicture(Image as Picture, x as Integer, y as Integer, w as Integer, h as Integer, sx as Integer "
        "= 0, sy as "
        "Integer = 0, sw as Integer = -10000, sh as Integer = -10000)";
    const Case cases[] = {{2018.01, {}},         {2018.02, {}},
                          {2018.01, {integers}}, {2018.02, {doubles}},
                          {2020.0, {}},          {2020.01, {"Mask(create As Boolean = True) As Picture"}}};
    for (const Case& test : cases) {
        Options options = HostOf(HostKind::Console, test.version);
        options.missingMembers = test.missing;
        Load(options);
        const MemoryImage image(TheHost(), 6, 5, Constant("ImageFormatRGBA"));
        const Picture picture(Call(image, "CopyPictureWithMask", 0, 0, 6, 5));
        ASSERT_TRUE(picture.Mask()) << test.version;
        for (int64_t y = 0; y < 5; ++y) {
            for (int64_t x = 0; x < 6; ++x)
                ASSERT_EQ(RedOf(picture.Mask().Pixel(x, y)), image.At(x, y, 3)) << test.version;
        }
    }
}

TEST_F(ExportFactTest, WithoutDrawPictureTheMasksOfACutRectangleAreNotDrawn) {
    Options options = HostOf(HostKind::Desktop, 2019.02);
    options.missingMembers = {
        "DrawPicture(Image as Picture, x as Double, y as Double, w as Double, h as Double, sx as Double = 0, "
        "sy as "
        "Double = 0, sw as Double = -10000, sh as Double = -10000)"};
    Load(options);
    const MemoryImage image(TheHost(), 6, 5, Constant("ImageFormatRGBA"));
    const Picture picture(Call(image, "CopyPictureWithMask", 0, 0, 6, 5));
    ASSERT_TRUE(picture.Mask());
    EXPECT_EQ(picture.Mask().Pixel(3, 3), 0xFFFFFFFFu) << "the last resort is for gd images";
}

TEST_F(ExportFactTest, AnImageClosedInAYieldLeavesItsRowsOut) {
    const Ref image = NewImage(3, 6, "ImageFormatRGBA");
    TheHost().Set(image, "YieldTicks", -1);
    int64_t yields = 0;
    TheHost().OnYield([&] {
        if (++yields == 1) TheHost().Call(image, "Close");
    });
    const Ref result = Call(image, "CopyPicture", 0, 0, 3, 6);
    EXPECT_GE(yields, 1) << "how many more depends on the clock";
    EXPECT_TRUE(result) << "rows of an image that was closed meanwhile are left out";
}

}  // namespace
}  // namespace trvtest
