// Blend kernels for processors with AVX2.

#include <immintrin.h>

#include "geometry/blend_kernels.h"

namespace trv {

namespace {

using Bytes = __m256i;
constexpr int64_t kVectorBytes = 32;

struct Factors {
    __m256i low;
    __m256i high;
};

Bytes LoadBytes(const uint8_t* bytes) {
    return _mm256_loadu_si256(reinterpret_cast<const Bytes*>(bytes));
}
void StoreBytes(uint8_t* bytes, Bytes v) {
    _mm256_storeu_si256(reinterpret_cast<Bytes*>(bytes), v);
}
Bytes AddBytes(Bytes a, Bytes b) {
    return _mm256_add_epi8(a, b);
}
Bytes SubtractBytes(Bytes a, Bytes b) {
    return _mm256_sub_epi8(a, b);
}
Factors SetFactor(uint16_t factor) {
    const __m256i all = _mm256_set1_epi16(static_cast<short>(factor));
    return {all, all};
}
// Bytes are unpacked within each half of a vector.
Factors LoadFactors(const uint16_t* factors) {
    const auto* vectors = reinterpret_cast<const __m256i*>(factors);
    const __m256i first = _mm256_loadu_si256(vectors);
    const __m256i second = _mm256_loadu_si256(vectors + 1);
    return {_mm256_permute2x128_si256(first, second, 0x20), _mm256_permute2x128_si256(first, second, 0x31)};
}
Bytes Shares(Bytes v, Factors factors) {
    const __m256i zero = _mm256_setzero_si256();
    return _mm256_packus_epi16(_mm256_mulhi_epu16(_mm256_unpacklo_epi8(v, zero), factors.low),
                               _mm256_mulhi_epu16(_mm256_unpackhi_epi8(v, zero), factors.high));
}

#include "geometry/blend_kernels.inc"

}  // namespace

const BlendKernels kBlendKernelsAvx2 = {&BlendRow, &BlendLanes};

}  // namespace trv
