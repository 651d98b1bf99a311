// The unsharp kernel for AVX2.

#include <immintrin.h>

#include "filters/unsharp_kernels.h"

namespace trv {

namespace {

using Vector = __m256i;
constexpr int kBytes = 32;

inline Vector Load(const uint8_t* p) {
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p));
}
inline void Store(uint8_t* p, Vector v) {
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), v);
}
inline Vector Fill(int16_t word) {
    return _mm256_set1_epi16(word);
}
inline Vector LowWords(Vector bytes) {
    return _mm256_unpacklo_epi8(bytes, _mm256_setzero_si256());
}
inline Vector HighWords(Vector bytes) {
    return _mm256_unpackhi_epi8(bytes, _mm256_setzero_si256());
}
inline Vector PackWords(Vector low, Vector high) {
    return _mm256_packus_epi16(low, high);
}
inline Vector Add(Vector a, Vector b) {
    return _mm256_adds_epi16(a, b);
}
inline Vector Subtract(Vector a, Vector b) {
    return _mm256_sub_epi16(a, b);
}
inline Vector Multiply(Vector a, Vector b) {
    return _mm256_mullo_epi16(a, b);
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
