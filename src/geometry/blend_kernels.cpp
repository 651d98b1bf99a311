#include "geometry/blend_kernels.h"

#include "frame/instruction_set.h"

namespace trv {

const BlendKernels* ActiveBlendKernels() {
    return KernelsInUse(&kBlendKernelsBaseline, &kBlendKernelsAvx2);
}

}  // namespace trv
