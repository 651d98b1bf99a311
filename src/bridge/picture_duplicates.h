#pragma once

// Copies of host pictures. Where only the pixels of a masked picture are wanted, its mask is taken off for
// the length of the drawing and put back afterwards, whether or not the drawing worked. A copy has the
// resolution of its original and comes with one reference for the caller; nil for a nil picture, a size below
// 1, or when the host makes no picture.

#include <cstdint>

#include "frame/host_types.h"

namespace trv {

/// A copy with what the picture has: its alpha channel, or else its mask.
[[nodiscard]] HostObject DuplicatePicture(HostObject pic, int64_t width, int64_t height);
[[nodiscard]] HostObject DuplicatePicture(HostObject pic);

/// A copy of the pixels with `newMask` for a mask; with nil the same as without.
[[nodiscard]] HostObject DuplicatePicture(HostObject pic, HostObject newMask, int64_t width, int64_t height);
[[nodiscard]] HostObject DuplicatePicture(HostObject pic, HostObject newMask);

/// A copy of the pixels without the mask. In spite of the name, of a picture with an alpha channel it is a
/// picture with an alpha channel.
[[nodiscard]] HostObject DuplicatePictureWithoutMaskOrAlpha(HostObject pic, int64_t width, int64_t height);
[[nodiscard]] HostObject DuplicatePictureWithoutMaskOrAlpha(HostObject pic);

}  // namespace trv
