#include "filters/unsharp_kernels.h"

#include "frame/instruction_set.h"

namespace trv {

UnsharpKernel ActiveUnsharpKernel() {
    return KernelsInUse<UnsharpKernel>(UnsharpBaseline, UnsharpAvx2);
}

}  // namespace trv
