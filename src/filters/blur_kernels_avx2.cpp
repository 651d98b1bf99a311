// Blur kernels for AVX2.

#include "filters/blur_kernels.h"
#include "spans/vectors_avx2.h"

namespace trv {

namespace {

using namespace avx2;

inline Vector AddSaturated(Vector a, Vector b) {
    return _mm256_adds_epu16(a, b);
}
inline Vector Quotient(Vector sums, Vector multiplier, __m128i shift) {
    return _mm256_srl_epi16(_mm256_mulhi_epu16(sums, multiplier), shift);
}
/// Of each pair of bytes the first less the second.
inline Vector PairChange(Vector pairs) {
    return _mm256_maddubs_epi16(pairs, _mm256_set1_epi16(static_cast<int16_t>(0xFF01)));
}
inline Vector LowChange(Vector a, Vector b) {
    return PairChange(_mm256_unpacklo_epi8(a, b));
}
inline Vector HighChange(Vector a, Vector b) {
    return PairChange(_mm256_unpackhi_epi8(a, b));
}
template <int kCount>
inline Vector ShiftUnit(Vector v) {
    return _mm256_slli_si256(v, kCount);
}
template <int kCount>
inline Vector LastOfUnit(Vector v) {
    if constexpr (kCount == 16) return v;
    if constexpr (kCount == 8) return _mm256_shuffle_epi32(v, 0xEE);
    if constexpr (kCount == 4) return _mm256_shuffle_epi32(v, 0xFF);
    if constexpr (kCount == 2) return _mm256_shuffle_epi32(_mm256_shufflehi_epi16(v, 0xFF), 0xFF);
}
inline Vector AcrossUnits(Vector last, Vector& low, Vector& high) {
    const Vector before = _mm256_permute2x128_si256(last, last, 0x08);  // nothing, first unit
    low = AddWords(low, before);
    high = AddWords(high, before);
    return AddWords(last, _mm256_permute2x128_si256(last, last, 0x01));
}

#include "filters/blur_kernels.inc"

}  // namespace

constinit const BlurKernels kBlurKernelsAvx2 = MakeBlurKernels();

}  // namespace trv
