// Blend kernels for any x86-64 processor: SSE2.

#include <emmintrin.h>

#include "geometry/blend_kernels.h"

namespace trv {

namespace {

using Bytes = __m128i;
constexpr int64_t kVectorBytes = 16;

struct Factors {
    __m128i low;
    __m128i high;
};

Bytes LoadBytes(const uint8_t* bytes) {
    return _mm_loadu_si128(reinterpret_cast<const Bytes*>(bytes));
}
void StoreBytes(uint8_t* bytes, Bytes v) {
    _mm_storeu_si128(reinterpret_cast<Bytes*>(bytes), v);
}
Bytes AddBytes(Bytes a, Bytes b) {
    return _mm_add_epi8(a, b);
}
Bytes SubtractBytes(Bytes a, Bytes b) {
    return _mm_sub_epi8(a, b);
}
Factors SetFactor(uint16_t factor) {
    const __m128i all = _mm_set1_epi16(static_cast<short>(factor));
    return {all, all};
}
Factors LoadFactors(const uint16_t* factors) {
    const auto* vectors = reinterpret_cast<const __m128i*>(factors);
    return {_mm_loadu_si128(vectors), _mm_loadu_si128(vectors + 1)};
}
Bytes Shares(Bytes v, Factors factors) {
    const __m128i zero = _mm_setzero_si128();
    return _mm_packus_epi16(_mm_mulhi_epu16(_mm_unpacklo_epi8(v, zero), factors.low),
                            _mm_mulhi_epu16(_mm_unpackhi_epi8(v, zero), factors.high));
}

#include "geometry/blend_kernels.inc"

}  // namespace

const BlendKernels kBlendKernelsBaseline = {&BlendRow, &BlendLanes};

}  // namespace trv
