// Moves between pixel layouts, in every form of the row kernels, against a loop over bytes.

#include "scale/pixel_move.h"

#include <gtest/gtest.h>
#include <random>
#include <vector>

#include "scale/instruction_set.h"

namespace trv {
namespace {

class PixelMoveTest : public ::testing::TestWithParam<const char*> {
  protected:
    void SetUp() override {
        if (!ForceRowKernels(GetParam())) GTEST_SKIP() << "this machine does not have " << GetParam();
    }
    void TearDown() override { ForceRowKernels({}); }

    std::mt19937 random_{3};
};

INSTANTIATE_TEST_SUITE_P(InstructionSets, PixelMoveTest, ::testing::Values("baseline", "avx2", "avx512"),
                         [](const auto& test) { return std::string(test.param); });

TEST_P(PixelMoveTest, MovesWhatItWasToldAndNothingElse) {
    int whole = 0;
    int copies = 0;
    for (int round = 0; round < 3000; ++round) {
        const int64_t fromSize = 1 + random_() % 8;
        const int64_t toSize = 1 + random_() % 8;
        const size_t count = 1 + random_() % 5;
        // Mostly within a pixel; sometimes far away, as with a channel that a view left behind.
        const int64_t spread = random_() % 8 == 0 ? 40 : toSize;
        std::vector<std::pair<int64_t, int64_t>> bytes;
        PixelMove move(fromSize, toSize);
        for (size_t i = 0; i < count; ++i) {
            const bool ordered = round % 2 == 0 && static_cast<int64_t>(count) <= std::min(fromSize, toSize);
            const int64_t from = ordered ? static_cast<int64_t>(i) : random_() % fromSize;
            const int64_t to = ordered ? static_cast<int64_t>(i) : random_() % spread;
            bytes.emplace_back(from, to);
            move.Add(from, to, 1);
        }
        move.Finish();
        whole += static_cast<int64_t>(count) == toSize;
        copies += move.IsCopy();

        // Buffers of exactly the bytes that may be touched, so that a sanitizer sees anything else.
        const int64_t pixels = 1 + random_() % 60;
        std::vector<uint8_t> from(static_cast<size_t>(pixels * fromSize));
        std::vector<uint8_t> to(static_cast<size_t>((pixels - 1) * toSize + move.Extent()));
        for (uint8_t& byte : from)
            byte = static_cast<uint8_t>(random_());
        for (uint8_t& byte : to)
            byte = static_cast<uint8_t>(random_());
        auto expected = to;
        for (int64_t pixel = 0; pixel < pixels; ++pixel) {
            for (const auto& [source, target] : bytes) {
                expected[static_cast<size_t>(pixel * toSize + target)] =
                    from[static_cast<size_t>(pixel * fromSize + source)];
            }
        }
        move.Run(*ActiveRowKernels(), from.data(), static_cast<int64_t>(from.size()), to.data(),
                 static_cast<int64_t>(to.size()), pixels);
        ASSERT_EQ(to, expected) << fromSize << ">" << toSize << ", " << count << " bytes, " << pixels
                                << " pixels";
    }
    EXPECT_GT(whole, 100);
    EXPECT_GT(copies, 20);
}

}  // namespace
}  // namespace trv
