// Pixel kernels for AVX2.

#include "pixelops/gray_modes.h"
#include "pixelops/pixel_kernels.h"
#include "spans/independent_loop.h"

namespace trv {

namespace {

#include "pixelops/pixel_kernels.inc"

}  // namespace

constinit const PixelKernels kPixelKernelsAvx2 = kKernels;

}  // namespace trv
