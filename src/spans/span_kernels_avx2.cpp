// Span kernels for AVX2. These runs are bound by memory, so wider vectors would gain nothing.

#include <immintrin.h>

#include "spans/span_kernels.h"

namespace trv {

namespace {

inline __m128i Load(const uint8_t* p) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
}

inline void Store(uint8_t* p, __m128i v) {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(p), v);
}

void Shuffle(const uint8_t* from, uint8_t* to, int64_t groups, const ByteShuffle& shuffle) {
    const __m128i picks = Load(shuffle.from);
    const __m128i flips = Load(shuffle.flip);
    const __m128i writes = Load(shuffle.write);
    if (shuffle.writesAll) {
        for (; groups > 0; --groups, from += shuffle.fromBytes, to += shuffle.toBytes) {
            Store(to, _mm_xor_si128(_mm_shuffle_epi8(Load(from), picks), flips));
        }
        return;
    }
    for (; groups > 0; --groups, from += shuffle.fromBytes, to += shuffle.toBytes) {
        const __m128i made = _mm_xor_si128(_mm_shuffle_epi8(Load(from), picks), flips);
        Store(to, _mm_blendv_epi8(Load(to), made, writes));
    }
}

/// 4 pixels of 4 or 3 bytes as 16 words, 4 a pixel.
inline __m256i FourPixels(const uint8_t* from, int64_t pixelSize) {
    const __m128i bytes = Load(from);
    if (pixelSize == 4) return _mm256_cvtepu8_epi16(bytes);
    const __m128i spread = _mm_setr_epi8(0, 1, 2, -1, 3, 4, 5, -1, 6, 7, 8, -1, 9, 10, 11, -1);
    return _mm256_cvtepu8_epi16(_mm_shuffle_epi8(bytes, spread));
}

void Luma(const uint8_t* from, int64_t pixelSize, uint8_t* to, int64_t groups, const int16_t (&weights)[4]) {
    int64_t packed = 0;
    __builtin_memcpy(&packed, weights, sizeof packed);
    const __m256i shares = _mm256_set1_epi64x(packed);
    // The sum of two products in each lane of 32 bits, then of two lanes.
    const auto sums = [&](const uint8_t* pixels) {
        return _mm256_madd_epi16(FourPixels(pixels, pixelSize), shares);
    };
    for (; groups > 0; --groups, from += 8 * pixelSize, to += 8) {
        const __m256i both = _mm256_hadd_epi32(sums(from), sums(from + 4 * pixelSize));
        // hadd works within halves: pixels 0 1 4 5 2 3 6 7 become 0 to 7.
        const __m256i ordered = _mm256_permute4x64_epi64(both, 0xD8);
        const __m256i shifted = _mm256_srli_epi32(ordered, 8);
        const __m128i words =
            _mm_packus_epi32(_mm256_castsi256_si128(shifted), _mm256_extracti128_si256(shifted, 1));
        _mm_storel_epi64(reinterpret_cast<__m128i*>(to), _mm_packus_epi16(words, words));
    }
}

}  // namespace

constinit const SpanKernels kSpanKernelsAvx2 = {&Shuffle, &Luma};

}  // namespace trv
