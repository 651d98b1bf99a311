#pragma once

// One picture laid over another: through a mask, through a colour, or with the source as a mask for a colour.
// Masks count from the destination: 255 keeps it, 0 takes the source.

#include <cstdint>

#include "frame/host_types.h"
#include "image/pixel_loop.h"

namespace trv {

/// What all forms come to. `destX` to `height` are pixels and get clipped to both pictures; the mask, of the
/// source's size, lies on the source. Negative colours are none. With a mask the colours do nothing; without
/// one a mask colour counts before a fore colour, and with neither the pixels are copied. False, with nothing
/// changed, for nil, invalid and closed pictures, an empty rectangle, 16-bit samples (except where the source
/// is the mask of a colour) and a mask of another size; true, with nothing changed, for layouts that are
/// neither gray nor RGB.
Boolean PictureCombine1pm(HostObject me, HostObject image, bool preMultipliedSource, HostObject mask,
                          const RectanglePair& pair, bool useColours, int64_t foreColour, int64_t maskColour);

/// The forms that the host sees: `Colours` are the types of up to two colours at the end.
template <class... Colours>
struct CombineForm {
    static Boolean Over(HostObject me, HostObject image, HostObject mask, int64_t destX, int64_t destY,
                        int64_t sourceX, int64_t sourceY, int64_t width, int64_t height, Boolean useColours,
                        Colours... colours) {
        return PreMultipliedOver(me, image, 0, mask, destX, destY, sourceX, sourceY, width, height,
                                 useColours, colours...);
    }

    static Boolean PreMultipliedOver(HostObject me, HostObject image, Boolean preMultipliedSource,
                                     HostObject mask, int64_t destX, int64_t destY, int64_t sourceX,
                                     int64_t sourceY, int64_t width, int64_t height, Boolean useColours,
                                     Colours... colours) {
        const int64_t given[] = {colours..., -1, -1};
        return PictureCombine1pm(me, image, preMultipliedSource != 0, mask,
                                 {destX, destY, width, height, sourceX, sourceY}, useColours != 0, given[0],
                                 given[1]);
    }
};

/// Blends a colour into an RGB picture where a mask of the same size is set: here 255 gives the colour and 0
/// keeps the picture. Alpha stays. False, with nothing changed, if a picture does not serve or the rectangle
/// is empty.
Boolean PictureCombine4(HostObject me, HostObject mask, int64_t x, int64_t y, int64_t width, int64_t height,
                        uint32_t backColour);

}  // namespace trv
