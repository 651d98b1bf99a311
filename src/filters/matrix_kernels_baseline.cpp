// Matrix kernels for any x86-64 processor.

#include <emmintrin.h>

#include "filters/matrix_kernels.h"

namespace trv {

namespace {

using Vector = __m128i;
constexpr int kBytes = 16;

inline Vector Load(const uint8_t* p) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
}
inline void Store(uint8_t* p, Vector v) {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(p), v);
}
inline Vector FillInteger(int32_t integer) {
    return _mm_set1_epi32(integer);
}
inline Vector LowPairs(Vector a, Vector b) {
    return _mm_unpacklo_epi8(a, b);
}
inline Vector HighPairs(Vector a, Vector b) {
    return _mm_unpackhi_epi8(a, b);
}
inline Vector LowWords(Vector bytes) {
    return _mm_unpacklo_epi8(bytes, _mm_setzero_si128());
}
inline Vector HighWords(Vector bytes) {
    return _mm_unpackhi_epi8(bytes, _mm_setzero_si128());
}
inline Vector ScaledPairs(Vector words, Vector weights) {
    return _mm_madd_epi16(words, weights);
}
inline Vector AddIntegers(Vector a, Vector b) {
    return _mm_add_epi32(a, b);
}
inline Vector PackIntegers(Vector low, Vector high) {
    return _mm_packs_epi32(low, high);
}
inline Vector PackWords(Vector low, Vector high) {
    return _mm_packus_epi16(low, high);
}
inline Vector Scaled(Vector integers, double factor) {
    const __m128d by = _mm_set1_pd(factor);
    const auto two = [&](Vector v) {
        // In this order the maximum is 0 for what is no number.
        const __m128d within = _mm_max_pd(_mm_mul_pd(_mm_cvtepi32_pd(v), by), _mm_setzero_pd());
        return _mm_cvttpd_epi32(_mm_min_pd(within, _mm_set1_pd(255)));
    };
    return _mm_unpacklo_epi64(two(integers), two(_mm_unpackhi_epi64(integers, integers)));
}

#include "filters/matrix_kernels.inc"

}  // namespace

constinit const MatrixKernels kMatrixKernelsBaseline = {nullptr, nullptr, Apply<WideSums, false>,
                                                        Apply<WideSums, true>};

}  // namespace trv
