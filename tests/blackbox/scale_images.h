#pragma once

// Images and expectations of the scaler's tests from outside.

#include <algorithm>
#include <string>

#include "plugin_test.h"
#include "scale_reference.h"

namespace trvtest {

/// The image as the reference sees it: its layout from its properties, its store from `bytes`.
inline reference::Image ModelOf(trvhost::Host& host, const Ref& image, std::vector<uint8_t> bytes) {
    const auto number = [&](const char* name) { return host.Get<int64_t>(image, name); };
    const auto flag = [&](const char* name) { return host.Get<bool>(image, name); };
    reference::Image model;
    model.width = number("Width");
    model.height = number("Height");
    model.pixelSize = number("PixelSize");
    model.rowSize = number("RowSize");
    model.bits = number("BitsPerComponent");
    model.gray = flag("IsGray");
    model.rgb = flag("IsRGB");
    model.cmyk = flag("IsCMYK");
    model.alpha = flag("HasAlpha");
    model.redAt = number("RedOffset");
    model.greenAt = number("GreenOffset");
    model.blueAt = number("BlueOffset");
    model.grayAt = number("GrayOffset");
    model.alphaAt = number("AlphaOffset");
    model.cyanAt = number("CyanOffset");
    model.magentaAt = number("MagentaOffset");
    model.yellowAt = number("YellowOffset");
    model.blackAt = number("BlackOffset");
    model.firstRow = number("RowOffset");
    model.bytes = std::move(bytes);
    return model;
}

/// What a scale must leave in the destination, and in a temp of the family's own format.
struct Expected {
    std::string family;  // empty for a pair that is refused
    reference::Image dest;
    reference::Image temp;
};

inline Expected Expect(reference::Image source, reference::Image dest, int64_t mode, int64_t width,
                       int64_t height) {
    Expected expected{reference::Family(source, dest).value_or(""), std::move(dest), {}};
    if (expected.family.empty()) return expected;
    reference::Image& temp = expected.temp;
    temp.width = width;
    temp.height = source.height;
    temp.pixelSize = reference::TempPixel(expected.family);
    temp.rowSize = width * temp.pixelSize;
    temp.bytes.resize(static_cast<size_t>(temp.rowSize * temp.height));
    reference::Scaler(expected.family, source, expected.dest, temp)
        .Run(static_cast<int>(mode), width, height);
    return expected;
}

/// Where two stores differ first, for a message; empty if they do not.
inline std::string Difference(const std::vector<uint8_t>& is, const std::vector<uint8_t>& shouldBe,
                              int64_t rowSize) {
    if (is.size() != shouldBe.size())
        return "sizes " + std::to_string(is.size()) + ", " + std::to_string(shouldBe.size());
    const auto [a, b] = std::mismatch(is.begin(), is.end(), shouldBe.begin());
    if (a == is.end()) return "";
    const auto at = a - is.begin();
    return "row " + std::to_string(at / rowSize) + " byte " + std::to_string(at % rowSize) + " is " +
           std::to_string(*a) + ", should be " + std::to_string(*b);
}

/// All format codes that can be created.
inline std::vector<int64_t> AllFormats() {
    std::vector<int64_t> formats;
    for (int64_t code = 1; code <= 48; ++code) {
        if (code != 14) formats.push_back(code);
    }
    return formats;
}

}  // namespace trvtest
