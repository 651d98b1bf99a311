#include "pixel_alpha.h"

#include <algorithm>

namespace trvhost::program {

namespace {

/// Gives each pixel's alpha to `change`, which changes the pixel.
template <class Change>
void ForEachPixel(std::span<uint8_t> bgra, Change change) {
    for (size_t i = 0; i + 4 <= bgra.size(); i += 4)
        change(bgra.subspan(i).first<4>(), uint32_t{bgra[i + 3]});
}

/// Replaces each colour of a pixel.
template <class Change>
void ForEachColour(std::span<uint8_t, 4> pixel, Change change) {
    for (uint8_t& colour : pixel.first<3>()) {
        colour = static_cast<uint8_t>(std::min<uint32_t>(change(uint32_t{colour}), 255));
    }
}

}  // namespace

void Multiply(std::span<uint8_t> bgra) {
    ForEachPixel(bgra, [](std::span<uint8_t, 4> pixel, uint32_t alpha) {
        if (alpha != 255) ForEachColour(pixel, [alpha](uint32_t c) { return (c * alpha + 127) / 255; });
    });
}

void Divide(std::span<uint8_t> bgra) {
    ForEachPixel(bgra, [](std::span<uint8_t, 4> pixel, uint32_t alpha) {
        if (alpha == 255) return;
        ForEachColour(pixel, [alpha](uint32_t c) { return alpha == 0 ? 0 : (c * 255 + alpha / 2) / alpha; });
    });
}

void FlattenOntoWhite(std::span<uint8_t> multiplied) {
    ForEachPixel(multiplied, [](std::span<uint8_t, 4> pixel, uint32_t alpha) {
        ForEachColour(pixel, [alpha](uint32_t c) { return c + 255 - alpha; });
        pixel[3] = 255;
    });
}

void InvertAlpha(std::span<uint8_t> bgra) {
    ForEachPixel(bgra, [](std::span<uint8_t, 4> pixel, uint32_t alpha) {
        pixel[3] = static_cast<uint8_t>(255 - alpha);
    });
}

}  // namespace trvhost::program
