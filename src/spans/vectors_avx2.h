#pragma once

// What the AVX2 kernels of several subjects are made of. For sources of that instruction set only, which all
// compile it alike.

#include <cstdint>
#include <immintrin.h>

namespace trv::avx2 {

using Vector = __m256i;
using Half = __m128i;

inline constexpr int64_t kBytes = 32;

inline Half LoadHalf(const uint8_t* p) {
    return _mm_loadu_si128(reinterpret_cast<const Half*>(p));
}

inline void StoreHalf(uint8_t* p, Half v) {
    _mm_storeu_si128(reinterpret_cast<Half*>(p), v);
}

inline Vector Load(const void* p) {
    return _mm256_loadu_si256(static_cast<const Vector*>(p));
}

inline void Store(void* p, Vector v) {
    _mm256_storeu_si256(static_cast<Vector*>(p), v);
}

inline Vector FillWord(int16_t word) {
    return _mm256_set1_epi16(word);
}

inline Vector FillInteger(int32_t integer) {
    return _mm256_set1_epi32(integer);
}

inline Vector AddBytes(Vector a, Vector b) {
    return _mm256_add_epi8(a, b);
}

inline Vector SubtractBytes(Vector a, Vector b) {
    return _mm256_sub_epi8(a, b);
}

inline Vector AddWords(Vector a, Vector b) {
    return _mm256_add_epi16(a, b);
}

inline Vector SubtractWords(Vector a, Vector b) {
    return _mm256_sub_epi16(a, b);
}

/// The lower halves of the products.
inline Vector MultiplyWords(Vector a, Vector b) {
    return _mm256_mullo_epi16(a, b);
}

/// The upper halves of the products, of words without sign.
inline Vector MultiplyHighWords(Vector a, Vector b) {
    return _mm256_mulhi_epu16(a, b);
}

inline Vector AddIntegers(Vector a, Vector b) {
    return _mm256_add_epi32(a, b);
}

/// Words times words, with sign, added up to integers by pairs.
inline Vector AddedProducts(Vector a, Vector b) {
    return _mm256_madd_epi16(a, b);
}

/// 16 bytes from each of two places.
inline Vector LoadTwo(const uint8_t* first, const uint8_t* second) {
    return _mm256_inserti128_si256(_mm256_castsi128_si256(LoadHalf(first)), LoadHalf(second), 1);
}

/// 16 bytes to each of two places. The first goes before the second, which may lie over the end of it.
inline void StoreTwo(uint8_t* first, uint8_t* second, Vector v) {
    StoreHalf(first, _mm256_castsi256_si128(v));
    StoreHalf(second, _mm256_extracti128_si256(v, 1));
}

/// The same 16 bytes in both halves.
inline Vector LoadTwice(const uint8_t* p) {
    return _mm256_broadcastsi128_si256(LoadHalf(p));
}

/// The same 4 bytes all over.
inline Vector LoadFour(const uint8_t* p) {
    int32_t four = 0;
    __builtin_memcpy(&four, p, sizeof four);
    return _mm256_set1_epi32(four);
}

// Bytes become words and go back within each half of a vector, so that their order comes out right.

/// The bytes of two vectors alternating.
inline Vector LowPairs(Vector a, Vector b) {
    return _mm256_unpacklo_epi8(a, b);
}

inline Vector HighPairs(Vector a, Vector b) {
    return _mm256_unpackhi_epi8(a, b);
}

inline Vector LowWords(Vector bytes) {
    return _mm256_unpacklo_epi8(bytes, _mm256_setzero_si256());
}

inline Vector HighWords(Vector bytes) {
    return _mm256_unpackhi_epi8(bytes, _mm256_setzero_si256());
}

/// The opposites, with saturation: integers to words, words to bytes.
inline Vector PackIntegers(Vector low, Vector high) {
    return _mm256_packs_epi32(low, high);
}

inline Vector PackWords(Vector low, Vector high) {
    return _mm256_packus_epi16(low, high);
}

/// (x - 1) / 255, truncated, of words 1 to 65535: the whole part of x * 257 / 65536.
inline Vector DivideOneLessBy255(Vector words) {
    return _mm256_mulhi_epu16(words, _mm256_set1_epi16(257));
}

/// 255 where a byte of `a` is not above that of `b`.
inline Vector IsAtMost(Vector a, Vector b) {
    return _mm256_cmpeq_epi8(_mm256_max_epu8(a, b), b);
}

/// Of 8 pixels of 4 bytes the sums of their bytes less 128 times weights without sign, as integers. The
/// weights of bytes 0 and 1 sum to 256 at most, and those of 2 and 3. So 128 times
/// all weights is missing.
inline Vector WeighPixels(Vector pixels, Vector weights) {
    // Samples less 128 are signed bytes, so that two products stay inside a signed word.
    const Vector pairs = _mm256_maddubs_epi16(weights, _mm256_xor_si256(pixels, _mm256_set1_epi8(-128)));
    return _mm256_madd_epi16(pairs, _mm256_set1_epi16(1));
}

/// 32 pixels of 4 or 3 bytes as pixels of 4: fours of them, those up to 15 in the lower halves and the others
/// in the upper ones. Of pixels of 3 the fourth is 0.
template <int kPixelSize>
inline void LoadPixels(const uint8_t* from, Vector (&fours)[4]) {
    constexpr int64_t kHalf = 16 * kPixelSize;
    if constexpr (kPixelSize == 4) {
        for (int i = 0; i < 4; ++i)
            fours[i] = LoadTwo(from + 16 * i, from + kHalf + 16 * i);
    } else {
        const Vector spread =
            _mm256_broadcastsi128_si256(_mm_setr_epi8(0, 1, 2, -1, 3, 4, 5, -1, 6, 7, 8, -1, 9, 10, 11, -1));
        const Vector a = LoadTwo(from, from + kHalf);
        const Vector b = LoadTwo(from + 16, from + kHalf + 16);
        const Vector c = LoadTwo(from + 32, from + kHalf + 32);
        fours[0] = _mm256_shuffle_epi8(a, spread);
        fours[1] = _mm256_shuffle_epi8(_mm256_alignr_epi8(b, a, 12), spread);
        fours[2] = _mm256_shuffle_epi8(_mm256_alignr_epi8(c, b, 8), spread);
        fours[3] = _mm256_shuffle_epi8(_mm256_srli_si256(c, 4), spread);
    }
}

}  // namespace trv::avx2
