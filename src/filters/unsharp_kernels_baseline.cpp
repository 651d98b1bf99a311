// The unsharp kernel for any x86-64 processor.

#include <emmintrin.h>

#include "filters/unsharp_kernels.h"

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
inline Vector Fill(int16_t word) {
    return _mm_set1_epi16(word);
}
inline Vector LowWords(Vector bytes) {
    return _mm_unpacklo_epi8(bytes, _mm_setzero_si128());
}
inline Vector HighWords(Vector bytes) {
    return _mm_unpackhi_epi8(bytes, _mm_setzero_si128());
}
inline Vector PackWords(Vector low, Vector high) {
    return _mm_packus_epi16(low, high);
}
inline Vector Add(Vector a, Vector b) {
    return _mm_adds_epi16(a, b);
}
inline Vector Subtract(Vector a, Vector b) {
    return _mm_sub_epi16(a, b);
}
inline Vector Multiply(Vector a, Vector b) {
    return _mm_mullo_epi16(a, b);
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
