// The oil filter's kernels for any x86-64: loops that the compiler turns into vectors.

#include "filters/oil_kernels.h"
#include "filters/oil_loops.inc"

namespace trv {

constinit const OilKernels<uint32_t> kOilKernelsBaseline = {&SlideLoop<uint32_t>,
                                                            &FullestLoop<uint32_t, int32_t>};
constinit const OilKernels<uint64_t> kWideOilKernelsBaseline = kWideLoops;

}  // namespace trv
