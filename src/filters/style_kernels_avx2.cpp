// Sample kernels for AVX2. These runs are bound by memory, so wider vectors would gain nothing.

#include "filters/style_kernels.h"
#include "spans/vectors_avx2.h"

namespace trv {

namespace {

using namespace avx2;

void Relief(uint8_t* bytes, const uint8_t* others, int64_t count) {
    // Around 0 the limits are those of signed bytes.
    const __m256i middle = _mm256_set1_epi8(-128);
    int64_t i = 0;
    for (; i + kBytes <= count; i += kBytes) {
        const __m256i difference = _mm256_subs_epi8(_mm256_xor_si256(Load(bytes + i), middle),
                                                    _mm256_xor_si256(Load(others + i), middle));
        Store(bytes + i, _mm256_xor_si256(difference, middle));
    }
    kStyleKernelsPlain.relief(bytes + i, others + i, count - i);
}

/// The roots of 8 doubled sums, truncated. A sum has 18 bits, so that a float holds it, and a root rounded
/// from a float is the same by way of a double or not.
inline __m256i Roots(__m256i sums) {
    const __m256 doubled = _mm256_cvtepi32_ps(_mm256_add_epi32(sums, sums));
    return _mm256_cvttps_epi32(_mm256_sqrt_ps(doubled));
}

/// Of 16 pairs of differences, the roots of the sums of squares, as words.
inline __m256i RootsOfPairs(__m256i pairs) {
    const __m256i zero = _mm256_setzero_si256();
    const __m256i low = _mm256_unpacklo_epi8(pairs, zero);
    const __m256i high = _mm256_unpackhi_epi8(pairs, zero);
    return _mm256_packs_epi32(Roots(_mm256_madd_epi16(low, low)), Roots(_mm256_madd_epi16(high, high)));
}

inline __m256i Distance(__m256i a, __m256i b) {
    return _mm256_or_si256(_mm256_subs_epu8(a, b), _mm256_subs_epu8(b, a));
}

void Glow(const uint8_t* row, const uint8_t* right, const uint8_t* below, uint8_t* result, int64_t count) {
    int64_t i = 0;
    for (; i + kBytes <= count; i += kBytes) {
        const __m256i samples = Load(row + i);
        const __m256i across = Distance(samples, Load(right + i));
        const __m256i down = Distance(samples, Load(below + i));
        // Unpacking and packing both keep to the halves of a vector, so that the order comes out right.
        Store(result + i, _mm256_packus_epi16(RootsOfPairs(_mm256_unpacklo_epi8(across, down)),
                                              RootsOfPairs(_mm256_unpackhi_epi8(across, down))));
    }
    kStyleKernelsPlain.glow(row + i, right + i, below + i, result + i, count - i);
}

}  // namespace

constinit const StyleKernels kStyleKernelsAvx2 = {&Relief, &Glow};

}  // namespace trv
