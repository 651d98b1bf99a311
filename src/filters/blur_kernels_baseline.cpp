// Blur kernels for any x86-64 processor.

#include "filters/blur_kernels.h"
#include "spans/vectors_baseline.h"

namespace trv {

namespace {

using namespace baseline;

inline Vector AddSaturated(Vector a, Vector b) {
    return _mm_adds_epu16(a, b);
}
inline Vector Quotient(Vector sums, Vector multiplier, __m128i shift) {
    return _mm_srl_epi16(_mm_mulhi_epu16(sums, multiplier), shift);
}
inline Vector LowChange(Vector a, Vector b) {
    return _mm_sub_epi16(LowWords(a), LowWords(b));
}
inline Vector HighChange(Vector a, Vector b) {
    return _mm_sub_epi16(HighWords(a), HighWords(b));
}
template <int kCount>
inline Vector ShiftUnit(Vector v) {
    return _mm_slli_si128(v, kCount);
}
template <int kCount>
inline Vector LastOfUnit(Vector v) {
    if constexpr (kCount == 16) return v;
    if constexpr (kCount == 8) return _mm_shuffle_epi32(v, 0xEE);
    if constexpr (kCount == 4) return _mm_shuffle_epi32(v, 0xFF);
    if constexpr (kCount == 2) return _mm_shuffle_epi32(_mm_shufflehi_epi16(v, 0xFF), 0xFF);
}
inline Vector AcrossUnits(Vector last, Vector& /*low*/, Vector& /*high*/) {
    return last;
}

#include "filters/blur_kernels.inc"

}  // namespace

constinit const BlurKernels kBlurKernelsBaseline = MakeBlurKernels();

}  // namespace trv
