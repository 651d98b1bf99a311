// Row kernels for AVX-512 (F, BW, VL, DQ).

#include <immintrin.h>

#include "scale/row_kernels.h"

namespace trv {

namespace {

constexpr int kNearest = _MM_FROUND_TO_NEAREST_INT | _MM_FROUND_NO_EXC;

template <class T>
struct Vector;

template <>
struct Vector<float> {
    using Type = __m512;
    static constexpr int kLanes = 16;
    static Type Load(const float* p) { return _mm512_loadu_ps(p); }
    static void Store(float* p, Type v) { _mm512_storeu_ps(p, v); }
    static Type Set(float x) { return _mm512_set1_ps(x); }
    static Type Add(Type a, Type b) { return _mm512_add_ps(a, b); }
    static Type Multiply(Type a, Type b) { return _mm512_mul_ps(a, b); }
    static Type MultiplyAdd(Type a, Type b, Type c) { return _mm512_fmadd_ps(a, b, c); }
    static Type Min(Type a, Type b) { return _mm512_min_ps(a, b); }
    static Type Distance(Type v) { return _mm512_abs_ps(_mm512_reduce_ps(v, kNearest)); }
    static int MaskAtMost(Type a, Type b) { return _mm512_cmp_ps_mask(a, b, _CMP_LE_OQ); }
};

template <>
struct Vector<double> {
    using Type = __m512d;
    static constexpr int kLanes = 8;
    static Type Load(const double* p) { return _mm512_loadu_pd(p); }
    static void Store(double* p, Type v) { _mm512_storeu_pd(p, v); }
    static Type Set(double x) { return _mm512_set1_pd(x); }
    static Type Add(Type a, Type b) { return _mm512_add_pd(a, b); }
    static Type Multiply(Type a, Type b) { return _mm512_mul_pd(a, b); }
    static Type MultiplyAdd(Type a, Type b, Type c) { return _mm512_fmadd_pd(a, b, c); }
    static Type Min(Type a, Type b) { return _mm512_min_pd(a, b); }
    static Type Distance(Type v) { return _mm512_abs_pd(_mm512_reduce_pd(v, kNearest)); }
    static int MaskAtMost(Type a, Type b) { return _mm512_cmp_pd_mask(a, b, _CMP_LE_OQ); }
};

using Words32 = __m512i;

inline __m128i LoadBytes(const uint8_t* p) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
}

inline void FromBytes(const uint8_t* p, __m512 (&v)[1]) {
    v[0] = _mm512_cvtepi32_ps(_mm512_cvtepu8_epi32(LoadBytes(p)));
}

inline void FromBytes(const uint8_t* p, __m512d (&v)[2]) {
    const __m512i words = _mm512_cvtepu8_epi32(LoadBytes(p));
    v[0] = _mm512_cvtepi32_pd(_mm512_castsi512_si256(words));
    v[1] = _mm512_cvtepi32_pd(_mm512_extracti64x4_epi64(words, 1));
}

inline void FromWords(__m128i first, __m128i second, __m512d (&v)[2]) {
    v[0] = _mm512_cvtepi32_pd(_mm256_cvtepu16_epi32(first));
    v[1] = _mm512_cvtepi32_pd(_mm256_cvtepu16_epi32(second));
}

inline Words32 Truncate(const __m512* v) {
    return _mm512_cvttps_epi32(v[0]);
}

inline Words32 Truncate(const __m512d* v) {
    return _mm512_inserti64x4(_mm512_castsi256_si512(_mm512_cvttpd_epi32(v[0])), _mm512_cvttpd_epi32(v[1]),
                              1);
}

inline void StoreBytes(uint8_t* p, Words32 words) {
    const __m512i positive = _mm512_max_epi32(words, _mm512_setzero_si512());
    _mm_storeu_si128(reinterpret_cast<__m128i*>(p), _mm512_cvtusepi32_epi8(positive));
}

inline void StoreWords(uint8_t* p, Words32 words) {
    const __m512i positive = _mm512_max_epi32(words, _mm512_setzero_si512());
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), _mm512_cvtusepi32_epi16(positive));
}

constexpr int kTogether = 4;

/// The packs work within 128-bit parts, so that words come out in an order which one permutation rights.
template <class T>
inline void StoreTogether(uint8_t* p, const T* v) {
    constexpr int kStep = sizeof(v[0][0]) == sizeof(double) ? 2 : 1;  // vectors in a group
    const __m512i low = _mm512_packs_epi32(Truncate(v), Truncate(v + kStep));
    const __m512i high = _mm512_packs_epi32(Truncate(v + 2 * kStep), Truncate(v + 3 * kStep));
    const __m512i order = _mm512_setr_epi32(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15);
    _mm512_storeu_si512(p, _mm512_permutexvar_epi32(order, _mm512_packus_epi16(low, high)));
}

#include "scale/fixed_kernels.inc"

template <>
struct FixedVector<64> {
    using Type = __m512i;
    static constexpr int kLanes = 64;
    static Type Load(const void* p) { return _mm512_loadu_si512(p); }
    static void Store(void* p, Type v) { _mm512_storeu_si512(p, v); }
    static Type Set(int16_t x) { return _mm512_set1_epi16(x); }
    static Type InterleaveLow(Type a, Type b) { return _mm512_unpacklo_epi8(a, b); }
    static Type InterleaveHigh(Type a, Type b) { return _mm512_unpackhi_epi8(a, b); }
    static Type Products(Type a, Type b) { return _mm512_maddubs_epi16(a, b); }
    static Type Add(Type a, Type b) { return _mm512_add_epi16(a, b); }
    static Type Halve(Type a, Type b) {
        return _mm512_packus_epi16(_mm512_srli_epi16(a, 7), _mm512_srli_epi16(b, 7));
    }
};

#include "scale/row_kernels.inc"

}  // namespace

constinit const RowKernels kRowKernelsAvx512 = MakeRowKernels("avx512", MakeFixedKernels<64>());

}  // namespace trv
