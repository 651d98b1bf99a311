// BlendPicturesWithMaskWithBackground, from outside, against its rule taken pixel by pixel.

#include <gmock/gmock.h>

#include "shared_pixels.h"

namespace trvtest {
namespace {

using testing::Contains;
using trvhost::Color;

struct Rect {
    int64_t x, y, width, height;
};

class BackgroundBlendTest : public SharedPixelsTest {
  protected:
    bool Blend(const Ref& source, const Ref& dest, const Ref& mask, const Ref& result, uint32_t colour,
               const Rect& r) {
        return TheHost()
            .CallShared("PictureTRV", "BlendPicturesWithMaskWithBackground", source, dest, mask, result,
                        Color{colour}, r.x, r.y, r.width, r.height)
            .ToBool();
    }

    /// One call against the reference; null for a picture that is not given.
    void Check(const TestImage& source, const TestImage* dest, const TestImage* mask, const TestImage& result,
               uint32_t colour, Rect r) {
        Stores stores;
        std::string story;
        for (const TestImage* image : {&source, dest, mask, &result}) {
            if (image == nullptr) continue;
            stores.Add(*image);
            story += image->story + " / ";
        }
        const Rect asked = r;
        bool blended = true;
        for (const TestImage* image : {&source, dest, mask, &result})
            blended = blended && (image == nullptr || !ColourNames(image->side).empty());
        const auto fix = [](int64_t& at, int64_t& size, int64_t limit) {
            if (size < 0) at += size, size = -size;
            if (at < 0) size += at, at = 0;
            if (at >= limit) {
                size = 0;
            } else if (at + size > limit) {
                size = limit - at;
            }
        };
        fix(r.x, r.width, source.width);
        fix(r.y, r.height, source.height);
        blended = blended && r.width != 0 && r.height != 0;
        const int red = static_cast<int>(colour >> 16 & 255), green = static_cast<int>(colour >> 8 & 255),
                  blue = static_cast<int>(colour & 255);
        for (int64_t y = r.y; blended && y < r.y + r.height; ++y) {
            for (int64_t x = r.x; x < r.x + r.width; ++x) {
                const auto pixel = [&](const TestImage& image) {
                    return PixelOf{image.side, stores.Pixel(image, x, y)};
                };
                const int m = mask != nullptr ? pixel(*mask).For("Gray") : 0;
                std::vector<int> made;
                for (const std::string& channel : ColourNames(result.side)) {
                    const int s = pixel(source).For(channel);
                    const int b = channel == "Red"     ? red
                                  : channel == "Green" ? green
                                  : channel == "Blue"  ? blue
                                                       : Luma(red, green, blue);
                    const int over = dest != nullptr ? pixel(*dest).For(channel) : b;
                    made.push_back(mask != nullptr ? std::min(255, ((255 - m) * s + m * over) / 255) : s);
                }
                size_t i = 0;
                for (const std::string& channel : ColourNames(result.side))
                    pixel(result).Set(channel.c_str(), made[i++]);
            }
        }
        EXPECT_EQ(Blend(source.image, dest != nullptr ? dest->image : Ref(),
                        mask != nullptr ? mask->image : Ref(), result.image, colour, asked),
                  blended)
            << story;
        stores.ExpectSame(story);
    }

    Rect DrawRect(const TestImage& source) {
        if (Draw(0, 2) == 0) return {0, 0, source.width, source.height};
        return {Draw(-source.width, source.width + 2), Draw(-source.height, source.height + 2),
                Draw(-source.width, 2 * source.width), Draw(-source.height, 2 * source.height)};
    }
    int64_t DrawWidth() { return Draw(0, 9) == 0 ? Draw(600, 2600) : Draw(1, 70); }
    uint32_t DrawColour() { return static_cast<uint32_t>(Draw(0, 0xFFFFFFFF)); }
};

INSTANTIATE_TEST_SUITE_P(, BackgroundBlendTest, kInstructionSets, InstructionSetName);

TEST_P(BackgroundBlendTest, AllWorkersNameThemselves) {
    const TestImage gray = Plain(4, 2, Format("G")), colours = Plain(4, 2, Format("RGB"));
    const auto kind = [](const TestImage* image) { return image->side.family == 'G' ? "_Gray" : "_RGB"; };
    const auto logged = [&](const TestImage& s, const TestImage* d, const TestImage* m, const TestImage& r) {
        return LogOf([&] {
            Blend(s.image, d != nullptr ? d->image : Ref(), m != nullptr ? m->image : Ref(), r.image, 0,
                  {0, 0, 4, 2});
        });
    };
    int workers = 0;
    for (const TestImage* s : {&gray, &colours}) {
        for (const TestImage* r : {&gray, &colours}) {
            ++workers;
            EXPECT_THAT(logged(*s, nullptr, nullptr, *r),
                        testing::IsSupersetOf({std::string("BlendPicturesWithMaskWithBackground5"),
                                               std::string("Fix 0, 0, 4, 2"), std::string("Fixed 0, 0, 4, 2"),
                                               std::string("BlendPictureBG2"),
                                               std::string("BlendPictureBG3") + kind(s) + kind(r)}));
            for (const TestImage* m : {&gray, &colours}) {
                ++workers;
                EXPECT_THAT(logged(*s, nullptr, m, *r),
                            Contains(std::string("BlendPictureBG4") + kind(s) + kind(m) + kind(r)));
                for (const TestImage* d : {&gray, &colours}) {
                    ++workers;
                    const auto log = logged(*s, d, m, *r);
                    EXPECT_THAT(log, Contains(std::string("BlendPictureBG6") + kind(s) + kind(d) + kind(m) +
                                              kind(r)));
                    EXPECT_THAT(log, Contains("okay"));
                }
            }
        }
    }
    EXPECT_EQ(workers, 28);
}

TEST_P(BackgroundBlendTest, AnyFormatsAndViews) {
    const std::vector<int64_t> formats = Formats();
    const auto some = [&](int64_t w, int64_t h) {
        // Mostly those that serve.
        const int64_t format =
            Draw(0, 5) == 0 ? formats[static_cast<size_t>(Draw(0, std::ssize(formats) - 1))] : Draw(1, 13);
        return Some(w, h, format);
    };
    for (int round = 0; round < 800; ++round) {
        const int64_t w = DrawWidth(), h = Draw(1, 5);
        const TestImage source = some(w, h), dest = some(w + Draw(0, 3), h + Draw(0, 2)),
                        mask = some(w + Draw(0, 3), h + Draw(0, 2)),
                        result = some(w + Draw(0, 3), h + Draw(0, 2));
        Check(source, Draw(0, 2) == 0 ? nullptr : &dest, Draw(0, 3) == 0 ? nullptr : &mask, result,
              DrawColour(), DrawRect(source));
        if (HasFatalFailure()) return;
    }
}

TEST_P(BackgroundBlendTest, TheResultMayBeAnyOfThePictures) {
    for (const char* format : {"RGBA", "RGB", "XBGR", "GA", "G"}) {
        for (int round = 0; round < 60; ++round) {
            const int64_t w = DrawWidth(), h = Draw(1, 5);
            const TestImage a = Some(w, h, Format(format)), b = Some(w, h, Format("RGBA")),
                            c = Some(w, h, Format(round % 2 == 0 ? "G" : "RGBA"));
            const Rect whole{0, 0, w, h};
            Check(a, &b, &c, a, 0, whole);
            Check(b, &a, &c, a, 0, whole);
            Check(b, &c, &a, a, 0, whole);
            Check(a, &a, &a, a, 0, DrawRect(a));
            Check(a, nullptr, &a, a, DrawColour(), DrawRect(a));
            // Parts of one store, each somewhere else.
            const TestImage big = Plain(w + 9, h + 3, Format(format));
            const TestImage parts[] = {SomeOver(big, w, h), SomeOver(big, w, h), SomeOver(big, w, h)};
            Check(parts[0], &parts[1], &parts[2], big, 0, whole);
            Check(parts[0], nullptr, &parts[2], parts[1], DrawColour(), whole);
            Check(parts[0], nullptr, nullptr, parts[1], 0, whole);
            if (HasFatalFailure()) return;
        }
    }
}

TEST_P(BackgroundBlendTest, ParticularPixels) {
    const auto one = [&](const char* format, const std::vector<uint8_t>& bytes) {
        TestImage image = Plain(1, 1, Format(format));
        image.root.SetBytes(bytes);
        return image;
    };
    using Bytes = std::vector<uint8_t>;
    const TestImage colours = one("RGB", {10, 20, 30}), other = one("RGB", {200, 100, 0}),
                    red = one("RGB", {255, 0, 0}), full = one("G", {255}), none = one("G", {0});
    const auto blend = [&](const TestImage& source, const Ref& dest, const Ref& mask, const char* format,
                           uint32_t colour) {
        const TestImage result =
            one(format, Bytes(static_cast<size_t>(Plain(1, 1, Format(format)).root.RowSize()), 99));
        EXPECT_TRUE(Blend(source.image, dest, mask, result.image, colour, {0, 0, 1, 1}));
        return result.root.Bytes();
    };
    // A mask of red alone is 76 for all channels.
    Bytes mixed;
    for (const auto& [s, d] : {std::pair{10, 200}, {20, 100}, {30, 0}})
        mixed.push_back(static_cast<uint8_t>(((255 - 76) * s + 76 * d) / 255));
    EXPECT_EQ(blend(colours, other.image, red.image, "RGB", 0), mixed);
    EXPECT_EQ(blend(colours, other.image, none.image, "RGB", 0), (Bytes{10, 20, 30}));
    EXPECT_EQ(blend(colours, other.image, full.image, "RGB", 0), (Bytes{200, 100, 0}));
    // A red background is 76 for a gray result.
    EXPECT_EQ(blend(colours, nullptr, full.image, "G", 0xFF0000), Bytes{76});
    EXPECT_EQ(blend(colours, nullptr, full.image, "RGBA", 0xFF102030), (Bytes{16, 32, 48, 99}));
    // Without a mask a copy, whatever else is given.
    EXPECT_EQ(blend(colours, other.image, nullptr, "RGBX", 0xFFFFFF), (Bytes{10, 20, 30, 99}));
    EXPECT_EQ(blend(colours, nullptr, nullptr, "GA", 0xFFFFFF), (Bytes{Luma(10, 20, 30), 99}));
    EXPECT_EQ(blend(full, nullptr, nullptr, "RGB", 0), (Bytes{255, 255, 255}));
    // 16-bit gray is not refused: the byte at its offset.
    EXPECT_EQ(blend(one("Gray16", {5, 6}), nullptr, nullptr, "G", 0), Bytes{5});
}

TEST_P(BackgroundBlendTest, TheShortFormTakesTheWholeSource) {
    const TestImage source = Plain(5, 3, Format("RGB")), mask = Plain(6, 3, Format("G")),
                    result = Plain(7, 4, Format("RGB"));
    Stores stores;
    stores.Add(source);
    const auto before = result.root.Bytes();
    EXPECT_TRUE(TheHost()
                    .CallShared("PictureTRV", "BlendPicturesWithMaskWithBackground", source.image, nullptr,
                                nullptr, result.image, Color{0})
                    .ToBool());
    auto expected = before;
    for (size_t y = 0; y < 3; ++y)
        std::copy_n(source.root.Row(static_cast<int64_t>(y)), 15,
                    expected.begin() + static_cast<std::ptrdiff_t>(y * 21));
    EXPECT_EQ(result.root.Bytes(), expected);
    bool blended = true;
    EXPECT_THAT(LogOf([&] {
                    blended = TheHost()
                                  .CallShared("PictureTRV", "BlendPicturesWithMaskWithBackground", nullptr,
                                              nullptr, mask.image, result.image, Color{0})
                                  .ToBool();
                }),
                Contains("SourceImage is nil"));
    EXPECT_FALSE(blended);
}

TEST_P(BackgroundBlendTest, RefusalsLeaveTheResultAndSayWhy) {
    const TestImage source = Plain(5, 3, Format("RGB")), result = Plain(5, 3, Format("RGB")),
                    narrow = Plain(4, 3, Format("RGB")), low = Plain(5, 2, Format("G")),
                    ink = Plain(5, 3, Format("CMYK"));
    const Ref unconstructed = TheHost().New("PictureTRV"), nil;
    Stores stores;
    stores.Add(result);
    const auto refused = [&](const std::string& line, const Ref& s, const Ref& d, const Ref& m, const Ref& r,
                             const Rect& rect = {0, 0, 5, 3}) {
        bool blended = true;
        EXPECT_THAT(LogOf([&] { blended = Blend(s, d, m, r, 0, rect); }), Contains(line));
        EXPECT_FALSE(blended) << line;
    };
    const Ref& s = source.image;
    const Ref& r = result.image;
    refused("SourceImage is nil", nil, nil, nil, r);
    refused("Picture not valid.", unconstructed, nil, nil, r);
    refused("SourceImage is not RGB or Gray.", ink.image, nil, nil, r);
    refused("Width or height is 0. 0, 3", s, nil, nil, r, {0, 0, 0, 3});
    refused("Width or height is 0. 0, 3", s, nil, nil, nil, {5, 0, 2, 3});
    refused("Result is nil", s, nil, nil, nil);
    refused("Picture not valid.", s, nil, nil, unconstructed);
    refused("Result too small.", s, nil, nil, narrow.image, {0, 0, 1, 1});
    refused("Result too small.", s, nil, nil, low.image);
    refused("Result is not RGB or Gray.", s, nil, nil, ink.image);
    refused("Picture not valid.", s, unconstructed, nil, r);
    refused("DestImage too small.", s, narrow.image, nil, r);
    refused("DestImage too small.", s, low.image, nil, r);
    refused("DestImage is not RGB or Gray.", s, ink.image, nil, r);
    refused("Picture not valid.", s, nil, unconstructed, r);
    refused("Mask too small.", s, nil, narrow.image, r);
    refused("Mask too small.", s, r, low.image, r);
    refused("Mask is not RGB or Gray.", s, nil, ink.image, r);
    // Wholly to the left the width ends below 0, which passes and does nothing.
    EXPECT_TRUE(Blend(s, nil, nil, r, 0, {-9, 0, 4, 3}));
    EXPECT_TRUE(Blend(s, nil, nil, r, 0, {0, -9, 5, 3}));
    EXPECT_TRUE(Blend(s, nil, nil, r, 0, {INT64_MIN, INT64_MIN, 1, 1}));
    // Rows of closed pictures cannot be had.
    TheHost().Call(s, "Close");
    EXPECT_TRUE(Blend(s, nil, nil, r, 0, {0, 0, 5, 3}));
    EXPECT_EQ(TheHost().Calls("REALYieldToRB"), 0);
    stores.ExpectSame("refused");
}

TEST_P(BackgroundBlendTest, TheLogLineByLine) {
    const TestImage gray = Plain(4, 2, Format("GA")), colours = Plain(5, 3, Format("BGRX"));
    using Lines = std::vector<std::string>;
    const auto log = [&](const Ref& dest, const Ref& mask, const Rect& r) {
        return LogOf([&] { EXPECT_TRUE(Blend(gray.image, dest, mask, colours.image, 0, r)); });
    };
    const Ref nil;
    EXPECT_EQ(log(colours.image, gray.image, {5, 1, -3, 9}),
              (Lines{"BlendPicturesWithMaskWithBackground5", "Fix 5, 1, -3, 9", "Fixed 2, 1, 2, 1",
                     "BlendPictureBG2", "BlendPictureBG6_Gray_RGB_Gray_RGB", "okay"}));
    EXPECT_EQ(log(nil, colours.image, {-6, 0, 2, 2}),
              (Lines{"BlendPicturesWithMaskWithBackground5", "Fix -6, 0, 2, 2", "Fixed 0, 0, -4, 2",
                     "BlendPictureBG2", "BlendPictureBG4_Gray_RGB_RGB"}));
    EXPECT_EQ(log(colours.image, nil, {0, 0, 4, 2}),
              (Lines{"BlendPicturesWithMaskWithBackground5", "Fix 0, 0, 4, 2", "Fixed 0, 0, 4, 2",
                     "BlendPictureBG2", "BlendPictureBG3_Gray_RGB"}));
}

TEST_P(BackgroundBlendTest, OfSeveralFaultsTheFirstIsNamed) {
    const TestImage source = Plain(5, 3, Format("RGB")), small = Plain(4, 2, Format("CMYK")),
                    ink = Plain(5, 3, Format("CMYK"));
    const Ref unconstructed = TheHost().New("PictureTRV"), nil;
    const auto last = [&](const Ref& s, const Ref& d, const Ref& m, const Ref& r, int64_t width) {
        return LogOf([&] { EXPECT_FALSE(Blend(s, d, m, r, 0, {0, 0, width, 3})); }).back();
    };
    const Ref& s = source.image;
    EXPECT_EQ(last(nil, unconstructed, unconstructed, nil, 0), "SourceImage is nil");
    EXPECT_EQ(last(unconstructed, unconstructed, unconstructed, nil, 0), "Picture not valid.");
    EXPECT_EQ(last(ink.image, unconstructed, unconstructed, nil, 0), "SourceImage is not RGB or Gray.");
    EXPECT_EQ(last(s, unconstructed, unconstructed, nil, 0), "Width or height is 0. 0, 3");
    EXPECT_EQ(last(s, unconstructed, unconstructed, nil, 5), "Result is nil");
    EXPECT_EQ(last(s, small.image, small.image, small.image, 5), "Result too small.");
    EXPECT_EQ(last(s, small.image, small.image, ink.image, 5), "Result is not RGB or Gray.");
    EXPECT_EQ(last(s, small.image, unconstructed, s, 5), "DestImage too small.");
    EXPECT_EQ(last(s, ink.image, unconstructed, s, 5), "DestImage is not RGB or Gray.");
    EXPECT_EQ(last(s, s, small.image, s, 5), "Mask too small.");
}

TEST_P(BackgroundBlendTest, NeverYields) {
    const TestImage source = Plain(5, 3, Format("RGB")), result = Plain(5, 3, Format("RGB"));
    TheHost().Set(source.image, "YieldTicks", int64_t{-1});
    TheHost().Set(result.image, "YieldTicks", int64_t{-1});
    EXPECT_TRUE(Blend(source.image, nullptr, nullptr, result.image, 0, {0, 0, 5, 3}));
    EXPECT_EQ(TheHost().Calls("REALYieldToRB"), 0);
}

TEST_P(BackgroundBlendTest, MappedPictures) {
    // 24 MB in windows of 16, the same image in three parts and a gray one beside it.
    constexpr int64_t kRows = 6000;
    const auto mapped = [&](const char* format) {
        return TheHost().Construct("PictureTRV", 600, kRows, Format(format), int64_t{0},
                                   trvhost::FolderItem());
    };
    const Ref image = mapped("RGBA"), mask = mapped("G");
    for (const int64_t y : {int64_t{0}, kRows - 1}) {
        TheHost().Call(image, "FillRectRGB", 0, y, 600, 1, 200, 100, 50, 25);
        TheHost().Call(mask, "FillRect", 0, y, 600, 1, 51);
    }
    EXPECT_TRUE(Blend(image, nullptr, mask, image, 0x0000FF, {0, 0, 600, kRows}));
    for (const int64_t y : {int64_t{0}, kRows - 1}) {
        const auto block = TheHost().Call(image, "Row(index as integer) as memoryblock", y).ToThing();
        const auto bytes = trvhost::MemoryBlock(block).Bytes();
        for (size_t x = 0; x < 600; ++x) {
            ASSERT_EQ((std::vector<uint8_t>(bytes.begin() + static_cast<std::ptrdiff_t>(4 * x),
                                            bytes.begin() + static_cast<std::ptrdiff_t>(4 * x + 4))),
                      (std::vector<uint8_t>{160, 80, 91, 25}));
        }
    }
}

}  // namespace
}  // namespace trvtest
