// The columns of the nearest pixels, and the pixels there, in every instruction set against a plain loop.

#include "scale/nearest_columns.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <memory>
#include <random>
#include <vector>

#include "frame/instruction_set.h"

namespace trv {
namespace {

constexpr size_t kGuard = 64;

class NearestColumnsTest : public testing::TestWithParam<const char*> {
  protected:
    void SetUp() override {
        if (!ForceInstructionSet(GetParam())) GTEST_SKIP() << "this machine has no " << GetParam();
    }
    void TearDown() override { ForceInstructionSet(""); }

    int64_t Draw(int64_t low, int64_t high) {
        return std::uniform_int_distribution<int64_t>(low, high)(random_);
    }

    /// Scales a row that ends where its memory does, in pieces as an image is, twice over the same columns.
    void Check(int64_t sourceWidth, int64_t width, int64_t size) {
        std::vector<uint8_t> row(static_cast<size_t>(sourceWidth * size));
        for (uint8_t& byte : row)
            byte = static_cast<uint8_t>(random_());
        const double ratio = static_cast<double>(sourceWidth) / static_cast<double>(width);
        std::vector<uint8_t> expected(static_cast<size_t>(width * size) + kGuard, 0xA5);
        for (int64_t x = 0; x < width; ++x) {
            const auto column = static_cast<int64_t>(static_cast<double>(x) * ratio);
            std::copy_n(row.begin() + column * size, size, expected.begin() + x * size);
        }
        const auto columns = std::make_unique<NearestColumns>(sourceWidth, width, size);
        for (int round = 0; round < 2; ++round) {
            std::vector<uint8_t> made(static_cast<size_t>(width * size) + kGuard, 0xA5);
            for (int64_t x = 0; x < width;) {
                const int64_t found = columns->Find(x, width - x);
                ASSERT_GE(found, 1);
                for (int64_t i = 0; i < found; i += 512)
                    columns->Gather(row.data(), i, std::min<int64_t>(512, found - i),
                                    made.data() + (x + i) * size);
                x += found;
            }
            ASSERT_TRUE(made == expected)
                << sourceWidth << " to " << width << " pixels of " << size << " bytes";
        }
    }

    std::mt19937 random_{11};
};

INSTANTIATE_TEST_SUITE_P(, NearestColumnsTest, testing::Values("plain", "baseline", "avx2", "avx512"),
                         [](const auto& test) { return std::string(test.param); });

TEST_P(NearestColumnsTest, EveryWidthFromOneOnInPixelsOfEverySize) {
    for (int64_t size = 1; size <= NearestColumns::kMostPixelBytes; ++size) {
        for (int64_t sourceWidth = 1; sourceWidth <= 70; ++sourceWidth) {
            for (int64_t width = 1; width <= 70; ++width)
                ASSERT_NO_FATAL_FAILURE(Check(sourceWidth, width, size));
        }
    }
}

// Stretches of one, two, three and four vectors, and those that are too long.
TEST_P(NearestColumnsTest, EveryReachOfAGroup) {
    for (int tenths = 1; tenths <= 60; ++tenths)
        ASSERT_NO_FATAL_FAILURE(Check(std::max<int64_t>(1, 997 * tenths / 10), 997, 4));
    ASSERT_NO_FATAL_FAILURE(Check(4000, 2000, 4));
    ASSERT_NO_FATAL_FAILURE(Check(4000, 1000, 4));
    ASSERT_NO_FATAL_FAILURE(Check(4000, 4000, 4));
}

TEST_P(NearestColumnsTest, RandomWidths) {
    for (int round = 0; round < 300; ++round)
        ASSERT_NO_FATAL_FAILURE(Check(Draw(1, 3000), Draw(1, 3000), Draw(1, 8)));
}

TEST_P(NearestColumnsTest, MoreColumnsThanTheTableHolds) {
    for (const int64_t size : {1, 3, 4, 5}) {
        ASSERT_NO_FATAL_FAILURE(Check(5000, NearestColumns::kMost + 1, size));
        ASSERT_NO_FATAL_FAILURE(Check(20000, 2 * NearestColumns::kMost + 700, size));
        ASSERT_NO_FATAL_FAILURE(Check(NearestColumns::kMost * 2, NearestColumns::kMost, size));
    }
}

// The last column is a whole ratio before the source's end.
TEST_P(NearestColumnsTest, TheLastColumnFollowsTheRatio) {
    NearestColumns columns(100, 10, 4);
    ASSERT_EQ(columns.Find(0, 10), 10);
    EXPECT_EQ(columns.At(9), 90);
    NearestColumns larger(3, 7, 4);
    ASSERT_EQ(larger.Find(0, 7), 7);
    EXPECT_EQ(larger.At(6), 2);
}

// No memory is that large; the distances between its columns would not fit the table.
TEST_P(NearestColumnsTest, RowsBeyondAllMeasure) {
    NearestColumns columns(INT64_MAX, 3, 4);
    EXPECT_EQ(columns.Find(0, 3), 1);
    EXPECT_EQ(columns.At(0), 0);
    EXPECT_EQ(columns.Find(2, 1), 1);
    EXPECT_GE(columns.At(0), INT64_MAX / 3 * 2 - 4096);
    NearestColumns single(1, INT64_MAX, 4);
    EXPECT_EQ(single.Find(INT64_MAX - 1, 1), 1);
    EXPECT_EQ(single.At(0), 0);
}

}  // namespace
}  // namespace trv
