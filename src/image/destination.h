#pragma once

// What operations that give a new image write to: an image that the caller names, or one that the factory
// makes.

#include <algorithm>
#include <cstdint>

#include "frame/references.h"
#include "image/picture_factory.h"
#include "image/pixel_loop.h"

namespace trv {

/// `given` with a reference for the operation's result, or, for nil, a new image of this size in the format
/// of `source`. Empty if there is none to be had. A given image is taken as it is, whatever its size and
/// layout.
[[nodiscard]] inline ObjectReference TakeDestination(const PictureTRV& source, HostObject given,
                                                     int64_t width, int64_t height) {
    if (given != nullptr) return ObjectReference::Share(given);
    return ObjectReference(CreatePicture(&source, width, height, source.ImageFormat));
}

/// The same with the size of the source.
[[nodiscard]] inline ObjectReference TakeDestination(const PictureTRV& source, HostObject given) {
    return TakeDestination(source, given, source.Width, source.Height);
}

/// The columns and rows that both images have, from their top left corners: what an operation that walks the
/// one may touch of the other. Width and height can be 0 or less.
[[nodiscard]] inline Rectangle CommonRectangle(const PictureTRV& a, const PictureTRV& b) {
    return {0, 0, std::min(a.Width, b.Width), std::min(a.Height, b.Height)};
}

}  // namespace trv
