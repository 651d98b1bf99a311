// The fast forms of the filters that look at neighbours, in every instruction set, against the plain ones,
// and the numbers that they rest on.

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <random>
#include <vector>

#include "filters/blur_kernels.h"
#include "filters/box_blur_task.h"
#include "filters/lanes.h"
#include "filters/matrix_kernels.h"
#include "filters/matrix_task.h"
#include "filters/unsharp_kernels.h"
#include "frame/instruction_set.h"
#include "image/pixel_loop.h"
#include "unit/scale/record_image.h"

namespace trv {
namespace {

using test::RecordImage;

// Divisions

TEST(BlurDivision, NarrowQuotientsAreExactForAllSums) {
    for (int64_t divisor = 3; divisor <= 257; divisor += 2) {
        const NarrowDivision division = NarrowDivision::By(divisor);
        for (int64_t sum = 0; sum <= 255 * divisor; ++sum) {
            const int64_t raised = std::min<int64_t>(sum + division.increment, 65535);
            ASSERT_EQ(raised * division.multiplier >> 16 >> division.shift, sum / divisor)
                << sum << " / " << divisor;
        }
    }
}

TEST(BlurDivision, WideQuotientsAreExactWhereThereIsADivision) {
    for (int64_t divisor = 3; divisor <= 40001; divisor = (divisor * 5 / 4 + 2) | 1) {
        const auto division = WideDivision::By(divisor);
        ASSERT_TRUE(division) << divisor;
        for (int64_t sum = 0; sum <= 255 * divisor; sum += 1 + divisor / 5000) {
            const auto quotient = static_cast<int64_t>(static_cast<float>(sum) * division->reciprocal);
            ASSERT_EQ(quotient, sum / divisor) << sum << " / " << divisor;
        }
    }
    for (int64_t divisor = 3; divisor <= 40000; divisor += 2)
        ASSERT_TRUE(WideDivision::By(divisor)) << divisor;
    EXPECT_FALSE(WideDivision::By(66001)) << "sums beyond what a float counts";
}

// Windows

TEST(FirstWindow, EveryPositionCountsAsOftenAsItIsRepeated) {
    for (int64_t count = 1; count <= 6; ++count) {
        for (int64_t radius = 0; radius <= 9; ++radius) {
            std::vector<int64_t> times(static_cast<size_t>(count));
            for (int64_t k = -radius; k <= radius; ++k)
                ++times[static_cast<size_t>(std::clamp<int64_t>(k, 0, count - 1))];
            for (int64_t at = 0; at < count; ++at)
                EXPECT_EQ(TimesInFirstWindow(at, count, radius), times[static_cast<size_t>(at)]);
        }
    }
}

// Lanes

TEST(Lanes, APixelThatIsAllChannelsIsUsedWhereItIs) {
    const PixelPlaces bgra{4, 4, {2, 1, 0, 3, 0}}, rgba{4, 4, {0, 1, 2, 3, 0}}, padded{4, 3, {1, 2, 3, 0, 0}};
    std::vector<uint8_t> row(40);
    LanePlan plan = ChooseLanes(rgba, bgra, 4);
    EXPECT_EQ(LaneWriter(bgra, plan, 10).Lanes(row.data()), row.data()) << "as the destination has them";
    EXPECT_NE(LaneReader(rgba, plan, 10, false).Read(row.data()), row.data());
    plan = ChooseLanes(padded, padded, 4);
    EXPECT_EQ(LaneReader(padded, plan, 10, false).Read(row.data()), row.data()) << "padding is a lane";
    EXPECT_NE(LaneReader(padded, plan, 10, true).Read(row.data()), row.data()) << "held";
    EXPECT_NE(LaneWriter(padded, plan, 10).Lanes(row.data()), row.data()) << "padding is not written";
    // A view from pixel 2 on.
    const PixelPlaces clipped{4, 4, {8, 9, 10, 11, 0}};
    plan = ChooseLanes(clipped, clipped, 4);
    EXPECT_EQ(LaneReader(clipped, plan, 5, false).Read(row.data()), row.data() + 8);
    // Channels of two pixels are no pixel.
    const PixelPlaces split{4, 4, {8, 9, 10, 3, 0}};
    plan = ChooseLanes(split, split, 4);
    EXPECT_NE(LaneReader(split, plan, 5, false).Read(row.data()), row.data());
}

TEST(Lanes, ChannelsThatMeetInOneByteAreNotApart) {
    EXPECT_TRUE((PixelPlaces{4, 4, {0, 1, 2, 3, 0}}).AreApart());
    EXPECT_FALSE((PixelPlaces{4, 3, {0, 1, 0, 0, 0}}).AreApart());
    EXPECT_FALSE((PixelPlaces{4, 2, {1, 9, 0, 0, 0}}).AreApart()) << "two pixels further on";
}

TEST(Lanes, ARowThatIsNotThereIsZeros) {
    const PixelPlaces rgb{3, 3, {0, 1, 2, 0, 0}};
    LaneReader reader(rgb, ChooseLanes(rgb, rgb, 4), 2, false);
    const std::vector<uint8_t> row(6, 9);
    EXPECT_EQ(reader.Read(row.data())[4], 9);
    EXPECT_EQ(std::vector<uint8_t>(reader.Read(nullptr), reader.Read(nullptr) + 8), std::vector<uint8_t>(8));
}

// The filters as a whole

class NeighbourhoodFilters : public testing::TestWithParam<const char*> {
  protected:
    void SetUp() override {
        if (!ForceInstructionSet(GetParam())) GTEST_SKIP() << "this machine has no " << GetParam();
    }
    void TearDown() override { ForceInstructionSet(""); }

    int64_t Draw(int64_t low, int64_t high) {
        return std::uniform_int_distribution<int64_t>(low, high)(random_);
    }

    /// Runs both forms over images of one size, and compares all bytes.
    template <class Fast, class Plain>
    void Compare(int64_t width, int64_t height, int64_t fromFormat, int64_t toFormat, const Fast& fast,
                 const Plain& plain) {
        const int64_t spare = Draw(0, 5);
        const auto seed = static_cast<unsigned>(random_());
        RecordImage source(width, height, fromFormat, seed);
        RecordImage to(width, height, toFormat, seed + 1, spare),
            expected(width, height, toFormat, seed + 1, spare);
        DispatchFamily(source.Record(), [&]<class F>(F) {
            const PixelPlaces from = PlacesOf<F>(source.Record()), into = PlacesOf<F>(to.Record());
            const bool done = fast(source.Record(), to.Record(), from, into);
            ASSERT_EQ(done, into.AreApart());
            if (!done) return;
            plain(source.Record(), expected.Record(), from, into);
            ASSERT_EQ(to.Bytes(), expected.Bytes());
            ASSERT_TRUE(to.GuardsIntact() && source.GuardsIntact());
        });
    }

    int64_t Format() {
        constexpr int64_t kFormats[] = {1, 2, 3, 4, 5, 7, 9, 11, 12, 13, 16, 20, 23, 24, 25, 26, 27, 42, 45};
        return kFormats[Draw(0, std::ssize(kFormats) - 1)];
    }

    std::mt19937 random_{9};
};

TEST_P(NeighbourhoodFilters, BoxBlurs) {
    for (int round = 0; round < 2000; ++round) {
        const int64_t radius = Draw(0, 3) > 0 ? Draw(0, 9) : Draw(100, 300);
        const bool vertical = Draw(0, 3) > 0, horizontal = !vertical || Draw(0, 3) > 0;
        const auto task = [&](PictureTRV& source, PictureTRV& dest, const PixelPlaces& from,
                              const PixelPlaces& to) {
            return BoxBlurTask{source,   dest,      from, to, radius, 2 * std::max<int64_t>(radius, 1) + 1,
                               vertical, horizontal};
        };
        const int64_t format = Format();
        ASSERT_NO_FATAL_FAILURE(Compare(
            round < 150 ? round + 1 : Draw(1, 80), Draw(1, 9), format, Draw(0, 1) == 0 ? format : Format(),
            [&](auto&... image) { return BoxBlurFast(task(image...)); },
            [&](auto&... image) { BoxBlurPlain(task(image...)); }));
    }
}

TEST_P(NeighbourhoodFilters, Matrices) {
    constexpr int32_t kMost[] = {1, 10, 127, 254};
    constexpr int32_t kLeast[] = {0, -1, -128, -129, -30000};
    for (int round = 0; round < 1500; ++round) {
        std::vector<MatrixTap> taps(static_cast<size_t>(Draw(0, 12)));
        const int64_t most = kMost[Draw(0, 3)], least = kLeast[Draw(0, 4)];
        int64_t below = Draw(-4, 0);
        for (MatrixTap& tap : taps) {
            below += Draw(0, 1);
            tap = {Draw(-6, 6), below, static_cast<int32_t>(Draw(least, most))};
        }
        const int64_t delta = Draw(0, 1) == 0 ? 0 : Draw(-40000, 40000);
        const double factor = Draw(0, 1) == 0 ? 1.0 : static_cast<double>(Draw(-900, 900)) / 977;
        if (factor != 1.0 && std::abs(delta) > 255) continue;
        const auto task = [&](PictureTRV& source, PictureTRV& dest, const PixelPlaces& from,
                              const PixelPlaces& to) {
            return MatrixTask{source, dest, from, to, taps, delta, factor};
        };
        const int64_t format = Format();
        ASSERT_NO_FATAL_FAILURE(Compare(
            round < 150 ? round + 1 : Draw(1, 80), Draw(1, 9), format, Draw(0, 1) == 0 ? format : Format(),
            [&](auto&... image) { return ApplyMatrixFast(task(image...)); },
            [&](auto&... image) { ApplyMatrixPlain(task(image...)); }));
    }
}

TEST_P(NeighbourhoodFilters, UnsharpFormulas) {
    const UnsharpKernel kernel = ActiveUnsharpKernel();
    ASSERT_NE(kernel, nullptr);
    for (int round = 0; round < 200; ++round) {
        const UnsharpFormula formula{static_cast<int16_t>(Draw(-126, 126)),
                                     static_cast<int16_t>(Draw(-32768, 32767)),
                                     static_cast<int16_t>(Draw(0, 256))};
        std::vector<uint8_t> samples(static_cast<size_t>(Draw(1, 300))), others(samples.size());
        for (auto* bytes : {&samples, &others})
            std::generate(bytes->begin(), bytes->end(), [&] { return static_cast<uint8_t>(random_()); });
        auto changed = samples;
        const int64_t done = kernel(changed.data(), others.data(), std::ssize(changed), formula);
        ASSERT_GT(done, std::ssize(changed) - 32);
        for (size_t i = 0; i < samples.size(); ++i) {
            const int d = samples[i] - others[i];
            const int widened = others[i] + d * formula.whole + (d * formula.part >> 16);
            const bool stays = std::abs(d) < formula.threshold || static_cast<int64_t>(i) >= done;
            ASSERT_EQ(changed[i], stays ? samples[i] : std::clamp(widened, 0, 255));
        }
    }
}

TEST_P(NeighbourhoodFilters, Taps) {
    const BlurKernels* kernels = ActiveBlurKernels();
    ASSERT_NE(kernels, nullptr);
    for (int round = 0; round < 400; ++round) {
        const double side = round == 0 ? 1.0 : static_cast<double>(Draw(0, 9999)) / 10000;
        const TapWeights weights{side, 1.0 / (side + side + 1.0)};
        std::vector<uint8_t> a(static_cast<size_t>(Draw(1, 200))), b(a.size()), c(a.size()), to(a.size());
        for (auto* bytes : {&a, &b, &c})
            std::generate(bytes->begin(), bytes->end(),
                          [&] { return static_cast<uint8_t>(round == 0 ? 255 : random_()); });
        kernels->tap(a.data(), b.data(), c.data(), to.data(), std::ssize(to), weights);
        for (size_t i = 0; i < to.size(); ++i) {
            const double sides = static_cast<double>(a[i] + b[i]) * weights.side;
            ASSERT_EQ(to[i], static_cast<int>((sides + c[i]) * weights.scale));
        }
    }
}

INSTANTIATE_TEST_SUITE_P(InstructionSets, NeighbourhoodFilters, testing::Values("baseline", "avx2", "avx512"),
                         [](const auto& set) { return std::string(set.param); });

TEST(NeighbourhoodFiltersPlain, ThePlainFormHasNoKernels) {
    ASSERT_TRUE(ForceInstructionSet("plain"));
    EXPECT_EQ(ActiveBlurKernels(), nullptr);
    EXPECT_EQ(ActiveMatrixKernels(), nullptr);
    EXPECT_EQ(ActiveUnsharpKernel(), nullptr);
    ForceInstructionSet("baseline");
    EXPECT_EQ(ActiveBlurKernels(), &kBlurKernelsBaseline);
    EXPECT_EQ(ActiveMatrixKernels(), &kMatrixKernelsBaseline);
    ForceInstructionSet("");
}

}  // namespace
}  // namespace trv
