// Row kernels for AVX2 and FMA.

#include <immintrin.h>

#include "scale/row_kernels.h"

namespace trv {

namespace {

constexpr int kNearest = _MM_FROUND_TO_NEAREST_INT | _MM_FROUND_NO_EXC;

template <class T>
struct Vector;

template <>
struct Vector<float> {
    using Type = __m256;
    static constexpr int kLanes = 8;
    static Type Load(const float* p) { return _mm256_loadu_ps(p); }
    static void Store(float* p, Type v) { _mm256_storeu_ps(p, v); }
    static Type Set(float x) { return _mm256_set1_ps(x); }
    static Type Add(Type a, Type b) { return _mm256_add_ps(a, b); }
    static Type Multiply(Type a, Type b) { return _mm256_mul_ps(a, b); }
    static Type MultiplyAdd(Type a, Type b, Type c) { return _mm256_fmadd_ps(a, b, c); }
    static Type Min(Type a, Type b) { return _mm256_min_ps(a, b); }
    static Type Distance(Type v) {
        return _mm256_andnot_ps(Set(-0.0F), _mm256_sub_ps(v, _mm256_round_ps(v, kNearest)));
    }
    static int MaskAtMost(Type a, Type b) { return _mm256_movemask_ps(_mm256_cmp_ps(a, b, _CMP_LE_OQ)); }
};

template <>
struct Vector<double> {
    using Type = __m256d;
    static constexpr int kLanes = 4;
    static Type Load(const double* p) { return _mm256_loadu_pd(p); }
    static void Store(double* p, Type v) { _mm256_storeu_pd(p, v); }
    static Type Set(double x) { return _mm256_set1_pd(x); }
    static Type Add(Type a, Type b) { return _mm256_add_pd(a, b); }
    static Type Multiply(Type a, Type b) { return _mm256_mul_pd(a, b); }
    static Type MultiplyAdd(Type a, Type b, Type c) { return _mm256_fmadd_pd(a, b, c); }
    static Type Min(Type a, Type b) { return _mm256_min_pd(a, b); }
    static Type Distance(Type v) {
        return _mm256_andnot_pd(Set(-0.0), _mm256_sub_pd(v, _mm256_round_pd(v, kNearest)));
    }
    static int MaskAtMost(Type a, Type b) { return _mm256_movemask_pd(_mm256_cmp_pd(a, b, _CMP_LE_OQ)); }
};

struct Words32 {
    __m256i low;
    __m256i high;
};

inline __m128i LoadBytes(const uint8_t* p) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
}

inline void FromBytes(const uint8_t* p, __m256 (&v)[2]) {
    const __m128i bytes = LoadBytes(p);
    v[0] = _mm256_cvtepi32_ps(_mm256_cvtepu8_epi32(bytes));
    v[1] = _mm256_cvtepi32_ps(_mm256_cvtepu8_epi32(_mm_srli_si128(bytes, 8)));
}

inline void FromWords(__m128i first, __m128i second, __m256d (&v)[4]) {
    const __m256i low = _mm256_cvtepu16_epi32(first);
    const __m256i high = _mm256_cvtepu16_epi32(second);
    v[0] = _mm256_cvtepi32_pd(_mm256_castsi256_si128(low));
    v[1] = _mm256_cvtepi32_pd(_mm256_extracti128_si256(low, 1));
    v[2] = _mm256_cvtepi32_pd(_mm256_castsi256_si128(high));
    v[3] = _mm256_cvtepi32_pd(_mm256_extracti128_si256(high, 1));
}

inline void FromBytes(const uint8_t* p, __m256d (&v)[4]) {
    const __m256i words = _mm256_cvtepu8_epi16(LoadBytes(p));
    FromWords(_mm256_castsi256_si128(words), _mm256_extracti128_si256(words, 1), v);
}

inline Words32 Truncate(const __m256* v) {
    return {_mm256_cvttps_epi32(v[0]), _mm256_cvttps_epi32(v[1])};
}

inline Words32 Truncate(const __m256d* v) {
    const auto pair = [](__m256d low, __m256d high) {
        return _mm256_inserti128_si256(_mm256_castsi128_si256(_mm256_cvttpd_epi32(low)),
                                       _mm256_cvttpd_epi32(high), 1);
    };
    return {pair(v[0], v[1]), pair(v[2], v[3])};
}

inline void StoreBytes(uint8_t* p, Words32 words) {
    const __m128i low =
        _mm_packs_epi32(_mm256_castsi256_si128(words.low), _mm256_extracti128_si256(words.low, 1));
    const __m128i high =
        _mm_packs_epi32(_mm256_castsi256_si128(words.high), _mm256_extracti128_si256(words.high, 1));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(p), _mm_packus_epi16(low, high));
}

inline void StoreWords(uint8_t* p, Words32 words) {
    const __m256i packed = _mm256_packus_epi32(words.low, words.high);
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), _mm256_permute4x64_epi64(packed, 0xD8));
}

constexpr int kTogether = 2;

/// The packs work within 128-bit parts, so that words come out in an order which one permutation rights.
template <class T>
inline void StoreTogether(uint8_t* p, const T* v) {
    constexpr int kStep = sizeof(v[0][0]) == sizeof(double) ? 4 : 2;  // vectors in a group
    const Words32 first = Truncate(v);
    const Words32 second = Truncate(v + kStep);
    const __m256i bytes = _mm256_packus_epi16(_mm256_packs_epi32(first.low, first.high),
                                              _mm256_packs_epi32(second.low, second.high));
    const __m256i order = _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7);
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), _mm256_permutevar8x32_epi32(bytes, order));
}

#include "scale/fixed_kernels.inc"
#include "scale/row_kernels.inc"

}  // namespace

constinit const RowKernels kRowKernelsAvx2 = MakeRowKernels("avx2", MakeFixedKernels<32>());

}  // namespace trv
