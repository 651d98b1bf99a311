// Contribution tables against a table built the slow way, and their edge cases.

#include "scale/contributions.h"

#include <gtest/gtest.h>

#include "blackbox/scale_reference.h"
#include "scale/kernels.h"
#include "unit/frame/log_capture.h"

namespace trv {
namespace {

using trvtest::reference::Tap;

class Table {
  public:
    Table(int64_t mode, int64_t inputSize, double scale, int64_t count, bool vertical = false)
        : count_(count) {
        EXPECT_TRUE(array_.Allocate(count));
        const TableStage stage = 1.0 > scale ? (vertical ? TableStage::Scale4 : TableStage::Scale1)
                                             : (vertical ? TableStage::Scale5 : TableStage::Scale2);
        FindTableBuilder(mode)(stage, {nullptr, inputSize, scale, count, "RGB_to_RGB"}, array_.Lists());
    }
    ~Table() { array_.FreeLists(count_); }

    [[nodiscard]] std::vector<Tap> Taps(int64_t i) const {
        std::vector<Tap> taps;
        const ContributionList& list = array_.Lists()[i];
        for (int64_t k = 0; k < list.count; ++k)
            taps.push_back({list.entries[k].weight, list.entries[k].pixel});
        return taps;
    }
    [[nodiscard]] float Sum(int64_t i) const { return array_.Lists()[i].weightSum; }

  private:
    ContributionArray array_;
    const int64_t count_;
};

TEST(Contributions, EqualTheReferenceForAllModesAndRatios) {
    const std::pair<int64_t, int64_t> sizes[] = {{1, 1},    {1, 9},      {9, 1},      {4, 1},   {2, 7},
                                                 {7, 2},    {40, 10},    {10, 40},    {17, 17}, {100, 99},
                                                 {99, 100}, {150, 100},  {100, 150},  {301, 7}, {7, 301},
                                                 {64, 48},  {333, 1000}, {1000, 333}, {250, 1}, {1, 250}};
    for (int mode = 1; mode <= 7; ++mode) {
        for (const auto& [in, out] : sizes) {
            const double scale = static_cast<double>(out) / static_cast<double>(in);
            for (const bool vertical : {false, true}) {
                const Table table(mode, in, scale, out, vertical);
                const auto expected = trvtest::reference::Table(mode, in, scale, out, !vertical);
                for (int64_t i = 0; i < out; ++i) {
                    const auto& list = expected[static_cast<size_t>(i)];
                    ASSERT_EQ(table.Taps(i), list.taps) << mode << " " << in << ">" << out << " list " << i;
                    ASSERT_EQ(table.Sum(i), list.sum) << mode << " " << in << ">" << out << " list " << i;
                }
            }
        }
    }
}

TEST(Contributions, InputBeyondTheRatioMovesTheCutOnly) {
    // A temp with more rows than the source: the lists reach into them.
    for (int mode = 1; mode <= 7; ++mode) {
        const Table table(mode, 30, 0.5, 10, true);
        const auto expected = trvtest::reference::Table(mode, 30, 0.5, 10, false);
        for (int64_t i = 0; i < 10; ++i)
            ASSERT_EQ(table.Taps(i), expected[static_cast<size_t>(i)].taps) << mode;
    }
    // And one with fewer: lists beyond it are empty.
    const Table table(ScaleTriangle, 4, 1.0, 10, true);
    EXPECT_EQ(table.Taps(3).size(), 1u);
    EXPECT_EQ(table.Taps(9).size(), 0u);
    EXPECT_EQ(table.Sum(9), 0.0F);
}

TEST(Contributions, TriangleAtOneIsTheIdentity) {
    const Table table(ScaleTriangle, 50, 1.0, 50);
    for (int64_t i = 0; i < 50; ++i) {
        EXPECT_EQ(table.Taps(i), (std::vector<Tap>{{1.0F, i}}));
        EXPECT_EQ(table.Sum(i), 1.0F);
    }
}

TEST(Contributions, BoxAtOneAndTwo) {
    const Table same(ScaleBox, 8, 1.0, 8);
    for (int64_t i = 0; i < 8; ++i)
        EXPECT_EQ(same.Taps(i), (std::vector<Tap>{{1.0F, i}}));
    const Table twice(ScaleBox, 8, 2.0, 16);
    for (int64_t i = 0; i < 16; ++i)
        EXPECT_EQ(twice.Taps(i), (std::vector<Tap>{{1.0F, i / 2}}));
}

TEST(Contributions, BoxTakesTwoEqualTapsAtADistanceOfAHalf) {
    // Seven columns into three times as many: the centre of list 1 is 0.5, as far from column 0 as can be
    // without leaving it; at a ratio of 2/2 and a shifted input both neighbours are exactly a half away.
    const Table table(ScaleBox, 3, 2.0 / 3.0, 2);
    EXPECT_EQ(table.Taps(0), (std::vector<Tap>{{1.0F, 0}, {1.0F, 1}}));
    const Table odd(ScaleBox, 2, 1.5, 3);  // the centre of list 1 is 1.0, a half from columns 0 and 1
    EXPECT_EQ(odd.Taps(1), (std::vector<Tap>{{1.0F, 0}, {1.0F, 1}}));
    EXPECT_EQ(odd.Sum(1), 2.0F);
}

TEST(Contributions, Poly3StopsAtTwoAndCubicAtThree) {
    const Table poly(ScalePoly3, 64, 2.5, 160);
    const Table cubic(ScaleCubic, 64, 2.5, 160);
    double farthest = 0.0;
    for (int64_t i = 0; i < 160; ++i) {
        const double centre = (static_cast<double>(i) + 0.5) / 2.5;
        for (const Tap& tap : poly.Taps(i))
            ASSERT_LT(std::abs(centre - static_cast<double>(tap.pixel) - 0.5), 2.0);
        for (const Tap& tap : cubic.Taps(i)) {
            farthest = std::max(farthest, std::abs(centre - static_cast<double>(tap.pixel) - 0.5));
        }
    }
    EXPECT_GT(farthest, 2.5);
    EXPECT_LE(farthest, 3.0);
}

TEST(Contributions, OneColumnFeedsEverything) {
    for (int mode = 1; mode <= 7; ++mode) {
        for (const int64_t out : {int64_t{1}, int64_t{5}, int64_t{33}}) {
            const Table table(mode, 1, static_cast<double>(out), out);
            for (int64_t i = 0; i < out; ++i) {
                ASSERT_EQ(table.Taps(i).size(), 1u) << mode << " " << i;
                ASSERT_EQ(table.Taps(i)[0].pixel, 0);
            }
        }
    }
}

TEST(Contributions, ListsAreShorterAtTheBorder) {
    const Table table(ScaleLanczos3, 100, 0.5, 50);
    EXPECT_LT(table.Taps(0).size(), table.Taps(25).size());
    EXPECT_NE(table.Sum(0), table.Sum(25));
    EXPECT_EQ(table.Taps(0).front().pixel, 0);
    EXPECT_EQ(table.Taps(49).back().pixel, 99);
}

TEST(Contributions, SizesThatCannotBeHadAreRefused) {
    ContributionArray array;
    EXPECT_FALSE(array.Allocate(0));
    EXPECT_FALSE(array.Allocate(-1));
    EXPECT_FALSE(array.Allocate(INT64_MAX));
    EXPECT_FALSE(array.Allocate(INT64_MAX / 24 + 1));
    EXPECT_EQ(array.Lists(), nullptr);
}

TEST(Contributions, AListWithoutMemoryStaysEmpty) {
    ContributionArray array;
    ASSERT_TRUE(array.Allocate(1));
    // One list of 3 * 2^31 taps to each side: more than any machine gives at once is not certain, so the taps
    // are only looked at where the block was refused.
    FindTableBuilder(ScaleLanczos8)(TableStage::Scale1, {nullptr, 4, 1e-15, 1, "G_to_G"}, array.Lists());
    EXPECT_EQ(array.Lists()[0].entries, nullptr);
    EXPECT_EQ(array.Lists()[0].count, 0);
    EXPECT_EQ(array.Lists()[0].weightSum, 0.0F);
}

TEST(Contributions, StagesNameThemselves) {
    test::LogCapture log;
    const Table shrunk(ScaleLanczos3, 8, 0.5, 4, true);
    const Table enlarged(ScaleBox, 8, 2.0, 16, true);
    const Table horizontal(ScaleCubic, 8, 0.5, 4);
    EXPECT_EQ(log.Lines(),
              (std::vector<std::string>{"RGB_to_RGB_Scale4", "wdth*1000 6000", "RGB_to_RGB_Scale5",
                                        "wdth*1000 500", "RGB_to_RGB_Scale1"}));
}

}  // namespace
}  // namespace trv
