#pragma once

// The thresholds of the dither filter: ten squares that repeat across a picture.

#include <cstdint>

namespace trv {

struct DitherMatrix {
    int64_t side;               // places in a row and in a column
    const uint8_t* thresholds;  // row by row

    [[nodiscard]] int64_t At(int64_t x, int64_t y) const { return thresholds[y % side * side + x % side]; }
};

/// The matrix of a number, 1 to 10 in the order of the constants; null for any other number.
[[nodiscard]] const DitherMatrix* FindDitherMatrix(int64_t number);

}  // namespace trv
