// BoxBlurFractionalFilter against its formula, sample by sample.

#include <cmath>
#include <limits>

#include "filter_cases.h"
#include "filter_images.h"
#include "mapped_test.h"

namespace trvtest {
namespace {

struct Taps {
    double f;
    double k;

    explicit Taps(double radius) : f(radius - std::floor(radius)), k(1.0 / (f + f + 1.0)) {}
    [[nodiscard]] int operator()(int a, int b, int c) const {
        const double value = (static_cast<double>(a + b) * f + c) * k;
        return std::isnan(value) ? 0 : static_cast<int>(value);
    }
};

class BoxBlurFractionalTest : public FilterTest {
  protected:
    Ref Blur(const Ref& image, const Ref& dest, double radius) const {
        return TheHost().Call(image, "BoxBlurFractionalFilter", dest, radius).ToThing();
    }

    /// The worker's channels: those of colours for inks too.
    static std::vector<std::string> Channels(const Side& side) {
        if (side.family == '-') return {};
        std::vector<std::string> names{"Gray"};
        if (side.family != 'G') names = {"Red", "Green", "Blue"};
        if (side.alpha) names.emplace_back("Alpha");
        return names;
    }

    static Samples Down(Samples from, const Taps& tap) {
        Samples to = from;
        const int64_t last = from.height - 1;
        for (int64_t x = 0; x < from.width; ++x) {
            for (size_t c = 0; c < from.channels; ++c) {
                const auto at = [&](int64_t y) { return y > last ? 0 : from.At(x, y, c); };
                to.At(x, 0, c) = tap(at(0), at(0), at(0));
                for (int64_t y = 1; y < last; ++y)
                    to.At(x, y, c) = tap(at(y - 1), at(y + 1), at(y));
                const int64_t above = std::max<int64_t>(last - 1, 0);
                to.At(x, last, c) = tap(at(above), at(above + 1), at(above + 1));
            }
        }
        return to;
    }

    static Samples Along(Samples from, const Taps& tap) {
        Samples to = from;
        const int64_t last = from.width - 1;
        for (int64_t y = 0; y < from.height; ++y) {
            for (size_t c = 0; c < from.channels; ++c) {
                const auto at = [&](int64_t x) { return x > last ? 0 : from.At(x, y, c); };
                to.At(0, y, c) = tap(at(0), at(1), at(0));
                for (int64_t x = 1; x < last; ++x)
                    to.At(x, y, c) = tap(at(x - 1), at(x + 1), at(x));
                if (last > 0) to.At(last, y, c) = tap(at(last), at(last), at(last));
            }
        }
        return to;
    }

    void Check(const TestImage& source, const TestImage& dest, double radius) {
        const auto names = source.side.wide ? std::vector<std::string>() : Channels(source.side);
        const auto sourceBytes = source.root.Bytes();
        auto expected = dest.root.Bytes();
        const Taps tap(radius);
        Samples down = Down(source.Read(sourceBytes, names), tap);
        dest.Write(expected, down, names);
        const int64_t width = std::min(source.width, dest.width),
                      height = std::min(source.height, dest.height);
        Samples written(width, height, names.size());
        for (int64_t y = 0; y < height; ++y) {
            for (int64_t x = 0; x < width; ++x) {
                for (size_t c = 0; c < names.size(); ++c)
                    written.At(x, y, c) = expected[dest.Index(x, y, dest.side.at.at(names[c]))];
            }
        }
        Samples along = Along(written, tap);
        dest.Write(expected, along, names);
        const Ref result = Blur(source.image, dest.image, radius);
        SCOPED_TRACE(source.story + " " + std::to_string(source.width) + "x" + std::to_string(source.height) +
                     " to " + dest.story + " " + std::to_string(dest.width) + "x" +
                     std::to_string(dest.height) + ", radius " + std::to_string(radius));
        ASSERT_EQ(result, names.empty() ? Ref() : dest.image);
        ASSERT_EQ(dest.root.Bytes(), expected);
        ASSERT_TRUE(dest.root.GuardIntact());
        if (dest.image != source.image) {
            ASSERT_EQ(source.root.Bytes(), sourceBytes);
        }
    }

    /// A gray picture with these rows, blurred into a new one; the rows of that.
    std::vector<std::vector<int>> BlurGray(const std::vector<std::vector<int>>& rows, double radius) {
        const MemoryImage image(TheHost(), std::ssize(rows[0]), std::ssize(rows), Constant("ImageFormatG"));
        for (size_t y = 0; y < rows.size(); ++y)
            std::copy(rows[y].begin(), rows[y].end(), image.Row(static_cast<int64_t>(y)));
        const Ref result = Blur(image, Ref(), radius);
        std::vector<std::vector<int>> blurred;
        for (size_t y = 0; y < rows.size(); ++y) {
            const auto* row = static_cast<const uint8_t*>(
                TheHost().Call(result, "RawRowPtr", static_cast<int64_t>(y)).ToPointer());
            blurred.emplace_back(row, row + rows[y].size());
        }
        return blurred;
    }
};

using Rows = std::vector<std::vector<int>>;

TEST_F(BoxBlurFractionalTest, EveryFormatIntoItsOwnAndInPlace) {
    for (const int64_t format : Formats()) {
        for (const double radius : {0.5, 0.25, 7.9}) {
            for (const auto& [width, height] : {std::pair{7, 5}, {1, 1}, {1, 4}, {5, 1}, {2, 2}, {3, 2}}) {
                const TestImage source = Plain(width, height, format), dest = Plain(width, height, format);
                ASSERT_NO_FATAL_FAILURE(Check(source, dest, radius));
                ASSERT_NO_FATAL_FAILURE(Check(source, source, radius));
            }
        }
    }
}

TEST_F(BoxBlurFractionalTest, AnyPicturesAndViews) {
    const auto formats = Formats();
    for (int round = 0; round < 1500; ++round) {
        const int64_t width = Draw(1, 40), height = Draw(1, 9);
        const auto format = [&] { return formats[static_cast<size_t>(Draw(0, std::ssize(formats) - 1))]; };
        const TestImage source = Some(width, height, format());
        const TestImage dest = Some(std::max<int64_t>(width + Draw(-2, 2), 1),
                                    std::max<int64_t>(height + Draw(-1, 1), 1), format());
        const double radius = static_cast<double>(Draw(-2000, 2000)) / 997;
        ASSERT_NO_FATAL_FAILURE(Check(source, dest, radius));
        if (Draw(0, 3) == 0) {
            ASSERT_NO_FATAL_FAILURE(Check(source, source, radius));
        }
    }
}

class BoxBlurFractionalWithin : public FilterCaseTest {
  protected:
    /// The passes in the order in which they read and write, for images that may share their bytes: rows are
    /// copied, but for the one below the row that is written, which is as it is by then.
    static void Reference(const Shown& from, const Shown& to, double radius) {
        const auto names = from.Channels(true, false);
        const Taps tap(radius);
        const auto row = [&](const Shown& image, int64_t y) {
            std::vector<int> samples;
            for (int64_t x = 0; x < image.width; ++x) {
                for (const std::string& name : names)
                    samples.push_back(image.At(x, y, name));
            }
            return samples;
        };
        const auto write = [&](int64_t x, int64_t y, const auto& value) {
            if (!to.Inside(x, y)) return;
            std::vector<int> made;
            for (size_t c = 0; c < names.size(); ++c)
                made.push_back(value(static_cast<size_t>(x) * names.size() + c, names[c]));
            for (size_t c = 0; c < names.size(); ++c)
                to.At(x, y, names[c]) = static_cast<uint8_t>(made[c]);
        };
        const int64_t last = from.height - 1;
        std::vector<int> above = row(from, 0);
        std::vector<int> centre = last > 0 ? row(from, 1) : std::vector<int>(above.size());
        for (int64_t x = 0; x < from.width; ++x)
            write(x, 0, [&](size_t i, const auto&) { return tap(above[i], above[i], above[i]); });
        for (int64_t y = 2; y <= last; ++y) {
            for (int64_t x = 0; x < from.width; ++x) {
                write(x, y - 1, [&](size_t i, const std::string& name) {
                    return tap(above[i], from.At(x, y, name), centre[i]);
                });
            }
            above = std::exchange(centre, row(from, y));
        }
        for (int64_t x = 0; x < from.width; ++x)
            write(x, last, [&](size_t i, const auto&) { return tap(above[i], centre[i], centre[i]); });
        const int64_t width = std::min(from.width, to.width);
        for (int64_t y = 0; y < std::min(from.height, to.height); ++y) {
            std::vector<int> held = row(to, y);
            held.resize(static_cast<size_t>(width) * names.size());
            held.resize(held.size() + names.size());  // behind the last pixel there is nothing
            const auto n = static_cast<std::ptrdiff_t>(names.size());
            for (int64_t x = 0; x < width; ++x) {
                write(x, y, [&](size_t i, const auto&) {
                    const int* c = &held[i];
                    if (x == 0) return tap(c[0], c[n], c[0]);
                    return x < width - 1 ? tap(c[-n], c[n], c[0]) : tap(c[0], c[0], c[0]);
                });
            }
        }
    }
};

TEST_F(BoxBlurFractionalWithin, ADestinationThatSharesThePixelsIsWrittenInOrder) {
    for (const int64_t format : Formats()) {
        if (format >= 22 && format <= 40) continue;
        for (const DestKind kind : kDestKinds) {
            if (kind == DestKind::Nil || kind == DestKind::OtherFormat) continue;
            for (int round = 0; round < 8; ++round) {
                const bool crowded = kind == DestKind::Source && round % 2 == 1;
                Case made = crowded ? DrawCrowdedCase(format) : DrawCase(format, kind, 30, 9);
                const double radius = static_cast<double>(Draw(-2000, 2000)) / 997;
                Check(
                    made,
                    [&](const Ref& image, const Ref& dest) {
                        return Filter(image, "BoxBlurFractionalFilter", dest, radius);
                    },
                    [&](const Shown& from, const Shown& to) { Reference(from, to, radius); },
                    made.from->side.wide);
                ASSERT_FALSE(HasFatalFailure()) << format << " " << static_cast<int>(kind) << " " << radius;
            }
        }
    }
}

TEST_F(BoxBlurFractionalTest, AWholeRadiusCopies) {
    const TestImage source = Plain(9, 6, 2);
    for (const double radius : {3.0, 0.0, -2.0, 1e300}) {
        const TestImage dest = Plain(9, 6, 2);
        Blur(source.image, dest.image, radius);
        EXPECT_EQ(dest.root.Bytes(), source.root.Bytes()) << radius;
    }
}

TEST_F(BoxBlurFractionalTest, OnlyTheFractionOfTheRadiusCounts) {
    const TestImage source = Plain(9, 6, 2), half = Plain(9, 6, 2), more = Plain(9, 6, 2);
    Blur(source.image, half.image, 0.5);
    Blur(source.image, more.image, 3.5);
    EXPECT_EQ(half.root.Bytes(), more.root.Bytes());
    Blur(source.image, half.image, 0.75);
    Blur(source.image, more.image, -0.25);
    EXPECT_EQ(half.root.Bytes(), more.root.Bytes());
}

TEST_F(BoxBlurFractionalTest, ASpikeSpreads) {
    // Half the weight to each side: 45, 90, 45 of 180, and that in both directions.
    EXPECT_EQ(
        BlurGray({{0, 0, 0, 0, 0}, {0, 0, 0, 0, 0}, {0, 0, 90, 0, 0}, {0, 0, 0, 0, 0}, {0, 0, 0, 0, 0}}, 0.5),
        (Rows{{0, 0, 0, 0, 0}, {0, 5, 11, 5, 0}, {0, 11, 22, 11, 0}, {0, 5, 11, 5, 0}, {0, 0, 0, 0, 0}}));
    // Equal rows: only the horizontal pass shows.
    EXPECT_EQ(BlurGray({{0, 0, 90, 0, 0}, {0, 0, 90, 0, 0}, {0, 0, 90, 0, 0}}, 0.5)[1],
              (std::vector<int>{0, 22, 45, 22, 0}));
    // Equal columns: only the vertical one.
    EXPECT_EQ(BlurGray({{0, 0}, {0, 0}, {90, 90}, {0, 0}, {0, 0}}, 0.5),
              (Rows{{0, 0}, {22, 22}, {45, 45}, {22, 22}, {0, 0}}));
}

TEST_F(BoxBlurFractionalTest, TheFourEdgesHaveRulesOfTheirOwn) {
    // The top row stays, the bottom one takes from above: (100 + 0) / 2 / 2.
    EXPECT_EQ(BlurGray({{0, 0}, {100, 100}, {0, 0}}, 0.5), (Rows{{0, 0}, {50, 50}, {25, 25}}));
    // The left pixel takes from the right, the right one stays: ((100 + 0) / 2 + 100) / 2.
    EXPECT_EQ(BlurGray({{100, 0, 60}, {100, 0, 60}, {100, 0, 60}}, 0.5)[1], (std::vector<int>{75, 40, 60}));
}

TEST_F(BoxBlurFractionalTest, OfTwoRowsThereAreTheFirstAndTheLast) {
    EXPECT_EQ(BlurGray({{0, 0, 0}, {100, 100, 100}}, 0.5), (Rows{{0, 0, 0}, {75, 75, 75}}));
    EXPECT_EQ(BlurGray({{100, 100}, {0, 0}}, 0.5), (Rows{{100, 100}, {25, 25}}));
}

TEST_F(BoxBlurFractionalTest, OneRowOrColumnHasANeighbourOfZeros) {
    // One row: (100 + 0) / 2 / 2 downwards; then along, where pixel 0 sees pixel 1.
    EXPECT_EQ(BlurGray({{100, 100, 100}}, 0.5), (Rows{{25, 25, 25}}));
    EXPECT_EQ(BlurGray({{100}, {100}}, 0.5), (Rows{{75}, {75}}));
    EXPECT_EQ(BlurGray({{200}}, 0.5), (Rows{{37}}));
    // What lies beside a view of one column stays as it is.
    const TestImage parent = Plain(3, 3, 2);
    TestImage column = parent;
    View(column, 1, 3, false);
    ASSERT_NO_FATAL_FAILURE(Check(column, column, 0.5));
}

TEST_F(BoxBlurFractionalTest, RadiiThatAreNoNumbersGiveZeros) {
    for (const double radius :
         {std::nan(""), std::numeric_limits<double>::infinity(), -std::numeric_limits<double>::infinity()}) {
        const TestImage source = Plain(5, 3, 11), dest = Plain(5, 3, 11);
        EXPECT_EQ(Blur(source.image, dest.image, radius), dest.image);
        EXPECT_EQ(dest.root.Bytes(), std::vector<uint8_t>(15)) << radius;
    }
    // A fraction so near to 1 that it becomes 1.
    const TestImage source = Plain(5, 3, 11), dest = Plain(5, 3, 11);
    Check(source, dest, -1e-20);
}

TEST_F(BoxBlurFractionalTest, ImagesWithoutColoursGiveNilAndReleaseTheDestination) {
    const Ref buffer = NewImage(4, 3, "ImageFormatBuffer");
    const MemoryImage dest(TheHost(), 4, 3, Constant("ImageFormatG"));
    const auto before = dest.Bytes();
    EXPECT_FALSE(Blur(buffer, dest, 0.5));
    EXPECT_FALSE(Blur(buffer, Ref(), 0.5));
    EXPECT_EQ(dest.Bytes(), before);
    EXPECT_FALSE(Blur(NewImage(4, 3, "ImageFormatGray16"), dest, 0.5));
    EXPECT_FALSE(Blur(NewImage(0, 0, "ImageFormatRGB"), dest, 0.5));
}

TEST_F(BoxBlurFractionalTest, TheLogTellsTheWeights) {
    const MemoryImage source(TheHost(), 4, 3, Constant("ImageFormatCMYKA"));
    const MemoryImage dest(TheHost(), 4, 3, Constant("ImageFormatCMYKA"));
    const auto lines = LogOf([&] { Blur(source, dest, 2.25); });
    ASSERT_GE(lines.size(), 9U);
    EXPECT_EQ(lines.front(), "BoxBlurFractionalFilter 2.250000");
    const std::vector<std::string> last(lines.end() - 5, lines.end());
    EXPECT_EQ(last, (std::vector<std::string>{"BoxBlurFractionalFilterRGBA", "radius *1000 250.000000",
                                              "f *1000 666.666667", "Vertical", "horizontal"}));
}

class BoxBlurFractionalMappedTest : public MappedTest {};

TEST_F(BoxBlurFractionalMappedTest, MappedImagesBlurAsOthersDo) {
    // More than a window of 16 MiB, at 4096 bytes a row.
    const int64_t width = 3, height = 4400;
    const Ref mapped = NewMapped(width, height, "ImageFormatRGB", 0, std::nullopt);
    const Ref plain = NewImage(width, height, "ImageFormatRGB");
    TheHost().Call(plain, "FillRectRandom");
    ASSERT_TRUE(TheHost().Call(mapped, "CopyPixels", plain).ToBool());
    const Ref blurred = NewImage(width, height, "ImageFormatRGB");
    TheHost().Call(plain, "BoxBlurFractionalFilter", blurred, 1.3);
    const auto expected = PixelBytes(TheHost(), blurred);
    // Into another one, and in place.
    const Ref dest = NewMapped(width, height, "ImageFormatRGB", 0, std::nullopt);
    EXPECT_EQ(TheHost().Call(mapped, "BoxBlurFractionalFilter", dest, 1.3).ToThing(), dest);
    EXPECT_EQ(PixelBytes(TheHost(), dest), expected);
    EXPECT_EQ(TheHost().Call(mapped, "BoxBlurFractionalFilter", mapped, 1.3).ToThing(), mapped);
    EXPECT_EQ(PixelBytes(TheHost(), mapped), expected);
}

}  // namespace
}  // namespace trvtest
