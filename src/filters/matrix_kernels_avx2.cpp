// Matrix kernels for AVX2.

#include "filters/matrix_kernels.h"
#include "spans/vectors_avx2.h"

namespace trv {

namespace {

using namespace avx2;

inline Vector Scaled(Vector integers, double factor) {
    const __m256d by = _mm256_set1_pd(factor);
    const auto four = [&](__m128i v) {
        // In this order the maximum is 0 for what is no number.
        const __m256d within = _mm256_max_pd(_mm256_mul_pd(_mm256_cvtepi32_pd(v), by), _mm256_setzero_pd());
        return _mm256_cvttpd_epi32(_mm256_min_pd(within, _mm256_set1_pd(255)));
    };
    return _mm256_inserti128_si256(_mm256_castsi128_si256(four(_mm256_castsi256_si128(integers))),
                                   four(_mm256_extracti128_si256(integers, 1)), 1);
}

#include "filters/matrix_kernels.inc"

inline Vector LowIntegers(Vector words) {
    return _mm256_srai_epi32(_mm256_unpacklo_epi16(words, words), 16);
}
inline Vector HighIntegers(Vector words) {
    return _mm256_srai_epi32(_mm256_unpackhi_epi16(words, words), 16);
}

struct NarrowSums {
    template <bool kScaled, int kVectors>
    static inline void Block(const MatrixRow& row, int64_t at, uint8_t* to) {
        Vector low[kVectors];
        Vector high[kVectors];
        const Vector delta = _mm256_set1_epi16(static_cast<int16_t>(row.delta));
        for (int v = 0; v < kVectors; ++v)
            low[v] = high[v] = delta;
        for (int64_t pair = 0; pair < row.pairs; ++pair) {
            const int16_t* w = row.weights + 2 * pair;
            const Vector weights = _mm256_set1_epi16(static_cast<int16_t>((w[0] & 255) | (w[1] * 256)));
            const uint8_t* first = row.samples[2 * pair] + at;
            const uint8_t* second = row.samples[2 * pair + 1] + at;
#pragma GCC unroll 4
            for (int v = 0; v < kVectors; ++v) {
                const Vector a = Load(first + v * kBytes);
                const Vector b = Load(second + v * kBytes);
                low[v] = _mm256_add_epi16(low[v], _mm256_maddubs_epi16(LowPairs(a, b), weights));
                high[v] = _mm256_add_epi16(high[v], _mm256_maddubs_epi16(HighPairs(a, b), weights));
            }
        }
        for (int v = 0; v < kVectors; ++v) {
            if constexpr (kScaled) {
                Integers sums{LowIntegers(low[v]), HighIntegers(low[v]), LowIntegers(high[v]),
                              HighIntegers(high[v])};
                for (Vector& part : sums.part)
                    part = Scaled(part, row.factor);
                Store(to + v * kBytes, BytesOf(sums));
            } else {
                Store(to + v * kBytes, PackWords(low[v], high[v]));
            }
        }
    }
};

}  // namespace

constinit const MatrixKernels kMatrixKernelsAvx2 = {Apply<NarrowSums, false>, Apply<NarrowSums, true>,
                                                    Apply<WideSums, false>, Apply<WideSums, true>};

}  // namespace trv
