// Blend kernels for any x86-64 processor: SSE2.

#include "geometry/blend_kernels.h"
#include "spans/vectors_baseline.h"

namespace trv {

namespace {

using namespace baseline;

struct Factors {
    Vector low;
    Vector high;
};

Factors LoadFactors(const uint16_t* factors) {
    const auto* vectors = reinterpret_cast<const Vector*>(factors);
    return {_mm_loadu_si128(vectors), _mm_loadu_si128(vectors + 1)};
}

#include "geometry/blend_kernels.inc"

}  // namespace

const BlendKernels kBlendKernelsBaseline = {&BlendRow, &BlendLanes};

}  // namespace trv
