#include "filters/matrix_kernels.h"

#include "frame/instruction_set.h"

namespace trv {

const MatrixKernels* ActiveMatrixKernels() {
    switch (ChosenInstructionSet()) {
        case InstructionSet::Plain:
            return nullptr;
        case InstructionSet::Baseline:
            return &kMatrixKernelsBaseline;
        case InstructionSet::Avx2:
        case InstructionSet::Avx512:
            return &kMatrixKernelsAvx2;
    }
    return nullptr;
}

}  // namespace trv
