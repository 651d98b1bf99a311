// Runs of pixels turned around, in every instruction set, against loops over single bytes.

#include "geometry/pixel_runs.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <random>
#include <vector>

#include "frame/instruction_set.h"

namespace trv {
namespace {

constexpr int64_t kGuard = 80;

using Bytes = std::vector<uint8_t>;

/// Which bytes of its pixels a form moves.
template <class Pixel>
bool Moves(const Pixel& /*pixel*/, int64_t /*byte*/) {
    return true;
}
bool Moves(const MaskedPixel& pixel, int64_t byte) {
    return (pixel.keep >> (8 * byte) & 255) == 0;
}
bool Moves(const LoosePixel& pixel, int64_t byte) {
    return std::any_of(pixel.bytes.begin(), pixel.bytes.begin() + pixel.count,
                       [&](const LoosePixel::Byte& b) { return b.to == byte; });
}

/// Pixel `x` of `from` onto pixel `y` of `to`.
template <class Pixel>
void MovePixel(const Pixel& pixel, const uint8_t* from, int64_t x, uint8_t* to, int64_t y) {
    const int64_t size = pixel.ToSize();
    for (int64_t byte = 0; byte < size; ++byte) {
        if (Moves(pixel, byte)) to[y * size + byte] = from[x * size + byte];
    }
}

class PixelRunsTest : public testing::TestWithParam<const char*> {
  protected:
    void SetUp() override {
        if (!ForceInstructionSet(GetParam())) GTEST_SKIP() << "this machine has no " << GetParam();
        EXPECT_EQ(RunsAreVectors(), std::string_view(GetParam()) != "plain");
    }
    void TearDown() override { ForceInstructionSet(""); }

    Bytes Noise(int64_t count) {
        Bytes bytes(static_cast<size_t>(count));
        for (uint8_t& byte : bytes)
            byte = static_cast<uint8_t>(random_());
        return bytes;
    }

    /// Runs from nothing past several vectors.
    template <class Pixel>
    void CheckRuns(const Pixel& pixel) {
        for (int64_t count = 0; count <= 150; ++count) {
            const int64_t bytes = count * pixel.ToSize();
            const Bytes a = Noise(bytes + kGuard), b = Noise(bytes + kGuard);
            Bytes copied = b, forward = b, swappedA = a, swappedB = b, crossedA = a, crossedB = b;
            Bytes copiedExpected = b, forwardExpected = b, crossedAExpected = a;
            for (int64_t i = 0; i < count; ++i) {
                MovePixel(pixel, a.data(), count - 1 - i, copiedExpected.data(), i);
                MovePixel(pixel, a.data(), i, forwardExpected.data(), i);
                MovePixel(pixel, b.data(), count - 1 - i, crossedAExpected.data(), i);
            }
            Bytes swappedAExpected = a;
            for (int64_t i = 0; i < count; ++i)
                MovePixel(pixel, b.data(), i, swappedAExpected.data(), i);
            CopyReversed(pixel, a.data(), copied.data(), count);
            CopyForward(pixel, a.data(), forward.data(), count);
            SwapForward(pixel, swappedA.data(), swappedB.data(), count);
            SwapReversed(pixel, crossedA.data(), crossedB.data(), count);
            ASSERT_EQ(copied, copiedExpected) << count;
            ASSERT_EQ(forward, forwardExpected) << count;
            ASSERT_EQ(swappedA, swappedAExpected) << count;
            ASSERT_EQ(swappedB, forwardExpected) << count;
            ASSERT_EQ(crossedA, crossedAExpected) << count;
            ASSERT_EQ(crossedB, copiedExpected) << count;
        }
    }

    /// Turns blocks of as many rows as fill a line, and of fewer, into rows that lie apart.
    template <class Pixel>
    void CheckTurns(const Pixel& pixel, bool stream) {
        const int64_t size = pixel.ToSize();
        const int64_t most = kLineBytes / size;
        for (const int64_t rows : {int64_t{1}, most - 1, most}) {
            for (int64_t columns = 0; columns <= 70; ++columns) {
                const int64_t toOffset = stream ? kLineBytes : 7;
                const int64_t toStep = kLineBytes * 3;
                const int64_t fromStep = columns * size;  // the rows end where the next ones begin
                const Bytes from = Noise(rows * fromStep);
                Bytes target = Noise((columns + 1) * toStep + kLineBytes);
                uint8_t* const aligned = target.data() + (-reinterpret_cast<uintptr_t>(target.data()) & 63);
                Bytes expected = target;
                uint8_t* const expectedAligned = expected.data() + (aligned - target.data());
                std::vector<const uint8_t*> fromRows;
                std::vector<uint8_t*> toRows;
                for (int64_t k = 0; k < rows; ++k)
                    fromRows.push_back(from.data() + k * fromStep);
                for (int64_t x = 0; x < columns; ++x) {
                    toRows.push_back(aligned + x * toStep);
                    for (int64_t k = 0; k < rows; ++k)
                        MovePixel(pixel, fromRows[static_cast<size_t>(k)], x,
                                  expectedAligned + x * toStep + toOffset, k);
                }
                TurnBlock(pixel, fromRows.data(), rows, columns, toRows.data(), toOffset, stream);
                if (stream) EndStreaming();
                ASSERT_EQ(target, expected) << rows << " rows, " << columns << " columns";
            }
        }
    }

    template <class Pixel>
    void Check(const Pixel& pixel) {
        ASSERT_NO_FATAL_FAILURE(CheckRuns(pixel));
        ASSERT_NO_FATAL_FAILURE(CheckTurns(pixel, false));
    }

    std::mt19937 random_{17};
};

INSTANTIATE_TEST_SUITE_P(, PixelRunsTest, testing::Values("plain", "baseline", "avx2", "avx512"),
                         [](const auto& test) { return std::string(test.param); });

TEST_P(PixelRunsTest, WholePixels) {
    Check(WholePixel<1>{});
    Check(WholePixel<2>{});
    Check(WholePixel<3>{});
    Check(WholePixel<4>{});
    Check(WholePixel<5>{});
}

TEST_P(PixelRunsTest, PixelsOfWhichBytesStay) {
    for (const uint32_t keep : {0xFFU, 0xFF00U, 0xFF0000U, 0xFF000000U, 0xFF00FFU, 0xFFFFFF00U})
        Check(MaskedPixel{keep});
}

TEST_P(PixelRunsTest, LoosePixels) {
    LoosePixel pixel;
    pixel.bytes = {{{0, 0}, {3, 3}, {1, 1}}};
    pixel.count = 3;
    pixel.fromSize = pixel.toSize = 5;
    Check(pixel);
}

TEST_P(PixelRunsTest, LinesThatGoPastTheCaches) {
    ASSERT_NO_FATAL_FAILURE(CheckTurns(WholePixel<1>{}, true));
    ASSERT_NO_FATAL_FAILURE(CheckTurns(WholePixel<2>{}, true));
    ASSERT_NO_FATAL_FAILURE(CheckTurns(WholePixel<4>{}, true));
}

TEST_P(PixelRunsTest, Bytes) {
    for (int64_t count = 0; count <= 100; ++count) {
        const auto a = Noise(count + kGuard), b = Noise(count + kGuard);
        auto left = a, right = b, leftExpected = a, rightExpected = b;
        std::swap_ranges(leftExpected.begin(), leftExpected.begin() + count, rightExpected.begin());
        SwapBytes(left.data(), right.data(), count);
        ASSERT_EQ(left, leftExpected);
        ASSERT_EQ(right, rightExpected);
    }
}

}  // namespace
}  // namespace trv
