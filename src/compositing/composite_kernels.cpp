#include "compositing/composite_kernels.h"

#include "frame/instruction_set.h"

namespace trv {

const CompositeKernels* ActiveCompositeKernels() {
    return KernelsInUse(&kCompositeKernelsBaseline, &kCompositeKernelsAvx2);
}

}  // namespace trv
