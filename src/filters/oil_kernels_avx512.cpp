// The oil filter's kernels for AVX-512.

#include <immintrin.h>

#include "filters/oil_kernels.h"

namespace trv {

namespace {

constexpr uint32_t kLaneNumbers[] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15};

struct Vector {
    static constexpr int kLanes = 16;
    static __m512i Load(const uint32_t* p) { return _mm512_loadu_si512(p); }
    static void Store(uint32_t* p, __m512i v) { _mm512_storeu_si512(p, v); }
    static __m512i Set(int value) { return _mm512_set1_epi32(value); }
    static __m512i Add(__m512i a, __m512i b) { return _mm512_add_epi32(a, b); }
    static __m512i Subtract(__m512i a, __m512i b) { return _mm512_sub_epi32(a, b); }
    static __m512i Max(__m512i a, __m512i b) { return _mm512_max_epu32(a, b); }
    static __m512i Or(__m512i a, __m512i b) { return _mm512_or_si512(a, b); }
    template <int kBits>
    static __m512i ShiftLeft(__m512i v) {
        return _mm512_slli_epi32(v, kBits);
    }
    template <int kBits>
    static __m512i ShiftRight(__m512i v) {
        return _mm512_srli_epi32(v, kBits);
    }
    static uint32_t HighestOf(__m512i v) { return _mm512_reduce_max_epu32(v); }
};

}  // namespace

}  // namespace trv

#include "filters/oil_kernels.inc"
#include "filters/oil_loops.inc"

namespace trv {

constinit const OilKernels<uint32_t> kOilKernelsAvx512 = {&SlideVectors, &FullestOfVectors};
constinit const OilKernels<uint64_t> kWideOilKernelsAvx512 = kWideLoops;

}  // namespace trv
