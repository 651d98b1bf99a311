#pragma once

// A colour as the host hands it over: red in bits 16 to 23, green in bits 8 to 15, blue in bits 0 to 7.

#include <cstdint>

namespace trv {

struct ColourBytes {
    uint8_t red;
    uint8_t green;
    uint8_t blue;
};

/// The components; the bits above them are ignored.
[[nodiscard]] constexpr ColourBytes UnpackColour(int64_t colour) {
    return {static_cast<uint8_t>(colour >> 16), static_cast<uint8_t>(colour >> 8),
            static_cast<uint8_t>(colour)};
}

/// The brightness (77 red + 151 green + 28 blue) >> 8.
[[nodiscard]] constexpr uint8_t LumaOf(const ColourBytes& colour) {
    return static_cast<uint8_t>((colour.red * 77 + colour.green * 151 + colour.blue * 28) >> 8);
}

}  // namespace trv
