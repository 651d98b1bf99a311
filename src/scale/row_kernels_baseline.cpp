// Row kernels for any x86-64 processor: SSE2.

#include <emmintrin.h>

#include "scale/row_kernels.h"

namespace trv {

namespace {

template <class T>
struct Vector;

// Without a rounding instruction: the fraction f of the truncated value is as near to an integer as | |f| -
// 1/2 | is to a half. The last subtractions may round; the margins have room for it.

template <>
struct Vector<float> {
    using Type = __m128;
    static constexpr int kLanes = 4;
    static Type Load(const float* p) { return _mm_loadu_ps(p); }
    static void Store(float* p, Type v) { _mm_storeu_ps(p, v); }
    static Type Set(float x) { return _mm_set1_ps(x); }
    static Type Add(Type a, Type b) { return _mm_add_ps(a, b); }
    static Type Multiply(Type a, Type b) { return _mm_mul_ps(a, b); }
    static Type MultiplyAdd(Type a, Type b, Type c) { return _mm_add_ps(_mm_mul_ps(a, b), c); }
    static Type Min(Type a, Type b) { return _mm_min_ps(a, b); }
    static Type Distance(Type v) {
        const Type fraction = _mm_sub_ps(v, _mm_cvtepi32_ps(_mm_cvttps_epi32(v)));
        const Type off = _mm_sub_ps(_mm_andnot_ps(Set(-0.0F), fraction), Set(0.5F));
        return _mm_sub_ps(Set(0.5F), _mm_andnot_ps(Set(-0.0F), off));
    }
    static int MaskAtMost(Type a, Type b) { return _mm_movemask_ps(_mm_cmple_ps(a, b)); }
};

template <>
struct Vector<double> {
    using Type = __m128d;
    static constexpr int kLanes = 2;
    static Type Load(const double* p) { return _mm_loadu_pd(p); }
    static void Store(double* p, Type v) { _mm_storeu_pd(p, v); }
    static Type Set(double x) { return _mm_set1_pd(x); }
    static Type Add(Type a, Type b) { return _mm_add_pd(a, b); }
    static Type Multiply(Type a, Type b) { return _mm_mul_pd(a, b); }
    static Type MultiplyAdd(Type a, Type b, Type c) { return _mm_add_pd(_mm_mul_pd(a, b), c); }
    static Type Min(Type a, Type b) { return _mm_min_pd(a, b); }
    static Type Distance(Type v) {
        const Type fraction = _mm_sub_pd(v, _mm_cvtepi32_pd(_mm_cvttpd_epi32(v)));
        const Type off = _mm_sub_pd(_mm_andnot_pd(Set(-0.0), fraction), Set(0.5));
        return _mm_sub_pd(Set(0.5), _mm_andnot_pd(Set(-0.0), off));
    }
    static int MaskAtMost(Type a, Type b) { return _mm_movemask_pd(_mm_cmple_pd(a, b)); }
};

struct Words32 {
    __m128i part[4];
};

inline __m128i LoadBytes(const uint8_t* p) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
}

/// 16 words to 16 32-bit integers.
inline Words32 Widen(__m128i first, __m128i second) {
    const __m128i zero = _mm_setzero_si128();
    return {{_mm_unpacklo_epi16(first, zero), _mm_unpackhi_epi16(first, zero),
             _mm_unpacklo_epi16(second, zero), _mm_unpackhi_epi16(second, zero)}};
}

inline Words32 WidenBytes(__m128i bytes) {
    const __m128i zero = _mm_setzero_si128();
    return Widen(_mm_unpacklo_epi8(bytes, zero), _mm_unpackhi_epi8(bytes, zero));
}

inline void ToDoubles(const Words32& words, __m128d (&v)[8]) {
#pragma GCC unroll 4
    for (int k = 0; k < 4; ++k) {
        v[2 * k] = _mm_cvtepi32_pd(words.part[k]);
        v[2 * k + 1] = _mm_cvtepi32_pd(_mm_srli_si128(words.part[k], 8));
    }
}

inline void FromBytes(const uint8_t* p, __m128 (&v)[4]) {
    const Words32 words = WidenBytes(LoadBytes(p));
#pragma GCC unroll 4
    for (int k = 0; k < 4; ++k)
        v[k] = _mm_cvtepi32_ps(words.part[k]);
}

inline void FromBytes(const uint8_t* p, __m128d (&v)[8]) {
    ToDoubles(WidenBytes(LoadBytes(p)), v);
}

inline void FromWords(__m128i first, __m128i second, __m128d (&v)[8]) {
    ToDoubles(Widen(first, second), v);
}

inline Words32 Truncate(const __m128* v) {
    return {{_mm_cvttps_epi32(v[0]), _mm_cvttps_epi32(v[1]), _mm_cvttps_epi32(v[2]), _mm_cvttps_epi32(v[3])}};
}

inline Words32 Truncate(const __m128d* v) {
    const auto pair = [](__m128d low, __m128d high) {
        return _mm_unpacklo_epi64(_mm_cvttpd_epi32(low), _mm_cvttpd_epi32(high));
    };
    return {{pair(v[0], v[1]), pair(v[2], v[3]), pair(v[4], v[5]), pair(v[6], v[7])}};
}

inline void StoreBytes(uint8_t* p, const Words32& words) {
    const __m128i low = _mm_packs_epi32(words.part[0], words.part[1]);
    const __m128i high = _mm_packs_epi32(words.part[2], words.part[3]);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(p), _mm_packus_epi16(low, high));
}

/// Packs with unsigned saturation by way of the signed one, the range moved down by half of it.
inline void StoreWords(uint8_t* p, const Words32& words) {
    const __m128i middle32 = _mm_set1_epi32(32768);
    const __m128i middle16 = _mm_set1_epi16(-32768);
    const auto pack = [&](__m128i low, __m128i high) {
        return _mm_xor_si128(_mm_packs_epi32(_mm_sub_epi32(low, middle32), _mm_sub_epi32(high, middle32)),
                             middle16);
    };
    _mm_storeu_si128(reinterpret_cast<__m128i*>(p), pack(words.part[0], words.part[1]));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(p + 16), pack(words.part[2], words.part[3]));
}

constexpr int kTogether = 16;  // more than there are groups

template <class T>
inline void StoreTogether(uint8_t*, const T*) {}

#include "scale/row_kernels.inc"

}  // namespace

constinit const RowKernels kRowKernelsBaseline = MakeRowKernels("baseline", {});

}  // namespace trv
