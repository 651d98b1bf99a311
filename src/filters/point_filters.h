#pragma once

// Gamma, gain, transfer and solarize: each 8-bit sample goes through a table of 256 entries, whatever its
// neighbours. All give the destination, `dest` or a new image of the factory's, with one reference for the
// caller, or nil with the reason in the log; nothing is raised. A layout that a filter does not serve gives
// the destination with no pixel written. The destination may be the source, and of another size or layout.

#include "frame/host_types.h"

namespace trv {

/// Each sample s of 0..1 becomes s to the power of 1 / gamma. The forms without an alpha gamma leave alpha
/// alone; of an image without alpha it is ignored. A gray image takes a gray gamma made of three: of their
/// whole parts.
HostObject rbGammaFilterG(HostObject me, HostObject dest, double gamma);
HostObject rbGammaFilterGA(HostObject me, HostObject dest, double gamma, double alphaGamma);
HostObject rbGammaFilterRGB(HostObject me, HostObject dest, double redGamma, double greenGamma,
                            double blueGamma);
HostObject rbGammaFilterRGBA(HostObject me, HostObject dest, double redGamma, double greenGamma,
                             double blueGamma, double alphaGamma);

/// Contrast around the middle by `gain` and brightness by `bias`, both 0..1 with 0.5 for no change; alpha is
/// curved like the colours.
HostObject rbGainFilter(HostObject me, HostObject dest, double gain, double bias);

/// Tables of the caller's: arrays of integers, of which the low bytes of the first 256 count. What an array
/// lacks is 0. A gray image takes the green table.
HostObject rbTransferFilterG(HostObject me, HostObject dest, HostObject gray);
HostObject rbTransferFilterGA(HostObject me, HostObject dest, HostObject gray, HostObject alpha);
HostObject rbTransferFilterRGB(HostObject me, HostObject dest, HostObject red, HostObject green,
                               HostObject blue);
HostObject rbTransferFilterRGBA(HostObject me, HostObject dest, HostObject red, HostObject green,
                                HostObject blue, HostObject alpha);

/// Dark tones turn around and light ones stretch, alpha and inks included.
HostObject rbSolarizeFilter(HostObject me, HostObject dest);

}  // namespace trv
