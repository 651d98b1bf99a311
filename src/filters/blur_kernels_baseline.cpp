// Blur kernels for any x86-64 processor.

#include <emmintrin.h>

#include "filters/blur_kernels.h"

namespace trv {

namespace {

using Vector = __m128i;
constexpr int kBytes = 16;

template <class T>
inline Vector Load(const T* p) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
}
template <class T>
inline void Store(T* p, Vector v) {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(p), v);
}
inline Vector Fill(uint16_t word) {
    return _mm_set1_epi16(static_cast<int16_t>(word));
}
inline Vector Add(Vector a, Vector b) {
    return _mm_add_epi16(a, b);
}
inline Vector AddSaturated(Vector a, Vector b) {
    return _mm_adds_epu16(a, b);
}
inline Vector Multiply(Vector a, Vector b) {
    return _mm_mullo_epi16(a, b);
}
inline Vector Quotient(Vector sums, Vector multiplier, __m128i shift) {
    return _mm_srl_epi16(_mm_mulhi_epu16(sums, multiplier), shift);
}
inline Vector Low(Vector bytes) {
    return _mm_unpacklo_epi8(bytes, _mm_setzero_si128());
}
inline Vector High(Vector bytes) {
    return _mm_unpackhi_epi8(bytes, _mm_setzero_si128());
}
inline Vector LowChange(Vector a, Vector b) {
    return _mm_sub_epi16(Low(a), Low(b));
}
inline Vector HighChange(Vector a, Vector b) {
    return _mm_sub_epi16(High(a), High(b));
}
inline Vector Bytes(Vector low, Vector high) {
    return _mm_packus_epi16(low, high);
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
