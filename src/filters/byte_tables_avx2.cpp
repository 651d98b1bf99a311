// Tables by byte shuffles: each shuffle looks at 16 of the 256 entries.

#include "filters/byte_tables.h"
#include "spans/vectors_avx2.h"

namespace trv {

namespace {

using namespace avx2;

constexpr int kHalf = 8;

/// A table in parts of 16 entries. Within each half of the table a part is stored as its difference from the
/// one before.
struct Parts {
    __m256i low[kHalf];
    __m256i high[kHalf];

    explicit Parts(const ByteTable& table) {
        const uint8_t* entries = table.data();
        for (int i = 0; i < kHalf; ++i) {
            low[i] = LoadTwice(entries + 16 * i);
            high[i] = LoadTwice(entries + 128 + 16 * i);
            if (i == 0) continue;
            low[i] = _mm256_xor_si256(low[i], LoadTwice(entries + 16 * (i - 1)));
            high[i] = _mm256_xor_si256(high[i], LoadTwice(entries + 128 + 16 * (i - 1)));
        }
    }

    [[nodiscard]] __m256i Look(__m256i samples) const {
        // A shuffle gives 0 for an index with its highest bit set. A sample of the lower half runs down until
        // it is below 0 and stays there; up to then the differences add up to the right part. A sample of the
        // upper half does the same with its highest bit turned around. Of the two, one is below 0 from the
        // start.
        const __m256i sixteen = _mm256_set1_epi8(16);
        __m256i lower = samples;
        __m256i upper = _mm256_xor_si256(samples, _mm256_set1_epi8(-128));
        __m256i found =
            _mm256_xor_si256(_mm256_shuffle_epi8(low[0], lower), _mm256_shuffle_epi8(high[0], upper));
        for (int i = 1; i < kHalf; ++i) {
            lower = _mm256_subs_epi8(lower, sixteen);
            upper = _mm256_subs_epi8(upper, sixteen);
            found = _mm256_xor_si256(found, _mm256_shuffle_epi8(low[i], lower));
            found = _mm256_xor_si256(found, _mm256_shuffle_epi8(high[i], upper));
        }
        return found;
    }
};

int64_t MapOne(uint8_t* bytes, int64_t samples, const ByteTable& table) {
    const Parts parts(table);
    int64_t done = 0;
    for (; done + kBytes <= samples; done += kBytes)
        Store(bytes + done, parts.Look(Load(bytes + done)));
    return done;
}

/// Turns 4 x 4 bytes of each half, rows into columns; twice gives what it was.
inline __m256i Turn(__m256i v) {
    return _mm256_shuffle_epi8(
        v, _mm256_broadcastsi128_si256(_mm_setr_epi8(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15)));
}

/// 32 pixels a time, taken apart into a vector a channel. In which order the pixels stand there makes no
/// difference.
int64_t MapFour(uint8_t* bytes, int64_t samples, const ByteTable* tables) {
    const Parts first(tables[0]);
    const Parts second(tables[1]);
    const Parts third(tables[2]);
    const Parts fourth(tables[3]);
    int64_t done = 0;
    for (; done + 4 * kBytes <= samples; done += 4 * kBytes) {
        uint8_t* place = bytes + done;
        const __m256i p0 = Turn(Load(place));
        const __m256i p1 = Turn(Load(place + kBytes));
        const __m256i p2 = Turn(Load(place + 2 * kBytes));
        const __m256i p3 = Turn(Load(place + 3 * kBytes));
        // Four equal channels of each half next to one another, then two and two of different vectors.
        const __m256i low01 = _mm256_unpacklo_epi32(p0, p1);
        const __m256i low23 = _mm256_unpacklo_epi32(p2, p3);
        const __m256i high01 = _mm256_unpackhi_epi32(p0, p1);
        const __m256i high23 = _mm256_unpackhi_epi32(p2, p3);
        const __m256i a = first.Look(_mm256_unpacklo_epi64(low01, low23));
        const __m256i b = second.Look(_mm256_unpackhi_epi64(low01, low23));
        const __m256i c = third.Look(_mm256_unpacklo_epi64(high01, high23));
        const __m256i d = fourth.Look(_mm256_unpackhi_epi64(high01, high23));
        // The way back.
        const auto together = [](uint8_t* to, __m256i ab, __m256i cd) {
            const __m256i even = _mm256_unpacklo_epi32(ab, cd);
            const __m256i odd = _mm256_unpackhi_epi32(ab, cd);
            Store(to, Turn(_mm256_unpacklo_epi32(even, odd)));
            Store(to + kBytes, Turn(_mm256_unpackhi_epi32(even, odd)));
        };
        together(place, _mm256_unpacklo_epi64(a, b), _mm256_unpacklo_epi64(c, d));
        together(place + 2 * kBytes, _mm256_unpackhi_epi64(a, b), _mm256_unpackhi_epi64(c, d));
    }
    return done;
}

}  // namespace

int64_t MapBytesByLimitAvx2(uint8_t* bytes, const uint8_t* limits, int64_t count, const ByteTable& above,
                            const ByteTable& upTo) {
    const Parts first(above);
    const Parts second(upTo);
    int64_t done = 0;
    for (; done + kBytes <= count; done += kBytes) {
        const Vector old = Load(bytes + done);
        const Vector isUpTo = IsAtMost(old, Load(limits + done));
        Store(bytes + done, _mm256_blendv_epi8(first.Look(old), second.Look(old), isUpTo));
    }
    return done;
}

int64_t MapBytesAvx2(uint8_t* bytes, int64_t samples, std::span<const ByteTable> tables) {
    if (tables.size() == 1) return MapOne(bytes, samples, tables.front());
    return tables.size() == 4 ? MapFour(bytes, samples, tables.data()) : 0;
}

}  // namespace trv
