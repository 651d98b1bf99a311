// The oil filter's kernels for any x86-64: loops that the compiler turns into vectors.

#include <algorithm>

#include "filters/oil_kernels.h"

namespace trv {

namespace {

void Slide(uint32_t* window, const uint32_t* entering, const uint32_t* leaving, int64_t bands) {
    for (int64_t i = 0; i < bands; ++i)
        window[i] += entering[i] - leaving[i];
}

/// As with wider vectors: the greatest of counts above, with distances from the last band below.
int64_t Fullest(const uint32_t* window, int64_t bands) {
    int32_t best = 0;
    for (int32_t i = 0; i < static_cast<int32_t>(bands); ++i)
        best =
            std::max(best, static_cast<int32_t>(window[i] >> ToneBand<uint32_t>::kShift << 8 | (255U - i)));
    return 255 - (best & 255);
}

}  // namespace

constinit const OilKernels<uint32_t> kOilKernelsBaseline = {&Slide, &Fullest};

}  // namespace trv
