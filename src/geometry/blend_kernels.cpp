#include "geometry/blend_kernels.h"

#include "frame/instruction_set.h"

namespace trv {

const BlendKernels* ActiveBlendKernels() {
    switch (ChosenInstructionSet()) {
        case InstructionSet::Plain:
            return nullptr;
        case InstructionSet::Baseline:
            return &kBlendKernelsBaseline;
        case InstructionSet::Avx2:
        case InstructionSet::Avx512:
            return &kBlendKernelsAvx2;
    }
    return nullptr;
}

}  // namespace trv
