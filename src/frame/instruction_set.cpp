#include "frame/instruction_set.h"

#include <array>
#include <atomic>
#include <cstdlib>
#include <optional>

#include "frame/debug_log.h"

namespace trv {

namespace {

struct Candidate {
    InstructionSet set;
    const char* name;
    bool (*runs)();
};

bool RunsAnywhere() {
    return true;
}

bool RunsAvx2() {
    return __builtin_cpu_supports("avx2") != 0 && __builtin_cpu_supports("fma") != 0;
}

bool RunsAvx512() {
    return RunsAvx2() && __builtin_cpu_supports("avx512f") != 0 && __builtin_cpu_supports("avx512bw") != 0 &&
           __builtin_cpu_supports("avx512vl") != 0 && __builtin_cpu_supports("avx512dq") != 0;
}

/// Best first; the plain form is only taken when asked for.
constexpr std::array<Candidate, 4> kCandidates = {{
    {InstructionSet::Avx512, "avx512", RunsAvx512},
    {InstructionSet::Avx2, "avx2", RunsAvx2},
    {InstructionSet::Baseline, "baseline", RunsAnywhere},
    {InstructionSet::Plain, "plain", RunsAnywhere},
}};

/// What a name asks for, the best for an empty name; nothing if it cannot run.
std::optional<InstructionSet> Find(std::string_view name) {
    __builtin_cpu_init();
    for (const Candidate& candidate : kCandidates) {
        if ((name.empty() || name == candidate.name) && candidate.runs()) return candidate.set;
    }
    return std::nullopt;
}

InstructionSet ChooseAtStart() {
    const char* wanted = std::getenv("TRV_INSTRUCTION_SET");
    const auto found = Find(wanted == nullptr ? "" : wanted);
    if (found) return *found;
    TRV_LOG("TRV_INSTRUCTION_SET is unknown or not supported here", wanted);
    return *Find({});
}

std::atomic<InstructionSet>& Chosen() {
    static std::atomic<InstructionSet> chosen = ChooseAtStart();
    return chosen;
}

}  // namespace

InstructionSet ChosenInstructionSet() {
    return Chosen().load(std::memory_order_relaxed);
}

const char* NameOf(InstructionSet set) {
    for (const Candidate& candidate : kCandidates) {
        if (candidate.set == set) return candidate.name;
    }
    return "";
}

bool ForceInstructionSet(std::string_view name) {
    const auto found = Find(name);
    if (found) Chosen().store(*found, std::memory_order_relaxed);
    return found.has_value();
}

}  // namespace trv
