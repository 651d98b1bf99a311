#include "scale/row_kernels.h"

#include "frame/instruction_set.h"

namespace trv {

const RowKernels* ActiveRowKernels() {
    switch (ChosenInstructionSet()) {
        case InstructionSet::Avx512:
            return &kRowKernelsAvx512;
        case InstructionSet::Avx2:
            return &kRowKernelsAvx2;
        case InstructionSet::Baseline:
            return &kRowKernelsBaseline;
        case InstructionSet::Plain:
            break;
    }
    return nullptr;
}

}  // namespace trv
