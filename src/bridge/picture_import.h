#pragma once

// From the host's pictures into images: the constructor that makes an image out of a picture's own pixels,
// and the methods that copy a rectangle of a picture into an image.

#include <cstdint>

#include "bridge/picture_helpers.h"
#include "frame/host_types.h"

namespace trv {

/// The constructor over a host picture, which is not copied: image and picture share their pixels, and the
/// picture lives as long as the image. NilObjectException for nil, UnsupportedOperationException for a
/// picture whose pixels cannot be reached in place. Whether the image has alpha is the caller's word alone.
void ImageConstructorPicture(HostObject me, HostObject pic, Boolean useAlpha);

// The methods below take a rectangle of the picture, from (sourceX, sourceY) on, to (destX, destY) in the
// image; all in pixels, clipped to both. They leave the image as it is if it lacks the channels or the
// picture does not open, and raise nothing.

/// Red, green and blue into red, green and blue; alpha is left alone on both sides.
void rbDrawPictureRGB(HostObject me, HostObject pic, int64_t destX, int64_t destY, int64_t destWidth,
                      int64_t destHeight, int64_t sourceX, int64_t sourceY);

/// One colour of the picture into the gray channel.
void rbDrawPictureRedToGrayChannel(HostObject me, HostObject pic, int64_t destX, int64_t destY,
                                   int64_t destWidth, int64_t destHeight, int64_t sourceX, int64_t sourceY);
void rbDrawPictureGreenToGrayChannel(HostObject me, HostObject pic, int64_t destX, int64_t destY,
                                     int64_t destWidth, int64_t destHeight, int64_t sourceX, int64_t sourceY);
void rbDrawPictureBlueToGrayChannel(HostObject me, HostObject pic, int64_t destX, int64_t destY,
                                    int64_t destWidth, int64_t destHeight, int64_t sourceX, int64_t sourceY);

/// Colours into colours, the red of the picture's mask into alpha, inverted on request. A picture without a
/// mask gives alpha 255, or 0 inverted.
void rbDrawMaskedPictureRGB(HostObject me, HostObject pic, int64_t destX, int64_t destY, int64_t destWidth,
                            int64_t destHeight, int64_t sourceX, int64_t sourceY, Boolean invertMask);

/// Colours blended over the image through the picture's mask, each colour by its own: 0 shows the picture,
/// 255 keeps the image, the other way round on request. A picture without a mask replaces the colours.
void rbDrawMaskedPictureApplyMaskRGB(HostObject me, HostObject pic, int64_t destX, int64_t destY,
                                     int64_t destWidth, int64_t destHeight, int64_t sourceX, int64_t sourceY,
                                     Boolean invertMask);

template <auto kDraw>
struct ShortForms;

/// The shorter forms of a method above, which fill in what is left out: the picture's size, and the origin.
template <class... More, void (*kDraw)(HostObject, HostObject, int64_t, int64_t, int64_t, int64_t, int64_t,
                                       int64_t, More...)>
struct ShortForms<kDraw> {
    static void Whole(HostObject me, HostObject pic, More... more) { At(me, pic, 0, 0, more...); }

    static void At(HostObject me, HostObject pic, int64_t destX, int64_t destY, More... more) {
        Into(me, pic, destX, destY, PictureWidth(pic), PictureHeight(pic), more...);
    }

    static void Into(HostObject me, HostObject pic, int64_t destX, int64_t destY, int64_t destWidth,
                     int64_t destHeight, More... more) {
        kDraw(me, pic, destX, destY, destWidth, destHeight, 0, 0, more...);
    }
};

}  // namespace trv
