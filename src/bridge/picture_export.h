#pragma once

// From an image to the host's pictures: a rectangle of an image becomes a new host picture. Its pixels are
// always red, green and blue: gray is spread over the three, and CMYK becomes RGB, which happens nowhere
// else.
//
// A result comes with one reference for the caller, or is nil: for a rectangle of which nothing lies inside
// the image, an image without a colour family, and where the host gives no picture that can be written.
// Nothing here raises.

#include <cstdint>

#include "frame/host_types.h"

namespace trv {

/// The colours of a rectangle, in pixels, as a picture without alpha.
HostObject rbCopyPicture(HostObject me, int64_t x, int64_t y, int64_t width, int64_t height);

/// Colours and alpha as a picture with an alpha channel. Alpha is stored as it stands, not premultiplied and
/// not inverted; an image without alpha gives an opaque picture.
HostObject rbCopyPictureWithAlpha(HostObject me, int64_t x, int64_t y, int64_t width, int64_t height);

/// The alpha channel as a gray picture, not inverted; nil for an image without alpha.
HostObject rbCopyMask(HostObject me, int64_t x, int64_t y, int64_t width, int64_t height);

/// The colours as a picture with the alpha channel as its mask; without a mask for an image without alpha.
HostObject rbCopyPictureWithMask(HostObject me, int64_t x, int64_t y, int64_t width, int64_t height);

/// The same over the whole image.
HostObject rbCopyPictureAll(HostObject me);
HostObject rbCopyPictureWithAlphaAll(HostObject me);
HostObject rbCopyMaskAll(HostObject me);
HostObject rbCopyPictureWithMaskAll(HostObject me);

/// What the debugger shows of an image: the corner of 512 pixels square, if the image allows it.
HostObject GetDebugPicture(HostObject me, int64_t parameter);

}  // namespace trv
