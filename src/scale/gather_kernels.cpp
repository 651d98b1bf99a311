#include "scale/gather_kernels.h"

#include "frame/instruction_set.h"

namespace trv {

const GatherKernels* ActiveGatherKernels() {
    return KernelsInUse<const GatherKernels*>(nullptr, &kGatherKernelsAvx2, &kGatherKernelsAvx512);
}

}  // namespace trv
