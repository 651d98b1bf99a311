#pragma once

// Arithmetic on sizes and coordinates that a caller chose: what would leave 64 bits stays at the nearest end
// instead of wrapping around into something that looks small.

#include <cstdint>
#include <limits>

namespace trv {

[[nodiscard]] constexpr int64_t SaturatedAdd(int64_t a, int64_t b) {
    int64_t result = 0;
    if (!__builtin_add_overflow(a, b, &result)) return result;
    return b < 0 ? std::numeric_limits<int64_t>::min() : std::numeric_limits<int64_t>::max();
}

[[nodiscard]] constexpr int64_t SaturatedSubtract(int64_t a, int64_t b) {
    int64_t result = 0;
    if (!__builtin_sub_overflow(a, b, &result)) return result;
    return b > 0 ? std::numeric_limits<int64_t>::min() : std::numeric_limits<int64_t>::max();
}

[[nodiscard]] constexpr int64_t SaturatedMultiply(int64_t a, int64_t b) {
    int64_t result = 0;
    if (!__builtin_mul_overflow(a, b, &result)) return result;
    return (a < 0) != (b < 0) ? std::numeric_limits<int64_t>::min() : std::numeric_limits<int64_t>::max();
}

/// `value`, at least 0, raised to the next multiple of `unit`; the highest multiple if the next one is out of
/// range.
[[nodiscard]] constexpr int64_t RaisedToMultiple(int64_t value, int64_t unit) {
    return SaturatedAdd(value, unit - 1) / unit * unit;
}

/// `value` without its fraction, at the nearest end of the type where it does not fit; 0 for what is no
/// number.
template <class Integer>
[[nodiscard]] constexpr Integer SaturatedTruncate(double value) {
    // The lowest number is a power of two and exact as a double; the highest need not be.
    constexpr double kLowest = static_cast<double>(std::numeric_limits<Integer>::min());
    if (value >= -kLowest) return std::numeric_limits<Integer>::max();
    if (value < kLowest) return std::numeric_limits<Integer>::min();
    return value == value ? static_cast<Integer>(value) : 0;
}

}  // namespace trv
