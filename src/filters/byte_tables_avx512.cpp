// Tables by permutations of whole vectors, of which two look at all 256 entries. They belong to an extension
// (VBMI) that most but not all processors with AVX-512 have.

#include <immintrin.h>

#include "filters/byte_tables.h"

namespace trv {

namespace {

#define TRV_VBMI __attribute__((target("avx512vbmi")))

constexpr int64_t kVectorBytes = 64;

struct TableVectors {
    __m512i entries[4];
};

inline TableVectors Load(const ByteTable& table) {
    TableVectors vectors;
    for (size_t i = 0; i < 4; ++i)
        vectors.entries[i] = _mm512_loadu_si512(&table[i * 64]);
    return vectors;
}

TRV_VBMI inline __m512i Look(const TableVectors& table, __m512i samples) {
    const __m512i low = _mm512_permutex2var_epi8(table.entries[0], samples, table.entries[1]);
    const __m512i high = _mm512_permutex2var_epi8(table.entries[2], samples, table.entries[3]);
    return _mm512_mask_blend_epi8(_mm512_movepi8_mask(samples), low, high);
}

/// By the number of a vector and by channel, which of its bytes belong to the channel.
template <int kChannels>
struct ChannelMasks {
    uint64_t of[kChannels][kChannels]{};

    constexpr ChannelMasks() {
        for (int i = 0; i < kChannels * kVectorBytes; ++i)
            of[i / kVectorBytes][i % kChannels] |= uint64_t{1} << i % kVectorBytes;
    }
};

/// kChannels vectors at a time, after which the channels fall into the same bytes again.
template <int kChannels>
TRV_VBMI int64_t Map(uint8_t* bytes, int64_t samples, const ByteTable* tables) {
    TableVectors loaded[kChannels];
    static constexpr ChannelMasks<kChannels> kMasks;
    for (int channel = 0; channel < kChannels; ++channel)
        loaded[channel] = Load(tables[channel]);
    constexpr int64_t kRound = kVectorBytes * kChannels;
    int64_t done = 0;
    for (; done + kRound <= samples; done += kRound) {
        for (int phase = 0; phase < kChannels; ++phase) {
            uint8_t* place = bytes + done + phase * kVectorBytes;
            const __m512i old = _mm512_loadu_si512(place);
            __m512i mapped = Look(loaded[0], old);
            for (int channel = 1; channel < kChannels; ++channel)
                mapped = _mm512_mask_mov_epi8(mapped, kMasks.of[phase][channel], Look(loaded[channel], old));
            _mm512_storeu_si512(place, mapped);
        }
    }
    return done;
}

}  // namespace

bool RunsMapBytesAvx512() {
    return __builtin_cpu_supports("avx512vbmi") != 0;
}

TRV_VBMI int64_t MapBytesByLimitAvx512(uint8_t* bytes, const uint8_t* limits, int64_t count,
                                       const ByteTable& above, const ByteTable& upTo) {
    const TableVectors first = Load(above);
    const TableVectors second = Load(upTo);
    int64_t done = 0;
    for (; done + kVectorBytes <= count; done += kVectorBytes) {
        const __m512i old = _mm512_loadu_si512(bytes + done);
        const __mmask64 isAbove = _mm512_cmpgt_epu8_mask(old, _mm512_loadu_si512(limits + done));
        _mm512_storeu_si512(bytes + done,
                            _mm512_mask_blend_epi8(isAbove, Look(second, old), Look(first, old)));
    }
    return done;
}

int64_t MapBytesAvx512(uint8_t* bytes, int64_t samples, std::span<const ByteTable> tables) {
    switch (tables.size()) {
        case 1:
            return Map<1>(bytes, samples, tables.data());
        case 2:
            return Map<2>(bytes, samples, tables.data());
        case 3:
            return Map<3>(bytes, samples, tables.data());
        case 4:
            return Map<4>(bytes, samples, tables.data());
        default:
            return Map<5>(bytes, samples, tables.data());
    }
}

}  // namespace trv
