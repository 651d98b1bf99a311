#include "pixelops/pixel_kernels.h"

#include "frame/instruction_set.h"

namespace trv {

const PixelKernels* ActivePixelKernels() {
    switch (ChosenInstructionSet()) {
        case InstructionSet::Avx512:
            return &kPixelKernelsAvx512;
        case InstructionSet::Avx2:
            return &kPixelKernelsAvx2;
        case InstructionSet::Baseline:
            return &kPixelKernelsBaseline;
        case InstructionSet::Plain:
            break;
    }
    return nullptr;
}

}  // namespace trv
