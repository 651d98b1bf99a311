#include "filters/oil_kernels.h"

#include "frame/instruction_set.h"

namespace trv {

template <class Word>
OilKernels<Word> ActiveOilKernels() {
    return {&SlidePlain<Word>, &FullestPlain<Word>};
}

template <>
OilKernels<uint32_t> ActiveOilKernels() {
    const auto* kernels = KernelsInUse(&kOilKernelsBaseline, &kOilKernelsAvx2, &kOilKernelsAvx512);
    return kernels == nullptr ? OilKernels<uint32_t>{&SlidePlain<uint32_t>, &FullestPlain<uint32_t>}
                              : *kernels;
}

template OilKernels<uint64_t> ActiveOilKernels();
template OilKernels<unsigned __int128> ActiveOilKernels();

}  // namespace trv
