// Combine, from outside, against its rule taken pixel by pixel.

#include <gmock/gmock.h>

#include "shared_pixels.h"

namespace trvtest {
namespace {

using testing::Contains;
using trvhost::Color;

/// Where a rectangle ends up on two pictures, one axis at a time, in the order of the steps.
struct Placed {
    int64_t dx, dy, width, height, sx, sy;

    void Fix(int64_t destWidth, int64_t destHeight, int64_t sourceWidth, int64_t sourceHeight) {
        Axis(dx, width, sx, destWidth, sourceWidth);
        Axis(dy, height, sy, destHeight, sourceHeight);
    }
    [[nodiscard]] bool IsEmpty() const { return width <= 0 || height <= 0; }

    static void Axis(int64_t& at, int64_t& size, int64_t& from, int64_t limit, int64_t fromLimit) {
        if (from < 0) size += from, at += from, from = 0;
        if (size < 0) at += size, size = -size;
        if (at < 0) size += at, from -= at, at = 0;
        if (at >= limit) size = 0;
        if (at + size > limit) size = limit - at;
        if (from + size > fromLimit) size = fromLimit - from;
    }
};

int Mix(int d, int s, int m) {
    return ((255 - m) * s + d * m) / 255;
}

/// Values of a pixel's channels, in the order in which they are written.
using Made = std::vector<std::pair<std::string, int>>;

/// A pixel of Case2. All is read before anything is written.
void Case2Pixel(const PixelOf& d, const PixelOf& s, const PixelOf& m, bool pre) {
    Made made;
    for (const std::string& channel : ColourNames(d.side)) {
        const int own = d(channel.c_str());
        const int weak = d.side.family == 'G' ? own : d.AlphaOr255();
        made.emplace_back(channel, pre ? weak * m.For(channel) / 255 + s.For(channel)
                                       : Mix(own, s.For(channel), m.For(channel)));
    }
    if (d.side.alpha) {
        const int da = d.AlphaOr255(), sa = s.AlphaOr255(), ma = m.AlphaOr255();
        made.emplace_back("Alpha", pre ? da * ma / 255 + sa : Mix(da, sa, ma));
    }
    for (const auto& [channel, value] : made)
        d.Set(channel.c_str(), value);
}

void Case3Pixel(const PixelOf& d, const PixelOf& s, int fr, int fg, int fb, bool pre) {
    const int m = s.side.family == 'G' ? s("Gray") : (s("Red") + s("Green") + s("Blue")) / 3;
    if (d.side.family == 'G') {
        const int old = d("Gray");
        const int r = (old * m + (255 - m) * fr) / 255, g = (old * m + (255 - m) * fg) / 255,
                  b = (old * m + (255 - m) * fb) / 255;
        d.Set("Gray", pre ? ((old * m / 255) * 256 + fb * 28 + fr * 77 + fg * 151) / 256
                          : (r * 77 + g * 151 + b * 28) / 256);
        return;
    }
    const std::pair<const char*, int> colours[] = {{"Red", fr}, {"Green", fg}, {"Blue", fb}};
    Made made;
    for (const auto& [channel, f] : colours) {
        const int old = d(channel);
        made.emplace_back(channel, pre ? old * m / 255 + f : (old * m + (255 - m) * f) / 255);
    }
    for (const auto& [channel, value] : made)
        d.Set(channel.c_str(), value);
}

int Component(const std::string& channel, int r, int g, int b) {
    return channel == "Red" ? r : channel == "Green" ? g : channel == "Blue" ? b : Luma(r, g, b);
}

void Case4Pixel(const PixelOf& d, const PixelOf& s, int kr, int kg, int kb, bool pre) {
    Made made;
    for (const std::string& channel : ColourNames(d.side)) {
        const int k = Component(channel, kr, kg, kb), old = d(channel.c_str()), from = s.For(channel);
        made.emplace_back(channel, pre ? old * k / 255 + from : (old * k + from * (255 - k)) / 255);
    }
    for (const auto& [channel, value] : made)
        d.Set(channel.c_str(), value);
}

class CombineTest : public SharedPixelsTest {
  protected:
    Placed DrawPlace(const TestImage& dest, const TestImage& source) {
        if (Draw(0, 2) == 0) return {0, 0, std::max<int64_t>(1, source.width), source.height, 0, 0};
        return {Draw(-dest.width, dest.width + 2),     Draw(-dest.height, dest.height + 2),
                Draw(1, 2 * source.width + 2),         Draw(1, 2 * source.height + 2),
                Draw(-source.width, source.width + 2), Draw(-source.height, source.height + 2)};
    }

    bool Combine(const TestImage& dest, const TestImage& source, bool pre, const Ref& mask, const Placed& at,
                 bool useColours = false, int64_t fore = -1, int64_t maskColour = -1) {
        return TheHost()
            .Call(dest.image, "Combine", source.image, pre, mask, at.dx, at.dy, at.sx, at.sy, at.width,
                  at.height, useColours, fore, maskColour)
            .ToBool();
    }

    /// Calls `pixel(x, y, x of source, y of source)` in the order of the rows, top down and left to right.
    template <class Pixel>
    static bool Walk(Placed at, const TestImage& dest, const TestImage& source, Pixel&& pixel) {
        at.Fix(dest.width, dest.height, source.width, source.height);
        for (int64_t j = 0; j < at.height; ++j) {
            for (int64_t i = 0; i < at.width; ++i)
                pixel(at.dx + i, at.dy + j, at.sx + i, at.sy + j);
        }
        return !at.IsEmpty();
    }

    /// One Case2 against the reference.
    void CheckCase2(const TestImage& dest, const TestImage& source, const TestImage& mask, bool pre,
                    const Placed& at) {
        Stores stores;
        for (const TestImage* image : {&dest, &source, &mask})
            stores.Add(*image);
        bool combined = !dest.side.wide && !source.side.wide && !mask.side.wide;
        const bool colours = !ColourNames(dest.side).empty() && !ColourNames(source.side).empty() &&
                             !ColourNames(mask.side).empty();
        if (combined) {
            combined = Walk(at, dest, source, [&](int64_t x, int64_t y, int64_t sx, int64_t sy) {
                if (!colours) return;
                Case2Pixel({dest.side, stores.Pixel(dest, x, y)}, {source.side, stores.Pixel(source, sx, sy)},
                           {mask.side, stores.Pixel(mask, sx, sy)}, pre);
            });
        }
        EXPECT_EQ(Combine(dest, source, pre, mask.image, at), combined);
        stores.ExpectSame("Case2 " + dest.story + " / " + source.story + " / " + mask.story +
                          (pre ? " pt" : " pf"));
    }

    void CheckCase34(const TestImage& dest, const TestImage& source, bool pre, bool constantMask,
                     const Placed& at) {
        Stores stores;
        stores.Add(dest);
        stores.Add(source);
        const int64_t colour = Draw(0, 0xFFFFFF);
        const bool useColours = Draw(0, 3) != 0;
        const int r = static_cast<int>(colour >> 16), g = static_cast<int>(colour >> 8 & 255),
                  b = static_cast<int>(colour & 255);
        const int on = useColours ? 1 : 0;
        bool combined = !constantMask || (!dest.side.wide && !source.side.wide);
        const bool colours = !ColourNames(dest.side).empty() && !ColourNames(source.side).empty();
        if (combined) {
            combined = Walk(at, dest, source, [&](int64_t x, int64_t y, int64_t sx, int64_t sy) {
                if (!colours) return;
                const PixelOf d{dest.side, stores.Pixel(dest, x, y)},
                    s{source.side, stores.Pixel(source, sx, sy)};
                if (constantMask) {
                    Case4Pixel(d, s, r * on, g * on, b * on, pre);
                } else {
                    Case3Pixel(d, s, r, g, b, pre);
                }
            });
        }
        EXPECT_EQ(Combine(dest, source, pre, nullptr, at, useColours,
                          constantMask ? Draw(-1, 0xFFFFFF) : colour, constantMask ? colour : -1),
                  combined);
        stores.ExpectSame(std::string(constantMask ? "Case4 " : "Case3 ") + dest.story + " / " +
                          source.story + (pre ? " pt" : " pf"));
    }

    /// A width that now and then takes several blocks.
    int64_t DrawWidth() { return Draw(0, 9) == 0 ? Draw(600, 2600) : Draw(1, 70); }
};

INSTANTIATE_TEST_SUITE_P(, CombineTest, kInstructionSets, InstructionSetName);

constexpr const char* kLayouts[] = {"G", "GA", "RGB", "RGBA"};

TEST_P(CombineTest, All128WorkersOfCase2) {
    for (const char* d : kLayouts) {
        for (const char* s : kLayouts) {
            for (const char* m : kLayouts) {
                for (const bool pre : {false, true}) {
                    const std::string label = std::string("Case2") + d + s + m + (pre ? "pt" : "pf");
                    const TestImage dest = Plain(9, 3, Format(d)), source = Plain(9, 3, Format(s)),
                                    mask = Plain(9, 3, Format(m));
                    EXPECT_EQ(LineOf(label.c_str(),
                                     [&] {
                                         Combine(dest, source, pre, mask.image, {0, 0, 9, 3, 0, 0});
                                     }),
                              label);
                    for (int round = 0; round < 4; ++round) {
                        const int64_t w = DrawWidth(), h = Draw(1, 5);
                        const TestImage big = Some(DrawWidth(), Draw(1, 6), Format(d)),
                                        from = Some(w, h, Format(s)), by = Some(w, h, Format(m));
                        CheckCase2(big, from, by, pre, DrawPlace(big, from));
                        if (HasFatalFailure()) return;
                    }
                    // Cut at each side of the destination, and of the source.
                    const TestImage to = Some(12, 7, Format(d)), from = Some(9, 6, Format(s)),
                                    by = Some(9, 6, Format(m));
                    for (const Placed& at : {Placed{-3, 1, 9, 6, 0, 0},
                                             {2, -2, 9, 6, 0, 0},
                                             {8, 1, 9, 6, 0, 0},
                                             {1, 4, 9, 6, 0, 0},
                                             {5, 1, 8, 4, -2, 0},
                                             {1, 5, 4, 4, 0, -1},
                                             {0, 0, 6, 4, 5, 1},
                                             {0, 0, 4, 6, 1, 3}}) {
                        CheckCase2(to, from, by, pre, at);
                        if (HasFatalFailure()) return;
                    }
                }
            }
        }
    }
}

TEST_P(CombineTest, AnyFormatsAndViews) {
    const std::vector<int64_t> formats = Formats();
    const auto draw = [&] { return formats[static_cast<size_t>(Draw(0, std::ssize(formats) - 1))]; };
    for (int round = 0; round < 400; ++round) {
        const int64_t w = DrawWidth(), h = Draw(1, 5);
        const TestImage dest = Some(DrawWidth(), Draw(1, 6), draw()), source = Some(w, h, draw()),
                        mask = Some(w, h, draw());
        CheckCase2(dest, source, mask, Draw(0, 1) == 1, DrawPlace(dest, source));
        CheckCase34(dest, source, Draw(0, 1) == 1, Draw(0, 1) == 1, DrawPlace(dest, source));
        if (HasFatalFailure()) return;
    }
}

TEST_P(CombineTest, PicturesOfOneStore) {
    for (const char* format : {"RGBA", "RGB", "XBGR", "GA", "G", "G3", "ABGR"}) {
        for (int round = 0; round < 60; ++round) {
            const TestImage dest = Plain(DrawWidth(), Draw(3, 8), Format(format));
            const int64_t w = Draw(1, dest.width), h = Draw(1, dest.height);
            // The mask, the source or both look at what is written, here or somewhere else.
            const int64_t kind = Draw(0, 3);
            const TestImage source = kind == 0 ? Some(w, h, Format("RGBA")) : SomeOver(dest, w, h);
            const TestImage mask = kind == 1 ? Some(w, h, Format("G")) : SomeOver(dest, w, h);
            CheckCase2(dest, source, mask, Draw(0, 1) == 1, DrawPlace(dest, source));
            CheckCase34(dest, source, Draw(0, 1) == 1, Draw(0, 1) == 1, DrawPlace(dest, source));
            // The very same image in all three parts, in place and a pixel apart.
            CheckCase2(dest, dest, dest, Draw(0, 1) == 1, {0, 0, dest.width, dest.height, 0, 0});
            CheckCase2(dest, dest, dest, Draw(0, 1) == 1, {1, 0, dest.width, dest.height, 0, 0});
            CheckCase2(dest, dest, dest, Draw(0, 1) == 1, {0, 1, dest.width, dest.height, 0, 0});
            if (HasFatalFailure()) return;
        }
    }
}

TEST_P(CombineTest, ChannelsInUnusualPlaces) {
    for (int round = 0; round < 60; ++round) {
        TestImage images[] = {Some(40, 4, Format("RGBA")), Some(40, 4, Format("BGRA")),
                              Some(40, 4, Format("RGBX"))};
        for (TestImage& image : images) {
            for (const char* channel : {"Red", "Green", "Blue", "Alpha", "Gray"}) {
                if (Draw(0, 2) == 0)
                    TheHost().Set(image.image, std::string(channel) + "Offset",
                                  Draw(0, image.side.pixelSize - 1));
            }
            image.side = Side(TheHost(), image.image);
        }
        CheckCase2(images[0], images[1], images[2], Draw(0, 1) == 1, {0, 0, 40, 4, 0, 0});
        CheckCase2(images[0], SomeOver(images[0], 20, 2), images[0].width == 20 ? images[0] : Some(20, 2, 11),
                   Draw(0, 1) == 1, {3, 1, 20, 2, 0, 0});
        CheckCase34(images[2], images[0], Draw(0, 1) == 1, Draw(0, 1) == 1, {0, 0, 40, 4, 0, 0});
        if (HasFatalFailure()) return;
    }
}

TEST_P(CombineTest, TheWorkersOfCase3AndCase4) {
    for (const char* d : {"G", "RGB"}) {
        for (const char* s : {"G", "RGB"}) {
            for (const bool pre : {false, true}) {
                const std::string end = std::string(d) + s + (pre ? "pt" : "pf");
                const TestImage dest = Plain(5, 2, Format(d)), source = Plain(5, 2, Format(s));
                const Placed at{0, 0, 5, 2, 0, 0};
                const auto log = LogOf([&] { Combine(dest, source, pre, nullptr, at, true, 0x010203, -1); });
                EXPECT_THAT(log, Contains("Case3" + end));
                EXPECT_THAT(log, Contains(*s == 'G' ? "MSHasGray true" : "MSHasGray false"));
                EXPECT_THAT(log, Contains(*s == 'G' ? "MSHasRGB false" : "MSHasRGB true"));
                EXPECT_THAT(log, Contains(*d == 'G' ? "MEHasGray true" : "MEHasGray false"));
                EXPECT_THAT(log, Contains(*d == 'G' ? "MEHasRGB false" : "MEHasRGB true"));
                for (const char* line : {"TR 1", "TG 2", "TB 3"})
                    EXPECT_THAT(log, Contains(line));
                EXPECT_THAT(log, Contains(*d == 'G' ? "eps 1" : "eps 3"));
                EXPECT_THAT(log, Contains(*s == 'G' ? "sps 1" : "sps 3"));
                EXPECT_THAT(LogOf([&] { Combine(dest, source, pre, nullptr, at, true, -1, 0x010203); }),
                            Contains("Case4" + end));
                for (int round = 0; round < 40; ++round) {
                    const TestImage big = Some(DrawWidth(), Draw(1, 6), Format(d)),
                                    from = Some(DrawWidth(), Draw(1, 6), Format(s));
                    CheckCase34(big, from, pre, round % 2 == 0, DrawPlace(big, from));
                    if (HasFatalFailure()) return;
                }
            }
        }
    }
}

TEST_P(CombineTest, ParticularPixels) {
    const auto one = [&](const char* format, std::vector<uint8_t> bytes) {
        TestImage image = Plain(1, 1, Format(format));
        image.root.SetBytes(bytes);
        return image;
    };
    const auto combine = [&](const TestImage& dest, const TestImage& source, bool pre, const Ref& mask,
                             int64_t fore = -1, int64_t maskColour = -1) {
        EXPECT_TRUE(Combine(dest, source, pre, mask, {0, 0, 1, 1, 0, 0}, true, fore, maskColour));
        return dest.root.Bytes();
    };
    using Bytes = std::vector<uint8_t>;
    // A sum of 300 wraps.
    EXPECT_EQ(combine(one("G", {200}), one("G", {100}), true, one("G", {255}).image), Bytes{44});
    // Mask plus source, whatever was there.
    EXPECT_EQ(
        combine(one("RGB", {9, 99, 199}), one("RGB", {10, 20, 30}), true, one("RGB", {1, 2, 240}).image),
        (Bytes{11, 22, 14}));
    // Alpha goes down by one, and 0 becomes 255.
    EXPECT_EQ(combine(one("GA", {50, 0}), one("G", {7}), true, one("G", {255}).image), (Bytes{57, 255}));
    EXPECT_EQ(combine(one("GA", {50, 9}), one("G", {7}), true, one("G", {0}).image), (Bytes{7, 8}));
    // A mask without alpha keeps the alpha, and with a premultiplied source adds the source's.
    EXPECT_EQ(combine(one("GA", {50, 9}), one("GA", {7, 30}), false, one("G", {0}).image), (Bytes{7, 9}));
    EXPECT_EQ(combine(one("GA", {50, 9}), one("GA", {7, 250}), true, one("G", {0}).image), (Bytes{7, 3}));
    // The destination's alpha in place of its colour.
    EXPECT_EQ(combine(one("RGBA", {1, 2, 3, 100}), one("RGB", {5, 6, 7}), true, one("G", {255}).image),
              (Bytes{105, 106, 107, 99}));
    // The mean and not the brightness: 170, where the brightness would be 227.
    EXPECT_EQ(combine(one("RGB", {255, 255, 255}), one("RGB", {255, 255, 0}), false, nullptr, 0),
              (Bytes{170, 170, 170}));
    // Without use of the colours a mask colour copies.
    TestImage dest = one("RGB", {1, 2, 3});
    EXPECT_TRUE(Combine(dest, one("G", {77}), false, nullptr, {0, 0, 1, 1, 0, 0}, false, -1, 0xFFFFFF));
    EXPECT_EQ(dest.root.Bytes(), (Bytes{77, 77, 77}));
    // Neither mask nor colour copies, premultiplied or not.
    EXPECT_EQ(combine(one("RGB", {1, 2, 3}), one("RGB", {4, 5, 6}), true, nullptr), (Bytes{4, 5, 6}));
    // A mask of 255 keeps, of 0 takes.
    EXPECT_EQ(combine(one("RGBA", {1, 2, 3, 4}), one("RGBA", {5, 6, 7, 8}), false,
                      one("RGBA", {255, 255, 255, 255}).image),
              (Bytes{1, 2, 3, 4}));
    EXPECT_EQ(
        combine(one("RGBA", {1, 2, 3, 4}), one("RGBA", {5, 6, 7, 8}), false, one("RGBA", {0, 0, 0, 0}).image),
        (Bytes{5, 6, 7, 8}));
}

TEST_P(CombineTest, AllFormsPassOnWhatTheyAreGiven) {
    const TestImage source = Plain(2, 1, Format("G")), mask = Plain(2, 1, Format("G"));
    source.root.SetBytes({100, 40});
    mask.root.SetBytes({255, 0});
    const auto run = [&](auto... args) {
        const TestImage dest = Plain(2, 1, Format("G"));
        dest.root.SetBytes({200, 60});
        EXPECT_TRUE(TheHost().Call(dest.image, "Combine", source.image, args...).ToBool());
        return dest.root.Bytes();
    };
    using Bytes = std::vector<uint8_t>;
    const Ref nil;
    const Bytes mixed{200, 40}, added{44, 40}, copied{100, 40};
    // Case3 with a fore colour of 255 and Case4 with a mask colour of 255.
    const Bytes coloured{static_cast<uint8_t>((200 * 100 + 155 * 255) / 255),
                         static_cast<uint8_t>((60 * 40 + 215 * 255) / 255)};
    const Bytes colouredPre{static_cast<uint8_t>(200 * 100 / 255 + 255),
                            static_cast<uint8_t>(60 * 40 / 255 + 255)};
    EXPECT_EQ(run(mask.image, 0, 0, 0, 0, 2, 1, false), mixed);
    EXPECT_EQ(run(mask.image, 0, 0, 0, 0, 2, 1, false, 5), mixed);
    EXPECT_EQ(run(mask.image, 0, 0, 0, 0, 2, 1, false, 5, 6), mixed);
    EXPECT_EQ(run(mask.image, 0, 0, 0, 0, 2, 1, false, Color{5}), mixed);
    EXPECT_EQ(run(mask.image, 0, 0, 0, 0, 2, 1, false, Color{5}, Color{6}), mixed);
    EXPECT_EQ(run(true, mask.image, 0, 0, 0, 0, 2, 1, false), added);
    EXPECT_EQ(run(false, mask.image, 0, 0, 0, 0, 2, 1, false), mixed);
    EXPECT_EQ(run(true, mask.image, 0, 0, 0, 0, 2, 1, false, 5), added);
    EXPECT_EQ(run(true, mask.image, 0, 0, 0, 0, 2, 1, false, 5, 6), added);
    EXPECT_EQ(run(true, mask.image, 0, 0, 0, 0, 2, 1, false, Color{5}), added);
    EXPECT_EQ(run(true, mask.image, 0, 0, 0, 0, 2, 1, false, Color{5}, Color{6}), added);
    EXPECT_EQ(run(nil, 0, 0, 0, 0, 2, 1, true), copied);
    EXPECT_EQ(run(true, nil, 0, 0, 0, 0, 2, 1, true), copied);
    EXPECT_EQ(run(nil, 0, 0, 0, 0, 2, 1, true, -1), copied);
    EXPECT_EQ(run(nil, 0, 0, 0, 0, 2, 1, true, -7, -9), copied);
    EXPECT_EQ(run(nil, 0, 0, 0, 0, 2, 1, true, 0xFFFFFF), coloured);
    // A Color is never negative, also one with its top bits set.
    EXPECT_EQ(run(nil, 0, 0, 0, 0, 2, 1, true, Color{0xFFFFFFFF}), coloured);
    EXPECT_EQ(run(true, nil, 0, 0, 0, 0, 2, 1, true, Color{0xFFFFFF}), colouredPre);
    EXPECT_EQ(run(nil, 0, 0, 0, 0, 2, 1, true, 0, 0xFFFFFF), (Bytes{200, 60}));
    EXPECT_EQ(run(true, nil, 0, 0, 0, 0, 2, 1, true, Color{0}, Color{0xFFFFFFFF}), (Bytes{44, 100}));
    EXPECT_EQ(run(nil, 0, 0, 0, 0, 2, 1, false, 0, 0xFFFFFF), copied);
}

TEST_P(CombineTest, RefusalsLeaveEverythingAndSayWhy) {
    const TestImage dest = Plain(6, 4, Format("RGB")), source = Plain(5, 3, Format("RGB")),
                    mask = Plain(5, 3, Format("G")), wide = Plain(5, 3, Format("Gray16")),
                    lower = Plain(5, 2, Format("G")), narrower = Plain(4, 3, Format("G"));
    const Placed at{0, 0, 5, 3, 0, 0};
    Stores stores;
    for (const TestImage* image : {&dest, &source, &mask, &wide})
        stores.Add(*image);
    const Ref unconstructed = TheHost().New("PictureTRV");
    const auto refused = [&](const char* line, const Ref& me, const Ref& image, const Ref& by,
                             const Placed& where, int64_t fore = -1, int64_t maskColour = -1) {
        bool result = true;
        EXPECT_THAT(LogOf([&] {
                        result = TheHost()
                                     .Call(me, "Combine", image, false, by, where.dx, where.dy, where.sx,
                                           where.sy, where.width, where.height, true, fore, maskColour)
                                     .ToBool();
                    }),
                    Contains(line));
        EXPECT_FALSE(result) << line;
    };
    refused("pImage is nil", dest.image, nullptr, mask.image, at);
    refused("pWidth <= 0", dest.image, source.image, mask.image, {0, 0, 0, 3, 0, 0});
    refused("pWidth <= 0", dest.image, unconstructed, unconstructed, {0, 0, -4, 3, 0, 0});
    refused("pHeight <= 0", dest.image, source.image, mask.image, {0, 0, 5, 0, 0, 0});
    refused("Picture not valid.", dest.image, source.image, unconstructed, at);
    refused("Picture not valid.", dest.image, unconstructed, mask.image, at);
    refused("Picture not valid.", unconstructed, source.image, mask.image, at);
    refused("Picture not valid.", dest.image, unconstructed, nullptr, at, 5);
    refused("Picture not valid.", dest.image, unconstructed, nullptr, at, -1, 5);
    for (const auto& [me, image, by] : {std::array{wide.image, source.image, mask.image},
                                        {dest.image, wide.image, mask.image},
                                        {dest.image, source.image, wide.image}}) {
        refused("More than 8 BitsPerComponent not supported here 16", me, image, by, at);
    }
    refused("More than 8 BitsPerComponent not supported here 16", dest.image, wide.image, nullptr, at, -1, 5);
    refused("More than 8 BitsPerComponent not supported here 16", wide.image, source.image, nullptr, at, -1,
            5);
    refused("Width not the same: 4, 5", dest.image, source.image, narrower.image, at);
    refused("Height not the same: 2, 3", dest.image, source.image, lower.image, at);
    refused("w is <= 0", dest.image, source.image, mask.image, {6, 0, 5, 3, 0, 0});
    refused("h is <= 0", dest.image, source.image, mask.image, {0, 4, 5, 3, 0, 0});
    refused("Case3", dest.image, source.image, nullptr, {6, 0, 5, 3, 0, 0}, 5);
    refused("Case4", dest.image, source.image, nullptr, {6, 0, 5, 3, 0, 0}, -1, 5);
    stores.ExpectSame("refused");
    TheHost().Call(source.image, "Close");
    refused("GetRow is nil", dest.image, source.image, mask.image, at);
    refused("GetRow is nil", dest.image, source.image, nullptr, at, 5);
    // A closed mask is not asked for its state; it has no rows.
    const TestImage open = Plain(5, 3, Format("RGB"));
    TheHost().Call(mask.image, "Close");
    EXPECT_TRUE(Combine(dest, open, false, mask.image, at));
    stores.ExpectSame("closed");
}

TEST_P(CombineTest, SixteenBitsAreRefusedExceptAsTheMaskOfAColour) {
    for (int round = 0; round < 20; ++round) {
        const TestImage source = Some(30, 3, Format("Gray16"));
        CheckCase34(Some(30, 3, Format("RGBA")), source, round % 2 == 0, false, {0, 0, 30, 3, 0, 0});
        CheckCase34(Some(30, 3, Format("Gray16")), source, round % 2 == 0, false, {0, 0, 30, 3, 0, 0});
    }
}

TEST_P(CombineTest, EveryArgumentIsLogged) {
    const TestImage dest = Plain(6, 4, Format("RGB")), source = Plain(5, 3, Format("RGB"));
    const auto log = LogOf([&] { Combine(dest, source, false, nullptr, {1, 2, 3, 1, 0, 1}, true, -1, -2); });
    EXPECT_THAT(log, testing::IsSupersetOf({"PictureCombine1pm", "pDestX 1", "pDestY 2", "pSourceX 0",
                                            "pSourceY 1", "pWidth 3", "pHeight 1", "pUseColours 1",
                                            "pForeColour -1", "pMaskColour -2",
                                            "CopyPixelFastTRV 1, 2, 3, 1, 0, 1", "CopyPixelsBlock"}));
    for (const char* label : {"pDestImage ", "pImage ", "pMask "})
        EXPECT_THAT(log, Contains(testing::StartsWith(label)));
}

TEST_P(CombineTest, ASourceLeftOfItselfMovesTheDestinationAlong) {
    const TestImage dest = Plain(10, 4, Format("G")), source = Plain(8, 3, Format("G")),
                    mask = Plain(8, 3, Format("G"));
    dest.root.SetBytes(std::vector<uint8_t>(40, 9));
    mask.root.SetBytes(std::vector<uint8_t>(24, 0));
    EXPECT_TRUE(Combine(dest, source, false, mask.image, {5, 2, 6, 2, -2, -1}));
    // 4 columns of the source's first row, at 3 and 1.
    std::vector<uint8_t> expected(40, 9);
    std::copy_n(source.root.Row(0), 4, expected.begin() + 13);
    EXPECT_EQ(dest.root.Bytes(), expected);
}

TEST_P(CombineTest, TheLogLineByLine) {
    const TestImage dest = Plain(6, 4, Format("RGBA")), source = Plain(5, 3, Format("GA")),
                    mask = Plain(5, 3, Format("RGB")), gray = Plain(6, 4, Format("G"));
    using Lines = std::vector<std::string>;
    // Objects are logged by their addresses.
    const auto log = [&](auto&& call) {
        Lines lines = LogOf(call);
        for (std::string& line : lines) {
            for (const std::string label : {"pDestImage", "pImage", "pMask", "instance"}) {
                if (line.starts_with(label + " ")) line = label;
            }
        }
        return lines;
    };
    const auto combined = [&](const Ref& by, int64_t fore, int64_t maskColour, const Lines& rest) {
        Lines expected{"PictureCombine1pm", "pDestImage", "pImage",   "pMask",     "pDestX 1",     "pDestY 0",
                       "pSourceX 0",        "pSourceY 1", "pWidth 3", "pHeight 9", "pUseColours 1"};
        expected.push_back("pForeColour " + std::to_string(fore));
        expected.push_back("pMaskColour " + std::to_string(maskColour));
        expected.insert(expected.end(), rest.begin(), rest.end());
        EXPECT_EQ(log([&] {
                      Combine(dest, source, true, by, {1, 0, 3, 9, 0, 1}, true, fore, maskColour);
                  }),
                  expected);
    };
    combined(mask.image, -1, -1, {"Case2", "StartImage ok", "StartImage ok", "Case2RGBAGARGBpt"});
    combined(nullptr, 0x0A0B0C, -1,
             {"Case3", "StartImage ok", "StartImage ok", "Case3RGBGpt", "MSHasGray true", "MSHasRGB false",
              "MEHasGray false", "MEHasRGB true", "TR 10", "TG 11", "TB 12", "eps 4", "sps 2"});
    combined(nullptr, 7, 0, {"Case4", "StartImage ok", "StartImage ok", "Case4RGBGpt"});
    EXPECT_EQ(log([&] { TheHost().Call(dest.image, "Combine", gray.image, 2, 1, 3, 9, Color{0x010203}); }),
              (Lines{"PictureCombine4", "instance", "pMask", "X 2", "Y 1", "Width 3", "Height 9",
                     "BackColour 66051", "PictureCombine4internCase", "StartImage ok",
                     "PictureCombine4internCaseInternalGray"}));
}

TEST_P(CombineTest, OfSeveralFaultsTheFirstIsNamed) {
    const TestImage dest = Plain(6, 4, Format("RGB")), wide = Plain(6, 4, Format("Gray16")),
                    small = Plain(4, 2, Format("G")), wideSmall = Plain(4, 2, Format("Gray16"));
    const Ref unconstructed = TheHost().New("PictureTRV"), closed = NewImage(6, 4, "ImageFormatRGB");
    TheHost().Call(closed, "Close");
    const auto last = [&](const Ref& me, auto... args) {
        return LogOf([&] { EXPECT_FALSE(TheHost().Call(me, "Combine", args...).ToBool()); }).back();
    };
    const auto over = [&](const Ref& me, const Ref& image, const Ref& by, const Placed& at,
                          int64_t maskColour = -1) {
        return last(me, image, false, by, at.dx, at.dy, at.sx, at.sy, at.width, at.height, true, int64_t{-1},
                    maskColour);
    };
    const Placed whole{0, 0, 6, 4, 0, 0}, far{6, 4, 6, 4, 0, 0};
    EXPECT_EQ(over(dest.image, nullptr, nullptr, {0, 0, 0, 0, 0, 0}), "pImage is nil");
    EXPECT_EQ(over(dest.image, unconstructed, unconstructed, {0, 0, 0, 0, 0, 0}), "pWidth <= 0");
    EXPECT_EQ(over(wide.image, unconstructed, wideSmall.image, whole), "Picture not valid.");
    const std::string tooDeep = "More than 8 BitsPerComponent not supported here 16";
    EXPECT_EQ(over(dest.image, dest.image, wideSmall.image, whole), tooDeep);
    EXPECT_EQ(over(closed, dest.image, small.image, whole), "Width not the same: 4, 6");
    EXPECT_EQ(over(closed, dest.image, dest.image, far), "GetRow is nil");
    EXPECT_EQ(over(dest.image, closed, dest.image, far), "GetRow is nil");
    EXPECT_EQ(over(dest.image, dest.image, dest.image, far), "w is <= 0");
    EXPECT_EQ(over(closed, wide.image, nullptr, far, 5), tooDeep);
    EXPECT_EQ(over(unconstructed, wide.image, nullptr, far, 5), "Picture not valid.");
    const auto colour = [&](const Ref& me, const Ref& by, int64_t x, int64_t width, int64_t height) {
        return last(me, by, x, 9, width, height, Color{7});
    };
    EXPECT_EQ(colour(unconstructed, nullptr, 9, 0, 0), "Mask is nil.");
    EXPECT_EQ(colour(unconstructed, wideSmall.image, 9, 0, 0), "Width is <=0. 0");
    EXPECT_EQ(colour(unconstructed, wideSmall.image, 9, 5, 0), "Height is <=0. 0");
    EXPECT_EQ(colour(small.image, unconstructed, 9, 5, 5), "Picture not valid.");
    EXPECT_EQ(colour(small.image, wide.image, 9, 5, 5), "BitsPerComponent > 8 not supported. 16");
    EXPECT_EQ(colour(small.image, dest.image, 9, 5, 5), "Instance is not RGB.");
    EXPECT_EQ(colour(closed, small.image, 9, 5, 5), "width does not match. 4, 6");
    EXPECT_EQ(colour(closed, dest.image, 9, 5, 5), "StartImage failed.");
    EXPECT_EQ(colour(dest.image, Plain(6, 4, Format("CMYK")).image, 9, 5, 5), "width is <=0. -3");
}

TEST_P(CombineTest, FarRectanglesEnd) {
    const TestImage dest = Plain(6, 4, Format("RGB")), source = Plain(5, 3, Format("RGB")),
                    mask = Plain(5, 3, Format("G"));
    constexpr int64_t kMost = INT64_MAX, kLeast = INT64_MIN;
    Stores stores;
    stores.Add(dest);
    for (const Placed& at : {Placed{kMost, 0, 1, 1, 0, 0},
                             {kLeast, 0, kMost, 1, 0, 0},
                             {0, 0, 1, 1, kMost, 0},
                             {0, 0, kMost, kMost, kLeast, kLeast},
                             {kLeast, kLeast, kMost, kMost, kLeast, kMost}}) {
        EXPECT_FALSE(Combine(dest, source, false, mask.image, at));
        EXPECT_FALSE(Combine(dest, source, false, nullptr, at, true, 1));
        EXPECT_FALSE(Combine(dest, source, false, nullptr, at, true, -1, 1));
    }
    for (const int64_t x : {kMost, kLeast}) {
        EXPECT_FALSE(TheHost().Call(dest.image, "Combine", dest.image, x, 0, 5, 1, Color{1}).ToBool());
        EXPECT_FALSE(
            TheHost().Call(dest.image, "Combine", dest.image, 0, x, kMost, kMost, Color{1}).ToBool());
    }
    stores.ExpectSame("far");
    CheckCase2(dest, source, mask, false, {0, 0, kMost, kMost, 0, 0});
}

// The mask over a colour ---

TEST_P(CombineTest, AMaskOverAColour) {
    const std::vector<int64_t> formats = Formats();
    for (int round = 0; round < 300; ++round) {
        const char* colourFormats[] = {"RGB", "RGBA", "BGRX", "ABGR", "XRGB"};
        const int64_t w = DrawWidth(), h = Draw(1, 5);
        const TestImage image = Some(w, h, Format(colourFormats[Draw(0, 4)]));
        const TestImage mask =
            round % 4 == 0 ? SomeOver(image, w, h)
                           : Some(w, h, formats[static_cast<size_t>(Draw(0, std::ssize(formats) - 1))]);
        const int64_t colour = Draw(0, 0xFFFFFF);
        const int r = static_cast<int>(colour >> 16), g = static_cast<int>(colour >> 8 & 255),
                  b = static_cast<int>(colour & 255);
        const int64_t x = Draw(-5, w), y = Draw(-3, h), width = Draw(1, 2 * w), height = Draw(1, 2 * h);
        Stores stores;
        stores.Add(image);
        stores.Add(mask);
        bool blended = image.side.family == 'R' && !mask.side.wide && !ColourNames(mask.side).empty();
        if (blended) {
            blended = Walk({x, y, width, height, x, y}, image, image,
                           [&](int64_t dx, int64_t dy, int64_t sx, int64_t sy) {
                               const PixelOf d{image.side, stores.Pixel(image, dx, dy)},
                                   m{mask.side, stores.Pixel(mask, sx, sy)};
                               Made made;
                               for (const std::string& channel : ColourNames(image.side)) {
                                   const int old = d(channel.c_str()), by = m.For(channel);
                                   made.emplace_back(
                                       channel, (old * (255 - by) + by * Component(channel, r, g, b)) / 255);
                               }
                               for (const auto& [channel, value] : made)
                                   d.Set(channel.c_str(), value);
                           });
        }
        EXPECT_EQ(TheHost()
                      .Call(image.image, "Combine", mask.image, x, y, width, height,
                            Color{static_cast<uint32_t>(colour)})
                      .ToBool(),
                  blended);
        stores.ExpectSame(image.story + " / " + mask.story);
        if (HasFatalFailure()) return;
    }
}

TEST_P(CombineTest, AMaskOverAColourRefuses) {
    const TestImage image = Plain(5, 3, Format("RGB")), gray = Plain(5, 3, Format("G")),
                    wide = Plain(5, 3, Format("Gray16")), narrow = Plain(4, 3, Format("G")),
                    low = Plain(5, 2, Format("G")), ink = Plain(5, 3, Format("CMYK"));
    Stores stores;
    stores.Add(image);
    const auto refused = [&](const char* line, const Ref& me, const Ref& mask, int64_t x, int64_t width,
                             int64_t height) {
        bool result = true;
        EXPECT_THAT(LogOf([&] {
                        result = TheHost().Call(me, "Combine", mask, x, 0, width, height, Color{7}).ToBool();
                    }),
                    Contains(line));
        EXPECT_FALSE(result) << line;
    };
    const Ref unconstructed = TheHost().New("PictureTRV");
    refused("Mask is nil.", image.image, nullptr, 0, 5, 3);
    refused("Width is <=0. 0", image.image, gray.image, 0, 0, 3);
    refused("Height is <=0. -2", image.image, gray.image, 0, 5, -2);
    refused("Picture not valid.", image.image, unconstructed, 0, 5, 3);
    refused("Picture not valid.", unconstructed, gray.image, 0, 5, 3);
    refused("BitsPerComponent > 8 not supported. 16", image.image, wide.image, 0, 5, 3);
    refused("BitsPerComponent > 8 not supported. 16", wide.image, gray.image, 0, 5, 3);
    refused("Instance is not RGB.", gray.image, gray.image, 0, 5, 3);
    refused("width does not match. 4, 5", image.image, narrow.image, 0, 5, 3);
    refused("height does not match. 2, 3", image.image, low.image, 0, 5, 3);
    refused("width is <=0. 0", image.image, gray.image, 5, 5, 3);
    refused("Mask is not RGB or Gray.", image.image, ink.image, 0, 5, 3);
    TheHost().Call(gray.image, "Close");
    EXPECT_TRUE(TheHost().Call(image.image, "Combine", gray.image, 0, 0, 5, 3, Color{7}).ToBool());
    stores.ExpectSame("refused");
    TheHost().Call(image.image, "Close");
    refused("StartImage failed.", image.image, Plain(5, 3, Format("G")).image, 0, 5, 3);
}

TEST_P(CombineTest, WorkersOfTheMaskOverAColourNameThemselves) {
    const TestImage image = Plain(5, 3, Format("RGB")), gray = Plain(5, 3, Format("G")),
                    colours = Plain(5, 3, Format("RGB"));
    const auto log = [&](const TestImage& mask) {
        return LogOf([&] { TheHost().Call(image.image, "Combine", mask.image, 1, 0, 4, 3, Color{7}); });
    };
    EXPECT_THAT(log(gray), testing::IsSupersetOf({"PictureCombine4", "X 1", "Y 0", "Width 4", "Height 3",
                                                  "BackColour 7", "PictureCombine4internCase",
                                                  "PictureCombine4internCaseInternalGray"}));
    EXPECT_THAT(log(colours), Contains("PictureCombine4internCaseInternalRGB"));
}

// What happens meanwhile ---

TEST_P(CombineTest, PicturesThatEndOrBecomeOthersMeanwhileEndTheWork) {
    constexpr int64_t kWidth = 1500, kHeight = 1000;
    const auto disturb = [&](const Ref& image, int how) {
        if (how == 0) {
            TheHost().Call(image, "Close");
        } else {
            TheHost().Call(image, "Constructor", how == 1 ? 3 : kWidth, 2, Format("G"));
        }
    };
    for (int who = 0; who < 3; ++who) {
        for (int how = 0; how < 3; ++how) {
            const Ref images[] = {NewImage(kWidth, kHeight, "ImageFormatRGBA"),
                                  NewImage(kWidth, kHeight, "ImageFormatBGRA"),
                                  NewImage(kWidth, kHeight, "ImageFormatGA")};
            TheHost().Set(images[0], "YieldTicks", int64_t{-1});
            int yields = 0;
            const int when = 1 + how % 2;
            TheHost().OnYield([&] {
                if (++yields == when) disturb(images[who], how);
            });
            TheHost().Call(images[0], "Combine", images[1], images[2], 0, 0, 0, 0, kWidth, kHeight, false);
            TheHost().OnYield({});
            EXPECT_GE(yields, 1);
        }
    }
}

TEST_P(CombineTest, MappedPicturesWithinThemselves) {
    // 24 MB in windows of 16: rows at both ends are never there together.
    constexpr int64_t kRows = 6000;
    const auto mapped = [&] {
        return TheHost().Construct("PictureTRV", 600, kRows, Format("RGBA"), int64_t{0},
                                   trvhost::FolderItem());
    };
    const auto fill = [&](const Ref& image) {
        for (int64_t y : {int64_t{0}, int64_t{1}, kRows - 2, kRows - 1})
            TheHost().Call(image, "FillRect", 0, y, 600, 1, 10 + y % 7 * 30);
    };
    const auto row = [&](const Ref& image, int64_t y) {
        const auto block = TheHost().Call(image, "Row(index as integer) as memoryblock", y).ToThing();
        const auto bytes = trvhost::MemoryBlock(block).Bytes();
        return std::vector<uint8_t>(bytes.begin(), bytes.begin() + 2400);
    };
    const Ref image = mapped();
    ASSERT_TRUE(TheHost().Get<bool>(image, "Valid"));
    fill(image);
    const auto first = row(image, 0), last = row(image, kRows - 1);
    // Source and mask far away in the same image: S and M of the last rows.
    std::vector<uint8_t> expected = first;
    for (size_t i = 0; i < expected.size(); ++i)
        expected[i] = static_cast<uint8_t>(Mix(first[i], last[i], last[i]));
    EXPECT_TRUE(TheHost().Call(image, "Combine", image, image, 0, 0, 0, kRows - 1, 600, 1, false).ToBool());
    EXPECT_EQ(row(image, 0), expected);
    EXPECT_EQ(row(image, kRows - 1), last);
    // A view has a window of its own onto the same rows; one pixel apart the order of the pixels shows.
    for (int64_t x = 0; x < 600; ++x)
        TheHost().Call(image, "FillRectRGB", x, 0, 1, 1, x % 251, x % 13 * 19, x % 7 * 36, x % 17 * 15);
    const Ref view = TheHost().Call(image, "ClipImage", 0, 0, 599, kRows).ToThing();
    std::vector<uint8_t> ordered = row(image, 0);
    for (size_t x = 0; x + 1 < 600; ++x) {
        uint8_t made[4];
        for (size_t c = 0; c < 4; ++c)
            made[c] =
                static_cast<uint8_t>(Mix(ordered[4 * x + 4 + c], ordered[4 * x + c], ordered[4 * x + c]));
        std::copy_n(made, 4, ordered.begin() + static_cast<std::ptrdiff_t>(4 * x + 4));
    }
    EXPECT_TRUE(TheHost().Call(image, "Combine", view, view, 1, 0, 0, 0, 599, 1, false).ToBool());
    EXPECT_EQ(row(image, 0), ordered);
}

}  // namespace
}  // namespace trvtest
