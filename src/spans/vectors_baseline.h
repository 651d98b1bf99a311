#pragma once

// What the kernels of several subjects for any x86-64 processor are made of: the names of vectors_avx2.h,
// half as wide.

#include <cstdint>
#include <emmintrin.h>

namespace trv::baseline {

using Vector = __m128i;

inline constexpr int64_t kBytes = 16;

inline Vector Load(const void* p) {
    return _mm_loadu_si128(static_cast<const Vector*>(p));
}

inline void Store(void* p, Vector v) {
    _mm_storeu_si128(static_cast<Vector*>(p), v);
}

inline Vector FillWord(int16_t word) {
    return _mm_set1_epi16(word);
}

inline Vector FillInteger(int32_t integer) {
    return _mm_set1_epi32(integer);
}

inline Vector AddBytes(Vector a, Vector b) {
    return _mm_add_epi8(a, b);
}

inline Vector SubtractBytes(Vector a, Vector b) {
    return _mm_sub_epi8(a, b);
}

inline Vector AddWords(Vector a, Vector b) {
    return _mm_add_epi16(a, b);
}

inline Vector SubtractWords(Vector a, Vector b) {
    return _mm_sub_epi16(a, b);
}

/// The lower halves of the products.
inline Vector MultiplyWords(Vector a, Vector b) {
    return _mm_mullo_epi16(a, b);
}

/// The upper halves of the products, of words without sign.
inline Vector MultiplyHighWords(Vector a, Vector b) {
    return _mm_mulhi_epu16(a, b);
}

inline Vector AddIntegers(Vector a, Vector b) {
    return _mm_add_epi32(a, b);
}

/// Words times words, with sign, added up to integers by pairs.
inline Vector AddedProducts(Vector a, Vector b) {
    return _mm_madd_epi16(a, b);
}

// Bytes become words and go back, so that their order comes out right.

/// The bytes of two vectors alternating.
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

/// The opposites, with saturation: integers to words, words to bytes.
inline Vector PackIntegers(Vector low, Vector high) {
    return _mm_packs_epi32(low, high);
}

inline Vector PackWords(Vector low, Vector high) {
    return _mm_packus_epi16(low, high);
}

}  // namespace trv::baseline
