// CopyPixels, from outside, against a reference that goes channel by channel.

#include "image_sides.h"

namespace trvtest {
namespace {

/// One pixel by the table of pairs; false for a pair that is refused.
bool CopyPixel(const Side& d, uint8_t* dest, const Side& s, const uint8_t* source) {
    const auto from = [&](const char* name) { return source[s.at.at(name)]; };
    const auto to = [&](const char* name, int value) { dest[d.at.at(name)] = static_cast<uint8_t>(value); };
    const bool alpha = d.alpha && s.alpha;
    if (d.family == 'C' && s.family == 'C') {
        for (const char* ink : {"Cyan", "Magenta", "Yellow", "Black"})
            to(ink, from(ink));
    } else if (d.family == 'C' && s.family == 'G') {
        to("Cyan", 0), to("Magenta", 0), to("Yellow", 0), to("Black", from("Gray"));
    } else if (d.family == 'R' && s.family == 'R') {
        for (const char* colour : {"Red", "Green", "Blue"})
            to(colour, from(colour));
    } else if (d.family == 'R' && s.family == 'G') {
        for (const char* colour : {"Red", "Green", "Blue"})
            to(colour, from("Gray"));
    } else if (d.family == 'G' && s.family == 'R') {
        to("Gray", Luma(from("Red"), from("Green"), from("Blue")));
    } else if (d.family == 'G' && s.family == 'C' && alpha) {
        to("Gray", source[0]);
    } else if (d.family == 'G' && s.family == 'C') {
        to("Gray", from("Black"));
    } else if (d.family == 'G' && s.family == 'G') {
        to("Gray", from("Gray"));
        if (!alpha && d.wide) dest[d.at.at("Gray") + 1] = source[s.at.at("Gray") + (s.wide ? 1 : 0)];
    } else {
        return false;
    }
    if (alpha) to("Alpha", from("Alpha"));
    return true;
}

class CopyPixelsTest : public PluginTest {
  protected:
    MemoryImage Image(int64_t width, int64_t height, std::string_view format, unsigned seed = 1) {
        return {TheHost(), width, height, Constant(format), 0, seed};
    }

    template <class... Args>
    bool Copy(const Ref& dest, const Ref& source, Args... args) {
        return TheHost().Call(dest, "CopyPixels", source, args...).ToBool();
    }

    int64_t Draw(int64_t low, int64_t high) {
        return std::uniform_int_distribution<int64_t>(low, high)(random_);
    }

    std::mt19937 random_{42};
};

TEST_F(CopyPixelsTest, EveryPairOfFormatsMatchesTheReference) {
    for (int64_t destFormat = 1; destFormat <= 48; ++destFormat) {
        for (int64_t sourceFormat = 1; sourceFormat <= 48; ++sourceFormat) {
            if (destFormat == 14 || sourceFormat == 14) continue;
            const int64_t width = Draw(1, 40), height = Draw(1, 4);
            const MemoryImage dest(TheHost(), width, height, destFormat, 0, 1),
                source(TheHost(), width, height, sourceFormat, 0, 2);
            const Side d(TheHost(), dest), s(TheHost(), source);
            std::vector<uint8_t> expected = dest.Bytes();
            const std::vector<uint8_t> from = source.Bytes();
            bool copied = d.pixelSize > 0;
            for (int64_t i = 0; i < width * height && copied; ++i) {
                copied = CopyPixel(d, expected.data() + i * d.pixelSize, s, from.data() + i * s.pixelSize);
            }
            EXPECT_EQ(Copy(dest, source), copied) << sourceFormat << " to " << destFormat;
            ASSERT_EQ(dest.Bytes(), expected) << sourceFormat << " to " << destFormat;
            EXPECT_EQ(source.Bytes(), from);
            EXPECT_TRUE(dest.GuardIntact());
        }
    }
}

TEST_F(CopyPixelsTest, RectanglesAreCutOnEverySide) {
    for (const char* destFormat :
         {"ImageFormatRGBA", "ImageFormatBGR", "ImageFormatXRGB", "ImageFormatG", "ImageFormatCMYK"}) {
        for (const char* sourceFormat : {"ImageFormatRGBA", "ImageFormatGA", "ImageFormatG"}) {
            for (int round = 0; round < 40; ++round) {
                const int64_t dw = Draw(1, 30), dh = Draw(1, 6), sw = Draw(1, 30), sh = Draw(1, 6);
                const MemoryImage dest = Image(dw, dh, destFormat, 3),
                                  source = Image(sw, sh, sourceFormat, 4);
                const Side d(TheHost(), dest), s(TheHost(), source);
                const int64_t dx = Draw(-dw, 2 * dw), dy = Draw(-dh, 2 * dh), w = Draw(-dw, 2 * dw),
                              h = Draw(-dh, 2 * dh);
                const int64_t sx = Draw(-sw, 2 * sw), sy = Draw(-sh, 2 * sh);
                // One axis by the rule of the clipping, step by step.
                const auto fix = [](int64_t& at, int64_t& size, int64_t& from, int64_t limit,
                                    int64_t fromLimit) {
                    if (from < 0) size += from, at += from, from = 0;
                    if (size < 0) at += size, size = -size;
                    if (at < 0) size += at, from -= at, at = 0;
                    if (at >= limit) size = 0;
                    if (at + size > limit) size = limit - at;
                    if (from + size > fromLimit) size = fromLimit - from;
                };
                int64_t x = dx, y = dy, width = w, height = h, fromX = sx, fromY = sy;
                fix(x, width, fromX, dw, sw);
                fix(y, height, fromY, dh, sh);
                std::vector<uint8_t> expected = dest.Bytes();
                bool copied = width > 0 && height > 0;
                for (int64_t j = 0; copied && j < height; ++j) {
                    for (int64_t i = 0; copied && i < width; ++i) {
                        copied =
                            CopyPixel(d, expected.data() + (y + j) * dest.RowSize() + (x + i) * d.pixelSize,
                                      s, &source.At(fromX + i, fromY + j));
                    }
                }
                EXPECT_EQ(Copy(dest, source, dx, dy, w, h, sx, sy), copied);
                ASSERT_EQ(dest.Bytes(), expected) << destFormat << " " << sourceFormat << " " << dx << " "
                                                  << dy << " " << w << " " << h << " " << sx << " " << sy;
            }
        }
    }
}

TEST_F(CopyPixelsTest, ShortFormsStartAtTheOrigin) {
    const MemoryImage dest = Image(10, 4, "ImageFormatRGB", 1), source = Image(6, 9, "ImageFormatRGB", 2);
    auto expected = dest.Bytes();
    for (size_t y = 1; y < 4; ++y)
        std::copy_n(source.Row(static_cast<int64_t>(y) - 1), 15,
                    expected.begin() + static_cast<ptrdiff_t>(y * 30 + 6));
    EXPECT_TRUE(Copy(dest, source, 2, 1, 5, 3));
    EXPECT_EQ(dest.Bytes(), expected);
    for (size_t y = 0; y < 4; ++y)
        std::copy_n(source.Row(static_cast<int64_t>(y)), 18,
                    expected.begin() + static_cast<ptrdiff_t>(y * 30));
    EXPECT_TRUE(Copy(dest, source));
    EXPECT_EQ(dest.Bytes(), expected);
}

TEST_F(CopyPixelsTest, RefusesNilInvalidClosedAndEmpty) {
    const MemoryImage dest = Image(4, 4, "ImageFormatRGB"), source = Image(4, 4, "ImageFormatRGB", 2);
    const auto before = dest.Bytes();
    EXPECT_FALSE(Copy(dest, nullptr));
    EXPECT_FALSE(Copy(dest, TheHost().New("PictureTRV")));
    EXPECT_FALSE(Copy(TheHost().New("PictureTRV"), source));
    EXPECT_FALSE(Copy(dest, source, 0, 0, 0, 4));
    EXPECT_FALSE(Copy(dest, source, 4, 0, 2, 2));
    EXPECT_FALSE(Copy(dest, source, 0, 0, 2, 2, 4, 0));
    TheHost().Call(source, "Close");
    EXPECT_FALSE(Copy(dest, source));
    EXPECT_EQ(dest.Bytes(), before);
}

TEST_F(CopyPixelsTest, TheRoutinesNameThemselvesInTheLog) {
    const auto logged = [&](const char* sourceFormat, const char* destFormat) {
        const MemoryImage dest = Image(4, 4, destFormat), source = Image(4, 4, sourceFormat, 2);
        for (const std::string& line : LogOf([&] { Copy(dest, source); })) {
            if (line.starts_with("CopyPixels")) return line;
        }
        return std::string();
    };
    EXPECT_EQ(logged("ImageFormatRGB", "ImageFormatRGB"), "CopyPixelsBlock");
    EXPECT_EQ(logged("ImageFormatG", "ImageFormatG"), "CopyPixelsBlock");
    EXPECT_EQ(logged("ImageFormatRGBA", "ImageFormatBGRA"), "CopyPixelsRGBAtoRGBA");
    EXPECT_EQ(logged("ImageFormatRGBX", "ImageFormatRGBX"), "CopyPixelsRGBtoRGB");
    EXPECT_EQ(logged("ImageFormatCMYK", "ImageFormatCMYK"), "CopyPixelsCMYKtoCMYK");
    EXPECT_EQ(logged("ImageFormatCMYKA", "ImageFormatGA"), "CopyPixelsCMYKAtoGA");
    EXPECT_EQ(logged("ImageFormatCMYKA", "ImageFormatRGBA"), "CopyPixelsCMYKAtoRGBA");
    EXPECT_EQ(logged("ImageFormatRGB", "ImageFormatCMYK"), "CopyPixelsRGBtoCMYK");
    EXPECT_EQ(logged("ImageFormatGray16", "ImageFormatGray16"), "CopyPixelsGray16toGray16");
    EXPECT_EQ(logged("ImageFormatG", "ImageFormatGray16"), "CopyPixelsGtoGray16");
    EXPECT_EQ(logged("ImageFormatGray16", "ImageFormatG"), "CopyPixelsGray16toG");
}

TEST_F(CopyPixelsTest, ParticularPixels) {
    const MemoryImage gray = Image(1, 1, "ImageFormatG"), inks = Image(1, 1, "ImageFormatCMYK"),
                      wide = Image(1, 1, "ImageFormatGray16");
    gray.At(0, 0) = 255;
    EXPECT_TRUE(Copy(inks, gray));
    EXPECT_EQ(inks.Bytes(), (std::vector<uint8_t>{0, 0, 0, 255}));
    EXPECT_TRUE(Copy(wide, gray));
    EXPECT_EQ(wide.Bytes(), (std::vector<uint8_t>{255, 255}));
    const MemoryImage padded = Image(1, 1, "ImageFormatRGBX", 5), other = Image(1, 1, "ImageFormatRGBX", 6);
    const uint8_t padding = other.At(0, 0, 3);
    EXPECT_TRUE(Copy(other, padded));
    EXPECT_EQ(other.At(0, 0, 0), padded.At(0, 0, 0));
    EXPECT_EQ(other.At(0, 0, 3), padding);
}

TEST_F(CopyPixelsTest, MovedOffsetsStayInsideTheStore) {
    const MemoryImage wide = Image(5, 2, "ImageFormatGray16"), other = Image(5, 2, "ImageFormatGray16", 2);
    TheHost().Set(wide, "GrayOffset", 1);  // the second byte of the last sample would lie behind the store
    EXPECT_TRUE(Copy(wide, other));
    EXPECT_TRUE(Copy(other, wide));
    EXPECT_TRUE(wide.GuardIntact());
    const MemoryImage packed = Image(5, 2, "ImageFormatRGB"), same = Image(5, 2, "ImageFormatRGB", 2);
    TheHost().Set(packed, "RedOffset", 1);
    TheHost().Set(same, "RedOffset", 1);
    EXPECT_TRUE(Copy(packed, same));
    EXPECT_TRUE(packed.GuardIntact());
}

TEST_F(CopyPixelsTest, WithinOneImageRowsGoTopDown) {
    const MemoryImage image = Image(8, 6, "ImageFormatRGB");
    auto expected = image.Bytes();
    for (size_t y = 0; y < 5; ++y)
        std::memmove(expected.data() + (y + 1) * 24, expected.data() + y * 24, 24);
    EXPECT_TRUE(Copy(image, image, 0, 1, 8, 5, 0, 0));
    EXPECT_EQ(image.Bytes(), expected);
}

}  // namespace
}  // namespace trvtest
