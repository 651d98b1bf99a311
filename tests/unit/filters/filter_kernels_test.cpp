// The kernels of the filters, in every instruction set, against the plain formulas.

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <random>
#include <string>
#include <vector>

#include "filters/byte_tables.h"
#include "filters/oil_kernels.h"
#include "filters/style_kernels.h"
#include "frame/instruction_set.h"

namespace trv {
namespace {

class FilterKernels : public testing::TestWithParam<const char*> {
  protected:
    void SetUp() override {
        if (!ForceInstructionSet(GetParam())) GTEST_SKIP() << "this machine has no " << GetParam();
        ASSERT_STREQ(NameOf(ChosenInstructionSet()), GetParam());
    }
    void TearDown() override { ForceInstructionSet(""); }

    std::vector<uint8_t> Bytes(int64_t count) {
        std::vector<uint8_t> bytes(static_cast<size_t>(count));
        for (uint8_t& byte : bytes)
            byte = static_cast<uint8_t>(random());
        return bytes;
    }

    std::mt19937 random{7};
};

TEST_P(FilterKernels, TablesOfEveryNumberOfChannelsAndLength) {
    for (size_t channels = 1; channels <= 5; ++channels) {
        for (const bool equal : {false, true}) {
            std::vector<ByteTable> tables(channels);
            for (ByteTable& table : tables)
                std::generate(table.begin(), table.end(), [&] { return static_cast<uint8_t>(random()); });
            if (equal) std::fill(tables.begin(), tables.end(), tables[0]);
            for (int64_t pixels = 0; pixels < 400; pixels += pixels < 140 ? 1 : 37) {
                auto bytes = Bytes(pixels * static_cast<int64_t>(channels));
                auto expected = bytes;
                for (size_t i = 0; i < expected.size(); ++i)
                    expected[i] = tables[i % channels][expected[i]];
                MapBytes(bytes.data(), pixels, tables);
                ASSERT_EQ(bytes, expected) << channels << " " << pixels;
            }
        }
    }
}

TEST_P(FilterKernels, EveryEntryOfATable) {
    ByteTable table;
    std::generate(table.begin(), table.end(), [&] { return static_cast<uint8_t>(random()); });
    std::vector<uint8_t> bytes(512);
    for (size_t i = 0; i < bytes.size(); ++i)
        bytes[i] = static_cast<uint8_t>(i * 5);
    MapBytes(bytes.data(), 512, std::span(&table, 1));
    for (size_t i = 0; i < bytes.size(); ++i)
        EXPECT_EQ(bytes[i], table[static_cast<uint8_t>(i * 5)]);
}

TEST_P(FilterKernels, ReliefOfEveryPair) {
    std::vector<uint8_t> a, b;
    for (int i = 0; i < 65536; ++i) {
        a.push_back(static_cast<uint8_t>(i));
        b.push_back(static_cast<uint8_t>(i >> 8));
    }
    auto made = a;
    ActiveStyleKernels().relief(made.data(), b.data(), 65536);
    for (size_t i = 0; i < made.size(); ++i)
        ASSERT_EQ(made[i], std::clamp(a[i] - b[i] + 128, 0, 255));
    for (int64_t count = 0; count < 70; ++count) {
        auto some = Bytes(count), other = Bytes(count), expected = some;
        for (size_t i = 0; i < expected.size(); ++i)
            expected[i] = static_cast<uint8_t>(std::clamp(some[i] - other[i] + 128, 0, 255));
        ActiveStyleKernels().relief(some.data(), other.data(), count);
        ASSERT_EQ(some, expected) << count;
    }
}

TEST_P(FilterKernels, GlowOfEveryPairOfDifferences) {
    // Differences of 0 to 255 and back, either sign, which are all the sums of squares there are.
    for (int across = 0; across < 256; ++across) {
        std::vector<uint8_t> row(256), right(256), below(256), made(256);
        for (int down = 0; down < 256; ++down) {
            const auto i = static_cast<size_t>(down);
            const bool up = (across + down) % 2 == 0;
            row[i] = up ? static_cast<uint8_t>(std::max(across, down)) : 0;
            right[i] = static_cast<uint8_t>(up ? row[i] - across : across);
            below[i] = static_cast<uint8_t>(up ? row[i] - down : down);
        }
        ActiveStyleKernels().glow(row.data(), right.data(), below.data(), made.data(), 256);
        for (int down = 0; down < 256; ++down) {
            const double d = static_cast<double>(static_cast<float>(across * across + down * down));
            const int expected = std::min(static_cast<int>(static_cast<float>(std::sqrt(d + d))), 255);
            ASSERT_EQ(made[static_cast<size_t>(down)], expected) << across << " " << down;
        }
    }
}

TEST_P(FilterKernels, TwoTablesByEveryLimit) {
    ByteTable above, upTo;
    for (ByteTable* table : {&above, &upTo})
        std::generate(table->begin(), table->end(), [&] { return static_cast<uint8_t>(random()); });
    for (const int64_t count : {0, 1, 31, 32, 33, 63, 64, 65, 65536}) {
        auto bytes = Bytes(count), limits = Bytes(count);
        for (size_t i = 0; count == 65536 && i < bytes.size(); ++i) {
            bytes[i] = static_cast<uint8_t>(i);
            limits[i] = static_cast<uint8_t>(i >> 8);
        }
        const auto samples = bytes;
        MapBytesByLimit(bytes.data(), limits.data(), count, above, upTo);
        for (size_t i = 0; i < bytes.size(); ++i)
            ASSERT_EQ(bytes[i], samples[i] > limits[i] ? above[samples[i]] : upTo[samples[i]]);
    }
}

/// Histograms of words that hold up to `most` samples in a band.
template <class Word>
void CheckOilKernels(std::mt19937& random, uint32_t most) {
    const OilKernels<Word> kernels = ActiveOilKernels<Word>();
    constexpr int kShift = ToneBand<Word>::kShift;
    for (int round = 0; round < 300; ++round) {
        const int64_t bands = kBandStep * (1 + round % 16);
        std::vector<Word> window(static_cast<size_t>(bands)), entering = window, leaving = window;
        // Few different counts, so that bands are equal; sums that must not matter.
        for (auto* part : {&window, &entering}) {
            for (Word& band : *part) {
                const Word count = static_cast<uint32_t>(random()) % (round % 3 == 0 ? most : 4U);
                band = count << kShift | (count * 255 - static_cast<uint32_t>(random()) % (count + 1));
            }
        }
        leaving = window;
        std::shuffle(window.begin(), window.end(), random);
        auto expected = window;
        for (size_t i = 0; i < expected.size(); ++i)
            expected[i] += entering[i];
        kernels.slide(window.data(), entering.data(), std::vector<Word>(leaving.size()).data(), bands);
        ASSERT_EQ(window, expected);
        size_t best = 0;
        for (size_t i = 1; i < window.size(); ++i) {
            if (window[i] >> kShift > window[best] >> kShift) best = i;
        }
        ASSERT_EQ(kernels.fullest(window.data(), bands), static_cast<int64_t>(best));
        kernels.slide(window.data(), std::vector<Word>(leaving.size()).data(), entering.data(), bands);
        for (size_t i = 0; i < expected.size(); ++i)
            ASSERT_EQ(window[i], expected[i] - entering[i]);
    }
}

TEST_P(FilterKernels, HistogramsSlideAndTheirFullestBandIsFound) {
    CheckOilKernels<uint32_t>(random, 2047);
    CheckOilKernels<uint64_t>(random, (1U << 27) - 1);
}

INSTANTIATE_TEST_SUITE_P(Sets, FilterKernels, testing::Values("plain", "baseline", "avx2", "avx512"),
                         [](const auto& one) { return std::string(one.param); });

}  // namespace
}  // namespace trv
