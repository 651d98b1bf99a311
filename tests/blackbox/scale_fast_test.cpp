// ScaleFast, from outside, against a reference that goes pixel by pixel.

#include <gmock/gmock.h>

#include "geometry_images.h"

namespace trvtest {
namespace {

using testing::Contains;
using testing::ElementsAre;

class ScaleFast : public GeometryTest {
  protected:
    bool Scale(const Ref& dest, const Ref& source, int64_t width, int64_t height) const {
        return TheHost().Call(dest, "ScaleFast", source, width, height).ToBool();
    }

    /// One pixel by the rules; false for a pair without a way.
    static bool MovePixel(const Side& s, const uint8_t* from, const Side& d, uint8_t* to) {
        const auto get = [&](const char* name) { return from[s.at.at(name)]; };
        const auto set = [&](const char* name, int value) {
            to[d.at.at(name)] = static_cast<uint8_t>(value);
        };
        bool alpha = s.alpha && d.alpha;
        if (s.wide || d.wide) return false;
        if (s.family == 'R' && d.family == 'R') {
            for (const char* name : {"Red", "Green", "Blue"})
                set(name, get(name));
        } else if (s.family == 'R' && d.family == 'G') {
            set("Gray", (get("Green") * 151 + get("Red") * 77 + get("Blue") * 28) >> 8);
        } else if (s.family == 'G' && d.family == 'G') {
            set("Gray", get("Gray"));
        } else if (s.family == 'G' && d.family == 'R') {
            for (const char* name : {"Red", "Green", "Blue"})
                set(name, get("Gray"));
            alpha = false;
        } else if (s.family == 'G' && d.family == 'C') {
            if (s.alpha != d.alpha) return false;
            const int gray = get("Gray");
            set("Cyan", 0), set("Magenta", 0), set("Yellow", 0), set("Black", gray);
            alpha = false;
        } else if (s.family == 'C' && d.family == 'C') {
            for (const char* name : {"Cyan", "Magenta", "Yellow", "Black"})
                set(name, get(name));
        } else if (s.family == 'C' && d.family == 'G') {
            set("Gray", get("Black"));
        } else {
            return false;
        }
        if (alpha) set("Alpha", get("Alpha"));
        return true;
    }

    /// Scales `source` into `dest`, both views of memory images, and compares the destination's store.
    void ExpectScaled(const MemoryImage& sourceRoot, const Ref& source, const MemoryImage& destRoot,
                      const Ref& dest, int64_t width, int64_t height) {
        const Side s(TheHost(), source), d(TheHost(), dest);
        const int64_t w = std::min(width, Number(dest, "Width")),
                      h = std::min(height, Number(dest, "Height"));
        const double fx = static_cast<double>(Number(source, "Width")) / static_cast<double>(w);
        const double fy = static_cast<double>(Number(source, "Height")) / static_cast<double>(h);
        const bool within = sourceRoot.Row(0) == destRoot.Row(0);
        const std::vector<uint8_t> before = sourceRoot.Bytes();
        std::vector<uint8_t> after = destRoot.Bytes();
        const std::vector<uint8_t>& from = within ? after : before;
        bool done = w > 0 && h > 0;
        for (int64_t y = 0; y < h && done; ++y) {
            for (int64_t x = 0; x < w && done; ++x) {
                const auto sx = static_cast<int64_t>(static_cast<double>(x) * fx);
                const auto sy = static_cast<int64_t>(static_cast<double>(y) * fy);
                const auto fromAt =
                    static_cast<size_t>(RawRow(TheHost(), source, sy) - sourceRoot.Row(0) + sx * s.pixelSize);
                const auto toAt =
                    static_cast<size_t>(RawRow(TheHost(), dest, y) - destRoot.Row(0) + x * d.pixelSize);
                done = MovePixel(s, from.data() + fromAt, d, after.data() + toAt);
            }
        }
        ASSERT_EQ(Scale(dest, source, width, height), done)
            << Number(source, "ImageFormat") << " to " << Number(dest, "ImageFormat");
        ASSERT_TRUE(destRoot.Bytes() == after)
            << Number(source, "ImageFormat") << " to " << Number(dest, "ImageFormat") << ", " << width
            << " x " << height;
        EXPECT_TRUE(destRoot.GuardIntact());
    }
};

TEST_F(ScaleFast, EveryPairOfFormatsMatchesTheReference) {
    for (int64_t from = 1; from <= 48; ++from) {
        for (int64_t to = 1; to <= 48; ++to) {
            if (from == 14 || to == 14) continue;
            const MemoryImage source = Memory(Draw(1, 40), Draw(1, 9), from, Draw(0, 2));
            const MemoryImage dest = Memory(Draw(1, 60), Draw(1, 9), to, Draw(0, 2));
            ExpectScaled(source, source, dest, dest, Draw(1, 70), Draw(1, 12));
            if (HasFatalFailure()) return;
        }
    }
}

TEST_F(ScaleFast, ViewsAndSizes) {
    for (int round = 0; round < 250; ++round) {
        int64_t formats[2];
        for (int64_t& format : formats) {
            do {
                format = Draw(1, 48);
            } while (format == 14);
        }
        const Watched source = RandomView(Draw(1, 50), Draw(1, 20), formats[0]);
        const Watched dest = RandomView(Draw(1, 50), Draw(1, 20), formats[1]);
        ExpectScaled(source.root, source.view, dest.root, dest.view, Draw(-1, 60), Draw(-1, 25));
        if (HasFatalFailure()) return;
    }
}

TEST_F(ScaleFast, RowsLongerThanOneList) {
    for (const char* format : {"ImageFormatRGBA", "ImageFormatRGB", "ImageFormatG"}) {
        const MemoryImage source = Memory(3000, 3, format), dest = Memory(5003, 4, format);
        ExpectScaled(source, source, dest, dest, 5003, 4);
        const MemoryImage gray = Memory(4500, 2, "ImageFormatGA");
        ExpectScaled(source, source, gray, gray, 4500, 2);
        ExpectScaled(dest, dest, source, source, 3000, 3);
    }
}

TEST_F(ScaleFast, WithinOneImageTheOrderShows) {
    for (int round = 0; round < 60; ++round) {
        const Watched whole = RandomView(Draw(2, 30), Draw(2, 12), Draw(1, 13));
        const int64_t width = Number(whole.view, "Width"), height = Number(whole.view, "Height");
        const Ref part = TheHost()
                             .Call(whole.view, "ClipImage", Draw(0, 1), Draw(0, 1), Draw(1, width - 1),
                                   Draw(1, height - 1))
                             .ToThing();
        if (Draw(0, 1) == 0) {
            ExpectScaled(whole.root, part, whole.root, whole.view, Draw(1, 40), Draw(1, 14));
        } else {
            ExpectScaled(whole.root, whole.view, whole.root, part, Draw(1, 40), Draw(1, 14));
        }
        if (HasFatalFailure()) return;
    }
}

TEST_F(ScaleFast, AnInkIsReadBeforeTheInksAreCleared) {
    const MemoryImage inks = Memory(4, 3, "ImageFormatCMYK");
    for (const char* ink : {"CyanChannel", "MagentaChannel", "YellowChannel", "BlackChannel"}) {
        const Ref gray = TheHost().Call(inks.Object(), ink).ToThing();
        ExpectScaled(inks, gray, inks, inks, 4, 3);
        ASSERT_FALSE(HasFatalFailure()) << ink;
        inks.SetBytes(Memory(4, 3, "ImageFormatCMYK").Bytes());
    }
}

TEST_F(ScaleFast, MappedImagesMatchImagesInMemory) {
    const Ref mapped = NewMapped(9, 9001, "ImageFormatRGB", 0, "source"),
              memory = NewImage(9, 9001, "ImageFormatRGB");
    FillWithNoise(TheHost(), mapped, random_);
    TheHost().Call(memory, "CopyPixels(source as PictureTRV) as boolean", mapped);
    const Ref target = NewMapped(20, 7000, "ImageFormatRGB", 0, "dest"),
              expected = NewImage(20, 7000, "ImageFormatRGB");
    EXPECT_TRUE(Scale(target, mapped, 20, 7000));
    EXPECT_TRUE(Scale(expected, memory, 20, 7000));
    EXPECT_TRUE(PixelBytes(TheHost(), target) == PixelBytes(TheHost(), expected));
    // Onto itself: a row is read before it is written, from top to bottom.
    EXPECT_TRUE(Scale(mapped, mapped, 5, 4000));
    EXPECT_TRUE(Scale(memory, memory, 5, 4000));
    EXPECT_TRUE(PixelBytes(TheHost(), mapped) == PixelBytes(TheHost(), memory));
}

TEST_F(ScaleFast, SizesAreCutToTheDestination) {
    const MemoryImage source = Memory(100, 10, "ImageFormatG"), dest = Memory(10, 10, "ImageFormatG");
    EXPECT_TRUE(Scale(dest, source, 1000, 1000));
    for (int64_t x = 0; x < 10; ++x)
        EXPECT_EQ(dest.At(x, 3), source.At(10 * x, 3));  // the ratio is that of the cut size
}

TEST_F(ScaleFast, FourDifferencesFromScale) {
    const MemoryImage colour = Memory(1, 1, "ImageFormatRGB"), gray = Memory(1, 1, "ImageFormatG"),
                      inks = Memory(1, 1, "ImageFormatCMYK"), target = Memory(1, 1, "ImageFormatCMYK"),
                      grayA = Memory(1, 1, "ImageFormatGA"), otherA = Memory(1, 1, "ImageFormatGA"),
                      colourA = Memory(1, 1, "ImageFormatRGBA"), inksA = Memory(1, 1, "ImageFormatCMYKA");
    colour.SetBytes({200, 100, 50});
    EXPECT_TRUE(Scale(gray, colour, 1, 1));
    EXPECT_EQ(gray.At(0, 0), (100 * 151 + 200 * 77 + 50 * 28) >> 8);
    EXPECT_TRUE(Scale(target, gray, 1, 1));
    EXPECT_EQ(target.Bytes(), (std::vector<uint8_t>{0, 0, 0, gray.At(0, 0)}));
    inks.SetBytes({1, 2, 3, 4});
    EXPECT_TRUE(Scale(target, inks, 1, 1));
    EXPECT_EQ(target.Bytes(), (std::vector<uint8_t>{1, 2, 3, 4}));
    grayA.SetBytes({7, 9});
    EXPECT_TRUE(Scale(otherA, grayA, 1, 1));
    EXPECT_EQ(otherA.Bytes(), (std::vector<uint8_t>{7, 9}));
    colourA.SetBytes({0, 0, 0, 33});
    inksA.SetBytes({1, 1, 1, 1, 44});
    EXPECT_TRUE(Scale(colourA, grayA, 1, 1));
    EXPECT_EQ(colourA.Bytes(), (std::vector<uint8_t>{7, 7, 7, 33}));
    EXPECT_TRUE(Scale(inksA, grayA, 1, 1));
    EXPECT_EQ(inksA.Bytes(), (std::vector<uint8_t>{0, 0, 0, 7, 44}));
}

TEST_F(ScaleFast, Refusals) {
    const MemoryImage dest = Memory(4, 4, "ImageFormatG"), source = Memory(4, 4, "ImageFormatG"),
                      wide = Memory(4, 4, "ImageFormatGray16");
    const Ref invalid = TheHost().New("PictureTRV"), closed = NewImage(4, 4, "ImageFormatG");
    TheHost().Call(closed, "Close");
    const std::vector<uint8_t> before = dest.Bytes();
    EXPECT_FALSE(Scale(dest, nullptr, 4, 4));
    EXPECT_FALSE(Scale(dest, invalid, 4, 4));
    EXPECT_FALSE(Scale(invalid, source, 4, 4));
    EXPECT_FALSE(Scale(dest, closed, 4, 4));
    EXPECT_FALSE(Scale(closed, source, 4, 4));
    EXPECT_FALSE(Scale(dest, wide, 4, 4));
    EXPECT_FALSE(Scale(wide, source, 4, 4));
    EXPECT_FALSE(Scale(dest, source, 0, 4));
    EXPECT_FALSE(Scale(dest, source, 4, INT64_MIN));
    EXPECT_EQ(dest.Bytes(), before);
    EXPECT_THAT(LogOf([&] { Scale(dest, invalid, 4, 4); }),
                ElementsAre("ScalePictureFast 4, 4", "Picture not valid."));
}

TEST_F(ScaleFast, TheFamilyNamesItself) {
    const MemoryImage source = Memory(4, 4, "ImageFormatRGBA"), dest = Memory(3, 2, "ImageFormatGA");
    EXPECT_THAT(LogOf([&] { Scale(dest, source, 4, 4); }),
                ElementsAre("ScalePictureFast 4, 4", "RGBA_to_GA 3, 2", "RGB_to_G 1", "G_to_RGB 0",
                            "CMYK_to_G 0", "G_to_CMYK 0", "StartImage ok", "StartImage ok"));
}

TEST_F(ScaleFast, TheHostGetsItsTimeAndMayClose) {
    const Ref source = NewImage(10, 10, "ImageFormatRGB"), dest = NewImage(10, 50, "ImageFormatRGB");
    TheHost().Set(dest, "YieldTicks", -1);
    TheHost().OnYield([&] { TheHost().Call(source, "Close"); });
    Scale(dest, source, 10, 50);
    TheHost().OnYield({});
    EXPECT_FALSE(Scale(dest, source, 10, 50));
}

}  // namespace
}  // namespace trvtest
