#include "compositing/composite_kernels.h"

#include "frame/instruction_set.h"

namespace trv {

const CompositeKernels* ActiveCompositeKernels() {
    switch (ChosenInstructionSet()) {
        case InstructionSet::Avx512:
            return &kCompositeKernelsAvx512;
        case InstructionSet::Avx2:
            return &kCompositeKernelsAvx2;
        case InstructionSet::Baseline:
            return &kCompositeKernelsBaseline;
        case InstructionSet::Plain:
            break;
    }
    return nullptr;
}

}  // namespace trv
