#pragma once

// Drawing one picture into another, through the host's Graphics or, where that cannot draw, by copying rows.

#include <cstdint>

#include "frame/host_types.h"

namespace trv {

/// Where a picture is drawn to, and what part of it, in pixels.
struct DrawnRectangles {
    int64_t x;
    int64_t y;
    int64_t width;
    int64_t height;
    int64_t sourceX;
    int64_t sourceY;
    int64_t sourceWidth;
    int64_t sourceHeight;
};

/// Draws `pic` into `destination`; false if the host gives no Graphics or nothing can draw.
bool GraphicsDrawPicture(HostObject destination, HostObject pic, const DrawnRectangles& rectangles);

/// The same from the origin to the origin, in one size.
bool GraphicsDrawPicture(HostObject destination, HostObject pic, int64_t width, int64_t height);

/// Draws with a Graphics; false if either is nil or the Graphics has no such method.
bool DrawPictureWith(HostObject graphics, HostObject pic, const DrawnRectangles& rectangles);

/// The last resort on console hosts: copies all rows between two true-colour gd images of one size. False,
/// with the destination as it was, for anything else, and unless the rectangles start at the origins and are
/// of one size.
bool OwnCopy(HostObject destination, HostObject pic, const DrawnRectangles& rectangles);

}  // namespace trv
