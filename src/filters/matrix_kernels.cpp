#include "filters/matrix_kernels.h"

#include "frame/instruction_set.h"

namespace trv {

const MatrixKernels* ActiveMatrixKernels() {
    return KernelsInUse(&kMatrixKernelsBaseline, &kMatrixKernelsAvx2);
}

}  // namespace trv
