// Span kernels for AVX2. These runs are bound by memory, so wider vectors would gain nothing. What those gain
// from that change the amount is bursts: memory that is read and written by turns, a vector each, takes up to
// a quarter longer than some lines of one and then some lines of the other.

#include "spans/span_kernels.h"
#include "spans/vectors_avx2.h"

namespace trv {

namespace {

using namespace avx2;

constexpr int kBurst = 16;  // vectors

void Shuffle(const uint8_t* from, uint8_t* to, int64_t groups, const ByteShuffle& shuffle) {
    const __m128i picks = LoadHalf(shuffle.from);
    const __m128i flips = LoadHalf(shuffle.flip);
    const __m128i writes = LoadHalf(shuffle.write);
    const __m256i picks2 = _mm256_broadcastsi128_si256(picks);
    const __m256i flips2 = _mm256_broadcastsi128_si256(flips);
    const __m256i writes2 = _mm256_broadcastsi128_si256(writes);
    const int64_t fromBytes = shuffle.fromBytes;
    const int64_t toBytes = shuffle.toBytes;
    const auto made = [&](const uint8_t* first) {
        return _mm256_xor_si256(_mm256_shuffle_epi8(LoadTwo(first, first + fromBytes), picks2), flips2);
    };
    if (shuffle.writesAll) {
        if (toBytes == 12) {
            // Two groups as one run of 24 bytes; the 8 behind it are the next group's, so one is left over.
            const Vector joined = _mm256_setr_epi32(0, 1, 2, 4, 5, 6, 7, 7);
            for (; groups >= 5; groups -= 4, from += 4 * fromBytes, to += 48) {
                const Vector first = _mm256_permutevar8x32_epi32(made(from), joined);
                const Vector second = _mm256_permutevar8x32_epi32(made(from + 2 * fromBytes), joined);
                Store(to, first);
                Store(to + 24, second);
            }
        }
        for (; groups >= 4; groups -= 4, from += 4 * fromBytes, to += 4 * toBytes) {
            const Vector first = made(from);
            const Vector second = made(from + 2 * fromBytes);
            StoreTwo(to, to + toBytes, first);
            StoreTwo(to + 2 * toBytes, to + 3 * toBytes, second);
        }
        for (; groups > 0; --groups, from += fromBytes, to += toBytes)
            StoreHalf(to, _mm_xor_si128(_mm_shuffle_epi8(LoadHalf(from), picks), flips));
        return;
    }
    // Groups whose bytes fill the vectors do not touch one another, so two can be read before one is written.
    if (toBytes == 16) {
        for (; groups >= 2; groups -= 2, from += 2 * fromBytes, to += 32)
            StoreTwo(to, to + 16, _mm256_blendv_epi8(LoadTwo(to, to + 16), made(from), writes2));
    }
    for (; groups > 0; --groups, from += fromBytes, to += toBytes) {
        const __m128i bytes = _mm_xor_si128(_mm_shuffle_epi8(LoadHalf(from), picks), flips);
        StoreHalf(to, _mm_blendv_epi8(LoadHalf(to), bytes, writes));
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
    const __m128i oddPicks = LoadHalf(odd.from), oddFlips = LoadHalf(odd.flip),
                  oddWrites = LoadHalf(odd.write);
    for (; groups > 0; --groups, from += 16, to += 16 * kParts) {
        const __m256i bytes = _mm256_broadcastsi128_si256(LoadHalf(from));
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
            if constexpr (!kWritesAll) made = _mm_blendv_epi8(LoadHalf(target), made, oddWrites);
            StoreHalf(target, made);
        }
    }
}

template <int kParts, bool kWritesAll>
void SpreadInBursts(const uint8_t* from, uint8_t* to, int64_t groups, const ByteShuffle* shuffles) {
    __m256i burst[kBurst];
    for (; groups >= 2 * kBurst; groups -= 2 * kBurst, to += kBurst * 32 * kParts) {
#pragma GCC unroll 16
        for (__m256i& bytes : burst) {
            bytes = LoadTwo(from, from + 16);
            from += 32;
        }
        SpreadInto<kParts, kWritesAll>(reinterpret_cast<const uint8_t*>(burst), to, 2 * kBurst, shuffles);
    }
    SpreadInto<kParts, kWritesAll>(from, to, groups, shuffles);
}

void Spread(const uint8_t* from, uint8_t* to, int64_t groups, const ByteShuffle* shuffles, int parts) {
    bool writesAll = true;
    for (int part = 0; part < parts; ++part)
        writesAll = writesAll && shuffles[part].writesAll;
    const auto run = [&]<int kParts>() {
        (writesAll ? SpreadInBursts<kParts, true> : SpreadInBursts<kParts, false>)(from, to, groups,
                                                                                   shuffles);
    };
    if (parts == 2) run.template operator()<2>();
    if (parts == 3) run.template operator()<3>();
    if (parts == 4) run.template operator()<4>();
    if (parts == 5) run.template operator()<5>();
}

template <int kPixelSize>
void LumaOf(const uint8_t* from, uint8_t* to, int64_t groups, __m256i shares) {
    const __m256i middle = _mm256_set1_epi8(-128);
    // Weights without sign times samples less 128: at least -128 * 256, at most 127 * 256, so that nothing
    // saturates.
    const auto products = [&](__m256i pixels) {
        return _mm256_maddubs_epi16(shares, _mm256_xor_si256(pixels, middle));
    };
    const auto sums = [&](__m256i first, __m256i second) {
        const __m256i sum = _mm256_hadd_epi16(products(first), products(second));
        return _mm256_srli_epi16(_mm256_xor_si256(sum, _mm256_set1_epi16(-32768)), 8);
    };
    for (; groups > 0; --groups, from += 32 * kPixelSize, to += 32) {
        __m256i fours[4];
        LoadPixels<kPixelSize>(from, fours);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(to),
                            _mm256_packus_epi16(sums(fours[0], fours[1]), sums(fours[2], fours[3])));
    }
}

template <int kPixelSize>
void LumaInBursts(const uint8_t* from, uint8_t* to, int64_t groups, __m256i shares) {
    __m256i burst[kBurst];
    for (; groups >= kBurst; groups -= kBurst) {
        LumaOf<kPixelSize>(from, reinterpret_cast<uint8_t*>(burst), kBurst, shares);
        from += kBurst * 32 * kPixelSize;
#pragma GCC unroll 16
        for (const __m256i& bytes : burst) {
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(to), bytes);
            to += 32;
        }
    }
    LumaOf<kPixelSize>(from, to, groups, shares);
}

void Luma(const uint8_t* from, int64_t pixelSize, uint8_t* to, int64_t groups, const uint8_t (&weights)[4]) {
    int32_t packed = 0;
    __builtin_memcpy(&packed, weights, sizeof packed);
    const __m256i shares = _mm256_set1_epi32(packed);
    if (pixelSize == 4) {
        LumaInBursts<4>(from, to, groups, shares);
    } else {
        LumaInBursts<3>(from, to, groups, shares);
    }
}

}  // namespace

constinit const SpanKernels kSpanKernelsAvx2 = {&Shuffle, &Spread, &Luma};

}  // namespace trv
