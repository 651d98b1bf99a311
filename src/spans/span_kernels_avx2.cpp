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

/// Two groups side by side.
inline __m256i LoadTwo(const uint8_t* first, const uint8_t* second) {
    return _mm256_inserti128_si256(_mm256_castsi128_si256(Load(first)), Load(second), 1);
}

/// The first group's bytes before the second's, which may lie over the end of what the first one writes.
inline void StoreTwo(uint8_t* first, uint8_t* second, __m256i v) {
    Store(first, _mm256_castsi256_si128(v));
    Store(second, _mm256_extracti128_si256(v, 1));
}

void Shuffle(const uint8_t* from, uint8_t* to, int64_t groups, const ByteShuffle& shuffle) {
    const __m128i picks = Load(shuffle.from);
    const __m128i flips = Load(shuffle.flip);
    const __m128i writes = Load(shuffle.write);
    const __m256i picks2 = _mm256_broadcastsi128_si256(picks);
    const __m256i flips2 = _mm256_broadcastsi128_si256(flips);
    const __m256i writes2 = _mm256_broadcastsi128_si256(writes);
    const int64_t fromBytes = shuffle.fromBytes;
    const int64_t toBytes = shuffle.toBytes;
    const auto made = [&](const uint8_t* first) {
        return _mm256_xor_si256(_mm256_shuffle_epi8(LoadTwo(first, first + fromBytes), picks2), flips2);
    };
    if (shuffle.writesAll) {
        for (; groups >= 4; groups -= 4, from += 4 * fromBytes, to += 4 * toBytes) {
            const __m256i first = made(from);
            const __m256i second = made(from + 2 * fromBytes);
            StoreTwo(to, to + toBytes, first);
            StoreTwo(to + 2 * toBytes, to + 3 * toBytes, second);
        }
        for (; groups > 0; --groups, from += fromBytes, to += toBytes)
            Store(to, _mm_xor_si128(_mm_shuffle_epi8(Load(from), picks), flips));
        return;
    }
    // Groups whose bytes fill the vectors do not touch one another, so two can be read before one is written.
    if (toBytes == 16) {
        for (; groups >= 2; groups -= 2, from += 2 * fromBytes, to += 32)
            StoreTwo(to, to + 16, _mm256_blendv_epi8(LoadTwo(to, to + 16), made(from), writes2));
    }
    for (; groups > 0; --groups, from += fromBytes, to += toBytes) {
        const __m128i bytes = _mm_xor_si128(_mm_shuffle_epi8(Load(from), picks), flips);
        Store(to, _mm_blendv_epi8(Load(to), bytes, writes));
    }
}

/// Two shuffles of the same 16 bytes into 32.
struct TwoShuffles {
    __m256i picks, flips, writes;

    explicit TwoShuffles(const ByteShuffle* both)
        : picks(LoadTwo(both[0].from, both[1].from)),
          flips(LoadTwo(both[0].flip, both[1].flip)),
          writes(LoadTwo(both[0].write, both[1].write)) {}
    TwoShuffles() = default;

    [[nodiscard]] __m256i Of(__m256i bytes) const {
        return _mm256_xor_si256(_mm256_shuffle_epi8(bytes, picks), flips);
    }
};

template <int kParts, bool kWritesAll>
void SpreadInto(const uint8_t* from, uint8_t* to, int64_t groups, const ByteShuffle* shuffles) {
    TwoShuffles pairs[kParts / 2];
    for (int i = 0; i < kParts / 2; ++i)
        pairs[i] = TwoShuffles(shuffles + 2 * i);
    const ByteShuffle& odd = shuffles[kParts - 1];
    const __m128i oddPicks = Load(odd.from), oddFlips = Load(odd.flip), oddWrites = Load(odd.write);
    for (; groups > 0; --groups, from += 16, to += 16 * kParts) {
        const __m256i bytes = _mm256_broadcastsi128_si256(Load(from));
        for (int i = 0; i < kParts / 2; ++i) {
            auto* target = reinterpret_cast<__m256i*>(to + 32 * i);
            __m256i made = pairs[i].Of(bytes);
            if constexpr (!kWritesAll)
                made = _mm256_blendv_epi8(_mm256_loadu_si256(target), made, pairs[i].writes);
            _mm256_storeu_si256(target, made);
        }
        if constexpr (kParts % 2 != 0) {
            uint8_t* target = to + 16 * (kParts - 1);
            __m128i made = _mm_xor_si128(_mm_shuffle_epi8(_mm256_castsi256_si128(bytes), oddPicks), oddFlips);
            if constexpr (!kWritesAll) made = _mm_blendv_epi8(Load(target), made, oddWrites);
            Store(target, made);
        }
    }
}

void Spread(const uint8_t* from, uint8_t* to, int64_t groups, const ByteShuffle* shuffles, int parts) {
    bool writesAll = true;
    for (int part = 0; part < parts; ++part)
        writesAll = writesAll && shuffles[part].writesAll;
    const auto run = [&]<int kParts>() {
        (writesAll ? SpreadInto<kParts, true> : SpreadInto<kParts, false>)(from, to, groups, shuffles);
    };
    if (parts == 2) run.template operator()<2>();
    if (parts == 3) run.template operator()<3>();
    if (parts == 4) run.template operator()<4>();
    if (parts == 5) run.template operator()<5>();
}

/// 8 pixels of 4 bytes, from pixels of 4 or 3.
inline __m256i EightPixels(const uint8_t* from, int64_t pixelSize) {
    if (pixelSize == 4) return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(from));
    const __m256i spread =
        _mm256_broadcastsi128_si256(_mm_setr_epi8(0, 1, 2, -1, 3, 4, 5, -1, 6, 7, 8, -1, 9, 10, 11, -1));
    return _mm256_shuffle_epi8(LoadTwo(from, from + 12), spread);
}

template <int kPixelSize>
void LumaOf(const uint8_t* from, uint8_t* to, int64_t groups, __m256i shares) {
    const __m256i middle = _mm256_set1_epi8(-128);
    // Weights without sign times samples less 128: at least -128 * 256, at most 127 * 256, so that nothing
    // saturates.
    const auto products = [&](const uint8_t* pixels) {
        return _mm256_maddubs_epi16(shares, _mm256_xor_si256(EightPixels(pixels, kPixelSize), middle));
    };
    const auto sums = [&](const uint8_t* pixels) {
        const __m256i sum = _mm256_hadd_epi16(products(pixels), products(pixels + 8 * kPixelSize));
        return _mm256_srli_epi16(_mm256_xor_si256(sum, _mm256_set1_epi16(-32768)), 8);
    };
    for (; groups > 0; --groups, from += 32 * kPixelSize, to += 32) {
        const __m256i bytes = _mm256_packus_epi16(sums(from), sums(from + 16 * kPixelSize));
        // Sums and packing work within halves: fours of pixels 0 2 4 6 1 3 5 7 become 0 to 7.
        const __m256i ordered = _mm256_permutevar8x32_epi32(bytes, _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(to), ordered);
    }
}

void Luma(const uint8_t* from, int64_t pixelSize, uint8_t* to, int64_t groups, const uint8_t (&weights)[4]) {
    int32_t packed = 0;
    __builtin_memcpy(&packed, weights, sizeof packed);
    const __m256i shares = _mm256_set1_epi32(packed);
    if (pixelSize == 4) {
        LumaOf<4>(from, to, groups, shares);
    } else {
        LumaOf<3>(from, to, groups, shares);
    }
}

}  // namespace

constinit const SpanKernels kSpanKernelsAvx2 = {&Shuffle, &Spread, &Luma};

}  // namespace trv
