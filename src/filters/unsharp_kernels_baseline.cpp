// The unsharp kernel for any x86-64 processor.

#include "filters/unsharp_kernels.h"
#include "spans/vectors_baseline.h"

namespace trv {

namespace {

using namespace baseline;

inline Vector AddSaturated(Vector a, Vector b) {
    return _mm_adds_epi16(a, b);
}
inline Vector MultiplyHigh(Vector a, Vector b) {
    return _mm_mulhi_epi16(a, b);
}
inline Vector Magnitude(Vector v) {
    return _mm_max_epi16(v, _mm_sub_epi16(_mm_setzero_si128(), v));
}
inline Vector IsLess(Vector a, Vector b) {
    return _mm_cmplt_epi16(a, b);
}
inline Vector Choose(Vector mask, Vector a, Vector b) {
    return _mm_or_si128(_mm_and_si128(mask, a), _mm_andnot_si128(mask, b));
}

#include "filters/unsharp_kernels.inc"

}  // namespace

int64_t UnsharpBaseline(uint8_t* samples, const uint8_t* others, int64_t count,
                        const UnsharpFormula& formula) {
    return Unsharp(samples, others, count, formula);
}

}  // namespace trv
