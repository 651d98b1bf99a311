// The arithmetic of compositing, for all values that can occur, and the kernels of every instruction set next
// to it.

#include "compositing/blend_rules.h"

#include <algorithm>
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

/// Random operands of all kinds, of any number of groups and over what is written.
TEST_P(CompositeKernelsTest, PixelsOfFourBytes) {
    using Kind = PixelOperand::Kind;
    if (ActiveCompositeKernels()->mixPixels == nullptr) GTEST_SKIP() << "not in this instruction set";
    const auto draw = [&](size_t most) { return static_cast<size_t>(random_() % (most + 1)); };
    for (int round = 0; round < 2000; ++round) {
        const size_t groups = draw(round % 4 == 0 ? 200 : 20), bytes = groups * 32, shift = draw(35);
        const auto elsewhere = Noise(bytes), third = Noise(bytes);
        auto store = Noise(shift + bytes + 32);
        const auto before = store;
        uint8_t* out = store.data() + shift;
        const std::vector<uint8_t> old(out, out + bytes);
        PixelBlend blend{};
        for (size_t i = 0; i < 16; ++i)
            blend.write[i] = i >= 4 ? blend.write[i - 4] : draw(3) == 0 ? 0 : 255;
        const auto prepare = [&](PixelOperand& operand, const uint8_t* from, size_t most) {
            operand.kind = static_cast<Kind>(draw(most));
            operand.from = from;
            const size_t unit = operand.kind == Kind::Bytes ? 1 : 4;
            uint8_t places[4], flips[4];  // the same for each pixel
            for (size_t i = 0; i < 4; ++i) {
                places[i] = static_cast<uint8_t>(operand.kind == Kind::Luma ? 1 : draw(unit - 1));
                if (draw(5) == 0) places[i] = 128;
                flips[i] = static_cast<uint8_t>(random_());
            }
            for (size_t i = 0; i < 16; ++i) {
                const uint8_t place = places[i % 4];
                operand.flips[i] = flips[i % 4];
                operand.picks[i] = static_cast<uint8_t>(place == 128 ? 128 : i / 4 * unit + place);
                // Picking takes everything that goes straight.
                if (operand.kind == Kind::Straight) operand.flips[i] = 0, operand.picks[i] = i & 15;
            }
            const uint8_t weights[4][4] = {
                {77, 151, 28, 0}, {28, 151, 77, 0}, {0, 77, 151, 28}, {151, 28, 0, 77}};
            std::copy_n(weights[draw(3)], 4, operand.weights);
        };
        // Constant is the last kind, and only m is of the two before it.
        const bool inPlace = draw(1) == 1;
        prepare(blend.d, inPlace ? out : elsewhere.data(), 1);
        prepare(blend.s, elsewhere.data(), 1);
        prepare(blend.m, third.data(), 4);
        if (draw(3) == 0) (draw(1) == 0 ? blend.d : blend.s).kind = Kind::Constant;
        const auto value = [&](const PixelOperand& operand, const std::vector<uint8_t>& from, size_t i) {
            const size_t place = i % 16, pixel = i / 16 * 4;
            if (operand.kind == Kind::Constant) return operand.flips[place];
            uint8_t picked = 0;
            if (operand.kind == Kind::Luma && operand.picks[place] != 128) {
                const uint8_t* at = from.data() + 4 * (pixel + operand.picks[place] / 4);
                int sum = 0;
                for (size_t k = 0; k < 4; ++k)
                    sum += at[k] * operand.weights[k];
                picked = static_cast<uint8_t>((sum >> 8) ^ 128);
            } else if (operand.picks[place] != 128) {
                picked = from[pixel * (operand.kind == Kind::Bytes ? 1 : 4) + operand.picks[place]];
            }
            return static_cast<uint8_t>(picked ^ operand.flips[place]);
        };
        const bool add = draw(1) == 1;
        auto expected = before;
        for (size_t i = 0; i < bytes; ++i) {
            const uint8_t d = value(blend.d, inPlace ? old : elsewhere, i), s = value(blend.s, elsewhere, i),
                          m = value(blend.m, third, i);
            const uint8_t made = add ? AddRule::Apply(d, s, m) : MixRule::Apply(d, s, m);
            expected[shift + i] = blend.write[i % 16] != 0 ? made : old[i];
        }
        const CompositeKernels& kernels = *ActiveCompositeKernels();
        (add ? kernels.addPixels : kernels.mixPixels)(out, blend, static_cast<int64_t>(groups));
        ASSERT_EQ(store, expected) << round;
    }
}

}  // namespace
}  // namespace trv
