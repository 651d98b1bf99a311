// Gather kernels for processors with AVX2: one permutation for each vector of the stretch, and a choice.

#include <immintrin.h>

#include "scale/gather_kernels.h"

namespace trv {

namespace {

constexpr int64_t kLanes = 8;
using Places = __m256i;

inline __m256i Load(const void* p) {
    return _mm256_loadu_si256(static_cast<const __m256i*>(p));
}

inline Places FindPlaces(const int32_t* columns) {
    return _mm256_sub_epi32(Load(columns), _mm256_set1_epi32(columns[0]));
}

template <int kVectors>
inline void Pick(const uint8_t* from, Places places, uint8_t* to) {
    constexpr int64_t kBytes = sizeof(__m256i);
    __m256i pixels = _mm256_permutevar8x32_epi32(Load(from), places);
#pragma GCC unroll 4
    for (int k = 1; k < kVectors; ++k) {
        const __m256i these = _mm256_permutevar8x32_epi32(Load(from + k * kBytes), places);
        const __m256i isHere = _mm256_cmpgt_epi32(places, _mm256_set1_epi32(k * 8 - 1));
        pixels = _mm256_blendv_epi8(pixels, these, isHere);
    }
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(to), pixels);
}

#include "scale/gather_kernels.inc"

}  // namespace

constinit const GatherKernels kGatherKernelsAvx2 = {kLanes, kMostVectors* kLanes, &PickPixels};

}  // namespace trv
