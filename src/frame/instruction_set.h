#pragma once

// Which form of the vectorised kernels runs, chosen once by what processor and operating system have. Kernels
// that exist for several instruction sets are compiled from one source each and picked by this choice.
//
// The environment variable TRV_INSTRUCTION_SET forces one by name, for tests and measurements: "plain" (no
// vectors at all), "baseline" (any x86-64), "avx2" (with FMA) or "avx512" (F, BW, VL, DQ). A name that does
// not exist, or that this machine cannot run, leaves the choice as it is, with a diagnostic.

#include <cstdint>
#include <string_view>

namespace trv {

enum class InstructionSet : uint8_t { Plain, Baseline, Avx2, Avx512 };

/// The instruction set in use.
[[nodiscard]] InstructionSet ChosenInstructionSet();

/// Of kernels that exist for several instruction sets, by pointers to tables of them or to themselves, those
/// that suit the one in use, which are those of the next lower one where it has none of its own; null for the
/// plain form.
template <class Pointer>
[[nodiscard]] Pointer KernelsInUse(Pointer baseline, Pointer avx2, Pointer avx512 = nullptr) {
    const InstructionSet set = ChosenInstructionSet();
    if (set >= InstructionSet::Avx512 && avx512 != nullptr) return avx512;
    if (set >= InstructionSet::Avx2 && avx2 != nullptr) return avx2;
    return set >= InstructionSet::Baseline ? baseline : nullptr;
}

/// Its name.
[[nodiscard]] const char* NameOf(InstructionSet set);

/// Forces an instruction set by name, or the best one by an empty name, for the whole process; false, with
/// nothing changed, for a name that does not exist or that this machine cannot run.
bool ForceInstructionSet(std::string_view name);

}  // namespace trv
