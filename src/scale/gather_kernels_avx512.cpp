// Gather kernels for AVX-512 (F): one permutation for each pair of vectors of the stretch, and a choice.

#include <immintrin.h>

#include "scale/gather_kernels.h"

namespace trv {

namespace {

constexpr int64_t kLanes = 16;
using Places = __m512i;

inline Places FindPlaces(const int32_t* columns) {
    return _mm512_sub_epi32(_mm512_loadu_si512(columns), _mm512_set1_epi32(columns[0]));
}

template <int kVectors>
inline void Pick(const uint8_t* from, Places places, uint8_t* to) {
    constexpr int64_t kBytes = sizeof(__m512i);
    const __m512i first = _mm512_loadu_si512(from);
    __m512i pixels;
    if constexpr (kVectors == 1) {
        pixels = _mm512_permutexvar_epi32(places, first);
    } else {
        pixels = _mm512_permutex2var_epi32(first, places, _mm512_loadu_si512(from + kBytes));
    }
    if constexpr (kVectors > 2) {
        const __mmask16 isBehind = _mm512_test_epi32_mask(places, _mm512_set1_epi32(2 * kLanes));
        const __m512i third = _mm512_loadu_si512(from + 2 * kBytes);
        if constexpr (kVectors == 3) {
            pixels = _mm512_mask_permutexvar_epi32(pixels, isBehind, places, third);
        } else {
            const __m512i fourth = _mm512_loadu_si512(from + 3 * kBytes);
            pixels =
                _mm512_mask_mov_epi32(pixels, isBehind, _mm512_permutex2var_epi32(third, places, fourth));
        }
    }
    _mm512_storeu_si512(to, pixels);
}

#include "scale/gather_kernels.inc"

}  // namespace

constinit const GatherKernels kGatherKernelsAvx512 = {kLanes, kMostVectors* kLanes, &PickPixels};

}  // namespace trv
