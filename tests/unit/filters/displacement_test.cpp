// Positions by chance against the remainder that they are defined by.

#include "filters/displacement.h"

#include <gtest/gtest.h>
#include <limits>
#include <random>

namespace trv {
namespace {

TEST(Displacement, TheRemainderHasTheSignOfTheValue) {
    // Of level 3: remainders by 7, from -6 to 6.
    const Displacement three(3);
    EXPECT_EQ(three.Place(0, 100, 1000), 97);
    EXPECT_EQ(three.Place(6, 100, 1000), 103);
    EXPECT_EQ(three.Place(7, 100, 1000), 97);
    EXPECT_EQ(three.Place(-6, 100, 1000), 91);
    EXPECT_EQ(three.Place(-7, 100, 1000), 97);
    EXPECT_EQ(three.Place(-6, 2, 1000), 0);
    EXPECT_EQ(three.Place(6, 999, 1000), 999);
}

TEST(Displacement, ValuesAndLevelsOfAnySize) {
    constexpr int32_t kLeast = std::numeric_limits<int32_t>::min();
    constexpr int32_t kMost = std::numeric_limits<int32_t>::max();
    std::mt19937 random(4);
    std::uniform_int_distribution<int32_t> any(kLeast, kMost);
    for (int round = 0; round < 300; ++round) {
        // Of every size, up to divisors that have more bits than a value.
        const int64_t level = any(random) / (int64_t{1} << round % 32) * (round % 5 == 0 ? 8 : 1);
        const Displacement displacement(level);
        for (int i = 0; i < 1000; ++i) {
            const int32_t drawn = i == 0 ? kLeast : i == 1 ? kMost : i < 9 ? i - 5 : any(random);
            constexpr int64_t kSize = int64_t{1} << 42;
            ASSERT_EQ(displacement.Place(drawn, kSize / 2, kSize),
                      kSize / 2 + int64_t{drawn} % (2 * level + 1) - level)
                << drawn << " by level " << level;
        }
    }
}

TEST(Displacement, LevelsBeyondAnyPictureEndAtItsEdge) {
    for (const int64_t level : {int64_t{1} << 40, int64_t{1} << 62, std::numeric_limits<int64_t>::max()}) {
        EXPECT_EQ(Displacement(level).Place(5, 40, 100), 0);
        EXPECT_EQ(Displacement(-level).Place(-5, 40, 100), 99);
    }
    EXPECT_EQ(Displacement(std::numeric_limits<int64_t>::min()).Place(1, 40, 100), 99);
}

}  // namespace
}  // namespace trv
