// BoxBlurFilter against the mean of every window, formed sample by sample.

#include <cmath>
#include <limits>

#include "filter_cases.h"
#include "filter_images.h"
#include "mapped_test.h"

namespace trvtest {
namespace {

using trvhost::Value;

struct Passes {
    bool vertical = true;
    bool horizontal = true;
};

/// One pass: the truncated mean of the 2r + 1 samples around each, along one axis.
Samples Pass(Samples from, int64_t radius, bool vertical) {
    const int64_t divisor = 2 * std::max<int64_t>(radius, 1) + 1;
    Samples to = from;
    for (int64_t y = 0; y < from.height; ++y) {
        for (int64_t x = 0; x < from.width; ++x) {
            for (size_t c = 0; c < from.channels; ++c) {
                int64_t sum = 0;
                for (int64_t k = -radius; k <= radius; ++k)
                    sum += vertical ? from.Clamped(x, y + k, c) : from.Clamped(x + k, y, c);
                to.At(x, y, c) = static_cast<int>(sum / divisor);
            }
        }
    }
    return to;
}

/// The columns that a narrower destination keeps.
Samples Narrowed(Samples& from, int64_t width) {
    Samples to(std::min(from.width, width), from.height, from.channels);
    for (int64_t y = 0; y < to.height; ++y) {
        for (int64_t x = 0; x < to.width; ++x) {
            for (size_t c = 0; c < to.channels; ++c)
                to.At(x, y, c) = from.At(x, y, c);
        }
    }
    return to;
}

class BoxBlurTest : public FilterTest {
  protected:
    Ref Blur(const Ref& image, const Ref& dest, double radius, Passes passes = {}) const {
        return TheHost()
            .Call(image, "BoxBlurFilter", dest, radius, passes.vertical, passes.horizontal)
            .ToThing();
    }
    Ref Blur(const Ref& image, const Ref& dest, double radius, int64_t iterations, Passes passes = {}) const {
        return TheHost()
            .Call(image, "BoxBlurFilter", dest, radius, iterations, passes.vertical, passes.horizontal)
            .ToThing();
    }

    /// Blurs into an image of the caller's and compares every byte of its store.
    void Check(const TestImage& source, const TestImage& dest, double radius, Passes passes) {
        const auto names = source.side.wide ? std::vector<std::string>() : ChannelNames(source.side);
        const auto sourceBytes = source.root.Bytes();
        auto expected = dest.root.Bytes();
        const auto r = static_cast<int64_t>(radius);
        Samples samples = source.Read(sourceBytes, names);
        // Channels that meet in one byte are one behind the vertical pass.
        if (passes.vertical) {
            samples = Pass(samples, r, true);
            samples = Narrowed(samples, dest.width);
            dest.Write(expected, samples, names);
            if (dest.height >= samples.height && dest.width >= samples.width) {
                TestImage shown = dest;
                shown.width = samples.width;
                shown.height = samples.height;
                shown.firstRow += dest.mirrored ? dest.height - samples.height : 0;
                samples = shown.Read(expected, names);
            }
        }
        if (passes.horizontal) {
            samples = Pass(samples, r, false);
            dest.Write(expected, samples, names);
        }
        const Ref result = Blur(source.image, dest.image, radius, passes);
        SCOPED_TRACE(source.story + " " + std::to_string(source.width) + "x" + std::to_string(source.height) +
                     " to " + dest.story + " " + std::to_string(dest.width) + "x" +
                     std::to_string(dest.height) + ", radius " + std::to_string(radius) +
                     (passes.vertical ? " V" : "") + (passes.horizontal ? " H" : ""));
        ASSERT_EQ(result, source.side.wide ? Ref() : dest.image);
        ASSERT_EQ(dest.root.Bytes(), expected);
        ASSERT_EQ(source.root.Bytes(), sourceBytes);
        ASSERT_TRUE(dest.root.GuardIntact());
    }

    MemoryImage Gray(const std::vector<std::vector<int>>& rows) {
        MemoryImage image(TheHost(), std::ssize(rows[0]), std::ssize(rows), Constant("ImageFormatG"));
        for (size_t y = 0; y < rows.size(); ++y)
            std::copy(rows[y].begin(), rows[y].end(), image.Row(static_cast<int64_t>(y)));
        return image;
    }
    /// The pixels of a gray row, blurred into a new image.
    std::vector<uint8_t> BlurRow(const std::vector<int>& row, double radius) {
        return PixelBytes(TheHost(), Blur(Gray({row}), Ref(), radius));
    }
};

TEST_F(BoxBlurTest, EveryFormatIntoItself) {
    for (const int64_t format : Formats()) {
        for (const double radius : {0.0, 1.0, 2.0, 3.0}) {
            for (const Passes passes : {Passes{}, Passes{true, false}, Passes{false, true}}) {
                const TestImage source = Plain(7, 5, format), dest = Plain(7, 5, format);
                ASSERT_NO_FATAL_FAILURE(Check(source, dest, radius, passes));
            }
        }
    }
}

TEST_F(BoxBlurTest, AnyPicturesAndViews) {
    const auto formats = Formats();
    for (int round = 0; round < 1500; ++round) {
        const int64_t width = Draw(1, 40), height = Draw(1, 12);
        const bool sameSize = Draw(0, 3) > 0;
        const auto format = [&] { return formats[static_cast<size_t>(Draw(0, std::ssize(formats) - 1))]; };
        const TestImage source = Some(width, height, format());
        const TestImage dest =
            Some(sameSize ? width : width + Draw(0, 4), sameSize ? height : height + Draw(0, 4),
                 Draw(0, 1) == 0 ? source.root.PixelSize() == 4 ? 2 : format() : format());
        const double radius =
            Draw(0, 9) == 0 ? static_cast<double>(Draw(20, 200)) : static_cast<double>(Draw(-99, 900)) / 100;
        ASSERT_NO_FATAL_FAILURE(Check(source, dest, radius, {Draw(0, 3) > 0, Draw(0, 3) > 0}));
    }
}

using Bytes = std::vector<uint8_t>;

TEST_F(BoxBlurTest, SmallerDestinationsGetWhatFits) {
    for (int round = 0; round < 300; ++round) {
        const int64_t width = Draw(1, 40), height = Draw(1, 12);
        const TestImage source = Plain(width, height, 2);
        const TestImage dest =
            Plain(std::max<int64_t>(width - Draw(0, 9), 1), std::max<int64_t>(height - Draw(0, 4), 1), 7);
        ASSERT_NO_FATAL_FAILURE(
            Check(source, dest, static_cast<double>(Draw(0, 9)), {Draw(0, 3) > 0, Draw(0, 3) > 0}));
    }
}

TEST_F(BoxBlurTest, LargeRadiiAreDoneInEverySize) {
    for (const double radius : {127.0, 128.0, 129.0, 130.5, 1000.0, 23000.0, 23400.0, 33000.0}) {
        for (const int64_t format : {2, 1, 11, 12, 24}) {
            const TestImage source = Plain(Draw(1, 40), Draw(1, 5), format);
            const TestImage dest = Plain(source.width, source.height, format);
            ASSERT_NO_FATAL_FAILURE(Check(source, dest, radius, {}));
        }
    }
    const TestImage source = Plain(301, 40, 2), dest = Plain(301, 40, 2);
    for (const double radius : {10.0, 128.0, 140.0})
        ASSERT_NO_FATAL_FAILURE(Check(source, dest, radius, {}));
}

TEST_F(BoxBlurTest, WhiteStaysWhite) {
    const MemoryImage white(TheHost(), 300, 40, Constant("ImageFormatRGBA"));
    white.SetBytes(Bytes(300 * 40 * 4, 255));
    for (const double radius : {1.0, 2.0, 17.0, 127.0, 128.0, 129.0, 20000.0}) {
        EXPECT_EQ(PixelBytes(TheHost(), Blur(white, Ref(), radius)), Bytes(300 * 40 * 4, 255)) << radius;
    }
}

TEST_F(BoxBlurTest, WithBothPassesOffNothingIsWritten) {
    const TestImage source = Plain(7, 5, 2), dest = Plain(7, 5, 2);
    ASSERT_NO_FATAL_FAILURE(Check(source, dest, 2, {false, false}));
    EXPECT_EQ(PixelBytes(TheHost(), Blur(source.image, Ref(), 2.0, Passes{false, false})), Bytes(7 * 5 * 4));
}

TEST_F(BoxBlurTest, MeansOfARow) {
    // One row: the vertical pass leaves it. Windows of 5 with the ends repeated.
    EXPECT_EQ(BlurRow({10, 20, 30, 40, 50, 60}, 2.0), (Bytes{16, 22, 30, 40, 48, 54}));
    EXPECT_EQ(BlurRow({10, 20, 30, 40, 50, 60}, 2.99), (Bytes{16, 22, 30, 40, 48, 54}));
    // Cut, not rounded.
    EXPECT_EQ(BlurRow({0, 0, 2}, 1.0), (Bytes{0, 0, 1}));
}

TEST_F(BoxBlurTest, MeansOfASquare) {
    // Windows of 5 by 5 with the edges repeated; the mean of each column is cut before they are added.
    const Ref blurred = Blur(Gray({{100, 0, 0, 0}, {0, 0, 0, 0}, {0, 0, 0, 0}, {0, 0, 0, 255}}), Ref(), 2.0);
    // Down: 60, 40, 20, 0 of the first column and 0, 51, 102, 153 of the last.
    EXPECT_EQ(PixelBytes(TheHost(), blurred),
              (Bytes{36, 24, 12, 0, 24, 26, 28, 30, 12, 28, 44, 61, 0, 30, 61, 91}));
}

TEST_F(BoxBlurTest, BelowARadiusOfOneSamplesAreDividedByThree) {
    for (const double radius : {0.5, 0.0, -0.99, 0.999}) {
        EXPECT_EQ(BlurRow({255, 100, 9, 8, 0}, radius), (Bytes{28, 11, 1, 0, 0})) << radius;
        const auto once = Blur(Gray({{255, 100, 9, 8, 0}}), Ref(), radius, Passes{false, true});
        EXPECT_EQ(PixelBytes(TheHost(), once), (Bytes{85, 33, 3, 2, 0})) << radius;
    }
}

TEST_F(BoxBlurTest, ARadiusOfMinusOneOrLessOrNoNumberGivesNil) {
    const TestImage source = Plain(7, 5, 2), dest = Plain(7, 5, 2);
    const Bytes before = dest.root.Bytes();
    for (const double radius :
         {-1.0, -1.5, -7.0, -1e300, -std::numeric_limits<double>::infinity(), std::nan("")}) {
        EXPECT_FALSE(Blur(source.image, dest.image, radius)) << radius;
        EXPECT_FALSE(Blur(source.image, Ref(), radius)) << radius;
        EXPECT_FALSE(Blur(source.image, dest.image, radius, int64_t{3})) << radius;
        // It does not matter where nothing is blurred.
        EXPECT_EQ(Blur(source.image, dest.image, radius, Passes{false, false}), dest.image) << radius;
        EXPECT_EQ(Blur(Plain(7, 5, Constant("ImageFormatBuffer")).image, dest.image, radius), dest.image);
    }
    EXPECT_EQ(dest.root.Bytes(), before);
}

TEST_F(BoxBlurTest, HugeRadiiAreTheMeanOfTheEnds) {
    // A billion times each end, and one end once more.
    EXPECT_EQ(BlurRow({10, 77, 201}, 1e9), (Bytes{105, 105, 105}));
    EXPECT_EQ(BlurRow({0, 255}, 1e10), (Bytes{127, 127}));
    EXPECT_EQ(BlurRow({254, 255}, 3e10), (Bytes{254, 254}));
    // Beyond, no table of quotients could exist.
    const TestImage source = Plain(7, 5, 2), dest = Plain(7, 5, 2);
    const Bytes before = dest.root.Bytes();
    for (const double radius : {34359738368.0, 1e18, 1e300, std::numeric_limits<double>::infinity()}) {
        EXPECT_EQ(Blur(source.image, dest.image, radius), dest.image);
        EXPECT_EQ(dest.root.Bytes(), before) << radius;
    }
}

TEST_F(BoxBlurTest, InPlaceItReadsWhatItHasWritten) {
    for (const int64_t format : {2, 1, 11, 23}) {
        for (const int64_t radius : {1, 2, 4}) {
            const TestImage image = Plain(8, 7, format);
            auto bytes = image.root.Bytes();
            const auto names = ChannelNames(image.side);
            const uint64_t divisor = static_cast<uint64_t>(2 * radius + 1);
            const auto mean = [&](uint64_t sum) {
                return static_cast<uint8_t>(sum < divisor * 256 ? sum / divisor : 0);
            };
            for (const std::string& name : names) {
                const auto at = [&](int64_t x, int64_t y) -> uint8_t& {
                    return bytes[image.Index(x, y, image.side.at.at(name))];
                };
                for (int64_t x = 0; x < 8; ++x) {
                    uint64_t sum = 0;
                    for (int64_t k = -radius; k <= radius; ++k)
                        sum += at(x, std::clamp<int64_t>(k, 0, 6));
                    for (int64_t y = 0; y < 7; ++y) {
                        at(x, y) = mean(sum);
                        sum -= at(x, std::max<int64_t>(y - radius, 0));
                        sum += at(x, std::min<int64_t>(y + radius + 1, 6));
                    }
                }
            }
            Samples samples = image.Read(bytes, names);
            samples = Pass(samples, radius, false);
            image.Write(bytes, samples, names);
            EXPECT_EQ(Blur(image.image, image.image, static_cast<double>(radius)), image.image);
            EXPECT_EQ(image.root.Bytes(), bytes) << format << " " << radius;
        }
    }
}

TEST_F(BoxBlurTest, InPlaceAlongARowItReadsWhatItHasWritten) {
    const MemoryImage image = Gray({{100, 0, 50, 200, 10}});
    // Sums of 3: 200, then less the written 66 each time the window leaves it, and so on.
    std::vector<int> row = {100, 0, 50, 200, 10};
    uint64_t sum = 100 + 100 + 0;
    for (size_t x = 0; x < 5; ++x) {
        row[x] = sum < 768 ? static_cast<int>(sum / 3) : 0;
        sum += static_cast<uint64_t>(row[std::min<size_t>(x + 2, 4)]);
        sum -= static_cast<uint64_t>(row[x == 0 ? 0 : x - 1]);
    }
    Blur(image, image, 1.0, Passes{false, true});
    EXPECT_EQ(image.Bytes(), Bytes(row.begin(), row.end()));
}

TEST_F(BoxBlurTest, LessThanOneIterationGivesTheImageItself) {
    const TestImage source = Plain(7, 5, 2), dest = Plain(7, 5, 2);
    const Bytes before = source.root.Bytes(), destBefore = dest.root.Bytes();
    for (const int64_t iterations : {int64_t{0}, int64_t{-1}, std::numeric_limits<int64_t>::min()}) {
        EXPECT_EQ(Blur(source.image, dest.image, 2.0, iterations), source.image);
    }
    // Even of an image that is not valid.
    const Ref invalid = NewImage(0, 1, "ImageFormatG");
    EXPECT_EQ(Blur(invalid, Ref(), 2.0, int64_t{0}), invalid);
    EXPECT_FALSE(Blur(invalid, Ref(), 2.0, int64_t{1}));
    EXPECT_EQ(source.root.Bytes(), before);
    EXPECT_EQ(dest.root.Bytes(), destBefore);
}

TEST_F(BoxBlurTest, OnlyTheFirstIterationGoesToTheDestination) {
    const TestImage source = Plain(23, 11, 2), dest = Plain(23, 11, 2);
    const Ref once = Blur(source.image, Ref(), 2.0);
    const Ref thrice = Blur(Blur(once, Ref(), 2.0), Ref(), 2.0);
    EXPECT_EQ(Blur(source.image, dest.image, 2.0, int64_t{1}), dest.image);
    EXPECT_EQ(dest.root.Bytes(), PixelBytes(TheHost(), once));
    dest.root.SetBytes(Bytes(dest.root.Bytes().size()));
    const Ref result = Blur(source.image, dest.image, 2.0, int64_t{3});
    EXPECT_NE(result, dest.image);
    EXPECT_EQ(PixelBytes(TheHost(), result), PixelBytes(TheHost(), thrice));
    EXPECT_EQ(dest.root.Bytes(), PixelBytes(TheHost(), once));
}

TEST_F(BoxBlurTest, EachFurtherIterationAsksTheFactory) {
    int questions = 0;
    const Ref factory = TheHost().NewFactory([&](int64_t width, int64_t height, int64_t format) {
        ++questions;
        return TheHost().Construct("PictureTRV", width, height, format);
    });
    TheHost().CallShared("PictureFactoryTRV", "SetFactory", factory);
    const Ref blank = NewImage(5, 4, "ImageFormatRGB"), dest = NewImage(5, 4, "ImageFormatRGB");
    EXPECT_TRUE(Blur(blank, dest, 1.0, int64_t{200}));
    EXPECT_EQ(questions, 199);
    TheHost().CallShared("PictureFactoryTRV", "SetFactory", Ref());
}

TEST_F(BoxBlurTest, AnyNumberOfIterationsComesToAnEnd) {
    constexpr int64_t kForever = std::numeric_limits<int64_t>::max();
    const TestImage source = Plain(12, 9, 2);
    // As many as it takes, one by one.
    Ref expected = source.image;
    for (int pass = 0; pass < 1500; ++pass)
        expected = Blur(expected, Ref(), 1.0);
    EXPECT_EQ(PixelBytes(TheHost(), Blur(source.image, Ref(), 1.0, kForever)),
              PixelBytes(TheHost(), expected));
    EXPECT_EQ(PixelBytes(TheHost(), Blur(source.image, Ref(), 0.0, kForever)), Bytes(12 * 9 * 4));
    EXPECT_TRUE(Blur(source.image, Ref(), 1.0, kForever, Passes{false, false}));
    EXPECT_TRUE(Blur(NewImage(3, 3, "ImageFormatBuffer"), Ref(), 1.0, kForever));
}

TEST_F(BoxBlurTest, ImagesWithoutAFamilyComeBackAsTheyAre) {
    const TestImage buffer = Plain(7, 5, 22), dest = Plain(7, 5, 2);
    ASSERT_NO_FATAL_FAILURE(Check(buffer, dest, 2, {}));
}

TEST_F(BoxBlurTest, WhatIsNoPictureGivesNil) {
    const TestImage dest = Plain(7, 5, 11);
    const Bytes before = dest.root.Bytes();
    auto lines = LogOf([&] { EXPECT_FALSE(Blur(NewImage(0, 5, "ImageFormatG"), dest.image, 2.0)); });
    EXPECT_EQ(lines.back(), "Picture not valid.");
    lines = LogOf([&] { EXPECT_FALSE(Blur(NewImage(7, 5, "ImageFormatGray16"), dest.image, 2.0)); });
    EXPECT_EQ(lines.back(), "BitsPerComponent > 8 not supported. 16");
    const Ref closed = NewImage(7, 5, "ImageFormatG");
    TheHost().Call(closed, "Close");
    EXPECT_FALSE(Blur(closed, dest.image, 2.0));
    EXPECT_FALSE(Blur(dest.image, closed, 2.0));
    EXPECT_EQ(dest.root.Bytes(), before);
}

TEST_F(BoxBlurTest, TheLogTellsTheStages) {
    const auto workers = std::vector<std::tuple<const char*, const char*, std::vector<std::string>>>{
        {"ImageFormatG", "BoxBlurFilterG", {"aus", "aus", "aus", "an"}},
        {"ImageFormatGA", "BoxBlurFilterGA", {"an", "aus", "aus", "an"}},
        {"ImageFormatRGB", "BoxBlurFilterRGB", {"aus", "an", "aus", "aus"}},
        {"ImageFormatRGBA", "BoxBlurFilterRGBA", {"an", "an", "aus", "aus"}},
        {"ImageFormatCMYK", "BoxBlurFilterCMYK", {"aus", "aus", "an", "aus"}},
        {"ImageFormatCMYKA", "BoxBlurFilterCMYKA", {"an", "aus", "an", "aus"}}};
    for (const auto& [format, worker, flags] : workers) {
        const MemoryImage image(TheHost(), 2, 1, Constant(format)), dest(TheHost(), 3, 4, Constant(format));
        image.SetBytes(Bytes(image.Bytes().size(), 9));
        const auto lines = LogOf([&] { Blur(image, dest, 2.5); });
        EXPECT_EQ(lines.front(), "BoxBlurFilter 2.500000");
        std::vector<std::string> expected = {worker,
                                             "HasAlpha " + flags[0],
                                             "HasRGB " + flags[1],
                                             "HasCMYK " + flags[2],
                                             "HasGray " + flags[3],
                                             "Height 1, 4",
                                             "Width 2, 3",
                                             "r 2",
                                             "tableSize 5",
                                             "divideCount 1280",
                                             "Vertical prepare",
                                             "Vertical",
                                             "horizontal"};
        if (std::string_view(format).size() > std::string_view("ImageFormatGA").size())
            expected.emplace_back("tr 45");
        expected.emplace_back("tg 45");
        if (expected.size() > 14) expected.emplace_back("tb 45");
        ASSERT_GE(lines.size(), expected.size());
        EXPECT_EQ(std::vector<std::string>(lines.end() - std::ssize(expected), lines.end()), expected);
    }
    const MemoryImage image(TheHost(), 2, 1, Constant("ImageFormatG"));
    auto lines = LogOf([&] { Blur(image, Ref(), 2.9, int64_t{2}); });
    EXPECT_EQ(lines.front(), "BoxBlurFilter2 2, 2");
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "Vertical prepare"), 2);
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "BoxBlurFilter 2.900000"), 2);
    // Without passes the stages are named all the same; a window of one pixel is divided by three.
    lines = LogOf([&] { Blur(image, image, 0.0, Passes{false, false}); });
    EXPECT_EQ(std::vector<std::string>(lines.end() - 5, lines.end()),
              (std::vector<std::string>{"r 0", "tableSize 3", "divideCount 768", "Vertical prepare",
                                        "horizontal"}));
}

TEST_F(BoxBlurTest, OfGrayTheFirstRowIsTracedFromPixel201On) {
    const MemoryImage image(TheHost(), 204, 2, Constant("ImageFormatG"));
    const MemoryImage dest(TheHost(), 204, 2, Constant("ImageFormatG"));
    const auto lines = LogOf([&] { Blur(image, dest, 1.0); });
    std::vector<std::string> pixels;
    for (size_t i = 0; i + 4 < lines.size(); ++i) {
        if (!lines[i].starts_with("i ")) continue;
        pixels.push_back(lines[i]);
        EXPECT_TRUE(lines[i + 1].starts_with("tg "));
        EXPECT_TRUE(lines[i + 2].starts_with("pixel "));
        EXPECT_TRUE(lines[i + 3].starts_with("pixel value "));
        EXPECT_TRUE(lines[i + 4].starts_with("drowG "));
    }
    EXPECT_EQ(pixels, (std::vector<std::string>{"i 201", "i 202", "i 203"}));
}

TEST_F(BoxBlurTest, WithoutMemoryNothingIsWritten) {
    // Pictures that claim a width for whose sums no machine has memory.
    const trvhost::MemoryBlock block = TheHost().NewMemoryBlock(64);
    for (const int64_t width : {int64_t{1} << 46, int64_t{1} << 61, std::numeric_limits<int64_t>::max()}) {
        const auto claim = [&] { return TheHost().Construct("PictureTRV", block, width, 1, 11, 64); };
        const Ref source = claim(), dest = claim();
        EXPECT_EQ(Blur(source, dest, 2.0), dest);
        EXPECT_EQ(TheHost().Call(source, "BoxBlurFractionalFilter", dest, 0.5).ToThing(), dest);
        LogOf([&] { EXPECT_EQ(Blur(source, dest, 2.0), dest); });
    }
    EXPECT_EQ(Bytes(block.Bytes().begin(), block.Bytes().end()), Bytes(64));
}

TEST_F(BoxBlurTest, AHostThatClosesImagesMeanwhileDoesNoHarm) {
    const Ref source = NewImage(50, 40, "ImageFormatRGBA"), dest = NewImage(50, 40, "ImageFormatRGBA");
    TheHost().Set(dest, "YieldTicks", -1);
    TheHost().OnYield([&] { TheHost().Call(source, "Close"); });
    EXPECT_EQ(Blur(source, dest, 3.0), dest);
    TheHost().OnYield({});
}

class BoxBlurWithin : public FilterCaseTest {
  protected:
    /// The passes in the order in which they read and write, with sums that go on from what was written: a
    /// row at a time downwards, a pixel at a time along.
    static void Reference(const Shown& from, const Shown& to, int64_t radius, Passes passes) {
        const auto names = from.Channels(true, true);
        const auto divisor = static_cast<uint64_t>(2 * std::max<int64_t>(radius, 1) + 1);
        const auto mean = [&](uint64_t sum) {
            return static_cast<uint8_t>(sum < divisor * 256 ? sum / divisor : 0);
        };
        const int64_t width = std::min(from.width, to.width), height = std::min(from.height, to.height);
        const size_t n = names.size();
        std::vector<uint64_t> sums(static_cast<size_t>(width) * n);
        const auto addRow = [&](int64_t y, uint64_t times) {
            for (size_t i = 0; i < sums.size(); ++i)
                sums[i] += times * from.At(static_cast<int64_t>(i / n),
                                           std::clamp<int64_t>(y, 0, from.height - 1), names[i % n]);
        };
        for (int64_t k = -radius; passes.vertical && k <= radius; ++k)
            addRow(k, 1);
        for (int64_t y = 0; passes.vertical && y < height; ++y) {
            for (size_t i = 0; i < sums.size(); ++i)
                to.At(static_cast<int64_t>(i / n), y, names[i % n]) = mean(sums[i]);
            addRow(y - radius, ~uint64_t{0});
            addRow(y + radius + 1, 1);
        }
        for (int64_t y = 0; passes.horizontal && y < height; ++y) {
            std::vector<uint8_t> held;
            for (int64_t x = 0; x < width; ++x) {
                for (const std::string& name : names)
                    held.push_back(to.At(x, y, name));
            }
            const int64_t last = (passes.vertical ? width : from.width) - 1;
            const auto at = [&](int64_t x, size_t c) -> uint64_t {
                x = std::clamp<int64_t>(x, 0, last);
                return passes.vertical ? held[static_cast<size_t>(x) * n + c] : from.At(x, y, names[c]);
            };
            std::vector<uint64_t> sum(n);
            for (int64_t k = -radius; k <= radius; ++k) {
                for (size_t c = 0; c < n; ++c)
                    sum[c] += at(k, c);
            }
            for (int64_t x = 0; x < width; ++x) {
                for (size_t c = 0; c < n; ++c)
                    to.At(x, y, names[c]) = mean(sum[c]);
                for (size_t c = 0; c < n; ++c)
                    sum[c] += at(x + radius + 1, c) - at(x - radius, c);
            }
        }
    }
};

TEST_F(BoxBlurWithin, ImagesThatShareBytesAreBlurredInOrder) {
    for (const int64_t format : Formats()) {
        for (const DestKind kind : kDestKinds) {
            for (int round = 0; round < 8; ++round) {
                const bool crowded = kind == DestKind::Source && round % 2 == 1;
                Case made = crowded ? DrawCrowdedCase(format) : DrawCase(format, kind, 30, 9);
                const int64_t radius = Draw(0, 6);
                const Passes passes{Draw(0, 3) > 0, Draw(0, 3) > 0};
                Check(
                    made,
                    [&](const Ref& image, const Ref& dest) {
                        return Filter(image, "BoxBlurFilter", dest, static_cast<double>(radius),
                                      passes.vertical, passes.horizontal);
                    },
                    [&](const Shown& from, const Shown& to) { Reference(from, to, radius, passes); },
                    made.from->side.wide);
                ASSERT_FALSE(HasFatalFailure()) << format << " " << static_cast<int>(kind) << " " << radius;
            }
        }
    }
}

class BoxBlurStoresTest : public MappedTest {};

TEST_F(BoxBlurStoresTest, MappedImagesBlurAsOthersDo) {
    // More than a window of 16 MiB, at 4096 bytes a row.
    const int64_t width = 3, height = 4400;
    const auto blur = [&](const Ref& from, const Ref& to, double radius) {
        EXPECT_EQ(TheHost().Call(from, "BoxBlurFilter", to, radius, true, true).ToThing(), to);
        return PixelBytes(TheHost(), to);
    };
    const auto noise = NewImage(width, height, "ImageFormatRGB");
    TheHost().Call(noise, "FillRectRandom");
    const auto mapped = [&] {
        const Ref image = NewMapped(width, height, "ImageFormatRGB", 0, std::nullopt);
        EXPECT_TRUE(TheHost().Call(image, "CopyPixels", noise).ToBool());
        return image;
    };
    for (const double radius : {2.0, 2300.0}) {
        const auto expected = blur(noise, NewImage(width, height, "ImageFormatRGB"), radius);
        EXPECT_EQ(blur(mapped(), mapped(), radius), expected);
        EXPECT_EQ(blur(mapped(), NewImage(width, height, "ImageFormatRGB"), radius), expected);
        EXPECT_EQ(blur(noise, mapped(), radius), expected);
    }
    // In place, two views of one file.
    const Ref image = mapped(), plain = TheHost().Call(noise, "Clone").ToThing();
    EXPECT_EQ(blur(image, TheHost().Call(image, "ClipImage").ToThing(), 4.0), blur(plain, plain, 4.0));
}

TEST_F(BoxBlurStoresTest, PicturesOfTheHostBlurAsOthersDo) {
    trvhost::Options options;
    options.kind = trvhost::HostKind::Console;
    Load(options);
    const trvhost::Picture picture = TheHost().NewPicture(37, 21);
    const Ref image = TheHost().Construct("PictureTRV", picture, true);
    ASSERT_TRUE(Flag(image, "Valid"));
    TheHost().Call(image, "FillRectRandom");
    const Ref copy = NewImage(37, 21, "ImageFormatBGRA");
    ASSERT_TRUE(TheHost().Call(copy, "CopyPixels", image).ToBool());
    const auto blur = [&](const Ref& from, const Ref& to) {
        TheHost().Call(from, "BoxBlurFilter", to, 3.0, true, true);
        return PixelBytes(TheHost(), to);
    };
    const auto expected = blur(copy, NewImage(37, 21, "ImageFormatBGRA"));
    EXPECT_EQ(blur(image, NewImage(37, 21, "ImageFormatBGRA")), expected);
    EXPECT_EQ(blur(copy, image), expected);
}

}  // namespace
}  // namespace trvtest
