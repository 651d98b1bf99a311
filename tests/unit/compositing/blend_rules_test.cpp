// The arithmetic of compositing, for all values that can occur, and the kernels of every instruction set next
// to it.

#include "compositing/blend_rules.h"

#include <gtest/gtest.h>
#include <random>
#include <vector>

#include "compositing/composite_kernels.h"
#include "frame/instruction_set.h"

namespace trv {
namespace {

TEST(BlendRules, DivisionBy255IsExactForEveryDividend) {
    for (uint32_t x = 0; x <= 65279; ++x)
        ASSERT_EQ(DivideBy255(static_cast<uint16_t>(x)), x / 255) << x;
}

TEST(BlendRules, EveryTripleOfBytes) {
    for (uint32_t d = 0; d < 256; ++d) {
        for (uint32_t s = 0; s < 256; ++s) {
            for (uint32_t m = 0; m < 256; ++m) {
                const auto mixed =
                    MixRule::Apply(static_cast<uint8_t>(d), static_cast<uint8_t>(s), static_cast<uint8_t>(m));
                const auto added =
                    AddRule::Apply(static_cast<uint8_t>(d), static_cast<uint8_t>(s), static_cast<uint8_t>(m));
                if (mixed != ((255 - m) * s + d * m) / 255 || added != (d * m / 255 + s) % 256)
                    FAIL() << d << " " << s << " " << m;
            }
        }
    }
}

class CompositeKernelsTest : public testing::TestWithParam<const char*> {
  protected:
    void SetUp() override {
        if (!ForceInstructionSet(GetParam())) GTEST_SKIP() << "this machine has no " << GetParam();
        ASSERT_NE(ActiveCompositeKernels(), nullptr);
    }
    void TearDown() override { ForceInstructionSet(""); }

    std::vector<uint8_t> Noise(size_t count) {
        std::vector<uint8_t> bytes(count);
        for (uint8_t& byte : bytes)
            byte = static_cast<uint8_t>(random_());
        return bytes;
    }

    std::mt19937 random_{3};
};

INSTANTIATE_TEST_SUITE_P(, CompositeKernelsTest, testing::Values("baseline", "avx2"),
                         [](const auto& test) { return std::string(test.param); });

TEST_P(CompositeKernelsTest, EveryTripleOfBytes) {
    std::vector<uint8_t> d(65536), s(65536), out(65536);
    for (size_t i = 0; i < d.size(); ++i) {
        d[i] = static_cast<uint8_t>(i);
        s[i] = static_cast<uint8_t>(i >> 8);
    }
    for (int mask = 0; mask < 256; ++mask) {
        const std::vector<uint8_t> m(65536, static_cast<uint8_t>(mask));
        const auto check = [&](CompositeKernel kernel, uint8_t (*rule)(uint8_t, uint8_t, uint8_t)) {
            kernel(out.data(), d.data(), s.data(), m.data(), nullptr, 65536);
            for (size_t i = 0; i < out.size(); ++i)
                ASSERT_EQ(out[i], rule(d[i], s[i], m[i])) << i << " " << mask;
        };
        check(ActiveCompositeKernels()->mix,
              [](uint8_t a, uint8_t b, uint8_t c) { return MixRule::Apply(a, b, c); });
        check(ActiveCompositeKernels()->add,
              [](uint8_t a, uint8_t b, uint8_t c) { return AddRule::Apply(a, b, c); });
    }
}

TEST_P(CompositeKernelsTest, EveryLengthWithAndWithoutKeptBytesAndInPlace) {
    for (size_t count = 0; count < 200; ++count) {
        const auto d = Noise(count), s = Noise(count), m = Noise(count), old = Noise(count);
        auto write = Noise(count);
        for (uint8_t& byte : write)
            byte = byte % 3 == 0 ? 0 : 255;
        for (const bool add : {false, true}) {
            const CompositeKernel kernel =
                add ? ActiveCompositeKernels()->add : ActiveCompositeKernels()->mix;
            const auto rule = [&](size_t i) {
                return add ? AddRule::Apply(d[i], s[i], m[i]) : MixRule::Apply(d[i], s[i], m[i]);
            };
            auto all = old, some = old, overD = d, overS = s, overM = m;
            const auto n = static_cast<int64_t>(count);
            kernel(all.data(), d.data(), s.data(), m.data(), nullptr, n);
            kernel(some.data(), d.data(), s.data(), m.data(), write.data(), n);
            kernel(overD.data(), overD.data(), s.data(), m.data(), nullptr, n);
            kernel(overS.data(), d.data(), overS.data(), m.data(), nullptr, n);
            kernel(overM.data(), d.data(), s.data(), overM.data(), nullptr, n);
            for (size_t i = 0; i < count; ++i) {
                ASSERT_EQ(all[i], rule(i));
                ASSERT_EQ(some[i], write[i] != 0 ? rule(i) : old[i]);
                ASSERT_EQ(overD[i], rule(i));
                ASSERT_EQ(overS[i], rule(i));
                ASSERT_EQ(overM[i], rule(i));
            }
        }
    }
}

TEST_P(CompositeKernelsTest, TheBrightness) {
    for (size_t count = 0; count < 200; ++count) {
        const auto red = Noise(count), green = Noise(count), blue = Noise(count);
        auto out = red;
        ActiveCompositeKernels()->luma(out.data(), out.data(), green.data(), blue.data(),
                                       static_cast<int64_t>(count));
        for (size_t i = 0; i < count; ++i)
            ASSERT_EQ(out[i], (red[i] * 77 + green[i] * 151 + blue[i] * 28) / 256);
    }
}

}  // namespace
}  // namespace trv
