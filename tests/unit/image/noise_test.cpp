// Where chance comes from.

#include "image/noise.h"

#include <gtest/gtest.h>
#include <set>
#include <vector>

namespace trv {
namespace {

TEST(Xoshiro256, GivesThePublishedValues) {
    Xoshiro256 generator{{1, 2, 3, 4}};
    for (const uint64_t value :
         {uint64_t{41943041}, uint64_t{58720359}, uint64_t{3588806011781223}, uint64_t{3591011842654386},
          uint64_t{9228616714210784205U}, uint64_t{9973669472204895162U}, uint64_t{14011001112246962877U}})
        EXPECT_EQ(generator.Next(), value);
}

TEST(UniformIntegers, EveryBitIsChanceAndEveryStreamAnother) {
    UniformIntegers one, other;
    constexpr int kValues = 20000;
    std::vector<int> set(32), alike(32);
    std::set<int32_t> values;
    for (int i = 0; i < kValues; ++i) {
        const auto a = static_cast<uint32_t>(one.Next()), b = static_cast<uint32_t>(other.Next());
        values.insert(static_cast<int32_t>(a));
        for (size_t bit = 0; bit < 32; ++bit) {
            set[bit] += static_cast<int>(a >> bit & 1);
            alike[bit] += static_cast<int>((a ^ b) >> bit & 1);
        }
    }
    EXPECT_GT(values.size(), kValues - 30U);
    for (size_t bit = 0; bit < 32; ++bit) {
        // Seven standard deviations.
        EXPECT_NEAR(set[bit], kValues / 2.0, 500) << bit;
        EXPECT_NEAR(alike[bit], kValues / 2.0, 500) << bit;
    }
}

}  // namespace
}  // namespace trv
