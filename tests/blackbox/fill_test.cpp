// The fill family, from outside, against a reference that works pixel by pixel.

#include <array>
#include <functional>

#include "plugin_test.h"

namespace trvtest {
namespace {

using trvhost::Color;

struct Rect {
    int64_t x, y, width, height;
};

/// An image as the reference sees it: the bytes of its rows and where the channels lie.
struct Model {
    int64_t width = 0, height = 0, pixelSize = 0, rowSize = 0;
    bool gray = false, rgb = false, cmyk = false, hasGray = false, hasAlpha = false, colours = false;
    int64_t red = 0, green = 0, blue = 0, grayAt = 0, alpha = 0, cyan = 0, magenta = 0, yellow = 0, black = 0;
    std::vector<uint8_t> bytes;

    Model(trvhost::Host& host, const MemoryImage& image) : rowSize(image.RowSize()), bytes(image.Bytes()) {
        const auto number = [&](const char* name) { return host.Get<int64_t>(image, name); };
        const auto flag = [&](const char* name) { return host.Get<bool>(image, name); };
        width = number("Width");
        height = number("Height");
        pixelSize = number("PixelSize");
        gray = flag("IsGray");
        rgb = flag("IsRGB");
        cmyk = flag("IsCMYK");
        hasGray = flag("HasGray");
        hasAlpha = flag("HasAlpha");
        colours = flag("HasRed") && flag("HasGreen") && flag("HasBlue");
        red = number("RedOffset");
        green = number("GreenOffset");
        blue = number("BlueOffset");
        grayAt = number("GrayOffset");
        alpha = number("AlphaOffset");
        cyan = number("CyanOffset");
        magenta = number("MagentaOffset");
        yellow = number("YellowOffset");
        black = number("BlackOffset");
    }

    uint8_t& At(int64_t x, int64_t y, int64_t offset) {
        return bytes[static_cast<size_t>(y * rowSize + x * pixelSize + offset)];
    }

    /// The rectangle of the clipped kind, empty ones with a size of 0.
    [[nodiscard]] Rect Clip(Rect r) const {
        if (r.width < 0) r.x += r.width, r.width = -r.width;
        if (r.height < 0) r.y += r.height, r.height = -r.height;
        const int64_t right = std::min(r.x + r.width, width), bottom = std::min(r.y + r.height, height);
        r.x = std::max<int64_t>(r.x, 0);
        r.y = std::max<int64_t>(r.y, 0);
        return {r.x, r.y, std::max<int64_t>(right - r.x, 0), std::max<int64_t>(bottom - r.y, 0)};
    }

    void ForEach(Rect r, const std::function<void(int64_t x, int64_t y)>& work) const {
        r = Clip(r);
        if (r.width == 0 || r.height == 0) return;
        for (int64_t y = r.y; y < r.y + r.height; ++y) {
            for (int64_t x = r.x; x < r.x + r.width; ++x)
                work(x, y);
        }
    }

    /// The offsets of the colour channels of the family, alpha left out.
    [[nodiscard]] std::vector<int64_t> ColourOffsets() const {
        if (gray) return {grayAt};
        if (rgb) return {red, green, blue};
        if (cmyk) return {cyan, magenta, yellow, black};
        return {};
    }

    void FillRect(Rect r, int64_t value, int64_t alphaValue) {
        ForEach(r, [&](int64_t x, int64_t y) {
            for (const int64_t offset : ColourOffsets())
                At(x, y, offset) = static_cast<uint8_t>(value);
            if (hasAlpha && !ColourOffsets().empty()) At(x, y, alpha) = static_cast<uint8_t>(alphaValue);
        });
    }

    void FillRectRGB(Rect r, const std::array<int64_t, 3>& colour, const int64_t* alphaValue) {
        if (!colours) return;
        ForEach(r, [&](int64_t x, int64_t y) {
            At(x, y, red) = static_cast<uint8_t>(colour[0]);
            At(x, y, green) = static_cast<uint8_t>(colour[1]);
            At(x, y, blue) = static_cast<uint8_t>(colour[2]);
            if (hasAlpha && alphaValue != nullptr) At(x, y, alpha) = static_cast<uint8_t>(*alphaValue);
        });
    }

    bool FillRectApply(Rect r, const std::array<int64_t, 3>& colour, int64_t alphaValue) {
        const auto blend = [&](uint8_t& byte, int64_t source) {
            const int64_t a = alphaValue * 257, b = (255 - alphaValue) * 257;
            byte = static_cast<uint8_t>((byte * b + source * a) >> 16);
        };
        if (rgb) {
            ForEach(r, [&](int64_t x, int64_t y) {
                blend(At(x, y, red), colour[0]);
                blend(At(x, y, green), colour[1]);
                blend(At(x, y, blue), colour[2]);
            });
            return true;
        }
        if (gray) {
            const int64_t source = (colour[2] * 28 + colour[1] * 151 + colour[0] * 77) / 256;
            ForEach(r, [&](int64_t x, int64_t y) { blend(At(x, y, grayAt), source); });
            return true;
        }
        return false;
    }

    void ClearRect(Rect r) {
        ForEach(r, [&](int64_t x, int64_t y) {
            for (int64_t i = 0; i < pixelSize; ++i)
                At(x, y, i) = 0;
        });
    }
};

class FillTest : public PluginTest {
  protected:
    /// Every format that can be created.
    static std::vector<int64_t> Formats() {
        std::vector<int64_t> formats;
        for (int64_t code = 1; code <= 48; ++code) {
            if (code != 14) formats.push_back(code);
        }
        return formats;
    }

    MemoryImage Image(int64_t width, int64_t height, std::string_view format, int64_t rowSize = 0) {
        return {TheHost(), width, height, Constant(format), rowSize};
    }

    template <class... Args>
    auto Call(const MemoryImage& image, std::string_view name, Args... args) {
        return TheHost().Call(image.Object(), name, args...);
    }

    std::mt19937 random{20240607};

    int64_t Draw(int64_t low, int64_t high) {
        return std::uniform_int_distribution<int64_t>(low, high)(random);
    }

    /// A rectangle around an image of the given size that cuts any of its sides, or none, or misses it.
    Rect DrawRect(int64_t width, int64_t height) {
        return {Draw(-width, 2 * width), Draw(-height, 2 * height), Draw(-width, 2 * width),
                Draw(-height, 2 * height)};
    }
};

// Each method against the reference, over all formats and rectangles of every kind
// -----------------------------------

TEST_F(FillTest, AllFormatsMatchTheReference) {
    for (const int64_t format : Formats()) {
        for (int round = 0; round < 24; ++round) {
            const int64_t width = Draw(1, 90), height = Draw(1, 6);
            const MemoryImage probe(TheHost(), 1, 1, format);
            const int64_t rowSize = width * probe.PixelSize() + Draw(0, 9);
            const MemoryImage image(TheHost(), width, height, format, rowSize,
                                    static_cast<unsigned>(random()));
            Model model(TheHost(), image);
            const Rect r = DrawRect(width, height);
            const int64_t v = Draw(-300, 600), red = Draw(-10, 300), green = Draw(0, 255),
                          blue = Draw(0, 255);
            const int64_t alpha = Draw(0, 255);
            switch (round % 8) {
                case 0:
                    Call(image, "FillRect", r.x, r.y, r.width, r.height, v);
                    model.FillRect(r, v, v);
                    break;
                case 1:
                    Call(image, "FillRect", r.x, r.y, r.width, r.height, v, alpha);
                    model.FillRect(r, v, alpha);
                    break;
                case 2:
                    Call(image, "FillRectRGB", r.x, r.y, r.width, r.height, red, green, blue);
                    model.FillRectRGB(r, {red, green, blue}, nullptr);
                    break;
                case 3:
                    Call(image, "FillRectRGB", r.x, r.y, r.width, r.height, red, green, blue, alpha);
                    model.FillRectRGB(r, {red, green, blue}, &alpha);
                    break;
                case 4:
                    EXPECT_EQ(Call(image, "FillRectApply", r.x, r.y, r.width, r.height, red & 255, green,
                                   blue, alpha)
                                  .ToBool(),
                              model.FillRectApply(r, {red & 255, green, blue}, alpha));
                    break;
                case 5:
                    Call(image, "ClearRect", r.x, r.y, r.width, r.height);
                    model.ClearRect(r);
                    break;
                case 6:
                    Call(image, "FillRect", v);
                    model.FillRect({0, 0, width, height}, v, v);
                    break;
                default:
                    Call(image, "ClearRect");
                    std::fill(model.bytes.begin(), model.bytes.end(), uint8_t{0});
                    break;
            }
            ASSERT_EQ(image.Bytes(), model.bytes)
                << "format " << format << ", round " << round << ", width " << width << ", rectangle " << r.x
                << " " << r.y << " " << r.width << " " << r.height;
            ASSERT_TRUE(image.GuardIntact());
        }
    }
}

TEST_F(FillTest, ShortFormsAreTheLongOnesOverTheWholeImage) {
    for (const char* format :
         {"ImageFormatRGB", "ImageFormatBGRA", "ImageFormatXBGR", "ImageFormatGA", "ImageFormatG"}) {
        const auto expect = [&](const auto& shortForm, const auto& reference) {
            const MemoryImage image = Image(17, 5, format, 80);
            Model model(TheHost(), image);
            shortForm(image);
            reference(model);
            EXPECT_EQ(image.Bytes(), model.bytes) << format;
        };
        const Rect all{0, 0, 17, 5};
        const int64_t forty = 40;
        expect([&](auto& i) { Call(i, "FillRect", 5); }, [&](Model& m) { m.FillRect(all, 5, 5); });
        expect([&](auto& i) { Call(i, "FillRect", 5, 6); }, [&](Model& m) { m.FillRect(all, 5, 6); });
        expect([&](auto& i) { Call(i, "FillRectRGB", 1, 2, 3); },
               [&](Model& m) {
                   m.FillRectRGB(all, {1, 2, 3}, nullptr);
               });
        expect([&](auto& i) { Call(i, "FillRectRGB", 1, 2, 3, 40); },
               [&](Model& m) {
                   m.FillRectRGB(all, {1, 2, 3}, &forty);
               });
        expect([&](auto& i) { Call(i, "FillRectRGB", Color{0x0A0B0C}); },
               [&](Model& m) {
                   m.FillRectRGB(all, {10, 11, 12}, nullptr);
               });
        expect([&](auto& i) { Call(i, "FillRectRGB", Color{0xFF0A0B0C}, 40); },
               [&](Model& m) {
                   m.FillRectRGB(all, {10, 11, 12}, &forty);
               });
        expect([&](auto& i) { Call(i, "FillRectRGB", -2, 1, 7, 2, Color{0x0A0B0C}); },
               [&](Model& m) {
                   m.FillRectRGB({-2, 1, 7, 2}, {10, 11, 12}, nullptr);
               });
        expect([&](auto& i) { Call(i, "FillRectRGB", -2, 1, 7, 2, Color{0x0A0B0C}, 40); },
               [&](Model& m) {
                   m.FillRectRGB({-2, 1, 7, 2}, {10, 11, 12}, &forty);
               });
        expect([&](auto& i) { Call(i, "FillRectApply", 200, 100, 50, 77); },
               [&](Model& m) {
                   m.FillRectApply(all, {200, 100, 50}, 77);
               });
        expect([&](auto& i) { Call(i, "FillRectApply", Color{0x0AF00C}, 77); },
               [&](Model& m) {
                   m.FillRectApply(all, {10, 240, 12}, 77);
               });
        expect([&](auto& i) { Call(i, "FillRectApply", 1, 1, 3, 3, Color{0x0AF00C}, 77); },
               [&](Model& m) {
                   m.FillRectApply({1, 1, 3, 3}, {10, 240, 12}, 77);
               });
    }
}

// Particular cases
// -------------------------------------------------------------------------------------------------

TEST_F(FillTest, NegativeOriginFillsTheCorner) {
    const MemoryImage image = Image(20, 20, "ImageFormatG");
    image.SetBytes(std::vector<uint8_t>(400, 0));
    Call(image, "FillRect", -5, -5, 10, 10, 7);
    for (int64_t y = 0; y < 20; ++y) {
        for (int64_t x = 0; x < 20; ++x)
            EXPECT_EQ(image.At(x, y), x < 5 && y < 5 ? 7 : 0) << x << " " << y;
    }
}

TEST_F(FillTest, EmptyAndOutsideRectanglesChangeNothing) {
    const MemoryImage image = Image(20, 20, "ImageFormatRGB");
    const auto before = image.Bytes();
    Call(image, "FillRect", 0, 0, 0, 10, 7);
    Call(image, "FillRect", 20, 0, 5, 5, 7);
    Call(image, "FillRect", 0, -9, 5, 5, 7);
    Call(image, "FillRect", 0, 0, -3, 1, 7);
    Call(image, "FillRectRGB", 25, 25, 9, 9, 1, 2, 3);
    Call(image, "FillRectRandom", -4, 0, 3, 3);
    Call(image, "ClearRect", 0, 20, 5, 5);
    EXPECT_EQ(image.Bytes(), before);
}

TEST_F(FillTest, ExtremeRectanglesAreClippedLikeAnyOther) {
    constexpr int64_t kMost = INT64_MAX, kLeast = INT64_MIN;
    const MemoryImage image = Image(5, 5, "ImageFormatRGB");
    const auto before = image.Bytes();
    for (const auto& [x, y, w, h] :
         {std::array{kLeast, kLeast, kLeast, kLeast}, std::array{kMost, kMost, kMost, kMost},
          std::array{kLeast, int64_t{0}, kMost, int64_t{5}},
          std::array{kMost, int64_t{0}, kLeast + 1, int64_t{0}}}) {
        Call(image, "FillRect", x, y, w, h, 7);
        Call(image, "FillRectRGB", x, y, w, h, 1, 2, 3, 4);
        Call(image, "FillRectApply", x, y, w, h, 1, 2, 3, 4);
        Call(image, "FillRectRandom", x, y, w, h);
        Call(image, "ClearRect", x, y, w, h);
    }
    EXPECT_EQ(image.Bytes(), before);
    Call(image, "FillRect", -1, -1, kMost, kMost, 9);
    EXPECT_EQ(image.Bytes(), std::vector<uint8_t>(75, 9));
}

TEST_F(FillTest, ValueIsItsLowByteAndPaddingOfRowsIsKept) {
    const MemoryImage image = Image(5, 3, "ImageFormatRGB", 20);
    Call(image, "FillRect", 0, 0, 5, 3, 0);
    auto expected = image.Bytes();
    Call(image, "FillRect", 300);
    for (size_t y = 0; y < 3; ++y)
        std::fill_n(expected.begin() + static_cast<ptrdiff_t>(y * 20), 15, uint8_t{44});
    EXPECT_EQ(image.Bytes(), expected);
}

TEST_F(FillTest, PaddingBytesOfPixelsAreKeptAndAlphaIsWritten) {
    const MemoryImage padded = Image(6, 2, "ImageFormatRGBX"), alpha = Image(6, 2, "ImageFormatRGBA");
    const auto before = padded.Bytes();
    Call(padded, "FillRect", 9);
    Call(alpha, "FillRect", 9);
    for (int64_t x = 0; x < 6; ++x) {
        EXPECT_EQ(padded.At(x, 1, 0), 9);
        EXPECT_EQ(padded.At(x, 1, 3), before[static_cast<size_t>(24 + x * 4 + 3)]);
        EXPECT_EQ(alpha.At(x, 1, 3), 9);
    }
}

TEST_F(FillTest, AlphaValueOfAnImageWithoutAlphaIsIgnored) {
    const MemoryImage image = Image(6, 2, "ImageFormatRGB");
    Call(image, "FillRect", 9, 200);
    EXPECT_EQ(image.Bytes(), std::vector<uint8_t>(36, 9));
    Call(image, "FillRectRGB", 1, 2, 3, 4);
    EXPECT_EQ(image.At(5, 1, 0), 1);
    EXPECT_EQ(image.At(5, 1, 2), 3);
}

TEST_F(FillTest, ColourOfAGrayImageChangesNothingAndBgrIsStoredBackwards) {
    const MemoryImage gray = Image(4, 1, "ImageFormatG"), bgr = Image(4, 1, "ImageFormatBGR");
    const MemoryImage grayAlpha = Image(4, 1, "ImageFormatGA");
    const auto before = gray.Bytes(), beforeAlpha = grayAlpha.Bytes();
    Call(gray, "FillRectRGB", 1, 2, 3);
    Call(grayAlpha, "FillRectRGB", 1, 2, 3, 4);
    Call(bgr, "FillRectRGB", 1, 2, 3);
    EXPECT_EQ(gray.Bytes(), before);
    EXPECT_EQ(grayAlpha.Bytes(), beforeAlpha);
    EXPECT_EQ(bgr.Bytes(), (std::vector<uint8_t>{3, 2, 1, 3, 2, 1, 3, 2, 1, 3, 2, 1}));
}

TEST_F(FillTest, ApplyLosesALittleOnEachPass) {
    const MemoryImage image = Image(2, 1, "ImageFormatRGB");
    image.SetBytes({255, 255, 255, 100, 1, 0});
    EXPECT_TRUE(Call(image, "FillRectApply", 0, 0, 1, 1, 255, 255, 255, 255).ToBool());
    EXPECT_TRUE(Call(image, "FillRectApply", 1, 0, 1, 1, 0, 0, 0, 0).ToBool());
    EXPECT_EQ(image.Bytes(), (std::vector<uint8_t>{254, 254, 254, 99, 0, 0}));
}

TEST_F(FillTest, ApplyComputesIn32BitsThatWrap) {
    const MemoryImage image = Image(256, 1, "ImageFormatG");
    std::vector<uint8_t> ramp(256);
    for (size_t i = 0; i < 256; ++i)
        ramp[i] = static_cast<uint8_t>(i);
    for (const auto& [gray, alpha] : {std::pair<int64_t, int64_t>{-70000, 3000}, {40000, -9}, {255, 256}}) {
        image.SetBytes(ramp);
        EXPECT_TRUE(Call(image, "FillRectApply", gray, gray, gray, alpha).ToBool());
        const auto wrap = [](int64_t value) { return static_cast<int64_t>(static_cast<int32_t>(value)); };
        const int64_t source = wrap(gray * 28 + gray * 151 + gray * 77) / 256;
        for (int64_t old = 0; old < 256; ++old) {
            const int64_t sum = wrap(old * (255 - alpha) * 257 + source * alpha * 257);
            EXPECT_EQ(image.At(old, 0), static_cast<uint8_t>(sum >> 16)) << old;
        }
    }
}

TEST_F(FillTest, ApplyRefusesInksAndAcceptsAnEmptyRectangle) {
    EXPECT_FALSE(Call(Image(4, 4, "ImageFormatCMYK"), "FillRectApply", 1, 2, 3, 4).ToBool());
    EXPECT_FALSE(Call(Image(4, 4, "ImageFormatBuffer"), "FillRectApply", 1, 2, 3, 4).ToBool());
    EXPECT_TRUE(Call(Image(4, 4, "ImageFormatRGB"), "FillRectApply", 9, 9, 3, 3, 1, 2, 3, 4).ToBool());
}

TEST_F(FillTest, ClosedAndUnconstructedImagesAreLeftAlone) {
    for (const bool constructed : {true, false}) {
        const Ref image = constructed ? NewImage(4, 4, "ImageFormatRGB") : TheHost().New("PictureTRV");
        TheHost().Call(image, "Close");
        TheHost().Call(image, "FillRect", 1);
        TheHost().Call(image, "FillRect", 1, 2);
        TheHost().Call(image, "FillRectRGB", 1, 2, 3);
        TheHost().Call(image, "FillRectRGB", 1, 2, 3, 4);
        TheHost().Call(image, "FillRectRGB", 0, 0, 2, 2, Color{7}, 4);
        TheHost().Call(image, "FillRectRandom");
        TheHost().Call(image, "ClearRect");
        TheHost().Call(image, "ClearRect", 0, 0, 2, 2);
        EXPECT_FALSE(TheHost().Call(image, "FillRectApply", 1, 2, 3, 4).ToBool());
        EXPECT_EQ(TheHost().Get<bool>(image, "Valid"), constructed);
    }
}

TEST_F(FillTest, MovedOffsetsStayInsideTheStore) {
    // Without red at 0 a packed pixel starts late, and its last byte would lie behind the store.
    const MemoryImage image = Image(7, 3, "ImageFormatRGB");
    TheHost().Set(image, "RedOffset", 1);
    Call(image, "FillRect", 200);
    EXPECT_TRUE(image.GuardIntact());
    EXPECT_EQ(image.At(0, 0, 1), 200);
    EXPECT_EQ(image.At(6, 2, 2), 200);
    Call(image, "FillRectRandom");
    EXPECT_TRUE(image.GuardIntact());
    Call(image, "FillRectRGB", 10, 20, 30);  // red and green share a byte, and green comes later
    EXPECT_EQ(image.At(3, 1, 1), 20);
    EXPECT_TRUE(image.GuardIntact());
    const MemoryImage clear = Image(3, 2, "ImageFormatRGBA");
    TheHost().Set(clear, "AlphaOffset", 2);
    Call(clear, "FillRectRGB", 10, 20, 30, 40);  // and alpha last
    EXPECT_EQ(clear.At(2, 1, 2), 40);
}

TEST_F(FillTest, ChannelsFurtherApartThanAPixelAreFilledOneByOne) {
    // The offsets of a view that begins at column 4 reach past the pixel, but for the one that is moved back.
    constexpr int64_t kStart = 4;
    constexpr int64_t kWidth = 5;
    for (const char* format : {"ImageFormatRGB", "ImageFormatBGRA"}) {
        const MemoryImage image = Image(12, 6, format);
        const Ref view = TheHost().Call(image.Object(), "ClipImage", kStart, 1, kWidth, 4).ToThing();
        TheHost().Set(view, "GreenOffset", 1);
        Model expected(TheHost(), image);
        const auto offset = [&](const char* name) { return TheHost().Get<int64_t>(view, name); };
        ASSERT_GE(offset("RedOffset"), offset("GreenOffset") + image.PixelSize());
        const auto put = [&](int64_t left, int64_t top, int64_t width, int64_t height,
                             std::initializer_list<std::pair<const char*, int>> values) {
            for (int64_t y = top; y < top + height; ++y) {
                for (int64_t x = left; x < left + width; ++x) {
                    for (const auto& [name, value] : values)
                        expected.At(x, 1 + y, offset(name)) = static_cast<uint8_t>(value);
                }
            }
        };
        TheHost().Call(view, "FillRectRGB", 10, 20, 30);
        put(0, 0, kWidth, 4, {{"RedOffset", 10}, {"GreenOffset", 20}, {"BlueOffset", 30}});
        EXPECT_EQ(image.Bytes(), expected.bytes) << format;
        TheHost().Call(view, "FillRectRGB", 1, 1, 3, 2, 40, 50, 60);
        put(1, 1, 3, 2, {{"RedOffset", 40}, {"GreenOffset", 50}, {"BlueOffset", 60}});
        EXPECT_EQ(image.Bytes(), expected.bytes) << format;
        TheHost().Call(view, "FillRect", 2, 0, 2, 3, 70, 80);
        put(2, 0, 2, 3, {{"RedOffset", 70}, {"GreenOffset", 70}, {"BlueOffset", 70}});
        if (TheHost().Get<bool>(view, "HasAlpha")) put(2, 0, 2, 3, {{"AlphaOffset", 80}});
        EXPECT_EQ(image.Bytes(), expected.bytes) << format;
        EXPECT_TRUE(image.GuardIntact());
    }
}

TEST_F(FillTest, RandomFillsEveryChannelAndNothingElse) {
    for (const int64_t format : Formats()) {
        const MemoryImage image(TheHost(), 301, 5, format, 0, 3);
        Model model(TheHost(), image);
        const auto before = image.Bytes();
        Call(image, "FillRectRandom", 0, 1, 301, 3);
        const auto after = image.Bytes();
        std::vector<int64_t> offsets = model.ColourOffsets();
        if (model.hasAlpha && !offsets.empty()) offsets.push_back(model.alpha);
        for (int64_t offset = 0; offset < model.pixelSize; ++offset) {
            const bool drawn = std::find(offsets.begin(), offsets.end(), offset) != offsets.end();
            std::array<int, 256> seen{};
            int changed = 0;
            for (int64_t y = 0; y < 5; ++y) {
                for (int64_t x = 0; x < 301; ++x) {
                    const size_t at = static_cast<size_t>(y * model.rowSize + x * model.pixelSize + offset);
                    if (y < 1 || y > 3) {
                        EXPECT_EQ(after[at], before[at]);
                    } else {
                        ++seen[after[at]];
                        changed += after[at] != before[at];
                    }
                }
            }
            // Of 903 draws about 899 differ from what was there, and no value comes 40 times by chance.
            EXPECT_EQ(changed > 800, drawn) << "format " << format << ", byte " << offset;
            if (drawn) {
                EXPECT_LT(*std::max_element(seen.begin(), seen.end()), 40) << "format " << format;
            }
        }
    }
}

TEST_F(FillTest, RandomBytesDifferBetweenRunsAndChannels) {
    const MemoryImage first = Image(64, 1, "ImageFormatRGB"), second = Image(64, 1, "ImageFormatRGB");
    Call(first, "FillRectRandom");
    Call(second, "FillRectRandom");
    EXPECT_NE(first.Bytes(), second.Bytes());
}

TEST_F(FillTest, ClearRectWithoutArgumentsClearsTheEndOfEachRow) {
    const MemoryImage image = Image(3, 2, "ImageFormatRGB", 16);
    Call(image, "ClearRect", 0, 0, 3, 1);
    EXPECT_NE(std::vector<uint8_t>(image.Row(0) + 9, image.Row(0) + 16), std::vector<uint8_t>(7, 0));
    Call(image, "ClearRect");
    EXPECT_EQ(image.Bytes(), std::vector<uint8_t>(32, 0));
}

TEST_F(FillTest, RowsThatRunUpwardsAreClearedToo) {
    // A caller's block with the first row at its end.
    const trvhost::MemoryBlock block = TheHost().NewMemoryBlock(64);
    for (uint8_t& byte : block.Bytes())
        byte = 1;
    const trvhost::MemoryBlock last = TheHost().WrapPointer(block.Data() + 48);
    const Ref image = TheHost().Construct("PictureTRV", last, 4, 3, Constant("ImageFormatRGBA"), -16);
    TheHost().Call(image, "ClearRect");
    const auto bytes = block.Bytes();
    EXPECT_EQ(std::count(bytes.begin(), bytes.begin() + 16, 1), 16);
    EXPECT_EQ(std::count(bytes.begin() + 16, bytes.end(), 0), 48);
}

TEST_F(FillTest, YieldsOncePerRowWhenAsked) {
    const MemoryImage image = Image(4, 10, "ImageFormatRGBX");
    TheHost().Set(image, "YieldTicks", INT64_MIN);  // an interval that never passes
    Call(image, "FillRect", 1);
    EXPECT_EQ(TheHost().Calls("REALYieldToRB"), 0);
    TheHost().Set(image, "YieldTicks", 0);
    Call(image, "FillRect", 1);
    EXPECT_EQ(TheHost().Calls("REALYieldToRB"), 0);
}

TEST_F(FillTest, AnImageClosedWhileTheHostHasItsTimeEndsTheFill) {
    for (const char* format : {"ImageFormatRGBX", "ImageFormatRGB", "ImageFormatCMYKA"}) {
        const Ref image = NewImage(8, 50, format);
        TheHost().Set(image, "YieldTicks", -1);
        TheHost().OnYield([&] { TheHost().Call(image, "Close"); });
        TheHost().Call(image, "FillRect", 1);
        TheHost().OnYield({});
        EXPECT_EQ(TheHost().Get<bool>(image, "Valid"), true);
    }
}

TEST_F(FillTest, AnImageThatBecomesASmallerOneMeanwhileIsLeftAlone) {
    for (const auto& [method, value] : {std::pair("FillRect(Value as integer)", 1), {"FillRectRandom", 0}}) {
        for (const int when : {1, 2}) {
            const Ref image = NewImage(900, 900, "ImageFormatRGBX");
            const MemoryImage small = Image(2, 2, "ImageFormatG");
            const auto before = small.Bytes();
            TheHost().Set(image, "YieldTicks", -1);
            int yields = 0;
            TheHost().OnYield([&] {
                if (++yields == when)
                    TheHost().Call(image, "Constructor",
                                   TheHost().Get<trvhost::MemoryBlock>(small, "MemoryTarget"), 2, 2,
                                   Constant("ImageFormatG"), 2);
            });
            if (value != 0) {
                TheHost().Call(image, method, value);
            } else {
                TheHost().Call(image, method);
            }
            TheHost().OnYield({});
            EXPECT_GE(yields, 1);
            EXPECT_EQ(small.Bytes(), before);
            EXPECT_TRUE(small.GuardIntact());
        }
    }
}

// The log
// ----------------------------------------------------------------------------------------------------------

TEST_F(FillTest, LogsTheTextsOfEachOverload) {
    const MemoryImage image = Image(4, 4, "ImageFormatRGBA");
    const auto first = [&](auto... arguments) {
        const auto lines = LogOf([&] { Call(image, arguments...); });
        return lines.empty() ? std::string() : lines.front();
    };
    EXPECT_EQ(first("FillRect", 0, 0, 1, 1, 7), "FillRect5");
    EXPECT_EQ(first("FillRect", 7), "FillRect5");
    EXPECT_EQ(first("FillRect", 0, 0, 1, 1, 7, 8), "FillRectA5");
    EXPECT_EQ(first("FillRectRGB", 1, 2, 3), "FillRectRGB1");
    EXPECT_EQ(first("FillRectRGB", 0, 0, 1, 1, 1, 2, 3), "FillRectRGB5");
    EXPECT_EQ(first("FillRectRGB", 1, 2, 3, 4), "FillRectRGBA1");
    EXPECT_EQ(first("FillRectRGB", 0, 0, 1, 1, 1, 2, 3, 4), "FillRectRGBA5");
    EXPECT_EQ(first("FillRectRGB", Color{1}), "FillRectRGBc1");
    EXPECT_EQ(first("FillRectRGB", 0, 0, 1, 1, Color{1}), "FillRectRGBc5");
    EXPECT_EQ(first("FillRectRGB", Color{1}, 2), "FillRectRGBcA1");
    EXPECT_EQ(first("FillRectRGB", 0, 0, 1, 1, Color{1}, 2), "FillRectRGBcA5");
    EXPECT_EQ(first("FillRectApply", 1, 2, 3, 4), "FillRectApplyRGBA5");
    EXPECT_EQ(first("FillRectRandom"), "FillRectRandom5");
}

TEST_F(FillTest, LogsTheFamilyTheClippingAndTheRefusal) {
    const MemoryImage inks = Image(20, 4, "ImageFormatCMYKA"), colours = Image(4, 1, "ImageFormatXRGB");
    const Ref unconstructed = TheHost().New("PictureTRV");
    using Lines = std::vector<std::string>;
    EXPECT_EQ(
        LogOf([&] { Call(inks, "FillRect", 15, 1, 10, -1, 7); }),
        (Lines{"FillRect5", "Fix 15, 1, 10, -1", "Fixed 15, 0, 5, 1", "StartImage ok", "FillRect5CMYKA"}));
    EXPECT_EQ(LogOf([&] { Call(colours, "FillRectApply", 1, 2, 3, 4); }),
              (Lines{"FillRectApplyRGBA5", "Fix 0, 0, 4, 1", "Fixed 0, 0, 4, 1", "FillRectApply5RGB"}));
    EXPECT_EQ(LogOf([&] { TheHost().Call(unconstructed, "FillRect", 1); }),
              (Lines{"FillRect5", "Picture not valid."}));
}

}  // namespace
}  // namespace trvtest
