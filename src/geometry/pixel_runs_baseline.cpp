// The vectorised runs, for any x86-64 processor: moving bytes is bound by memory, and wider vectors do not
// make that faster.

#include "frame/instruction_set.h"
#include "geometry/pixel_runs.h"
#include "spans/vectors_baseline.h"

namespace trv {

namespace {

using namespace baseline;

/// `vector` where `keep` has zeros, what is there elsewhere.
void StoreKeeping(uint8_t* bytes, Vector vector, Vector keep) {
    Store(bytes, _mm_or_si128(_mm_and_si128(keep, Load(bytes)), _mm_andnot_si128(keep, vector)));
}

/// The elements of kSize bytes in the opposite order.
template <int kSize>
Vector Reversed(Vector v) {
    if constexpr (kSize == 1) v = _mm_or_si128(_mm_slli_epi16(v, 8), _mm_srli_epi16(v, 8));
    if constexpr (kSize <= 2) {
        v = _mm_shufflehi_epi16(_mm_shufflelo_epi16(v, _MM_SHUFFLE(0, 1, 2, 3)), _MM_SHUFFLE(0, 1, 2, 3));
        return _mm_shuffle_epi32(v, _MM_SHUFFLE(1, 0, 3, 2));
    }
    return _mm_shuffle_epi32(v, _MM_SHUFFLE(0, 1, 2, 3));
}

template <int kSize>
Vector InterleaveLow(Vector a, Vector b) {
    if constexpr (kSize == 1) return _mm_unpacklo_epi8(a, b);
    if constexpr (kSize == 2) return _mm_unpacklo_epi16(a, b);
    return _mm_unpacklo_epi32(a, b);
}

template <int kSize>
Vector InterleaveHigh(Vector a, Vector b) {
    if constexpr (kSize == 1) return _mm_unpackhi_epi8(a, b);
    if constexpr (kSize == 2) return _mm_unpackhi_epi16(a, b);
    return _mm_unpackhi_epi32(a, b);
}

/// Rows become columns. Each round is a perfect shuffle of all elements, which as often as a row's length can
/// be halved is a transposition.
template <int kSize>
void Transpose(Vector (&v)[kBytes / kSize]) {
    constexpr int kRows = kBytes / kSize;
#pragma GCC unroll 4
    for (int round = 1; round < kRows; round *= 2) {
        Vector next[kRows];
#pragma GCC unroll 8
        for (int i = 0; i < kRows / 2; ++i) {
            next[2 * i] = InterleaveLow<kSize>(v[i], v[i + kRows / 2]);
            next[2 * i + 1] = InterleaveHigh<kSize>(v[i], v[i + kRows / 2]);
        }
#pragma GCC unroll 16
        for (int i = 0; i < kRows; ++i)
            v[i] = next[i];
    }
}

/// Stores a line of kLineBytes for each of the columns in `lines`.
template <int kSize, class StoreVector>
void StoreLines(const Vector (&lines)[kLineBytes / kBytes][kBytes / kSize], uint8_t* const* to,
                int64_t toOffset, StoreVector&& store) {
    for (int column = 0; column < kBytes / kSize; ++column) {
        uint8_t* target = to[column] + toOffset;
        for (int part = 0; part < kLineBytes / kBytes; ++part)
            store(target + part * kBytes, lines[part][column]);
    }
}

template <int kSize, class StoreVector>
int64_t TurnLines(const uint8_t* const* from, int64_t columns, uint8_t* const* to, int64_t toOffset,
                  StoreVector&& store) {
    constexpr int kStep = kBytes / kSize;
    int64_t x = 0;
    for (; x + kStep <= columns; x += kStep) {
        Vector lines[kLineBytes / kBytes][kStep];
        for (int part = 0; part < kLineBytes / kBytes; ++part) {
#pragma GCC unroll 16
            for (int k = 0; k < kStep; ++k)
                lines[part][k] = Load(from[part * kStep + k] + x * kSize);
            Transpose<kSize>(lines[part]);
        }
        StoreLines<kSize>(lines, to + x, toOffset, store);
    }
    return x;
}

/// A line from both ends at a time: loads that wait for stores at addresses that look alike wait less often.
template <int kSize, class StoreVector>
int64_t SwapVectors(uint8_t* a, uint8_t* b, int64_t count, StoreVector&& store) {
    constexpr int kTogether = kLineBytes / kBytes;
    constexpr int64_t kStep = kLineBytes / kSize;
    int64_t i = 0;
    for (; i + kStep <= count; i += kStep) {
        uint8_t* left = a + i * kSize;
        uint8_t* right = b + (count - i - kStep) * kSize;
        Vector first[kTogether];
        Vector second[kTogether];
#pragma GCC unroll 4
        for (int k = 0; k < kTogether; ++k) {
            first[k] = Reversed<kSize>(Load(left + k * kBytes));
            second[k] = Reversed<kSize>(Load(right + k * kBytes));
        }
#pragma GCC unroll 4
        for (int k = 0; k < kTogether; ++k) {
            store(left + k * kBytes, second[kTogether - 1 - k]);
            store(right + k * kBytes, first[kTogether - 1 - k]);
        }
    }
    return i;
}

template <int kSize, class StoreVector>
int64_t CopyVectors(const uint8_t* from, uint8_t* to, int64_t count, StoreVector&& store) {
    constexpr int64_t kStep = kBytes / kSize;
    int64_t i = 0;
    for (; i + kStep <= count; i += kStep)
        store(to + i * kSize, Reversed<kSize>(Load(from + (count - i - kStep) * kSize)));
    return i;
}

}  // namespace

template <int kSize>
int64_t RunKernels<kSize>::SwapReversed(uint8_t* a, uint8_t* b, int64_t count, uint32_t keep) {
    const Vector kept = _mm_set1_epi32(static_cast<int>(keep));
    return keep == 0 ? SwapVectors<kSize>(a, b, count, Store)
                     : SwapVectors<kSize>(a, b, count,
                                          [kept](uint8_t* at, Vector v) { StoreKeeping(at, v, kept); });
}

template <int kSize>
int64_t RunKernels<kSize>::CopyReversed(const uint8_t* from, uint8_t* to, int64_t count, uint32_t keep) {
    const Vector kept = _mm_set1_epi32(static_cast<int>(keep));
    return keep == 0 ? CopyVectors<kSize>(from, to, count, Store)
                     : CopyVectors<kSize>(from, to, count,
                                          [kept](uint8_t* at, Vector v) { StoreKeeping(at, v, kept); });
}

template <int kSize>
int64_t RunKernels<kSize>::Turn(const uint8_t* const* from, int64_t columns, uint8_t* const* to,
                                int64_t toOffset, uint32_t keep, bool stream) {
    if (keep != 0) {
        const Vector kept = _mm_set1_epi32(static_cast<int>(keep));
        return TurnLines<kSize>(from, columns, to, toOffset,
                                [kept](uint8_t* at, Vector v) { StoreKeeping(at, v, kept); });
    }
    if (stream) {
        return TurnLines<kSize>(from, columns, to, toOffset, [](uint8_t* at, Vector v) {
            _mm_stream_si128(reinterpret_cast<Vector*>(at), v);
        });
    }
    return TurnLines<kSize>(from, columns, to, toOffset, Store);
}

template struct RunKernels<1>;
template struct RunKernels<2>;
template struct RunKernels<4>;

void SwapBytes(uint8_t* a, uint8_t* b, int64_t count) {
    int64_t i = 0;
    for (; i + kBytes <= count; i += kBytes) {
        const Vector first = Load(a + i);
        const Vector second = Load(b + i);
        Store(a + i, second);
        Store(b + i, first);
    }
    for (; i < count; ++i)
        std::swap(a[i], b[i]);
}

bool RunsAreVectors() {
    return ChosenInstructionSet() != InstructionSet::Plain;
}

void EndStreaming() {
    _mm_sfence();
}

}  // namespace trv
