#pragma once

// What the two forms of the box blur have in common: the one work to be done, without host or frame.

#include <cstdint>

#include "filters/lanes.h"
#include "image/destination.h"
#include "image/picture_record.h"

namespace trv {

struct BoxBlurTask {
    PictureTRV& source;
    PictureTRV& dest;
    PixelPlaces sourcePlaces;  // of the channels of the source's family
    PixelPlaces destPlaces;
    int64_t radius;   // of the window, 0 to 2^35 - 1
    int64_t divisor;  // of its sums: the window's size, but 3 for a radius of 0
    bool vertical;
    bool horizontal;

    /// The pixels that are written.
    [[nodiscard]] Rectangle Written() const { return CommonRectangle(dest, source); }
    /// Pixels in a row that the horizontal pass reads. Behind a vertical pass these are what that has
    /// written.
    [[nodiscard]] int64_t RowPixels() const { return vertical ? Written().width : source.Width; }
};

/// How often position `at` of `count` is in the window of `radius` around position 0, where positions beyond
/// an end repeat it.
[[nodiscard]] constexpr int64_t TimesInFirstWindow(int64_t at, int64_t count, int64_t radius) {
    if (at > radius) return 0;
    return 1 + (at == 0 ? radius : 0) + (at == count - 1 ? radius - at : 0);
}

/// The defined order of reading and writing, sample by sample, for any two images and any radius. It alone
/// writes the passes' diagnostics.
void BoxBlurPlain(const BoxBlurTask& task);

/// The fast form of the same; false, with nothing done, where only the plain one will do: for images that
/// share pixels, channels or rows that share bytes, radii beyond any picture, and an instruction set without
/// kernels.
[[nodiscard]] bool BoxBlurFast(const BoxBlurTask& task);

}  // namespace trv
