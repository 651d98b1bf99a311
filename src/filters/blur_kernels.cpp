#include "filters/blur_kernels.h"

#include <algorithm>
#include <bit>
#include <cmath>

#include "frame/instruction_set.h"

namespace trv {

namespace {

/// Whether a quotient that never falls as the sum rises is right for all sums: at each multiple of the
/// divisor and right before it.
template <class Quotient>
bool IsRightEverywhere(int64_t divisor, const Quotient& quotient) {
    for (int64_t q = 0; q < 256; ++q) {
        if (quotient(q * divisor) != q || (q > 0 && quotient(q * divisor - 1) != q - 1)) return false;
    }
    return true;
}

bool IsRight(int64_t divisor, const NarrowDivision& division) {
    return IsRightEverywhere(divisor, [&](int64_t sum) {
        const int64_t raised = std::min<int64_t>(sum + division.increment, 65535);
        return ((raised * division.multiplier) >> 16) >> division.shift;
    });
}

bool IsRight(int64_t divisor, const WideDivision& division) {
    // A whole number up to 2^24 is exact as a float.
    if (divisor * 255 > int64_t{1} << 24) return false;
    return IsRightEverywhere(divisor, [&](int64_t sum) {
        return static_cast<int64_t>(static_cast<float>(sum) * division.reciprocal);
    });
}

}  // namespace

NarrowDivision NarrowDivision::By(int64_t divisor) {
    const int shift = static_cast<int>(std::bit_width(static_cast<uint64_t>(divisor))) - 1;
    const int64_t below = (int64_t{1} << (16 + shift)) / divisor;
    // Either the multiplier rounded up or the one rounded down with the increment is right.
    const NarrowDivision up{static_cast<uint16_t>(below + 1), 0, shift};
    const NarrowDivision down{static_cast<uint16_t>(below), 1, shift};
    return IsRight(divisor, up) ? up : down;
}

std::optional<WideDivision> WideDivision::By(int64_t divisor) {
    WideDivision division{1.0F / static_cast<float>(divisor)};
    for (int tries = 0; tries < 3; ++tries) {
        if (IsRight(divisor, division)) return division;
        division.reciprocal = std::nextafter(division.reciprocal, 1.0F);
    }
    return std::nullopt;
}

const BlurKernels* ActiveBlurKernels() {
    return KernelsInUse(&kBlurKernelsBaseline, &kBlurKernelsAvx2);
}

}  // namespace trv
