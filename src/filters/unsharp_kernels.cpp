#include "filters/unsharp_kernels.h"

#include "frame/instruction_set.h"

namespace trv {

UnsharpKernel ActiveUnsharpKernel() {
    switch (ChosenInstructionSet()) {
        case InstructionSet::Plain:
            return nullptr;
        case InstructionSet::Baseline:
            return UnsharpBaseline;
        case InstructionSet::Avx2:
        case InstructionSet::Avx512:
            return UnsharpAvx2;
    }
    return nullptr;
}

}  // namespace trv
