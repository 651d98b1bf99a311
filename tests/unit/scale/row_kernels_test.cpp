// The row kernels of each instruction set that this machine has, one by one, against plain loops.

#include "scale/row_kernels.h"

#include <cmath>
#include <cstring>
#include <gtest/gtest.h>
#include <memory>
#include <random>
#include <vector>

#include "frame/instruction_set.h"

namespace trv {
namespace {

/// Parameterised by the name of an instruction set.
class RowKernelsTest : public ::testing::TestWithParam<const char*> {
  protected:
    void SetUp() override {
        if (!ForceInstructionSet(GetParam())) GTEST_SKIP() << "this machine does not have " << GetParam();
        kernels_ = ActiveRowKernels();
        ASSERT_STREQ(kernels_->name, GetParam());
    }
    void TearDown() override { ForceInstructionSet({}); }

    std::vector<uint8_t> Noise(size_t count) {
        std::vector<uint8_t> bytes(count);
        for (uint8_t& byte : bytes)
            byte = static_cast<uint8_t>(random_());
        return bytes;
    }

    const RowKernels* kernels_ = nullptr;
    std::mt19937 random_{7};
};

INSTANTIATE_TEST_SUITE_P(InstructionSets, RowKernelsTest, ::testing::Values("baseline", "avx2", "avx512"),
                         [](const auto& test) { return std::string(test.param); });

template <class T>
void CheckUnpack(const RowKernels&, const SampleKernels<T>& kernels, const std::vector<uint8_t>& bytes) {
    for (int64_t count = 0; count <= 9; ++count) {
        for (const int64_t step : {16, 48, 80}) {
            const int64_t windowStep = 32;
            std::vector<T> window(static_cast<size_t>(10 * windowStep), T{-7});
            kernels.unpackBytes(bytes.data() + 1, step, count, window.data(), windowStep);
            for (int64_t i = 0; i < 10; ++i) {
                for (int64_t k = 0; k < windowStep; ++k) {
                    const bool written = i < count && k < 16;
                    const T expected =
                        written ? static_cast<T>(bytes[static_cast<size_t>(1 + i * step + k)]) : T{-7};
                    ASSERT_EQ(window[static_cast<size_t>(i * windowStep + k)], expected) << i << " " << k;
                }
            }
        }
    }
}

TEST_P(RowKernelsTest, UnpackBytes) {
    const auto bytes = Noise(1000);
    CheckUnpack(*kernels_, kernels_->single, bytes);
    CheckUnpack(*kernels_, kernels_->wide, bytes);
}

TEST_P(RowKernelsTest, UnpackWords) {
    const auto bytes = Noise(2000);
    for (int64_t count = 0; count <= 9; ++count) {
        std::vector<double> window(static_cast<size_t>(10 * 16), -7.0);
        kernels_->unpackWords(bytes.data() + 1, 40, count, window.data(), 16);
        std::vector<double> split(static_cast<size_t>(10 * 16), -7.0);
        kernels_->unpackSplitWords(bytes.data() + 1, 40, count, split.data(), 16);
        for (int64_t i = 0; i < 10; ++i) {
            for (int64_t k = 0; k < 16; ++k) {
                const uint8_t* group = bytes.data() + 1 + i * 40;
                const int together = group[2 * k] | group[2 * k + 1] << 8;
                const int apart = group[k] | group[16 + k] << 8;
                ASSERT_EQ(window[static_cast<size_t>(i * 16 + k)], i < count ? together : -7.0);
                ASSERT_EQ(split[static_cast<size_t>(i * 16 + k)], i < count ? apart : -7.0);
            }
        }
    }
}

template <class T>
void CheckLuma(const SampleKernels<T>& kernels, const std::vector<uint8_t>& bytes) {
    std::vector<T> window(5 * 16);
    kernels.unpackLuma(bytes.data(), bytes.data() + 300, bytes.data() + 600, 20, 5, window.data(), 16);
    for (size_t i = 0; i < 5; ++i) {
        for (size_t k = 0; k < 16; ++k) {
            const size_t at = i * 20 + k;
            const double luma = bytes[at] * 0.3 + bytes[300 + at] * 0.59 + bytes[600 + at] * 0.11;
            // Four roundings of numbers up to 255, and those of the constants.
            const double bound = 255.0 * 4 * static_cast<double>(std::numeric_limits<T>::epsilon()) / 2;
            ASSERT_NEAR(static_cast<double>(window[i * 16 + k]), luma, bound);
        }
    }
}

TEST_P(RowKernelsTest, LumaIsCloseEnoughForItsMargin) {
    for (int round = 0; round < 50; ++round) {
        const auto bytes = Noise(1000);
        CheckLuma(kernels_->single, bytes);
        CheckLuma(kernels_->wide, bytes);
    }
}

TEST_P(RowKernelsTest, Transpose) {
    const auto bytes = Noise(16 * 100);
    for (int64_t blocks = 0; blocks <= 3; ++blocks) {
        std::vector<uint8_t> out(16 * 64, 9);
        const uint8_t* from[16];
        uint8_t* to[16];
        for (int k = 0; k < 16; ++k) {
            from[k] = bytes.data() + 100 * k + k % 3;
            to[k] = out.data() + 16 * k;
        }
        kernels_->transpose(from, 16, to, 256, blocks);
        for (int64_t position = 0; position < 64; ++position) {
            for (int64_t k = 0; k < 16; ++k) {
                const uint8_t expected = position < 16 * blocks ? from[k][position] : 9;
                ASSERT_EQ(out[static_cast<size_t>(position * 16 + k)], expected) << position << " " << k;
            }
        }
    }
}

// Weights in 128ths
// ---------------------------------------------------------------------------------------------------------------------

/// Weights that sum to 128, some of them 0.
std::vector<uint8_t> Weights128(size_t taps, std::mt19937& random) {
    std::vector<uint8_t> weights(taps);
    for (int left = 128; left > 0;) {
        const int share =
            random() % 4 == 0 ? left : 1 + static_cast<int>(random() % static_cast<unsigned>(left));
        uint8_t& weight = weights[random() % taps];
        weight = static_cast<uint8_t>(weight + share);
        left -= share;
    }
    return weights;
}

TEST_P(RowKernelsTest, BlendRows) {
    if (kernels_->fixed.blendRows == nullptr) GTEST_SKIP() << "no product of bytes here";
    for (int round = 0; round < 400; ++round) {
        const size_t taps = 1 + random_() % 32;
        const size_t bytes = random_() % 300;
        const std::vector<uint8_t> weights = Weights128(taps, random_);
        std::vector<std::vector<uint8_t>> rows;
        std::vector<const uint8_t*> addresses;
        for (size_t k = 0; k < taps; ++k)
            rows.push_back(round % 5 == 0 ? std::vector<uint8_t>(bytes, round % 2 == 0 ? 255 : 0)
                                          : Noise(bytes));
        for (const auto& row : rows)
            addresses.push_back(row.data());
        std::vector<uint8_t> out(bytes + 1, 77);
        kernels_->fixed.blendRows(addresses.data(), weights.data(), static_cast<int64_t>(taps),
                                  static_cast<int64_t>(bytes), out.data());
        for (size_t i = 0; i < bytes; ++i) {
            int sum = 64;
            for (size_t k = 0; k < taps; ++k)
                sum += weights[k] * rows[k][i];
            ASSERT_EQ(out[i], sum / 128) << taps << " taps, byte " << i << " of " << bytes;
        }
        EXPECT_EQ(out[bytes], 77);
    }
}

TEST_P(RowKernelsTest, AccumulateBytesIn128ths) {
    if (kernels_->fixed.samples.accumulateBytes == nullptr) GTEST_SKIP() << "no product of bytes here";
    for (int round = 0; round < 300; ++round) {
        const int64_t lanes = kGroupLanes * (1 + random_() % 8);
        const int64_t positions = 1 + random_() % 40;
        const std::vector<uint8_t> samples = Noise(static_cast<size_t>(lanes * positions));
        std::vector<std::vector<uint8_t>> weights;
        std::vector<TapList<uint8_t>> lists;
        for (int64_t first = 0; first < positions; first += 1 + random_() % 3) {
            const int64_t count = 1 + random_() % static_cast<unsigned>(positions - first);
            weights.push_back(Weights128(static_cast<size_t>(count), random_));
            lists.push_back({first, count, nullptr, 0, 0});
        }
        for (size_t i = 0; i < lists.size(); ++i)
            lists[i].weights = weights[i].data();
        std::vector<std::vector<uint8_t>> results(lists.size(),
                                                  std::vector<uint8_t>(static_cast<size_t>(lanes)));
        std::vector<uint8_t*> out;
        for (auto& result : results)
            out.push_back(result.data());
        std::vector<int16_t> open(lists.size() * static_cast<size_t>(lanes));
        const int64_t inWindow = 1 + random_() % static_cast<unsigned>(positions);
        std::vector<uint8_t> window(static_cast<size_t>(lanes * inWindow));
        AccumulateJob<uint8_t> job{};
        job.window = window.data();
        job.lanes = lanes;
        job.lists = lists.data();
        job.listCount = static_cast<int64_t>(lists.size());
        job.open = open.data();
        job.out = out.data();
        for (int64_t first = 0; first < positions; first += inWindow) {
            job.firstPosition = first;
            job.endPosition = std::min(first + inWindow, positions);
            for (int64_t lane = 0; lane < lanes; lane += kGroupLanes) {
                kernels_->fixed.samples.unpackBytes(samples.data() + first * lanes + lane, lanes,
                                                    job.endPosition - first, window.data() + lane, lanes);
            }
            kernels_->fixed.samples.accumulateBytes(job);
        }
        EXPECT_EQ(job.doubtCount, 0);
        for (size_t i = 0; i < lists.size(); ++i) {
            for (int64_t lane = 0; lane < lanes; ++lane) {
                int sum = 64;
                for (int64_t k = 0; k < lists[i].count; ++k)
                    sum += lists[i].weights[k] *
                           samples[static_cast<size_t>((lists[i].first + k) * lanes + lane)];
                ASSERT_EQ(results[i][static_cast<size_t>(lane)], sum / 128)
                    << "list " << i << " lane " << lane;
            }
        }
    }
}

// Accumulation
// ---------------------------------------------------------------------------------------------------------------------

template <class T>
struct Accumulation {
    std::vector<T> window;
    std::vector<std::vector<T>> weights;
    std::vector<TapList<T>> lists;
    int64_t lanes;
    int64_t positions;

    /// The exact sum of a list in a lane, the bias included.
    [[nodiscard]] double Sum(size_t list, int64_t lane) const {
        const TapList<T>& taps = lists[list];
        double sum = static_cast<double>(taps.bias);
        for (int64_t k = 0; k < taps.count; ++k) {
            sum += static_cast<double>(taps.weights[k]) *
                   static_cast<double>(window[static_cast<size_t>((taps.first + k) * lanes + lane)]);
        }
        return sum;
    }
};

template <class T>
Accumulation<T> MakeAccumulation(std::mt19937& random, int64_t lanes, int64_t positions, int most) {
    Accumulation<T> made;
    made.lanes = lanes;
    made.positions = positions;
    made.window.resize(static_cast<size_t>(positions * lanes));
    for (T& sample : made.window)
        sample = static_cast<T>(random() % static_cast<unsigned>(most + 1));
    const size_t count = 1 + random() % 12;
    made.weights.resize(count);
    int64_t first = 0;
    int64_t end = 1;
    for (size_t i = 0; i < count; ++i) {
        first = std::min(positions - 1, first + static_cast<int64_t>(random() % 20));
        end = std::min(positions, std::max(end, first + 1 + static_cast<int64_t>(random() % 150)));
        std::uniform_real_distribution<double> share(-0.4, 1.0);
        for (int64_t k = first; k < end; ++k) {
            made.weights[i].push_back(static_cast<T>(share(random) / static_cast<double>(end - first)));
        }
        const T margin = random() % 4 == 0 ? T{-1} : random() % 5 == 0 ? T{1} : static_cast<T>(0.01);
        made.lists.push_back({first, end - first, made.weights[i].data(), static_cast<T>(0.5), margin});
    }
    return made;
}

/// Runs the lists over windows of `step` positions and compares results and doubts.
template <class T, bool kWide>
void CheckAccumulation(void (*accumulate)(AccumulateJob<T>&), const Accumulation<T>& made, int64_t step,
                       int most) {
    const size_t count = made.lists.size();
    const size_t rowBytes = static_cast<size_t>(made.lanes) * (kWide ? 2 : 1);
    constexpr size_t kGuard = 8;
    std::vector<std::vector<uint8_t>> out(count, std::vector<uint8_t>(rowBytes + 2 * kGuard, 0xA5));
    std::vector<uint8_t*> pointers;
    for (auto& row : out)
        pointers.push_back(row.data() + kGuard);
    std::vector<T> open(count * static_cast<size_t>(made.lanes));
    std::vector<Doubt> doubts(count * static_cast<size_t>(made.lanes / kGroupLanes) + 1);
    AccumulateJob<T> job{nullptr,
                         0,
                         0,
                         made.lanes,
                         made.lists.data(),
                         static_cast<int64_t>(count),
                         open.data(),
                         pointers.data(),
                         doubts.data(),
                         0};
    for (int64_t first = 0; first < made.positions; first += step) {
        // A copy of the window's size, so that a sanitizer sees reads outside.
        const int64_t end = std::min(first + step, made.positions);
        const std::vector<T> part(made.window.begin() + first * made.lanes,
                                  made.window.begin() + end * made.lanes);
        job.window = part.data();
        job.firstPosition = first;
        job.endPosition = end;
        accumulate(job);
    }
    std::vector<uint8_t> doubted(count * static_cast<size_t>(made.lanes));
    for (int64_t d = 0; d < job.doubtCount; ++d) {
        for (int k = 0; k < kGroupLanes; ++k) {
            const auto lane = static_cast<size_t>(doubts[static_cast<size_t>(d)].group * kGroupLanes + k);
            const auto list = static_cast<size_t>(doubts[static_cast<size_t>(d)].list);
            if ((doubts[static_cast<size_t>(d)].mask >> k & 1) != 0)
                doubted[list * static_cast<size_t>(made.lanes) + lane] = 1;
        }
    }
    for (size_t i = 0; i < count; ++i) {
        for (size_t k = 0; k < kGuard; ++k) {
            ASSERT_EQ(out[i][k], 0xA5);
            ASSERT_EQ(out[i][kGuard + rowBytes + k], 0xA5);
        }
        for (int64_t lane = 0; lane < made.lanes; ++lane) {
            const double sum = made.Sum(i, lane);
            const double distance = std::abs(sum - std::nearbyint(sum));
            const double slack = 3e-3 * most / 255 * (sizeof(T) == 4 ? 1.0 : 1e-6);
            const double margin = static_cast<double>(made.lists[i].margin);
            const bool isDoubted =
                doubted[i * static_cast<size_t>(made.lanes) + static_cast<size_t>(lane)] != 0;
            if (distance < margin - slack) {
                ASSERT_TRUE(isDoubted) << sum;
            }
            if (distance > margin + slack) {
                ASSERT_FALSE(isDoubted) << sum;
            }
            if (distance < slack) continue;
            const int expected =
                static_cast<int>(std::clamp(std::trunc(sum), 0.0, static_cast<double>(most)));
            int result = pointers[i][kWide ? 2 * lane : lane];
            if (kWide) result |= pointers[i][2 * lane + 1] << 8;
            ASSERT_EQ(result, expected) << "list " << i << " lane " << lane << " sum " << sum;
        }
    }
}

TEST_P(RowKernelsTest, AccumulateOverAllLaneCountsAndWindows) {
    for (int64_t lanes = kGroupLanes; lanes <= kMostLanes; lanes += kGroupLanes) {
        for (const int64_t step : {1, 7, 64, 65, 400}) {
            for (int round = 0; round < 3; ++round) {
                const auto single = MakeAccumulation<float>(random_, lanes, 1 + random_() % 260, 255);
                CheckAccumulation<float, false>(kernels_->single.accumulateBytes, single, step, 255);
                const auto wide = MakeAccumulation<double>(random_, lanes, 1 + random_() % 260, 255);
                CheckAccumulation<double, false>(kernels_->wide.accumulateBytes, wide, step, 255);
                const auto words = MakeAccumulation<double>(random_, lanes, 1 + random_() % 260, 65535);
                CheckAccumulation<double, true>(kernels_->accumulateWords, words, step, 65535);
                if (HasFatalFailure()) return;
            }
        }
    }
}

TEST_P(RowKernelsTest, ResultsAreClampedAtBothEnds) {
    // Sums of -1000, -0.4, 0.9, 1, 255.9, 256, 70000, in lanes of their own.
    const double sums[] = {-1000.0, -0.4, 0.9, 1.0, 255.9, 256.0, 70000.0};
    const int bytes[] = {0, 0, 0, 1, 255, 255, 255};
    const int words[] = {0, 0, 0, 1, 255, 256, 65535};
    std::vector<double> window(16, 0.0);
    for (size_t i = 0; i < 7; ++i)
        window[i] = sums[i];
    const std::vector<float> singles(window.begin(), window.end());
    const double weight = 1.0;
    const float single = 1.0F;
    uint8_t out[32];
    uint8_t* pointer = out;
    Doubt doubts[2];
    const TapList<double> list{0, 1, &weight, 0.0, -1.0};
    AccumulateJob<double> job{window.data(), 0, 1, 16, &list, 1, nullptr, &pointer, doubts, 0};
    kernels_->wide.accumulateBytes(job);
    for (size_t i = 0; i < 7; ++i)
        EXPECT_EQ(out[i], bytes[i]) << sums[i];
    kernels_->accumulateWords(job);
    for (size_t i = 0; i < 7; ++i)
        EXPECT_EQ(out[2 * i] | out[2 * i + 1] << 8, words[i]) << sums[i];
    const TapList<float> singleList{0, 1, &single, 0.0F, -1.0F};
    AccumulateJob<float> singleJob{singles.data(), 0, 1, 16, &singleList, 1, nullptr, &pointer, doubts, 0};
    kernels_->single.accumulateBytes(singleJob);
    for (size_t i = 0; i < 7; ++i)
        EXPECT_EQ(out[i], bytes[i]) << sums[i];
}

// Choice
// ---------------------------------------------------------------------------------------------------------------------

TEST(RowKernels, AreThoseOfTheInstructionSetInUse) {
    ASSERT_TRUE(ForceInstructionSet("plain"));
    EXPECT_EQ(ActiveRowKernels(), nullptr);
    ASSERT_TRUE(ForceInstructionSet("baseline"));
    EXPECT_EQ(ActiveRowKernels(), &kRowKernelsBaseline);
    ASSERT_TRUE(ForceInstructionSet({}));
    EXPECT_NE(ActiveRowKernels(), nullptr);
}

TEST(RowKernels, EachHasFunctionsOfItsOwn) {
    const RowKernels* all[] = {&kRowKernelsBaseline, &kRowKernelsAvx2, &kRowKernelsAvx512};
    for (const RowKernels* a : all) {
        for (const RowKernels* b : all) {
            if (a == b) continue;
            EXPECT_NE(a->single.accumulateBytes, b->single.accumulateBytes);
            EXPECT_NE(a->wide.accumulateBytes, b->wide.accumulateBytes);
            EXPECT_NE(a->accumulateWords, b->accumulateWords);
            EXPECT_NE(a->single.unpackBytes, b->single.unpackBytes);
            EXPECT_NE(a->transpose, b->transpose);
        }
    }
}

}  // namespace
}  // namespace trv
