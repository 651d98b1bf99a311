#include "filters/style_kernels.h"

#include <algorithm>
#include <cmath>

#include "frame/instruction_set.h"

namespace trv {

namespace {

void Relief(uint8_t* bytes, const uint8_t* others, int64_t count) {
    for (int64_t i = 0; i < count; ++i)
        bytes[i] = static_cast<uint8_t>(std::clamp(bytes[i] - others[i] + 128, 0, 255));
}

void Glow(const uint8_t* row, const uint8_t* right, const uint8_t* below, uint8_t* result, int64_t count) {
    for (int64_t i = 0; i < count; ++i) {
        const int across = row[i] - right[i];
        const int down = row[i] - below[i];
        const double d = static_cast<double>(static_cast<float>(across * across + down * down));
        result[i] =
            static_cast<uint8_t>(std::min(static_cast<int>(static_cast<float>(std::sqrt(d + d))), 255));
    }
}

}  // namespace

constinit const StyleKernels kStyleKernelsPlain = {&Relief, &Glow};

const StyleKernels& ActiveStyleKernels() {
    const StyleKernels* kernels = KernelsInUse<const StyleKernels*>(nullptr, &kStyleKernelsAvx2);
    return kernels == nullptr ? kStyleKernelsPlain : *kernels;
}

}  // namespace trv
