#include "spans/span_kernels.h"

#include "frame/instruction_set.h"

namespace trv {

const SpanKernels* ActiveSpanKernels() {
    return KernelsInUse<const SpanKernels*>(nullptr, &kSpanKernelsAvx2);
}

}  // namespace trv
