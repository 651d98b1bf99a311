#include "filters/oil_kernels.h"

#include "frame/instruction_set.h"

namespace trv {

namespace {

template <class Word>
OilKernels<Word> KernelsOrPlain(const OilKernels<Word>* kernels) {
    return kernels == nullptr ? OilKernels<Word>{&SlidePlain<Word>, &FullestPlain<Word>} : *kernels;
}

}  // namespace

template <>
OilKernels<uint32_t> ActiveOilKernels() {
    return KernelsOrPlain(KernelsInUse(&kOilKernelsBaseline, &kOilKernelsAvx2, &kOilKernelsAvx512));
}

template <>
OilKernels<uint64_t> ActiveOilKernels() {
    return KernelsOrPlain(
        KernelsInUse(&kWideOilKernelsBaseline, &kWideOilKernelsAvx2, &kWideOilKernelsAvx512));
}

template <>
OilKernels<unsigned __int128> ActiveOilKernels() {
    return {&SlidePlain<unsigned __int128>, &FullestPlain<unsigned __int128>};
}

}  // namespace trv
