// Pixel kernels for any x86-64.

#include "pixelops/gray_modes.h"
#include "pixelops/pixel_kernels.h"
#include "spans/independent_loop.h"

namespace trv {

namespace {

#include "pixelops/pixel_kernels.inc"

}  // namespace

constinit const PixelKernels kPixelKernelsBaseline = kKernels;

}  // namespace trv
