// Pixel kernels for AVX-512: those that gain by it, which are bound by arithmetic.

#include <immintrin.h>

#include "pixelops/pixel_kernels.h"

namespace trv {

namespace {

constexpr int64_t kVectorBytes = 64;
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

/// Replaces pixels, at most a vector of them, by what `made` makes of each.
template <class Made>
void ReplaceSome(uint8_t* pixels, int64_t count, const Made& made) {
    const auto some = static_cast<__mmask16>((1U << count) - 1);
    _mm512_mask_storeu_epi32(pixels, some, made(_mm512_maskz_loadu_epi32(some, pixels)));
}

template <class Made>
void Replace(uint8_t* pixels, int64_t count, const Made& made) {
    // A vector is a line of the cache, so none should lie on two.
    const auto toLine = static_cast<int64_t>(-reinterpret_cast<uintptr_t>(pixels) % kVectorBytes) / 4;
    int64_t i = toLine < count ? toLine : count;
    ReplaceSome(pixels, i, made);
    for (; i + kGroup <= count; i += kGroup)
        _mm512_storeu_si512(pixels + 4 * i, made(_mm512_loadu_si512(pixels + 4 * i)));
    ReplaceSome(pixels + 4 * i, count - i, made);
}

template <bool kAlphaIsLast>
void Unmultiply(uint8_t* pixels, int alphaShift, int64_t count) {
    const __m512i lastBytes =
        _mm512_broadcast_i32x4(_mm_load_si128(reinterpret_cast<const __m128i*>(kLastBytes)));
    const __m512i turn = _mm512_set1_epi32(24 - alphaShift);
    Replace(pixels, count, [&](__m512i all) {
        if constexpr (!kAlphaIsLast) all = _mm512_rolv_epi32(all, turn);
        __m512i made = Unmultiplied(all, lastBytes);
        if constexpr (!kAlphaIsLast) made = _mm512_rorv_epi32(made, turn);
        return made;
    });
}

}  // namespace

void MultiplyPixelsAvx512(uint8_t* pixels, int alphaShift, int64_t count) {
    // Words of a pixel's alpha: both bytes of a word meet the same one.
    const __m512i alphas =
        _mm512_add_epi8(_mm512_broadcast_i32x4(_mm_setr_epi8(0, -128, 0, -128, 4, -128, 4, -128, 8, -128, 8,
                                                             -128, 12, -128, 12, -128)),
                        _mm512_set1_epi16(static_cast<int16_t>(alphaShift / 8)));
    const __mmask64 colours = ~(0x1111111111111111U << (alphaShift / 8));
    Replace(pixels, count, [&](__m512i all) {
        const __m512i alpha = _mm512_shuffle_epi8(all, alphas);
        // Rounded to nearest as MultiplyTwo does it: (x + 128) * 257 / 65536.
        const auto rounded = [&](__m512i words) {
            const __m512i products =
                _mm512_add_epi16(_mm512_mullo_epi16(words, alpha), _mm512_set1_epi16(128));
            return _mm512_mulhi_epu16(products, _mm512_set1_epi16(257));
        };
        const __m512i even = rounded(_mm512_and_si512(all, _mm512_set1_epi16(255)));
        const __m512i odd = rounded(_mm512_srli_epi16(all, 8));
        return _mm512_mask_mov_epi8(all, colours, _mm512_or_si512(even, _mm512_slli_epi16(odd, 8)));
    });
}

void UnmultiplyPixelsAvx512(uint8_t* pixels, int alphaShift, int64_t count) {
    if (alphaShift == 24) {
        Unmultiply<true>(pixels, alphaShift, count);
    } else {
        Unmultiply<false>(pixels, alphaShift, count);
    }
}

}  // namespace trv
