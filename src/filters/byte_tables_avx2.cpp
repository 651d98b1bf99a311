// One table by byte shuffles: each shuffle looks at 16 of the 256 entries.

#include <immintrin.h>

#include "filters/byte_tables.h"

namespace trv {

namespace {

constexpr int kParts = 16;

inline __m256i LoadPart(const ByteTable& table, int part) {
    return _mm256_broadcastsi128_si256(
        _mm_loadu_si128(reinterpret_cast<const __m128i*>(&table[part * 16UL])));
}

}  // namespace

int64_t MapBytesAvx2(uint8_t* bytes, int64_t samples, std::span<const ByteTable> tables) {
    // A shuffle gives 0 for an index with its highest bit set. So entries of the lower half are looked up
    // while the index runs down below 0; each part is stored as its difference from the one before, and the
    // differences up to the right one add up. The upper half is the same with the highest bit turned around.
    __m256i parts[kParts];
    for (int half = 0; half < kParts; half += kParts / 2) {
        parts[half] = LoadPart(tables[0], half);
        for (int i = half + 1; i < half + kParts / 2; ++i)
            parts[i] = _mm256_xor_si256(LoadPart(tables[0], i), LoadPart(tables[0], i - 1));
    }
    const __m256i sixteen = _mm256_set1_epi8(16);
    const __m256i highest = _mm256_set1_epi8(-128);
    int64_t done = 0;
    for (; done + 32 <= samples; done += 32) {
        auto* place = reinterpret_cast<__m256i*>(bytes + done);
        __m256i low = _mm256_loadu_si256(place);
        __m256i high = _mm256_xor_si256(low, highest);
        // Of the two, the half that the sample is not in has its highest bit set from the start.
        __m256i mapped = _mm256_xor_si256(_mm256_shuffle_epi8(parts[0], low),
                                          _mm256_shuffle_epi8(parts[kParts / 2], high));
        for (int i = 1; i < kParts / 2; ++i) {
            // Saturated, so that what is below 0 stays there.
            low = _mm256_subs_epi8(low, sixteen);
            high = _mm256_subs_epi8(high, sixteen);
            mapped = _mm256_xor_si256(mapped, _mm256_shuffle_epi8(parts[i], low));
            mapped = _mm256_xor_si256(mapped, _mm256_shuffle_epi8(parts[kParts / 2 + i], high));
        }
        _mm256_storeu_si256(place, mapped);
    }
    return done;
}

}  // namespace trv
