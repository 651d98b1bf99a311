// Blend kernels for processors with AVX2.

#include "geometry/blend_kernels.h"
#include "spans/vectors_avx2.h"

namespace trv {

namespace {

using namespace avx2;

struct Factors {
    Vector low;
    Vector high;
};

// Bytes are unpacked within each half of a vector.
Factors LoadFactors(const uint16_t* factors) {
    const auto* vectors = reinterpret_cast<const Vector*>(factors);
    const Vector first = _mm256_loadu_si256(vectors);
    const Vector second = _mm256_loadu_si256(vectors + 1);
    return {_mm256_permute2x128_si256(first, second, 0x20), _mm256_permute2x128_si256(first, second, 0x31)};
}

#include "geometry/blend_kernels.inc"

}  // namespace

const BlendKernels kBlendKernelsAvx2 = {&BlendRow, &BlendLanes};

}  // namespace trv
