// Prepared lists: their places, and that no kernel result outside its margin can be wrong.

#include "scale/tap_table.h"

#include <cmath>
#include <gtest/gtest.h>
#include <random>

#include "scale/exact.h"
#include "scale/kernels.h"

namespace trv {
namespace {

/// Lists built by the library's own builder.
class Lists {
  public:
    Lists(int64_t mode, int64_t in, int64_t out) : count_(out), in_(in) {
        EXPECT_TRUE(array_.Allocate(out));
        const double scale = static_cast<double>(out) / static_cast<double>(in);
        FindTableBuilder(mode)(1.0 > scale ? TableStage::Scale1 : TableStage::Scale2,
                               {nullptr, in, scale, out, ""}, array_.Lists());
    }
    ~Lists() { array_.FreeLists(count_); }
    [[nodiscard]] ContributionList* Get() const { return array_.Lists(); }
    [[nodiscard]] int64_t Count() const { return count_; }
    [[nodiscard]] int64_t Inputs() const { return in_; }

  private:
    ContributionArray array_;
    const int64_t count_;
    const int64_t in_;
};

constexpr std::pair<int64_t, int64_t> kSizes[] = {
    {1, 1},   {1, 5},   {5, 1},   {16, 8},  {8, 16},  {30, 20}, {20, 30},  {300, 25}, {25, 300},
    {900, 7}, {37, 41}, {64, 64}, {60, 10}, {10, 60}, {12, 5},  {1000, 1}, {128, 32}, {32, 128}};

template <class T>
void CheckPlaces(const TapTable<T>& table, const Lists& lists) {
    int64_t first = 0;
    int64_t end = 0;
    for (int64_t i = 0; i < table.Count(); ++i) {
        const TapList<T>& list = table.Lists()[i];
        ASSERT_GE(list.count, 1);
        ASSERT_GE(list.first, first);
        ASSERT_GE(list.first + list.count, end);
        ASSERT_LE(list.first + list.count, lists.Inputs());
        first = list.first;
        end = list.first + list.count;
        const ContributionList& from = lists.Get()[i];
        double sum = 0.0;
        for (int64_t k = 0; k < from.count; ++k) {
            ASSERT_GE(from.entries[k].pixel, list.first);
            ASSERT_LT(from.entries[k].pixel, end);
        }
        for (int64_t k = 0; k < list.count; ++k)
            sum += static_cast<double>(list.weights[k]);
        ASSERT_NEAR(sum, 1.0, 1e-5);
    }
}

TEST(TapTable, PlacesAscendAndHoldAllTaps) {
    for (int mode = 1; mode <= 7; ++mode) {
        for (const auto& [in, out] : kSizes) {
            const Lists lists(mode, in, out);
            TapTable<float> single;
            TapTable<double> wide;
            ASSERT_TRUE(single.Build(lists.Get(), out, in, {255, false}));
            ASSERT_TRUE(wide.Build(lists.Get(), out, in, {65535, false}));
            CheckPlaces(single, lists);
            CheckPlaces(wide, lists);
        }
    }
}

/// The kernels' number, computed in the most unfavourable way that they may: products rounded, pieces added
/// up.
template <class T>
T KernelNumber(const TapList<T>& list, const std::vector<int>& samples, int64_t split) {
    T total = list.bias;
    T piece = 0;
    for (int64_t k = 0; k < list.count; ++k) {
        piece +=
            static_cast<T>(list.weights[k] * static_cast<T>(samples[static_cast<size_t>(list.first + k)]));
        if ((k + 1) % kPieceTaps == 0 || k == split || k + 1 == list.count) {
            total += piece;
            piece = 0;
        }
    }
    return total;
}

/// Samples that make trouble: noise, two values, extremes, few levels, and steps whose sums are ties.
std::vector<int> Samples(std::mt19937& random, int64_t count, int most, int kind) {
    std::vector<int> samples(static_cast<size_t>(count));
    const int low = static_cast<int>(random() % static_cast<unsigned>(most + 1));
    const int high = static_cast<int>(random() % static_cast<unsigned>(most + 1));
    const auto edge = static_cast<size_t>(random() % static_cast<unsigned>(count));
    for (size_t i = 0; i < samples.size(); ++i) {
        switch (kind) {
            case 0:
                samples[i] = static_cast<int>(random() % static_cast<unsigned>(most + 1));
                break;
            case 1:
                samples[i] = i % 2 != 0 ? low : high;
                break;
            case 2:
                samples[i] = random() % 2 != 0 ? most : 0;
                break;
            case 3:
                samples[i] = i < edge ? low : high;
                break;
            default:
                samples[i] = static_cast<int>(random() % 3);
                break;
        }
    }
    return samples;
}

template <class T>
void CheckMargins(const TapTable<T>& table, const Lists& lists, std::mt19937& random, int most) {
    int64_t close = 0;
    for (int kind = 0; kind < 5; ++kind) {
        const auto samples = Samples(random, lists.Inputs(), most, kind);
        for (int64_t i = 0; i < table.Count(); ++i) {
            const TapList<T>& list = table.Lists()[i];
            const ContributionList& from = lists.Get()[i];
            double sum = 0.0;
            for (int64_t k = 0; k < from.count; ++k) {
                sum += samples[static_cast<size_t>(from.entries[k].pixel)] *
                       static_cast<double>(from.entries[k].weight);
            }
            const int exact = ExactSample(sum, from.weightSum, most);
            const T number = KernelNumber(list, samples, static_cast<int64_t>(random() % 70));
            const double value = static_cast<double>(number);
            if (std::abs(value - std::nearbyint(value)) <= static_cast<double>(list.margin)) {
                ++close;
                continue;
            }
            ASSERT_EQ(static_cast<int>(std::clamp(std::trunc(value), 0.0, static_cast<double>(most))), exact)
                << "list " << i << " kind " << kind << " number " << value << " margin " << list.margin;
        }
    }
    // The margins must be worth something, too.
    if (table.ExpectedDoubts() < 0.5) {
        EXPECT_LT(close, 5 * table.Count());
    }
}

TEST(TapTable, ResultsOutsideTheirMarginAreRight) {
    std::mt19937 random(3);
    for (int mode = 1; mode <= 7; ++mode) {
        for (const auto& [in, out] : kSizes) {
            const Lists lists(mode, in, out);
            TapTable<float> single;
            TapTable<double> wide;
            TapTable<double> words;
            ASSERT_TRUE(single.Build(lists.Get(), out, in, {255, false}));
            ASSERT_TRUE(wide.Build(lists.Get(), out, in, {255, false}));
            ASSERT_TRUE(words.Build(lists.Get(), out, in, {65535, false}));
            for (int round = 0; round < 6; ++round) {
                CheckMargins(single, lists, random, 255);
                CheckMargins(wide, lists, random, 255);
                CheckMargins(words, lists, random, 65535);
                if (HasFatalFailure()) FAIL() << "mode " << mode << " " << in << ">" << out;
            }
        }
    }
}

TEST(TapTable, LatticesHaveNoDoubts) {
    // Boxes of any width, and the triangle at powers of two: ties are frequent, and none of them is a doubt.
    for (const auto& [in, out] : kSizes) {
        const Lists lists(ScaleBox, in, out);
        TapTable<float> table;
        ASSERT_TRUE(table.Build(lists.Get(), out, in, {255, false}));
        if (in < 500) {
            EXPECT_EQ(table.ExpectedDoubts(), 0.0) << in << ">" << out;
        }
    }
    for (const auto& [in, out] : {std::pair<int64_t, int64_t>{64, 16}, {16, 64}, {40, 40}, {50, 100}}) {
        const Lists lists(ScaleTriangle, in, out);
        TapTable<float> table;
        ASSERT_TRUE(table.Build(lists.Get(), out, in, {255, false}));
        EXPECT_EQ(table.ExpectedDoubts(), 0.0) << in << ">" << out;
    }
}

TEST(TapTable, ListsForBytesHaveTheWeightsIn128ths) {
    int64_t lists128 = 0;
    for (const int64_t mode : {ScaleBox, ScaleTriangle, ScaleLanczos3}) {
        for (const auto& [in, out] : kSizes) {
            const Lists lists(mode, in, out);
            TapTable<uint8_t> table;
            ASSERT_TRUE(table.Build(lists.Get(), out, in, {255, false}));
            for (int64_t i = 0; i < out; ++i) {
                const TapList<uint8_t>& list = table.Lists()[i];
                const ContributionList& from = lists.Get()[i];
                bool fits = true;
                int total = 0;
                for (int64_t k = 0; k < from.count; ++k) {
                    const double exact = 128.0 * static_cast<double>(from.entries[k].weight) /
                                         static_cast<double>(from.weightSum);
                    fits = fits && exact >= 0 && exact == std::floor(exact);
                }
                if (list.margin != 0) continue;
                ++lists128;
                ASSERT_TRUE(fits) << "mode " << mode << " " << in << ">" << out << " list " << i;
                for (int64_t k = 0; k < list.count; ++k)
                    total += list.weights[k];
                EXPECT_EQ(total, 128);
                for (int64_t k = 0; k < from.count; ++k) {
                    const double exact = 128.0 * static_cast<double>(from.entries[k].weight) /
                                         static_cast<double>(from.weightSum);
                    EXPECT_EQ(list.weights[from.entries[k].pixel - list.first], exact);
                }
            }
            // Ratios of 2 and 4 are what it is for.
            const bool meant = mode != ScaleLanczos3 && (in == 4 * out || out == 4 * in || in == 2 * out);
            if (meant && in >= 32) {
                EXPECT_LT(table.ExpectedDoubts(), 0.25) << mode << " " << in << ">" << out;
            }
        }
    }
    EXPECT_GT(lists128, 100);
}

TEST(TapTable, LumaIsNoLattice) {
    const Lists lists(ScaleBox, 64, 16);
    TapTable<float> table;
    ASSERT_TRUE(table.Build(lists.Get(), 16, 64, {255, true}));
    EXPECT_GT(table.ExpectedDoubts(), 0.0);
}

TEST(TapTable, OddListsAreAllDoubts) {
    ContributionEntry wild[] = {{1.0F, 0}, {-1.0F, 1}, {1e-6F, 2}};
    ContributionEntry negative[] = {{-1.0F, 1}};
    ContributionList lists[] = {{nullptr, 0, 0.0F}, {wild, 3, 1e-6F},    {negative, 1, -1.0F},
                                {wild, 2, 0.0F},    {wild, 1, INFINITY}, {wild, 1, NAN}};
    TapTable<float> table;
    ASSERT_TRUE(table.Build(lists, 6, 4, {255, false}));
    EXPECT_EQ(table.ExpectedDoubts(), 1.0);
    for (int64_t i = 0; i < 6; ++i)
        EXPECT_EQ(table.Lists()[i].margin, 1.0F) << i;
}

TEST(ExactSample, RoundsAndClamps) {
    EXPECT_EQ(ExactSample(0.5, 1.0F, 255), 1);
    EXPECT_EQ(ExactSample(0.4999, 1.0F, 255), 0);
    EXPECT_EQ(ExactSample(-3.0, 1.0F, 255), 0);
    EXPECT_EQ(ExactSample(254.5, 1.0F, 255), 255);
    EXPECT_EQ(ExactSample(900.0, 1.0F, 255), 255);
    EXPECT_EQ(ExactSample(900.0, 1.0F, 65535), 900);
    EXPECT_EQ(ExactSample(1e300, 1e-30F, 65535), 0);  // infinite
    EXPECT_EQ(ExactSample(1e30, 1.0F, 65535), 65535);
    EXPECT_EQ(ExactSample(0.0, 0.0F, 255), 0);
    EXPECT_EQ(ExactSample(5.0, 0.0F, 255), 0);
    EXPECT_EQ(ExactSample(-5.0, 0.0F, 255), 0);
}

TEST(SampleReader, LumaIsOneTermInItsOwnOrder) {
    // Where contraction or another order would show: search pixels until all three forms differ.
    const SampleReader reader{SampleReader::Kind::Luma, 0, 1, 2};
    const double weight = static_cast<double>(0.1F);
    int different = 0;
    for (int i = 0; i < 256 * 16; ++i) {
        const uint8_t pixel[] = {static_cast<uint8_t>(i * 7), static_cast<uint8_t>(i * 31),
                                 static_cast<uint8_t>(i * 101)};
        const double green = weight * (pixel[1] * 0.59);
        const double red = weight * (pixel[0] * 0.3);
        const double blue = weight * (pixel[2] * 0.11);
        ASSERT_EQ(reader.Term(pixel, weight), (green + red) + blue);
        const double fused = std::fma(weight, pixel[2] * 0.11, std::fma(weight, pixel[0] * 0.3, green));
        if (fused != (green + red) + blue) ++different;
    }
    EXPECT_GT(different, 100);
}

}  // namespace
}  // namespace trv
