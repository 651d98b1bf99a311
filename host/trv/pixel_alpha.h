// Alpha for people who scale pictures. The plug-in scales each channel by itself, so the colour that happens
// to stand in transparent pixels would bleed into their neighbours; colours that were multiplied with their
// alpha before and are divided by it afterwards do not.
//
// All work in place on pixels of four bytes: blue, green, red, alpha.
#pragma once

#include <cstdint>
#include <span>

namespace trvhost::program {

/// Multiplies the colours with alpha, rounded to nearest.
void Multiply(std::span<uint8_t> bgra);

/// Divides the colours by alpha, rounded to nearest and at most 255; where alpha is 0 they become 0.
void Divide(std::span<uint8_t> bgra);

/// Lays multiplied colours onto white; alpha becomes 255.
void FlattenOntoWhite(std::span<uint8_t> multiplied);

/// 255 - alpha.
void InvertAlpha(std::span<uint8_t> bgra);

}  // namespace trvhost::program
