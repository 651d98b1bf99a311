#include "spans/span_kernels.h"

#include "frame/instruction_set.h"

namespace trv {

const SpanKernels* ActiveSpanKernels() {
    return ChosenInstructionSet() >= InstructionSet::Avx2 ? &kSpanKernelsAvx2 : nullptr;
}

}  // namespace trv
