// Pixel kernels for AVX-512: those that gain by it, which are bound by arithmetic.

#include <immintrin.h>

#include "pixelops/pixel_kernels.h"

namespace trv {

namespace {

constexpr int64_t kGroup = 16;  // pixels of 4 bytes in a vector

/// Of four pixels the last bytes, each for all bytes of its pixel.
alignas(16) constexpr uint8_t kLastBytes[16] = {3, 3, 3, 3, 7, 7, 7, 7, 11, 11, 11, 11, 15, 15, 15, 15};

/// What UnmultiplyOne makes of pixels with alpha in their last bytes: product * 255 / alpha + 127.5 / alpha
/// where that is below 255, which is below alpha, and 255 at alpha. A colour of byte k is a number of 256^k,
/// and the half behind it the bit below.
__m512i Unmultiplied(__m512i pixels, __m512i lastBytes) {
    const __m512i alphas = _mm512_shuffle_epi8(pixels, lastBytes);
    // Without alpha nothing is below it, and no quotient is used.
    const __m512 step = _mm512_div_ps(_mm512_set1_ps(255), _mm512_cvtepi32_ps(_mm512_srli_epi32(pixels, 24)));
    const auto made = [&](int byte, int half) {
        constexpr int kAndOr = 0xEA;  // (a & b) | c
        const __m512i product = _mm512_ternarylogic_epi32(pixels, _mm512_set1_epi32(255 << (8 * byte)),
                                                          _mm512_set1_epi32(half), kAndOr);
        return _mm512_cvttps_epi32(_mm512_mul_ps(_mm512_cvtepi32_ps(product), step));
    };
    const __m512i first = _mm512_and_si512(pixels, _mm512_set1_epi32(255));
    const __m512 firstBound =
        _mm512_fmadd_ps(_mm512_cvtepi32_ps(first), step, _mm512_mul_ps(step, _mm512_set1_ps(0.5F)));
    __m512i all = _mm512_cvttps_epi32(firstBound);
    all = _mm512_mask_blend_epi8(0x2222222222222222, all, made(1, 128));
    all = _mm512_mask_blend_epi8(0x4444444444444444, all, made(2, 128 << 8));
    constexpr __mmask64 kColours = 0x7777777777777777;
    all = _mm512_mask_blend_epi8(_mm512_mask_cmplt_epu8_mask(kColours, pixels, alphas), pixels, all);
    return _mm512_mask_blend_epi8(_mm512_mask_cmpeq_epu8_mask(kColours, pixels, alphas), all,
                                  _mm512_set1_epi8(-1));
}

template <bool kAlphaIsLast>
void Unmultiply(uint8_t* pixels, int alphaShift, int64_t count) {
    const __m512i lastBytes =
        _mm512_broadcast_i32x4(_mm_load_si128(reinterpret_cast<const __m128i*>(kLastBytes)));
    const __m512i turn = _mm512_set1_epi32(24 - alphaShift);
    for (int64_t i = 0; i < count; i += kGroup) {
        const int64_t left = count - i;
        const auto some = static_cast<__mmask16>(left < kGroup ? (1U << left) - 1 : 0xFFFF);
        __m512i all = _mm512_maskz_loadu_epi32(some, pixels + 4 * i);
        if constexpr (!kAlphaIsLast) all = _mm512_rolv_epi32(all, turn);
        __m512i made = Unmultiplied(all, lastBytes);
        if constexpr (!kAlphaIsLast) made = _mm512_rorv_epi32(made, turn);
        _mm512_mask_storeu_epi32(pixels + 4 * i, some, made);
    }
}

}  // namespace

void UnmultiplyPixelsAvx512(uint8_t* pixels, int alphaShift, int64_t count) {
    if (alphaShift == 24) {
        Unmultiply<true>(pixels, alphaShift, count);
    } else {
        Unmultiply<false>(pixels, alphaShift, count);
    }
}

}  // namespace trv
