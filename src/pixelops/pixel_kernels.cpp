#include "pixelops/pixel_kernels.h"

#include "frame/instruction_set.h"

namespace trv {

const PixelKernels* ActivePixelKernels() {
    return KernelsInUse(&kPixelKernelsBaseline, &kPixelKernelsAvx2, &kPixelKernelsAvx512);
}

}  // namespace trv
