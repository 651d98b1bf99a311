#pragma once

// The inner work of the oil filter: histograms of tone bands that slide over the picture.

#include <cstdint>

namespace trv {

/// A tone band of a histogram: how many samples fell into it, in the bits from kShift on, and their sum
/// below. Bands add and subtract as the numbers that they are. A word must have room for a window's number of
/// samples.
template <class Word>
struct ToneBand;

template <>
struct ToneBand<uint32_t> {
    static constexpr int kShift = 20;
    static constexpr uint64_t kMostSamples = (uint64_t{1} << 12) - 1;
};

template <>
struct ToneBand<uint64_t> {
    static constexpr int kShift = 36;
    static constexpr uint64_t kMostSamples = (uint64_t{1} << 28) - 1;
};

template <>
struct ToneBand<unsigned __int128> {
    static constexpr int kShift = 64;
    static constexpr uint64_t kMostSamples = UINT64_MAX >> 8;
};

/// Histograms of one channel or more lie side by side, kBandStep bands at a time, unused bands all zero.
inline constexpr int64_t kBandStep = 16;

template <class Word>
struct OilKernels {
    /// Adds `entering` to a histogram of `bands` bands and takes `leaving` away.
    void (*slide)(Word* window, const Word* entering, const Word* leaving, int64_t bands);
    /// The number of the band with the most samples, the lowest of equals.
    int64_t (*fullest)(const Word* window, int64_t bands);
};

/// The kernels of the instruction set in use.
template <class Word>
[[nodiscard]] OilKernels<Word> ActiveOilKernels();

extern const OilKernels<uint32_t> kOilKernelsBaseline;
extern const OilKernels<uint32_t> kOilKernelsAvx2;
extern const OilKernels<uint32_t> kOilKernelsAvx512;
extern const OilKernels<uint64_t> kWideOilKernelsBaseline;
extern const OilKernels<uint64_t> kWideOilKernelsAvx2;
extern const OilKernels<uint64_t> kWideOilKernelsAvx512;

/// The plain form, for words of any size.
template <class Word>
void SlidePlain(Word* window, const Word* entering, const Word* leaving, int64_t bands) {
    for (int64_t i = 0; i < bands; ++i)
        window[i] += entering[i] - leaving[i];
}

template <class Word>
int64_t FullestPlain(const Word* window, int64_t bands) {
    int64_t best = 0;
    for (int64_t i = 1; i < bands; ++i) {
        if (window[i] >> ToneBand<Word>::kShift > window[best] >> ToneBand<Word>::kShift) best = i;
    }
    return best;
}

}  // namespace trv
