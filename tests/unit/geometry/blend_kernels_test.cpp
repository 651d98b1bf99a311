// The blending step of the shears, for every value, in every instruction set.

#include "geometry/blend_kernels.h"

#include <gtest/gtest.h>
#include <random>
#include <vector>

#include "frame/instruction_set.h"

namespace trv {
namespace {

constexpr size_t kGuard = 40;

uint8_t Blended(uint8_t value, uint8_t before, uint16_t factor) {
    const auto share = [factor](uint8_t byte) { return byte * factor / 65536; };
    return static_cast<uint8_t>(value - share(value) + share(before));
}

class BlendKernelsTest : public testing::TestWithParam<const char*> {
  protected:
    void SetUp() override {
        if (!ForceInstructionSet(GetParam())) GTEST_SKIP() << "this machine has no " << GetParam();
        ASSERT_NE(ActiveBlendKernels(), nullptr);
    }
    void TearDown() override { ForceInstructionSet(""); }

    std::mt19937 random_{13};
};

INSTANTIATE_TEST_SUITE_P(, BlendKernelsTest, testing::Values("baseline", "avx2", "avx512"),
                         [](const auto& test) { return std::string(test.param); });

TEST_P(BlendKernelsTest, EveryPairOfValues) {
    std::vector<uint8_t> value(65536), before(65536), out(65536);
    for (size_t i = 0; i < value.size(); ++i) {
        value[i] = static_cast<uint8_t>(i);
        before[i] = static_cast<uint8_t>(i >> 8);
    }
    for (const uint16_t factor : {0, 1, 255, 256, 257, 21845, 32767, 32768, 43691, 65280, 65534, 65535}) {
        ActiveBlendKernels()->row(value.data(), before.data(), out.data(), 65536, factor);
        for (size_t i = 0; i < out.size(); ++i)
            ASSERT_EQ(out[i], Blended(value[i], before[i], factor)) << i << " by " << factor;
    }
}

// Lengths from nothing past two vectors, at odd addresses; nothing is written behind them.
TEST_P(BlendKernelsTest, EveryLengthWithOneFactorAndWithMany) {
    for (int64_t bytes = 0; bytes <= 200; ++bytes) {
        const auto size = static_cast<size_t>(bytes);
        std::vector<uint8_t> value(size + 1), before(size + 1);
        std::vector<uint16_t> factors(size);
        for (size_t i = 0; i < size; ++i) {
            value[i + 1] = static_cast<uint8_t>(random_());
            before[i + 1] = static_cast<uint8_t>(random_());
            factors[i] = static_cast<uint16_t>(random_());
        }
        const auto factor = static_cast<uint16_t>(random_());
        std::vector<uint8_t> row(size + kGuard, 0xA5), lanes(size + kGuard, 0xA5);
        auto rowExpected = row, lanesExpected = lanes;
        for (size_t i = 0; i < size; ++i) {
            rowExpected[i] = Blended(value[i + 1], before[i + 1], factor);
            lanesExpected[i] = Blended(value[i + 1], before[i + 1], factors[i]);
        }
        ActiveBlendKernels()->row(value.data() + 1, before.data() + 1, row.data(), bytes, factor);
        ActiveBlendKernels()->lanes(value.data() + 1, before.data() + 1, lanes.data(), bytes, factors.data());
        ASSERT_EQ(row, rowExpected) << bytes;
        ASSERT_EQ(lanes, lanesExpected) << bytes;
    }
}

TEST(BlendKernelsChoice, ThePlainFormHasNone) {
    ASSERT_TRUE(ForceInstructionSet("plain"));
    EXPECT_EQ(ActiveBlendKernels(), nullptr);
    ASSERT_TRUE(ForceInstructionSet("baseline"));
    EXPECT_EQ(ActiveBlendKernels(), &kBlendKernelsBaseline);
    if (ForceInstructionSet("avx2")) {
        EXPECT_EQ(ActiveBlendKernels(), &kBlendKernelsAvx2);
    }
    ForceInstructionSet("");
}

}  // namespace
}  // namespace trv
