#include "scale/instruction_set.h"

#include <array>
#include <atomic>
#include <cstdlib>

#include "frame/debug_log.h"

namespace trv {

namespace {

struct Candidate {
    const char* name;
    const RowKernels* kernels;
    bool (*runs)();
};

bool RunsAvx512() {
    return __builtin_cpu_supports("avx512f") != 0 && __builtin_cpu_supports("avx512bw") != 0 &&
           __builtin_cpu_supports("avx512vl") != 0 && __builtin_cpu_supports("avx512dq") != 0 &&
           __builtin_cpu_supports("fma") != 0;
}

bool RunsAvx2() {
    return __builtin_cpu_supports("avx2") != 0 && __builtin_cpu_supports("fma") != 0;
}

/// Best first; the plain form is only taken when asked for.
constexpr std::array<Candidate, 4> kCandidates = {{
    {"avx512", &kRowKernelsAvx512, &RunsAvx512},
    {"avx2", &kRowKernelsAvx2, &RunsAvx2},
    {"baseline", &kRowKernelsBaseline, [] { return true; }},
    {"plain", nullptr, [] { return true; }},
}};

/// The candidate that a name asks for, the best one for an empty name, null if there is none to run.
const Candidate* Find(std::string_view name) {
    __builtin_cpu_init();
    for (const Candidate& candidate : kCandidates) {
        if ((name.empty() || name == candidate.name) && candidate.runs()) return &candidate;
    }
    return nullptr;
}

const Candidate* ChooseAtStart() {
    const char* wanted = std::getenv("TRV_INSTRUCTION_SET");
    if (wanted != nullptr && *wanted != 0) {
        if (const Candidate* forced = Find(wanted)) return forced;
        TRV_LOG("TRV_INSTRUCTION_SET is unknown or not supported here", wanted);
    }
    return Find({});
}

std::atomic<const Candidate*>& Chosen() {
    static std::atomic<const Candidate*> chosen = ChooseAtStart();
    return chosen;
}

}  // namespace

const RowKernels* ActiveRowKernels() {
    return Chosen().load(std::memory_order_relaxed)->kernels;
}

bool ForceRowKernels(std::string_view name) {
    const Candidate* found = Find(name);
    if (found == nullptr) return false;
    Chosen().store(found, std::memory_order_relaxed);
    return true;
}

const char* ActiveInstructionSet() {
    return Chosen().load(std::memory_order_relaxed)->name;
}

}  // namespace trv
