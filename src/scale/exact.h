#pragma once

// The value of one resampled sample as it is defined: double precision, the taps in their order, one
// division. It is the reference of the fast passes and what they fall back to, lane by lane, where theirs is
// too close to call.

#include <cmath>
#include <cstdint>
#include <cstring>

#include "scale/contributions.h"

namespace trv {

/// Rounds a sum to a sample; a sum that is not finite gives 0.
[[nodiscard]] inline uint16_t ExactSample(double sum, float weightSum, int maxValue) {
    const double value = sum / static_cast<double>(weightSum) + 0.5;
    if (!std::isfinite(value) || value < 1.0) return 0;
    if (value >= static_cast<double>(maxValue)) return static_cast<uint16_t>(maxValue);
    return static_cast<uint16_t>(value);
}

/// How one number is read from a pixel: a byte, a word or the luma of three bytes, at offsets from the
/// pixel's address.
struct SampleReader {
    enum class Kind : uint8_t { Byte, Word, Luma };
    Kind kind = Kind::Byte;
    int64_t offset = 0;       // byte or word; red of luma
    int64_t greenOffset = 0;  // of luma
    int64_t blueOffset = 0;

    [[nodiscard]] bool operator==(const SampleReader&) const = default;

    /// One tap's share of a sum.
    [[nodiscard]] double Term(const uint8_t* pixel, double weight) const {
        switch (kind) {
            case Kind::Byte:
                return pixel[offset] * weight;
            case Kind::Word: {
                uint16_t word = 0;
                std::memcpy(&word, pixel + offset, sizeof word);
                return word * weight;
            }
            case Kind::Luma:
                return weight * (pixel[greenOffset] * 0.59) + weight * (pixel[offset] * 0.3) +
                       weight * (pixel[blueOffset] * 0.11);
        }
        return 0.0;
    }
};

/// The sum of a list over pixels that `address(position)` finds; a null address is a tap left out.
template <class Address>
[[nodiscard]] double ExactSum(const SampleReader& reader, const ContributionList& list, Address&& address) {
    double sum = 0.0;
    for (int64_t k = 0; k < list.count; ++k) {
        const ContributionEntry& entry = list.entries[k];
        if (entry.weight == 0.0F) continue;
        const uint8_t* pixel = address(int64_t{entry.pixel});
        if (pixel != nullptr) sum += reader.Term(pixel, static_cast<double>(entry.weight));
    }
    return sum;
}

}  // namespace trv
