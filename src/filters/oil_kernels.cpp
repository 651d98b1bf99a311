#include "filters/oil_kernels.h"

#include "frame/instruction_set.h"

namespace trv {

template <class Word>
OilKernels<Word> ActiveOilKernels() {
    return {&SlidePlain<Word>, &FullestPlain<Word>};
}

template <>
OilKernels<uint32_t> ActiveOilKernels() {
    const InstructionSet set = ChosenInstructionSet();
    if (set >= InstructionSet::Avx512) return kOilKernelsAvx512;
    if (set >= InstructionSet::Avx2) return kOilKernelsAvx2;
    if (set >= InstructionSet::Baseline) return kOilKernelsBaseline;
    return {&SlidePlain<uint32_t>, &FullestPlain<uint32_t>};
}

template OilKernels<uint64_t> ActiveOilKernels();
template OilKernels<unsigned __int128> ActiveOilKernels();

}  // namespace trv
