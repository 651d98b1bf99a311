// ApplyMatrix against the sum over the window, sample by sample.

#include <cmath>
#include <limits>

#include "filter_cases.h"
#include "filter_images.h"
#include "mapped_test.h"

namespace trvtest {
namespace {

struct Matrix {
    int64_t dimension = 0;
    std::vector<int64_t> entries;
    int64_t delta = 0;
    double factor = 1.0;

    [[nodiscard]] int64_t At(int64_t i, int64_t j) const {
        const int64_t at = i * dimension + j;
        return at < std::min<int64_t>(std::ssize(entries), 2500) ? entries[static_cast<size_t>(at)] : 0;
    }
};

uint8_t ByteOf(double value) {
    if (std::isnan(value)) return 0;
    return value < 0 ? 0 : value >= 255 ? 255 : static_cast<uint8_t>(value);
}

/// The sample of one pixel; `at` gives those of the picture, edges repeated.
template <class At>
uint8_t Result(const Matrix& matrix, int64_t x, int64_t y, const At& at) {
    uint32_t sum = 0;
    for (int64_t i = 0; i < matrix.dimension; ++i) {
        for (int64_t j = 0; j < matrix.dimension; ++j) {
            const int64_t m = matrix.At(i, j);
            if (m >= 255) continue;
            const int64_t half = matrix.dimension / 2;
            sum += static_cast<uint32_t>(at(x - half + j, y - half + i)) * static_cast<uint32_t>(m);
        }
    }
    const int64_t value = static_cast<int32_t>(sum) + matrix.delta;
    return ByteOf(static_cast<double>(value) * matrix.factor);
}

class MatrixTest : public FilterTest {
  protected:
    Ref Apply(const Ref& image, const Ref& dest, const Matrix& matrix) const {
        return TheHost()
            .Call(image, "ApplyMatrix", dest, matrix.dimension, TheHost().NewIntegers(matrix.entries),
                  matrix.delta, matrix.factor)
            .ToThing();
    }

    /// Applies into an image of the caller's, which shares nothing with the source, and compares every byte.
    void Check(const TestImage& source, const TestImage& dest, const Matrix& matrix) {
        const auto names = source.side.wide ? std::vector<std::string>() : ChannelNames(source.side);
        const auto sourceBytes = source.root.Bytes();
        auto expected = dest.root.Bytes();
        Samples from = source.Read(sourceBytes, names), to = from;
        for (int64_t y = 0; y < from.height; ++y) {
            for (int64_t x = 0; x < from.width; ++x) {
                for (size_t c = 0; c < names.size(); ++c)
                    to.At(x, y, c) =
                        Result(matrix, x, y, [&](int64_t sx, int64_t sy) { return from.Clamped(sx, sy, c); });
            }
        }
        dest.Write(expected, to, names);
        SCOPED_TRACE(source.story + " " + std::to_string(source.width) + "x" + std::to_string(source.height) +
                     " to " + dest.story + ", dimension " + std::to_string(matrix.dimension) + ", delta " +
                     std::to_string(matrix.delta) + ", factor " + std::to_string(matrix.factor));
        ASSERT_EQ(Apply(source.image, dest.image, matrix), source.side.wide ? Ref() : dest.image);
        ASSERT_EQ(dest.root.Bytes(), expected);
        ASSERT_EQ(source.root.Bytes(), sourceBytes);
        ASSERT_TRUE(dest.root.GuardIntact());
    }

    /// The picture's bytes through a matrix.
    std::vector<uint8_t> Through(const TestImage& source, const Matrix& matrix) {
        const TestImage dest = Plain(source.width, source.height, source.root.PixelSize() == 1 ? 11 : 2);
        Apply(source.image, dest.image, matrix);
        return dest.root.Bytes();
    }

    Matrix Random(int64_t dimension, int64_t least, int64_t most) {
        Matrix matrix{dimension, {}};
        for (int64_t i = 0; i < std::min<int64_t>(dimension * dimension, 2600); ++i)
            matrix.entries.push_back(Draw(0, 4) == 0 ? 0 : Draw(least, most));
        return matrix;
    }
};

const Matrix kSharpen{3, {0, -1, 0, -1, 5, -1, 0, -1, 0}};

TEST_F(MatrixTest, EveryFormatIntoItself) {
    for (const int64_t format : Formats()) {
        const TestImage source = Plain(9, 6, format), dest = Plain(9, 6, format);
        ASSERT_NO_FATAL_FAILURE(Check(source, dest, kSharpen));
        Matrix box{3, std::vector<int64_t>(9, 1), 3, 1.0 / 9};
        ASSERT_NO_FATAL_FAILURE(Check(source, dest, box));
    }
}

TEST_F(MatrixTest, AnyPicturesViewsAndMatrices) {
    const auto formats = Formats();
    constexpr std::pair<int64_t, int64_t> kRanges[] = {
        {0, 1}, {-1, 3}, {-128, 127}, {-300, 300}, {-40000, 254}, {-40000000, 254}, {200, 260}};
    for (int round = 0; round < 1200; ++round) {
        const int64_t width = Draw(1, 45), height = Draw(1, 8);
        const auto format = [&] { return formats[static_cast<size_t>(Draw(0, std::ssize(formats) - 1))]; };
        const TestImage source = Some(width, height, format());
        const TestImage dest = Some(std::max<int64_t>(width + Draw(-1, 2), 1),
                                    std::max<int64_t>(height + Draw(-1, 2), 1), format());
        const auto& [least, most] = kRanges[Draw(0, std::ssize(kRanges) - 1)];
        Matrix matrix = Random(Draw(1, 9), least, most);
        if (Draw(0, 2) == 0) matrix.delta = Draw(-700, 700);
        if (Draw(0, 9) == 0) matrix.delta = Draw(0, 1) * 2'000'000'000 - 1'000'000'000;
        if (Draw(0, 1) == 0) matrix.factor = static_cast<double>(Draw(-50, 300)) / 997;
        ASSERT_NO_FATAL_FAILURE(Check(source, dest, matrix));
    }
}

TEST_F(MatrixTest, EvenDimensionsReachFartherUpAndLeft) {
    const TestImage source = Plain(6, 5, 11);
    const TestImage dest = Plain(6, 5, 11);
    ASSERT_NO_FATAL_FAILURE(Check(source, dest, {2, {1, 0, 0, 0}}));
    const auto from = source.root.Bytes(), to = dest.root.Bytes();
    EXPECT_EQ(to[2 * 6 + 3], from[1 * 6 + 2]);
    ASSERT_NO_FATAL_FAILURE(Check(source, dest, {2, {0, 0, 0, 1}}));
    EXPECT_EQ(dest.root.Bytes(), from);
    // Taps on one side of the pixel only.
    ASSERT_NO_FATAL_FAILURE(Check(
        source, dest, {5, {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 1}}));
    ASSERT_NO_FATAL_FAILURE(Check(source, dest, {5, {1, 1}}));
}

TEST_F(MatrixTest, MatricesLargerThanThePicture) {
    for (const auto& [width, height] : {std::pair{1, 1}, {1, 7}, {7, 1}, {3, 2}}) {
        const TestImage source = Plain(width, height, 2), dest = Plain(width, height, 2);
        ASSERT_NO_FATAL_FAILURE(Check(source, dest, Random(15, -3, 3)));
        ASSERT_NO_FATAL_FAILURE(Check(source, dest, Random(50, -300, 254)));
    }
}

TEST_F(MatrixTest, WithoutAWindowEachSampleIsDelta) {
    const TestImage source = Plain(4, 3, 11);
    for (const int64_t dimension : {int64_t{0}, int64_t{-1}, std::numeric_limits<int64_t>::min()}) {
        EXPECT_EQ(Through(source, {dimension, {1, 1, 1}, 77}), std::vector<uint8_t>(12, 77));
        EXPECT_EQ(Through(source, {dimension, {1, 1, 1}, 77, 0.5}), std::vector<uint8_t>(12, 38));
        EXPECT_EQ(Through(source, {dimension, {}, -5}), std::vector<uint8_t>(12, 0));
        EXPECT_EQ(Through(source, {dimension, {}, 256}), std::vector<uint8_t>(12, 255));
    }
}

TEST_F(MatrixTest, WithoutAnArrayTheWeightsAreZeros) {
    const TestImage source = Plain(4, 3, 11), dest = Plain(4, 3, 11);
    TheHost().Call(source.image, "ApplyMatrix", dest.image, 3, trvhost::Array(), 9);
    EXPECT_EQ(dest.root.Bytes(), std::vector<uint8_t>(12, 9));
    TheHost().Call(source.image, "ApplyMatrix", dest.image, 3, TheHost().NewIntegers({}), 8);
    EXPECT_EQ(dest.root.Bytes(), std::vector<uint8_t>(12, 8));
    TheHost().Call(source.image, "ApplyMatrix", dest.image, 3, trvhost::Array());
    EXPECT_EQ(dest.root.Bytes(), std::vector<uint8_t>(12, 0));
}

TEST_F(MatrixTest, AShortArrayLeavesTheRestAtZero) {
    const TestImage source = Plain(8, 5, 2), dest = Plain(8, 5, 2);
    ASSERT_NO_FATAL_FAILURE(Check(source, dest, {3, {1, 0, 2, -1}}));
}

TEST_F(MatrixTest, OneInTheMiddleCopies) {
    const TestImage source = Plain(8, 5, 2);
    EXPECT_EQ(Through(source, {3, {0, 0, 0, 0, 1, 0, 0, 0, 0}}), source.root.Bytes());
    EXPECT_EQ(Through(source, {1, {1}}), source.root.Bytes());
}

TEST_F(MatrixTest, EntriesFrom255OnAreHoles) {
    const TestImage source = Plain(8, 5, 11);
    EXPECT_EQ(Through(source, {1, {255}, 40}), std::vector<uint8_t>(40, 40));
    EXPECT_EQ(Through(source, {1, {int64_t{1} << 40}, 40}), std::vector<uint8_t>(40, 40));
    // Of what is below, 32 bits count: these are 0, 1 and the highest that is no hole.
    EXPECT_EQ(Through(source, {1, {-(int64_t{1} << 40)}, 40}), std::vector<uint8_t>(40, 40));
    EXPECT_EQ(Through(source, {1, {-(int64_t{1} << 40) + 1}}), source.root.Bytes());
    const TestImage dest = Plain(8, 5, 11);
    ASSERT_NO_FATAL_FAILURE(Check(source, dest, {1, {254}, 0, 0.01}));
}

TEST_F(MatrixTest, SumsWrapAt32Bits) {
    const TestImage source = Plain(6, 4, 11), dest = Plain(6, 4, 11);
    // 200 * -20000000 is -4000000000, which is 294967296 in 32 bits.
    const MemoryImage one(TheHost(), 1, 1, Constant("ImageFormatG"));
    one.At(0, 0) = 200;
    EXPECT_EQ(
        TheHost().Call(one, "ApplyMatrix", one, 1, TheHost().NewIntegers({-20000000}), 0, 1e-7).ToThing(),
        one);
    EXPECT_EQ(one.At(0, 0), 29);
    ASSERT_NO_FATAL_FAILURE(Check(source, dest, {1, {-20000000}, 0, 1e-7}));
    ASSERT_NO_FATAL_FAILURE(Check(source, dest, {3, std::vector<int64_t>(9, -2147483647), 0, 1e-7}));
}

TEST_F(MatrixTest, DimensionsAboveFiftyFindZerosBehindTheStore) {
    const TestImage source = Plain(70, 9, 11), dest = Plain(70, 9, 11);
    for (const int64_t dimension : {51, 60, 2500, 3000}) {
        // The 2501st element is there and does not count.
        Matrix matrix{dimension, std::vector<int64_t>(2501, 0)};
        matrix.entries[static_cast<size_t>(dimension / 2)] = 1;
        matrix.entries[2499] = 2;
        matrix.entries[2500] = 9;
        Matrix stored = matrix;
        stored.entries.resize(2500);
        ASSERT_NO_FATAL_FAILURE(Check(source, dest, {51, matrix.entries}));
        const auto to = Through(source, matrix);
        EXPECT_EQ(to, Through(source, stored)) << dimension;
        // Of the first row of the window, the middle lies over the pixel.
        if (dimension >= 2500) {
            EXPECT_EQ(to[30], std::min(255, source.root.Row(0)[30] + 2 * source.root.Row(0)[69]));
        }
    }
    const TestImage small = Plain(5, 4, 11);
    for (const int64_t dimension :
         {int64_t{1} << 31, int64_t{1} << 40, std::numeric_limits<int64_t>::max()}) {
        // The window's first elements lie far left above: the corner.
        EXPECT_EQ(Through(small, {dimension, {1}}), std::vector<uint8_t>(20, small.root.Row(0)[0]))
            << dimension;
    }
}

TEST_F(MatrixTest, ExtremesOfDeltaAndFactorAreHarmless) {
    const TestImage source = Plain(5, 3, 11);
    constexpr int64_t kMost = std::numeric_limits<int64_t>::max(),
                      kLeast = std::numeric_limits<int64_t>::min();
    const std::vector<uint8_t> all(15, 255), none(15, 0);
    EXPECT_EQ(Through(source, {1, {1}, kMost}), all);
    EXPECT_EQ(Through(source, {1, {-1}, kLeast}), none);
    EXPECT_EQ(Through(source, {1, {1}, kMost, 2.5}), all);
    EXPECT_EQ(Through(source, {1, {1}, kLeast, -2.5}), all);
    EXPECT_EQ(Through(source, {1, {1}, 1, 1e300}), all);
    EXPECT_EQ(Through(source, {1, {1}, 1, std::numeric_limits<double>::infinity()}), all);
    EXPECT_EQ(Through(source, {1, {1}, 1, -std::numeric_limits<double>::infinity()}), none);
    EXPECT_EQ(Through(source, {1, {1}, 1, std::nan("")}), none);
    EXPECT_EQ(Through(source, {1, {0}, 0, std::numeric_limits<double>::infinity()}), none);
    const TestImage dest = Plain(5, 3, 11);
    for (const int64_t delta : {32767, 32768, -32768, 40000, 1 << 30, -(1 << 30)}) {
        ASSERT_NO_FATAL_FAILURE(Check(source, dest, {1, {-100}, delta, 1.0}));
        ASSERT_NO_FATAL_FAILURE(Check(source, dest, {1, {100}, delta, 0.01}));
    }
}

TEST_F(MatrixTest, AlmostOneIsAFactor) {
    const TestImage source = Plain(5, 3, 11), dest = Plain(5, 3, 11);
    const auto firstWorker = [&](double factor) {
        const auto lines = LogOf([&] { Apply(source.image, dest.image, {1, {1}, 0, factor}); });
        EXPECT_EQ(lines.front(), "PictureMatrix5");
        return lines.back();
    };
    EXPECT_EQ(firstWorker(1.0), "PictureMatrixG");
    EXPECT_EQ(firstWorker(1.0000001), "PictureMatrixGs");
    // A factor just below 1 takes one from every sample but 0.
    Apply(source.image, dest.image, {1, {1}, 0, 0.9999999});
    for (size_t i = 0; i < 15; ++i)
        EXPECT_EQ(dest.root.Bytes()[i], std::max(source.root.Bytes()[i] - 1, 0));
}

TEST_F(MatrixTest, TheShortFormsHaveNoDeltaAndNoFactor) {
    const TestImage source = Plain(5, 5, 2), dest = Plain(5, 5, 2), other = Plain(5, 5, 2);
    const trvhost::Array array = TheHost().NewIntegers(kSharpen.entries);
    Apply(source.image, dest.image, kSharpen);
    EXPECT_EQ(TheHost().Call(source.image, "ApplyMatrix", other.image, 3, array).ToThing(), other.image);
    EXPECT_EQ(other.root.Bytes(), dest.root.Bytes());
    Matrix delta = kSharpen;
    delta.delta = 30;
    Apply(source.image, dest.image, delta);
    EXPECT_EQ(TheHost().Call(source.image, "ApplyMatrix", other.image, 3, array, 30).ToThing(), other.image);
    EXPECT_EQ(other.root.Bytes(), dest.root.Bytes());
}

TEST_F(MatrixTest, ANewImageHasItsSidesExchanged) {
    const TestImage source = Plain(7, 4, 2);
    const Ref result = Apply(source.image, Ref(), {1, {1}});
    ASSERT_TRUE(result);
    EXPECT_EQ(TheHost().Get<int64_t>(result, "Width"), 4);
    EXPECT_EQ(TheHost().Get<int64_t>(result, "Height"), 7);
    EXPECT_EQ(TheHost().Get<int64_t>(result, "ImageFormat"), 2);
    const auto pixels = PixelBytes(TheHost(), result);
    for (int64_t y = 0; y < 7; ++y) {
        for (int64_t i = 0; i < 16; ++i)
            EXPECT_EQ(pixels[static_cast<size_t>(y * 16 + i)], y < 4 ? source.root.Row(y)[i] : 0);
    }
}

TEST_F(MatrixTest, InPlaceTheWindowSeesWhatWasWritten) {
    for (const int64_t format : {2, 1, 11, 24}) {
        const TestImage image = Plain(9, 6, format);
        const Matrix matrix{3, {1, 2, 1, 2, 4, 2, 1, 2, 1}, 5, 1.0 / 16};
        auto bytes = image.root.Bytes();
        const int64_t size = image.root.PixelSize();
        for (int64_t y = 0; y < 6; ++y) {
            for (int64_t x = 0; x < 9; ++x) {
                std::vector<uint8_t> pixel;
                for (int64_t c = 0; c < size; ++c) {
                    pixel.push_back(Result(matrix, x, y, [&](int64_t sx, int64_t sy) {
                        return bytes[image.Index(std::clamp<int64_t>(sx, 0, 8), std::clamp<int64_t>(sy, 0, 5),
                                                 c)];
                    }));
                }
                std::copy(pixel.begin(), pixel.end(),
                          bytes.begin() + static_cast<int64_t>(image.Index(x, y, 0)));
            }
        }
        EXPECT_EQ(Apply(image.image, image.image, matrix), image.image);
        EXPECT_EQ(image.root.Bytes(), bytes) << format;
    }
}

TEST_F(MatrixTest, WhatIsNoPictureGivesNil) {
    const TestImage dest = Plain(5, 3, 11);
    const auto before = dest.root.Bytes();
    const auto lines =
        LogOf([&] { EXPECT_FALSE(Apply(NewImage(5, 3, "ImageFormatGray16"), dest.image, kSharpen)); });
    EXPECT_EQ(lines.back(), "BitsPerComponent > 8 not supported. 16");
    EXPECT_FALSE(Apply(NewImage(0, 3, "ImageFormatG"), dest.image, kSharpen));
    const Ref closed = NewImage(5, 3, "ImageFormatG");
    TheHost().Call(closed, "Close");
    EXPECT_FALSE(Apply(closed, dest.image, kSharpen));
    EXPECT_FALSE(Apply(dest.image, closed, kSharpen));
    EXPECT_EQ(dest.root.Bytes(), before);
    // No family: the destination comes back as it was.
    EXPECT_EQ(Apply(NewImage(5, 3, "ImageFormatBuffer"), dest.image, kSharpen), dest.image);
    EXPECT_EQ(dest.root.Bytes(), before);
}

class MatrixWithin : public FilterCaseTest {};

TEST_F(MatrixWithin, ImagesThatShareBytesAreDonePixelByPixel) {
    const Matrix matrix{4, {1, 0, -1, 2, 0, 3, 0, 0, -2, 0, 1, 255, 0, 0, 0, 1}, 9};
    for (const int64_t format : Formats()) {
        for (const DestKind kind : kDestKinds) {
            if (kind == DestKind::Nil) continue;
            for (int round = 0; round < 6; ++round) {
                const bool crowded = kind == DestKind::Source && round % 2 == 1;
                Case made = crowded ? DrawCrowdedCase(format) : DrawCase(format, kind, 30, 9);
                Check(
                    made,
                    [&](const Ref& image, const Ref& dest) {
                        return Filter(image, "ApplyMatrix", dest, matrix.dimension,
                                      TheHost().NewIntegers(matrix.entries), matrix.delta, matrix.factor);
                    },
                    [&](const Shown& from, const Shown& to) {
                        const auto names = from.Channels(true, true);
                        for (int64_t i = 0; i < from.width * from.height; ++i) {
                            const int64_t x = i % from.width, y = i / from.width;
                            if (!to.Inside(x, y)) continue;
                            std::vector<uint8_t> pixel;
                            for (const std::string& name : names)
                                pixel.push_back(Result(matrix, x, y, [&](int64_t sx, int64_t sy) {
                                    return from.At(std::clamp<int64_t>(sx, 0, from.width - 1),
                                                   std::clamp<int64_t>(sy, 0, from.height - 1), name);
                                }));
                            for (size_t c = 0; c < names.size(); ++c)
                                to.At(x, y, names[c]) = pixel[c];
                        }
                    },
                    made.from->side.wide);
                ASSERT_FALSE(HasFatalFailure()) << format << " " << static_cast<int>(kind);
            }
        }
    }
}

class MatrixMappedTest : public MappedTest {};

TEST_F(MatrixMappedTest, MappedImagesDoAsOthersDo) {
    // More than a window of 16 MiB, at 4096 bytes a row.
    const int64_t width = 3, height = 4400;
    const auto matrix = TheHost().NewIntegers({1, 2, 1, 2, 4, 2, 1, 2, 1});
    const auto apply = [&](const Ref& from, const Ref& to) {
        EXPECT_EQ(TheHost().Call(from, "ApplyMatrix", to, 3, matrix, 0, 1.0 / 16).ToThing(), to);
        return PixelBytes(TheHost(), to);
    };
    const Ref mapped = NewMapped(width, height, "ImageFormatRGB", 0, std::nullopt);
    const Ref plain = NewImage(width, height, "ImageFormatRGB");
    TheHost().Call(plain, "FillRectRandom");
    ASSERT_TRUE(TheHost().Call(mapped, "CopyPixels", plain).ToBool());
    const auto expected = apply(plain, NewImage(width, height, "ImageFormatRGB"));
    EXPECT_EQ(apply(mapped, NewMapped(width, height, "ImageFormatRGB", 0, std::nullopt)), expected);
    EXPECT_EQ(apply(mapped, NewImage(width, height, "ImageFormatRGB")), expected);
    EXPECT_EQ(apply(mapped, mapped), apply(plain, plain));
}

}  // namespace
}  // namespace trvtest
