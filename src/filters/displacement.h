#pragma once

// How far the diffuse filter goes for a pixel.

#include <algorithm>
#include <cstdint>
#include <cstdlib>

namespace trv {

/// Which neighbour is taken on one axis.
class Displacement {
  public:
    explicit Displacement(int64_t level)
        : level_(std::clamp(level, -kFar, kFar)),
          divisor_(std::min<uint64_t>(static_cast<uint64_t>(std::abs(level_ * 2 + 1)), UINT32_MAX)),
          reciprocal_(UINT64_MAX / divisor_ + 1) {}

    /// The one that a value stands for, of positions 0 to `size` - 1, for position `at`. A remainder has the
    /// sign of the value drawn, and that is how the drift to the top left comes about.
    [[nodiscard]] int64_t Place(int32_t drawn, int64_t at, int64_t size) const {
        // All ones for a negative value: a branch by chance would be mistaken half of the time.
        const int32_t sign = drawn >> 31;
        const int64_t rest =
            (Remainder(static_cast<uint32_t>(drawn ^ sign) - static_cast<uint32_t>(sign)) ^ sign) - sign;
        return std::clamp<int64_t>(at + rest - level_, 0, size - 1);
    }

  private:
    /// Levels beyond it end at the picture's edge like this one: a draw has 32 bits, a side has fewer.
    static constexpr int64_t kFar = int64_t{1} << 40;

    /// By a multiplication (D. Lemire and others, Faster Remainder by Direct Computation, 2019), exact for
    /// all values and divisors of 32 bits.
    [[nodiscard]] int64_t Remainder(uint32_t value) const {
        const uint64_t fraction = reciprocal_ * value;
        return static_cast<int64_t>(static_cast<unsigned __int128>(fraction) * divisor_ >> 64);
    }

    int64_t level_;
    uint64_t divisor_;  // beyond 32 bits, no value reaches it
    uint64_t reciprocal_;
};

}  // namespace trv
