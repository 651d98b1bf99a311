// Pixel kernels for AVX-512.

#include "pixelops/gray_modes.h"
#include "pixelops/pixel_kernels.h"
#include "spans/independent_loop.h"

namespace trv {

namespace {

#include "pixelops/pixel_kernels.inc"

}  // namespace

constinit const PixelKernels kPixelKernelsAvx512 = kKernels;

}  // namespace trv
