#pragma once

// What the bridge does to a host picture as an object: its properties, new pictures, masks. Pictures are
// borrowed; a result that is a picture comes with one reference for the caller. A nil picture, a missing
// property or method, and a size below 1 give 0, false or nil; nothing here raises.

#include <cstdint>

#include "frame/host_types.h"

namespace trv {

// Properties ----------------------------------------------------------------------------------------------

/// Size in pixels.
[[nodiscard]] int64_t PictureWidth(HostObject pic);
[[nodiscard]] int64_t PictureHeight(HostObject pic);

/// Pixels per inch.
[[nodiscard]] int64_t PictureHorizontalResolution(HostObject pic);
[[nodiscard]] int64_t PictureVerticalResolution(HostObject pic);
void SetPictureHorizontalResolution(HostObject pic, int64_t value);
void SetPictureVerticalResolution(HostObject pic, int64_t value);

/// Gives `target` the resolution of `source`, if that has one of at least 1 both ways.
void CopyPictureResolution(HostObject source, HostObject target);

[[nodiscard]] bool PictureHasAlphaChannel(HostObject pic);

/// What the host says a picture is; it may know further codes.
enum PictureTypeCode : int32_t {
    kHiDpiImage = 0,
    kVectorImage = 1,
    kMutableImage = 2,
    kOtherVectorImage = 3
};

/// The picture's code; that of a mutable bitmap where the host cannot tell.
[[nodiscard]] int32_t PictureTypeCodeOf(HostObject pic);

/// The Graphics that draws into a picture.
[[nodiscard]] HostObject GraphicsOfPicture(HostObject pic);
/// The same by the property "Graphics" of a picture or of a control.
[[nodiscard]] HostObject GraphicsPropertyOfPicture(HostObject pic);
[[nodiscard]] HostObject GraphicsPropertyOfControl(HostObject control);

// New pictures --------------------------------------------------------------------------------------------

/// Whether both sides are 1 to 32767 pixels; says in the log which is not.
[[nodiscard]] bool IsPictureSize(int64_t width, int64_t height);

[[nodiscard]] HostObject MyREALNewPicture(int64_t width, int64_t height, int64_t depth);

/// A picture with an alpha channel, from host version 2011.04 on; nil before.
[[nodiscard]] HostObject NewPictureWithAlphaChannel(int64_t width, int64_t height);

/// A picture of at most 32767 pixels each way, with an alpha channel if asked for (1; 0 is no, and so is any
/// other byte) and possible, else an old-style picture of 32 bits.
[[nodiscard]] HostObject NewPictureWithAlphaChannel(int64_t width, int64_t height, Boolean alphaChannel);

/// A picture by the host's constructor with a depth in bits.
[[nodiscard]] HostObject NewPictureWithDepth(int64_t width, int64_t height, int64_t depth);

// Masks ---------------------------------------------------------------------------------------------------

/// The picture's mask; one is made if there is none and `create` asks for it.
[[nodiscard]] HostObject MyREALGetPictureMask(HostObject pic, bool create);

/// Makes `mask` the mask of `pic`, nil takes it off; whether the host could be asked to.
bool SetPictureMask(HostObject pic, HostObject mask);

/// A copy of the picture's mask.
[[nodiscard]] HostObject CopyPictureMask(HostObject pic);

/// Draws `mask` into the mask of `picture`, which is made if there is none; both of the given size. Nothing
/// to add counts as added.
bool AddPictureMask(HostObject picture, HostObject mask, int64_t width, int64_t height);
bool AddPictureMask(HostObject picture, HostObject mask);

/// A new picture of 32 bits with what `pic` shows, and its mask.
[[nodiscard]] HostObject ConvertToPictureWithMask(HostObject pic, int64_t width, int64_t height);

/// `pic` with `mask`: a new picture if `copy`, else `pic` itself, whose mask is drawn over. Without a mask,
/// `pic`.
[[nodiscard]] HostObject CreatePictureWithMask(HostObject pic, HostObject mask, bool copy);

}  // namespace trv
