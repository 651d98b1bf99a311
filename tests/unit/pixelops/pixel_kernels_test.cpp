// The kernels of multiplication, gray and complements, for every value, in every instruction set.

#include "pixelops/pixel_kernels.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <gtest/gtest.h>
#include <random>
#include <vector>

#include "frame/instruction_set.h"
#include "pixelops/gray_modes.h"
#include "pixelops/multiply.h"

namespace trv {
namespace {

/// The table of Unmultiply, built by overwriting.
std::vector<uint8_t> UnmultiplyReference() {
    std::vector<uint8_t> table(65536);
    for (size_t i = 0; i < table.size(); ++i)
        table[i] = static_cast<uint8_t>(i);
    for (size_t alpha = 0; alpha < 256; ++alpha) {
        for (size_t value = 0; value < 256; ++value) {
            const uint8_t product =
                MultipliedDirectly(static_cast<uint8_t>(value), static_cast<uint8_t>(alpha));
            table[alpha * 256 + product] = static_cast<uint8_t>(value);
        }
    }
    return table;
}

class PixelKernelsTest : public testing::TestWithParam<const char*> {
  protected:
    void SetUp() override {
        if (!ForceInstructionSet(GetParam())) GTEST_SKIP() << "this machine has no " << GetParam();
        ASSERT_NE(ActivePixelKernels(), nullptr);
    }
    void TearDown() override { ForceInstructionSet(""); }

    /// Every value with every alpha, in pixels of `size` bytes.
    static std::vector<uint8_t> Products(size_t size, size_t alphaAt) {
        std::vector<uint8_t> pixels;
        for (int i = 0; i < 65536; ++i) {
            for (size_t c = 0; c < size; ++c)
                pixels.push_back(static_cast<uint8_t>(c == alphaAt ? i >> 8 : i + static_cast<int>(c) * 85));
        }
        return pixels;
    }
};

INSTANTIATE_TEST_SUITE_P(, PixelKernelsTest, testing::Values("baseline", "avx2", "avx512"),
                         [](const auto& test) { return std::string(test.param); });

TEST_P(PixelKernelsTest, ProductsAreTheTables) {
    const PixelKernels& kernels = *ActivePixelKernels();
    const std::vector<uint8_t> undone = UnmultiplyReference();
    for (const size_t size : {size_t{2}, size_t{4}}) {
        for (size_t alphaAt = 0; alphaAt < size; ++alphaAt) {
            for (const bool back : {false, true}) {
                const auto pixels = Products(size, alphaAt);
                auto made = pixels;
                const auto kernel = size == 4 ? (back ? kernels.unmultiply4 : kernels.multiply4)
                                              : (back ? kernels.unmultiply2 : kernels.multiply2);
                kernel(made.data(), static_cast<int>(alphaAt) * 8, 65536);
                for (size_t i = 0; i < made.size(); ++i) {
                    const uint8_t alpha = pixels[i / size * size + alphaAt];
                    const uint8_t expected = i % size == alphaAt ? alpha
                                             : back              ? undone[alpha * size_t{256} + pixels[i]]
                                                                 : MultipliedDirectly(pixels[i], alpha);
                    ASSERT_EQ(made[i], expected) << i << " " << size << " " << alphaAt << " " << back;
                }
            }
        }
    }
}

TEST_P(PixelKernelsTest, ProductsOfEveryCountAndNothingBehind) {
    const std::vector<uint8_t> undone = UnmultiplyReference();
    std::mt19937 random(6);
    for (size_t count = 0; count < 70; ++count) {
        std::vector<uint8_t> pixels(count * 4 + 8);
        for (uint8_t& byte : pixels)
            byte = static_cast<uint8_t>(random());
        for (const bool back : {false, true}) {
            auto made = pixels;
            const PixelKernels& kernels = *ActivePixelKernels();
            (back ? kernels.unmultiply4 : kernels.multiply4)(made.data(), 24, static_cast<int64_t>(count));
            for (size_t i = 0; i < pixels.size(); ++i) {
                const uint8_t alpha = pixels[i / 4 * 4 + 3];
                const bool kept = i >= count * 4 || i % 4 == 3;
                ASSERT_EQ(made[i], kept   ? pixels[i]
                                   : back ? undone[alpha * size_t{256} + pixels[i]]
                                          : MultipliedDirectly(pixels[i], alpha));
            }
        }
    }
}

/// What each mode makes of a colour.
std::array<int, kGrayModes> GraysOf(int r, int g, int b) {
    return {(g * 3 + r * 2 + b) / 6, (r * 3 + g * 4 + b) >> 3,
            static_cast<int>(g * 0.7152 + r * 0.2126 + b * 0.0722),
            static_cast<int>(g * 0.587 + r * 0.299 + b * 0.114), ((b * 29 + g * 151 + r * 77) >> 8) & 255};
}

TEST_P(PixelKernelsTest, GrayOfEveryColour) {
    const ColourPlaces layouts[] = {{4, 2, 0, 3}, {4, 0, 1, 2}, {3, 0, 1, 2}, {3, 2, 0, 1}};
    for (int red = 0; red < 256; red += 3) {
        // Two layouts of four at each red.
        for (const ColourPlaces& places : {layouts[red % 2], layouts[2 + red % 2]}) {
            const auto size = static_cast<size_t>(places.pixelSize);
            std::vector<uint8_t> pixels(65536 * size, 99);
            for (size_t i = 0; i < 65536; ++i) {
                uint8_t* pixel = pixels.data() + i * size;
                pixel[places.red] = static_cast<uint8_t>(red);
                pixel[places.green] = static_cast<uint8_t>(i >> 8);
                pixel[places.blue] = static_cast<uint8_t>(i);
            }
            for (size_t mode = 0; mode < kGrayModes; ++mode) {
                auto made = pixels;
                const int64_t done = ActivePixelKernels()->gray[mode](made.data(), places, 65536);
                ASSERT_TRUE(done == 65536 || (done == 0 && size == 3));
                for (size_t i = 0; i < static_cast<size_t>(done); ++i) {
                    const auto grays = GraysOf(red, static_cast<int>(i >> 8), static_cast<int>(i & 255));
                    const uint8_t* pixel = made.data() + i * size;
                    const bool same = pixel[places.red] == grays[mode] &&
                                      pixel[places.green] == grays[mode] && pixel[places.blue] == grays[mode];
                    const bool kept = size == 3 || pixel[6 - places.red - places.green - places.blue] == 99;
                    if (!same || !kept) FAIL() << red << " " << i << " mode " << mode << " size " << size;
                }
            }
        }
    }
}

TEST_P(PixelKernelsTest, GrayOfGray) {
    for (const ColourPlaces& places : {ColourPlaces{4, 3, 2, 1}, ColourPlaces{3, 0, 1, 2}}) {
        const auto size = static_cast<size_t>(places.pixelSize);
        std::vector<uint8_t> pixels(256 * size, 5);
        for (size_t i = 0; i < 256; ++i) {
            for (const int place : {places.red, places.green, places.blue})
                pixels[i * size + static_cast<size_t>(place)] = static_cast<uint8_t>(i);
        }
        for (size_t mode = 0; mode < kGrayModes; ++mode) {
            auto made = pixels;
            const int64_t done = ActivePixelKernels()->gray[mode](made.data(), places, 256);
            for (size_t i = 0; i < static_cast<size_t>(done); ++i) {
                const int gray = GraysOf(static_cast<int>(i), static_cast<int>(i), static_cast<int>(i))[mode];
                for (const int place : {places.red, places.green, places.blue})
                    ASSERT_EQ(made[i * size + static_cast<size_t>(place)], gray) << i << " mode " << mode;
            }
        }
    }
}

TEST_P(PixelKernelsTest, GrayTouchesNothingBehindThePixels) {
    for (const ColourPlaces& places : {ColourPlaces{4, 0, 1, 2}, ColourPlaces{3, 0, 1, 2}}) {
        for (int64_t count = 0; count < 40; ++count) {
            for (const auto& kernel : ActivePixelKernels()->gray) {
                std::vector<uint8_t> pixels(static_cast<size_t>(count * places.pixelSize), 200);
                pixels.push_back(7);
                const int64_t done = kernel(pixels.data(), places, count);
                ASSERT_LE(done, count);
                for (size_t i = static_cast<size_t>(done * places.pixelSize); i + 1 < pixels.size(); ++i)
                    ASSERT_EQ(pixels[i], 200);
                ASSERT_EQ(pixels.back(), 7);
            }
        }
    }
}

/// Colours and grays by turns, a few or many of each, from any address on.
TEST_P(PixelKernelsTest, GrayOfMixedRunsFromAnyAddress) {
    std::mt19937 random(9);
    const auto draw = [&](size_t most) { return static_cast<size_t>(random() % (most + 1)); };
    for (int round = 0; round < 600; ++round) {
        const ColourPlaces places = round % 2 == 0 ? ColourPlaces{3, 2, 1, 0} : ColourPlaces{4, 1, 2, 3};
        const auto size = static_cast<size_t>(places.pixelSize);
        const size_t shift = draw(70), count = draw(round % 3 == 0 ? 1200 : 100);
        std::vector<uint8_t> old(shift + count * size + 40);
        for (uint8_t& byte : old)
            byte = static_cast<uint8_t>(random());
        for (size_t i = 0; i < count; i += 1 + draw(90)) {
            for (size_t end = std::min(count, i + draw(140)); i < end; ++i) {
                uint8_t* pixel = old.data() + shift + i * size;
                pixel[places.red] = pixel[places.green] = pixel[places.blue];
            }
        }
        const size_t mode = draw(kGrayModes - 1);
        auto made = old;
        const int64_t done =
            ActivePixelKernels()->gray[mode](made.data() + shift, places, static_cast<int64_t>(count));
        auto expected = old;
        for (size_t i = 0; i < static_cast<size_t>(done); ++i) {
            uint8_t* pixel = expected.data() + shift + i * size;
            const auto gray = static_cast<uint8_t>(
                GraysOf(pixel[places.red], pixel[places.green], pixel[places.blue])[mode]);
            for (const int place : {places.red, places.green, places.blue})
                pixel[place] = gray;
        }
        ASSERT_EQ(made, expected) << round << " mode " << mode;
    }
}

TEST_P(PixelKernelsTest, ProductsAndFlipsFromAnyAddress) {
    const std::vector<uint8_t> undone = UnmultiplyReference();
    std::mt19937 random(8);
    for (size_t shift = 0; shift < 70; ++shift) {
        std::vector<uint8_t> old(shift + 4 * 300 + 70);
        for (uint8_t& byte : old)
            byte = static_cast<uint8_t>(random());
        const size_t count = random() % 300;
        const PixelKernels& kernels = *ActivePixelKernels();
        auto multiplied = old, divided = old, turned = old;
        kernels.multiply4(multiplied.data() + shift, 0, static_cast<int64_t>(count));
        kernels.unmultiply4(divided.data() + shift, 16, static_cast<int64_t>(count));
        kernels.flip(turned.data() + shift, nullptr, static_cast<int64_t>(count));
        for (size_t i = 0; i < old.size(); ++i) {
            const size_t at = i - shift, first = shift + at / 4 * 4;
            const bool inside = i >= shift && at < 4 * count;
            ASSERT_EQ(multiplied[i], inside && at % 4 != 0 ? MultipliedDirectly(old[i], old[first]) : old[i]);
            ASSERT_EQ(divided[i],
                      inside && at % 4 != 2 ? undone[old[first + 2] * size_t{256} + old[i]] : old[i]);
            ASSERT_EQ(turned[i], i >= shift && at < count ? 255 - old[i] : old[i]);
        }
    }
}

TEST_P(PixelKernelsTest, FlipsOfEveryLength) {
    std::mt19937 random(5);
    for (size_t count = 0; count < 200; ++count) {
        std::vector<uint8_t> bytes(count), flips(count);
        for (size_t i = 0; i < count; ++i) {
            bytes[i] = static_cast<uint8_t>(random());
            flips[i] = static_cast<uint8_t>(random());
        }
        auto made = bytes;
        ActivePixelKernels()->flip(made.data(), flips.data(), static_cast<int64_t>(count));
        auto turned = bytes;
        ActivePixelKernels()->flip(turned.data(), nullptr, static_cast<int64_t>(count));
        for (size_t i = 0; i < count; ++i) {
            ASSERT_EQ(made[i], bytes[i] ^ flips[i]);
            ASSERT_EQ(turned[i], 255 - bytes[i]);
        }
    }
}

TEST(MultiplyDirectly, IsTheProductRoundedToNearest) {
    for (int alpha = 0; alpha < 256; ++alpha) {
        for (int value = 0; value < 256; ++value) {
            ASSERT_EQ(MultipliedDirectly(static_cast<uint8_t>(value), static_cast<uint8_t>(alpha)),
                      std::lround(value * alpha / 255.0));
        }
    }
}

TEST(MultiplyDirectly, TheWayBackWrapsAboveAlphaAndIs0WithoutAlpha) {
    EXPECT_EQ(UnmultipliedDirectly(0, 0), 0);
    EXPECT_EQ(UnmultipliedDirectly(200, 0), 0);
    EXPECT_EQ(UnmultipliedDirectly(64, 128), 128);
    EXPECT_EQ(UnmultipliedDirectly(128, 128), 255);
    EXPECT_EQ(UnmultipliedDirectly(200, 100), static_cast<uint8_t>(510));
    EXPECT_EQ(UnmultipliedDirectly(255, 1), static_cast<uint8_t>(255 * 255));
    for (int value = 0; value < 256; ++value)
        EXPECT_EQ(UnmultipliedDirectly(static_cast<uint8_t>(value), 255), value);
}

TEST(GrayModes, TheSixthIsExact) {
    for (int x = 0; x <= 6 * 255; ++x)
        ASSERT_EQ(DivideBy6(x), x / 6);
}

}  // namespace
}  // namespace trv
