#pragma once

// The five weightings of RGBToGray. Internal linkage, since sources for different instruction sets compile
// them and none may take another's copy.

#include <cstdint>

namespace trv {

inline constexpr int kGrayModes = 5;

/// x / 6 for 0 to 6 * 255, by a product that vectors have.
[[nodiscard]] [[gnu::always_inline]] static constexpr int DivideBy6(int x) {
    return (x * 43691) >> 18;
}

/// The gray, 0 to 255, of three samples.
template <int kMode>
[[nodiscard]] [[gnu::always_inline]] static constexpr int GrayByMode(int red, int green, int blue) {
    static_assert(kMode >= 0 && kMode < kGrayModes);
    if constexpr (kMode == 0) return DivideBy6(green * 3 + red * 2 + blue);
    if constexpr (kMode == 1) return (red * 3 + green * 4 + blue) >> 3;
    // In this order and in double: a white pixel need not come out white.
    if constexpr (kMode == 2) return static_cast<int>(green * 0.7152 + red * 0.2126 + blue * 0.0722);
    if constexpr (kMode == 3) return static_cast<int>(green * 0.587 + red * 0.299 + blue * 0.114);
    // The weights sum to 257.
    if constexpr (kMode == 4) return ((blue * 29 + green * 151 + red * 77) >> 8) & 255;
}

}  // namespace trv
