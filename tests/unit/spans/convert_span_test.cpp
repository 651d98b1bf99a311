// Conversions of runs of pixels, in every instruction set, against the rules taken one by one.

#include "spans/convert_span.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <random>
#include <vector>

#include "frame/instruction_set.h"

namespace trv {
namespace {

using Kind = ByteRule::Kind;

/// The rules, one after the other, pixel by pixel.
void Reference(const std::vector<ByteRule>& rules, int64_t fromStep, int64_t toStep, const uint8_t* from,
               uint8_t* to, int64_t count) {
    for (int64_t x = 0; x < count; ++x) {
        for (const ByteRule& rule : rules) {
            const uint8_t* pixel = from + x * fromStep;
            int value = 0;
            if (rule.kind == Kind::Copy) value = pixel[rule.from];
            if (rule.kind == Kind::Complement) value = 255 - pixel[rule.from];
            if (rule.kind == Kind::Luma)
                value = (pixel[rule.from] * 77 + pixel[rule.green] * 151 + pixel[rule.blue] * 28) >> 8;
            to[x * toStep + rule.to] = static_cast<uint8_t>(value);
        }
    }
}

class ConvertSpanTest : public testing::TestWithParam<const char*> {
  protected:
    void SetUp() override {
        if (!ForceInstructionSet(GetParam())) GTEST_SKIP() << "this machine has no " << GetParam();
        ASSERT_STREQ(NameOf(ChosenInstructionSet()), GetParam());
    }
    void TearDown() override { ForceInstructionSet(""); }

    /// Compares a conversion with the reference in buffers that end where the runs end, so that a sanitizer
    /// sees a byte read or written too many, and with the whole destination, so that a byte written beside
    /// the rules shows.
    void Check(const std::vector<ByteRule>& rules, int64_t fromStep, int64_t toStep, int64_t count) {
        int64_t fromEnd = 0, toEnd = 0;
        for (const ByteRule& rule : rules) {
            fromEnd =
                std::max({fromEnd, rule.from, rule.kind == Kind::Luma ? std::max(rule.green, rule.blue) : 0});
            toEnd = std::max(toEnd, rule.to);
        }
        std::vector<uint8_t> from(static_cast<size_t>((count - 1) * fromStep + fromEnd + 1));
        std::vector<uint8_t> to(static_cast<size_t>((count - 1) * toStep + toEnd + 1));
        for (uint8_t& byte : from)
            byte = static_cast<uint8_t>(random_());
        for (uint8_t& byte : to)
            byte = static_cast<uint8_t>(random_());
        std::vector<uint8_t> expected = to;
        Reference(rules, fromStep, toStep, from.data(), expected.data(), count);
        SpanConverter converter(fromStep, toStep);
        for (const ByteRule& rule : rules)
            converter.Add(rule);
        converter.Prepare();
        converter.Convert(from.data(), to.data(), count);
        ASSERT_EQ(to, expected) << rules.size() << " rules, steps " << fromStep << " to " << toStep << ", "
                                << count;
    }

    int64_t Draw(int64_t low, int64_t high) {
        return std::uniform_int_distribution<int64_t>(low, high)(random_);
    }

    std::mt19937 random_{7};
};

TEST_P(ConvertSpanTest, CommonConversionsAtEveryWidth) {
    for (int64_t count = 1; count <= 70; ++count) {
        Check({{Kind::Copy, 0, 2}, {Kind::Copy, 1, 1}, {Kind::Copy, 2, 0}, {Kind::Copy, 3, 3}}, 4, 4, count);
        Check({{Kind::Copy, 0, 0}, {Kind::Copy, 1, 1}, {Kind::Copy, 2, 2}, {Kind::Copy, 3, 3}}, 4, 4, count);
        Check({{Kind::Copy, 0, 0}, {Kind::Copy, 1, 1}, {Kind::Copy, 2, 2}}, 4, 3, count);
        Check({{Kind::Copy, 1, 0}, {Kind::Copy, 2, 1}, {Kind::Copy, 3, 2}}, 3, 4, count);
        Check({{Kind::Copy, 0, 0}, {Kind::Copy, 1, 0}, {Kind::Copy, 2, 0}}, 1, 3, count);
        Check({{Kind::Copy, 0, 3}}, 4, 1, count);
        Check({{Kind::Luma, 0, 0, 1, 2}}, 3, 1, count);
        Check({{Kind::Luma, 0, 3, 2, 1}}, 4, 1, count);
        Check({{Kind::Luma, 0, 2, 1, 0}, {Kind::Copy, 1, 3}}, 4, 2, count);
        Check({{Kind::Zero, 0, 1}, {Kind::Zero, 1, 1}, {Kind::Copy, 3, 1}, {Kind::Complement, 4, 0}}, 2, 5,
              count);
    }
}

TEST_P(ConvertSpanTest, RandomRules) {
    for (int round = 0; round < 4000; ++round) {
        const int64_t fromStep = Draw(1, 9), toStep = Draw(1, 9);
        // Some rules start at a column, as a view's do.
        const int64_t fromColumn = Draw(0, 3) * fromStep * Draw(0, 1),
                      toColumn = Draw(0, 3) * toStep * Draw(0, 1);
        std::vector<ByteRule> rules(static_cast<size_t>(Draw(1, SpanConverter::kMostRules)));
        for (ByteRule& rule : rules) {
            rule.kind = static_cast<Kind>(Draw(0, 3));
            rule.to = toColumn + Draw(0, toStep - 1);
            rule.from = fromColumn + Draw(0, fromStep - 1);
            rule.green = fromColumn + Draw(0, fromStep - 1);
            rule.blue = fromColumn + Draw(0, fromStep - 1);
        }
        ASSERT_NO_FATAL_FAILURE(Check(rules, fromStep, toStep, Draw(1, 60)));
    }
}

TEST_P(ConvertSpanTest, LumaOfEveryGrayAndOfThePrimaries) {
    std::vector<uint8_t> from, to(256 + 4);
    for (int i = 0; i < 256; ++i)
        from.insert(from.end(), {static_cast<uint8_t>(i), static_cast<uint8_t>(i), static_cast<uint8_t>(i)});
    from.insert(from.end(), {255, 0, 0, 0, 255, 0, 0, 0, 255, 255, 255, 255});
    SpanConverter converter(3, 1);
    converter.Add({Kind::Luma, 0, 0, 1, 2});
    converter.Prepare();
    converter.Convert(from.data(), to.data(), 260);
    for (int i = 0; i < 256; ++i)
        EXPECT_EQ(to[static_cast<size_t>(i)], i);
    EXPECT_EQ(to[256], 76);
    EXPECT_EQ(to[257], 150);
    EXPECT_EQ(to[258], 27);
    EXPECT_EQ(to[259], 255);
}

TEST_P(ConvertSpanTest, OverlappingRunsGoPixelByPixel) {
    for (const int64_t shift : {-5, -4, -1, 1, 3, 4, 8}) {
        std::vector<uint8_t> bytes(400);
        for (uint8_t& byte : bytes)
            byte = static_cast<uint8_t>(random_());
        std::vector<uint8_t> expected = bytes;
        const std::vector<ByteRule> rules = {
            {Kind::Copy, 0, 2}, {Kind::Copy, 1, 1}, {Kind::Copy, 2, 0}, {Kind::Copy, 3, 3}};
        Reference(rules, 4, 4, expected.data() + 40, expected.data() + 40 + shift, 80);
        SpanConverter converter(4, 4);
        for (const ByteRule& rule : rules)
            converter.Add(rule);
        converter.Prepare();
        converter.Convert(bytes.data() + 40, bytes.data() + 40 + shift, 80);
        EXPECT_EQ(bytes, expected) << shift;
    }
}

TEST_P(ConvertSpanTest, NoPixelsAndNoRulesDoNothing) {
    SpanConverter empty(4, 4);
    empty.Prepare();
    empty.Convert(nullptr, nullptr, 10);
    SpanConverter converter(4, 4);
    converter.Add({Kind::Copy, 0, 0});
    converter.Prepare();
    converter.Convert(nullptr, nullptr, 0);
    converter.Convert(nullptr, nullptr, -3);
}

INSTANTIATE_TEST_SUITE_P(InstructionSets, ConvertSpanTest,
                         testing::Values("plain", "baseline", "avx2", "avx512"),
                         [](const auto& instance) { return std::string(instance.param); });

}  // namespace
}  // namespace trv
