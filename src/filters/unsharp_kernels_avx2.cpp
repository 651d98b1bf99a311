// The unsharp kernel for AVX2.

#include "filters/unsharp_kernels.h"
#include "spans/vectors_avx2.h"

namespace trv {

namespace {

using namespace avx2;

inline Vector AddSaturated(Vector a, Vector b) {
    return _mm256_adds_epi16(a, b);
}
inline Vector MultiplyHigh(Vector a, Vector b) {
    return _mm256_mulhi_epi16(a, b);
}
inline Vector Magnitude(Vector v) {
    return _mm256_abs_epi16(v);
}
inline Vector IsLess(Vector a, Vector b) {
    return _mm256_cmpgt_epi16(b, a);
}
inline Vector Choose(Vector mask, Vector a, Vector b) {
    return _mm256_blendv_epi8(b, a, mask);
}

#include "filters/unsharp_kernels.inc"

}  // namespace

int64_t UnsharpAvx2(uint8_t* samples, const uint8_t* others, int64_t count, const UnsharpFormula& formula) {
    return Unsharp(samples, others, count, formula);
}

}  // namespace trv
