#include "scale/row_kernels.h"

#include "frame/instruction_set.h"

namespace trv {

const RowKernels* ActiveRowKernels() {
    return KernelsInUse(&kRowKernelsBaseline, &kRowKernelsAvx2, &kRowKernelsAvx512);
}

}  // namespace trv
