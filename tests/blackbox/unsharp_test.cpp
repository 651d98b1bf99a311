// UnsharpFilter against its formula, sample by sample.

#include <cmath>
#include <limits>

#include "filter_images.h"
#include "mapped_test.h"

namespace trvtest {
namespace {

int Sharpened(int i, int j, double amount, int64_t threshold) {
    if (std::abs(i - j) < static_cast<int32_t>(static_cast<uint64_t>(threshold))) return i;
    const double value = (i - j) * (amount * 4.0 + 1.0) + j;
    if (std::isnan(value)) return i;
    return value < 0 ? 0 : value >= 255 ? 255 : static_cast<int>(value);
}

class UnsharpTest : public FilterTest {
  protected:
    bool Unsharp(const Ref& image, const Ref& original, double amount, int64_t threshold) const {
        return TheHost().Call(image, "UnsharpFilter", original, amount, threshold).ToBool();
    }

    /// The worker's channels: inks always have one more, wherever alpha would be.
    static std::vector<std::string> Channels(const Side& side) {
        auto names = ChannelNames(side);
        if (side.family == 'C' && !side.alpha) names.emplace_back("Alpha");
        return names;
    }

    void Check(const TestImage& image, const TestImage& original, double amount, int64_t threshold) {
        SCOPED_TRACE(image.story + " " + std::to_string(image.width) + "x" + std::to_string(image.height) +
                     " with " + original.story + ", amount " + std::to_string(amount) + ", threshold " +
                     std::to_string(threshold));
        auto expected = image.root.Bytes();
        const auto others = original.root.Bytes();
        for (int64_t y = 0; y < image.height; ++y) {
            for (int64_t x = 0; x < image.width; ++x) {
                for (const std::string& name : Channels(image.side)) {
                    uint8_t& sample = expected[image.Index(x, y, image.side.at.at(name))];
                    const int other = others[original.Index(x, y, original.side.at.at(name))];
                    sample = static_cast<uint8_t>(Sharpened(sample, other, amount, threshold));
                }
            }
        }
        ASSERT_TRUE(Unsharp(image.image, original.image, amount, threshold));
        ASSERT_EQ(image.root.Bytes(), expected);
        ASSERT_EQ(original.root.Bytes(), others);
        ASSERT_TRUE(image.root.GuardIntact());
    }
};

TEST_F(UnsharpTest, EveryFormat) {
    for (const int64_t format : Formats()) {
        if (format == Constant("ImageFormatGray16")) continue;
        for (const auto& [amount, threshold] : {std::pair{0.5, 0}, {0.3, 9}, {-0.4, 30}}) {
            const TestImage image = Plain(19, 4, format), original = Plain(19, 4, format);
            ASSERT_NO_FATAL_FAILURE(Check(image, original, amount, threshold));
        }
    }
}

TEST_F(UnsharpTest, AnyViewsAmountsAndThresholds) {
    auto formats = Formats();
    std::erase(formats, Constant("ImageFormatGray16"));
    for (int round = 0; round < 600; ++round) {
        const int64_t width = Draw(1, 80), height = Draw(1, 6);
        const int64_t format = formats[static_cast<size_t>(Draw(0, std::ssize(formats) - 1))];
        TestImage image = Some(width, height, format), original = Some(width, height, format);
        if (image.side.family != original.side.family || image.side.alpha != original.side.alpha) continue;
        if (TheHost().Get<int64_t>(image.image, "ImageFormat") !=
            TheHost().Get<int64_t>(original.image, "ImageFormat"))
            continue;
        const double amount = Draw(0, 9) == 0 ? static_cast<double>(Draw(-300, 300))
                                              : static_cast<double>(Draw(-2000, 6000)) / 997;
        ASSERT_NO_FATAL_FAILURE(Check(image, original, amount, Draw(0, 2) == 0 ? 0 : Draw(-3, 260)));
    }
}

TEST_F(UnsharpTest, EveryPairOfSamples) {
    MemoryImage image(TheHost(), 256, 256, Constant("ImageFormatG"));
    const MemoryImage original(TheHost(), 256, 256, Constant("ImageFormatG"));
    for (const double amount : {0.0, 0.5, 0.3, 1.0 / 3, -0.25, -1.0, 2.2, 31.25, 40.0, 1e-9, 0.123456789}) {
        for (const int64_t threshold : {0, 1, 7}) {
            for (int64_t i = 0; i < 256; ++i) {
                for (int64_t j = 0; j < 256; ++j) {
                    image.At(j, i) = static_cast<uint8_t>(i);
                    original.At(j, i) = static_cast<uint8_t>(j);
                }
            }
            ASSERT_TRUE(Unsharp(image, original, amount, threshold));
            for (int i = 0; i < 256; ++i) {
                for (int j = 0; j < 256; ++j)
                    ASSERT_EQ(image.At(j, i), Sharpened(i, j, amount, threshold))
                        << i << " beside " << j << ", amount " << amount << ", threshold " << threshold;
            }
        }
    }
}

TEST_F(UnsharpTest, WhatChangesNothing) {
    const TestImage image = Plain(33, 5, 2), original = Plain(33, 5, 2);
    const auto before = image.root.Bytes();
    EXPECT_TRUE(Unsharp(image.image, original.image, 0.0, 0));
    EXPECT_EQ(image.root.Bytes(), before);
    for (const int64_t threshold : {int64_t{256}, int64_t{1000}, int64_t{0x7fffffff}}) {
        EXPECT_TRUE(Unsharp(image.image, original.image, 2.0, threshold));
        EXPECT_EQ(image.root.Bytes(), before) << threshold;
    }
    for (const double amount : {3.0, std::numeric_limits<double>::infinity(), std::nan("")}) {
        EXPECT_TRUE(Unsharp(image.image, image.image, amount, 0));
        EXPECT_EQ(image.root.Bytes(), before) << amount;
    }
    EXPECT_TRUE(Unsharp(image.image, original.image, std::nan(""), 0));
    EXPECT_EQ(image.root.Bytes(), before);
}

TEST_F(UnsharpTest, ANegativeQuarterTakesTheOther) {
    const TestImage image = Plain(33, 5, 2), original = Plain(33, 5, 2);
    EXPECT_TRUE(Unsharp(image.image, original.image, -0.25, 0));
    EXPECT_EQ(image.root.Bytes(), original.root.Bytes());
    const TestImage kept = Plain(33, 5, 2);
    ASSERT_NO_FATAL_FAILURE(Check(kept, original, -0.25, 40));
}

TEST_F(UnsharpTest, OfTheThresholdThe32LowBitsCount) {
    const TestImage image = Plain(33, 5, 2), original = Plain(33, 5, 2);
    for (const int64_t threshold : {int64_t{1} << 32, (int64_t{5} << 32) + 20, int64_t{0x80000000},
                                    std::numeric_limits<int64_t>::min()}) {
        ASSERT_NO_FATAL_FAILURE(Check(image, original, 0.5, threshold));
    }
}

TEST_F(UnsharpTest, InfiniteAmountsGoToTheEnds) {
    const TestImage image = Plain(33, 5, 2), original = Plain(33, 5, 2);
    ASSERT_NO_FATAL_FAILURE(Check(image, original, std::numeric_limits<double>::infinity(), 0));
    const TestImage another = Plain(33, 5, 2);
    ASSERT_NO_FATAL_FAILURE(Check(another, original, -1e308, 12));
}

TEST_F(UnsharpTest, InksWithoutAlphaHaveTheirFirstByteDoneTwice) {
    const MemoryImage image(TheHost(), 1, 1, Constant("ImageFormatCMYK"));
    const MemoryImage original(TheHost(), 1, 1, Constant("ImageFormatCMYK"));
    image.SetBytes({110, 110, 110, 110});
    original.SetBytes({100, 100, 100, 100});
    // 10 becomes 20, and cyan's 20 becomes 40.
    EXPECT_TRUE(Unsharp(image, original, 0.25, 0));
    EXPECT_EQ(image.Bytes(), (std::vector<uint8_t>{140, 120, 120, 120}));
    // The padding in front, too.
    const MemoryImage padded(TheHost(), 1, 1, Constant("ImageFormatXKYMC"));
    const MemoryImage other(TheHost(), 1, 1, Constant("ImageFormatXKYMC"));
    padded.SetBytes({110, 110, 110, 110, 110});
    other.SetBytes({90, 100, 100, 100, 100});
    EXPECT_TRUE(Unsharp(padded, other, 0.25, 0));
    EXPECT_EQ(padded.Bytes(), (std::vector<uint8_t>{130, 120, 120, 120, 120}));
}

TEST_F(UnsharpTest, ViewsOfOneImageAreDonePixelByPixel) {
    // Each pixel beside its left neighbour, which has just been changed.
    const TestImage parent = Plain(40, 3, 11);
    TestImage left = parent, right = parent;
    left.image = TheHost().Call(parent.image, "ClipImage", 0, 0, 39, 3).ToThing();
    right.image = TheHost().Call(parent.image, "ClipImage", 1, 0, 39, 3).ToThing();
    auto bytes = parent.root.Bytes();
    for (size_t y = 0; y < 3; ++y) {
        for (size_t x = 1; x < 40; ++x)
            bytes[y * 40 + x] =
                static_cast<uint8_t>(Sharpened(bytes[y * 40 + x], bytes[y * 40 + x - 1], 0.3, 5));
    }
    EXPECT_TRUE(Unsharp(right.image, left.image, 0.3, 5));
    EXPECT_EQ(parent.root.Bytes(), bytes);
}

TEST_F(UnsharpTest, WhatDoesNotMatchIsRefused) {
    const TestImage image = Plain(6, 5, 2);
    const auto before = image.root.Bytes();
    EXPECT_FALSE(Unsharp(image.image, Ref(), 1, 0));
    for (const auto& [width, height, format] : {std::tuple{5, 5, 2}, {6, 4, 2}, {6, 5, 7}}) {
        const TestImage other = Plain(width, height, format);
        const auto lines = LogOf([&] { EXPECT_FALSE(Unsharp(image.image, other.image, 1, 0)); });
        EXPECT_EQ(lines, (std::vector<std::string>{"unsharpFilter", "pAmount 1.000000", "pThreshold 0"}));
    }
    const Ref wide = NewImage(6, 5, "ImageFormatGray16");
    auto lines = LogOf([&] { EXPECT_FALSE(Unsharp(wide, wide, 1, 0)); });
    EXPECT_EQ(lines.back(), "BitsPerComponent > 8 not supported. 16");
    EXPECT_FALSE(Unsharp(image.image, wide, 1, 0));
    const Ref invalid = NewImage(0, 5, "ImageFormatRGBA");
    lines = LogOf([&] { EXPECT_FALSE(Unsharp(image.image, invalid, 1, 0)); });
    EXPECT_EQ(lines.back(), "Picture not valid.");
    const Ref closed = NewImage(6, 5, "ImageFormatRGBA");
    TheHost().Call(closed, "Close");
    EXPECT_FALSE(Unsharp(image.image, closed, 1, 0));
    EXPECT_FALSE(Unsharp(closed, image.image, 1, 0));
    EXPECT_EQ(image.root.Bytes(), before);
    const Ref buffer = NewImage(6, 5, "ImageFormatBuffer");
    EXPECT_TRUE(Unsharp(buffer, NewImage(6, 5, "ImageFormatBuffer"), 1, 0));
}

TEST_F(UnsharpTest, TheLogNamesTheWorker) {
    for (const auto& [format, worker] : {std::pair{"ImageFormatG", "unsharpFilterG"},
                                         {"ImageFormatAG", "unsharpFilterGA"},
                                         {"ImageFormatBGR", "unsharpFilterRGB"},
                                         {"ImageFormatARGB", "unsharpFilterRGBA"},
                                         {"ImageFormatCMYK", "unsharpFilterCMYKA"},
                                         {"ImageFormatKYMCA", "unsharpFilterCMYKA"}}) {
        const Ref image = NewImage(3, 2, format), other = NewImage(3, 2, format);
        EXPECT_EQ(LogOf([&] { Unsharp(image, other, 1, 0); }).back(), worker);
    }
}

class UnsharpMappedTest : public MappedTest {};

TEST_F(UnsharpMappedTest, MappedImagesDoAsOthersDo) {
    // More than a window of 16 MiB, at 4096 bytes a row.
    const int64_t width = 3, height = 4400;
    const auto noise = [&] {
        const Ref image = NewImage(width, height, "ImageFormatRGB");
        TheHost().Call(image, "FillRectRandom");
        return image;
    };
    const auto mapped = [&](const Ref& like) {
        const Ref image = NewMapped(width, height, "ImageFormatRGB", 0, std::nullopt);
        EXPECT_TRUE(TheHost().Call(image, "CopyPixels", like).ToBool());
        return image;
    };
    const Ref plain = noise(), original = noise();
    const Ref image = mapped(plain), other = mapped(original);
    EXPECT_TRUE(TheHost().Call(plain, "UnsharpFilter", original, 0.7, 3).ToBool());
    EXPECT_TRUE(TheHost().Call(image, "UnsharpFilter", other, 0.7, 3).ToBool());
    const auto expected = PixelBytes(TheHost(), plain);
    EXPECT_EQ(PixelBytes(TheHost(), image), expected);
    EXPECT_TRUE(TheHost().Call(image, "UnsharpFilter", image, 0.7, 3).ToBool());
    EXPECT_EQ(PixelBytes(TheHost(), image), expected);
}

}  // namespace
}  // namespace trvtest
