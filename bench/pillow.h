#pragma once

#include "cases.h"

namespace trvbench {

inline const std::string kPillow = "Pillow";

/// Pillow's name of a layout. "RGBa" is colour already multiplied by alpha; "RGBA" would be multiplied and
/// divided around a scaling, which is more than the others do.
constexpr const char* PillowMode(Layout layout) {
    return layout == Layout::Gray ? "L" : layout == Layout::Rgb ? "RGB" : "RGBa";
}

/// An expression of Python, evaluated for each run. `setup` is a statement that runs once before, in which
/// noise(mode, width, height) gives an image; both know PIL's Image, ImageChops, ImageFilter and ImageOps.
Work PillowWork(const std::string& setup, const std::string& expression);

/// The same with an image of noise of this layout and size, named `image`.
Work PillowWork(Layout layout, Size size, const std::string& expression);

std::string PillowVersion();

}  // namespace trvbench
