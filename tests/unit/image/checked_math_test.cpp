#include "image/checked_math.h"

#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <vector>

namespace trv {
namespace {

constexpr int64_t kMin = std::numeric_limits<int64_t>::min();
constexpr int64_t kMax = std::numeric_limits<int64_t>::max();

int64_t Clamped(__int128 value) {
    return value < kMin ? kMin : value > kMax ? kMax : static_cast<int64_t>(value);
}

TEST(CheckedMath, StaysAtTheNearestEnd) {
    std::vector<int64_t> values = {kMin, kMin + 1, kMin / 2, -65536,   -2,       -1,  0,
                                   1,    2,        65536,    kMax / 2, kMax - 1, kMax};
    std::mt19937_64 random(1);
    for (int i = 0; i < 60; ++i)
        values.push_back(static_cast<int64_t>(random()) >> (i % 62));
    for (const int64_t a : values) {
        for (const int64_t b : values) {
            ASSERT_EQ(SaturatedAdd(a, b), Clamped(static_cast<__int128>(a) + b)) << a << " " << b;
            ASSERT_EQ(SaturatedSubtract(a, b), Clamped(static_cast<__int128>(a) - b)) << a << " " << b;
            ASSERT_EQ(SaturatedMultiply(a, b), Clamped(static_cast<__int128>(a) * b)) << a << " " << b;
        }
    }
}

TEST(CheckedMath, RaisesToMultiples) {
    EXPECT_EQ(RaisedToMultiple(0, 64), 0);
    EXPECT_EQ(RaisedToMultiple(1, 64), 64);
    EXPECT_EQ(RaisedToMultiple(63, 64), 64);
    EXPECT_EQ(RaisedToMultiple(64, 64), 64);
    EXPECT_EQ(RaisedToMultiple(65, 64), 128);
    EXPECT_EQ(RaisedToMultiple(12345, 4096), 16384);
    EXPECT_EQ(RaisedToMultiple(kMax, 64), kMax - 63);
    EXPECT_EQ(RaisedToMultiple(kMax - 63, 64), kMax - 63);
    EXPECT_EQ(RaisedToMultiple(kMax - 64, 64), kMax - 63);
}

}  // namespace
}  // namespace trv
