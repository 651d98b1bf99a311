#include "pixelops/pixel_kernels.h"

#include "frame/instruction_set.h"

namespace trv {

namespace {

const PixelKernels& KernelsOfAvx512() {
    static const PixelKernels kernels = [] {
        PixelKernels made = kPixelKernelsAvx2;
        made.multiply4 = &MultiplyPixelsAvx512;
        made.unmultiply4 = &UnmultiplyPixelsAvx512;
        return made;
    }();
    return kernels;
}

}  // namespace

const PixelKernels* ActivePixelKernels() {
    return KernelsInUse(&kPixelKernelsBaseline, &kPixelKernelsAvx2, &KernelsOfAvx512());
}

}  // namespace trv
