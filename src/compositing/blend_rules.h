#pragma once

// The arithmetic of compositing on one byte. All functions have internal linkage, since sources for different
// instruction sets compile them and none may take another's copy.

#include <cstdint>

namespace trv {

/// x / 255, truncated, for 0 to 65279, without leaving 16 bits: no more than 255 * 255 occurs.
[[nodiscard]] [[gnu::always_inline]] static constexpr uint16_t DivideBy255(uint16_t x) {
    return static_cast<uint16_t>(static_cast<uint16_t>(x + 1 + (x >> 8)) >> 8);
}

/// Two bytes, `d` where the mask is 255 and `s` where it is 0: ((255 - m) * s + d * m) / 255.
struct MixRule {
    [[nodiscard]] [[gnu::always_inline]] static constexpr uint8_t Apply(uint8_t d, uint8_t s, uint8_t m) {
        const auto ofSource = static_cast<uint16_t>(static_cast<uint16_t>(255 - m) * s);
        const auto ofDest = static_cast<uint16_t>(static_cast<uint16_t>(d) * m);
        return static_cast<uint8_t>(DivideBy255(static_cast<uint16_t>(ofSource + ofDest)));
    }
};

/// A byte weakened by the mask plus one that was weakened before: d * m / 255 + s, which wraps.
struct AddRule {
    [[nodiscard]] [[gnu::always_inline]] static constexpr uint8_t Apply(uint8_t d, uint8_t s, uint8_t m) {
        return static_cast<uint8_t>(DivideBy255(static_cast<uint16_t>(static_cast<uint16_t>(d) * m)) + s);
    }
};

/// The brightness (77 red + 151 green + 28 blue) >> 8.
[[nodiscard]] [[gnu::always_inline]] static constexpr uint8_t BlendLuma(uint8_t red, uint8_t green,
                                                                        uint8_t blue) {
    return static_cast<uint8_t>(static_cast<uint16_t>(red * 77 + green * 151 + blue * 28) >> 8);
}

}  // namespace trv
