// The oil filter's kernels for AVX2.

#include <immintrin.h>

#include "filters/oil_kernels.h"

namespace trv {

namespace {

constexpr uint32_t kLaneNumbers[] = {0, 1, 2, 3, 4, 5, 6, 7};

struct Vector {
    static constexpr int kLanes = 8;
    static __m256i Load(const uint32_t* p) { return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p)); }
    static void Store(uint32_t* p, __m256i v) { _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), v); }
    static __m256i Set(int value) { return _mm256_set1_epi32(value); }
    static __m256i Add(__m256i a, __m256i b) { return _mm256_add_epi32(a, b); }
    static __m256i Subtract(__m256i a, __m256i b) { return _mm256_sub_epi32(a, b); }
    static __m256i Max(__m256i a, __m256i b) { return _mm256_max_epu32(a, b); }
    static __m256i Or(__m256i a, __m256i b) { return _mm256_or_si256(a, b); }
    template <int kBits>
    static __m256i ShiftLeft(__m256i v) {
        return _mm256_slli_epi32(v, kBits);
    }
    template <int kBits>
    static __m256i ShiftRight(__m256i v) {
        return _mm256_srli_epi32(v, kBits);
    }
    static uint32_t HighestOf(__m256i v) {
        __m128i half = _mm_max_epu32(_mm256_castsi256_si128(v), _mm256_extracti128_si256(v, 1));
        half = _mm_max_epu32(half, _mm_shuffle_epi32(half, 0x4E));
        half = _mm_max_epu32(half, _mm_shuffle_epi32(half, 0xB1));
        return static_cast<uint32_t>(_mm_cvtsi128_si32(half));
    }
};

}  // namespace

}  // namespace trv

#include "filters/oil_kernels.inc"
#include "filters/oil_loops.inc"

namespace trv {

constinit const OilKernels<uint32_t> kOilKernelsAvx2 = {&SlideVectors, &FullestOfVectors};
constinit const OilKernels<uint64_t> kWideOilKernelsAvx2 = kWideLoops;

}  // namespace trv
