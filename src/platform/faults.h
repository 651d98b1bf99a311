#pragma once

// Lets a test have the system refuse something, to see what happens then. The plug-in itself never asks for
// it.

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>

namespace trv {

/// What a system can refuse.
enum class Fault { ZeroedBlock, File, FileSize, Mapping, View, PoolWork, Thread, Mutex, Event };
inline constexpr size_t kFaults = 9;

namespace faults_detail {
inline std::array<std::atomic<int64_t>, kFaults> left{};
}  // namespace faults_detail

/// The n-th next attempt fails, once; 0 takes that back.
inline void RefuseNth(Fault fault, int64_t n) {
    faults_detail::left[static_cast<size_t>(fault)] = n;
}

/// Whether the failure that was asked for is still to come.
[[nodiscard]] inline bool RefusalPending(Fault fault) {
    return faults_detail::left[static_cast<size_t>(fault)] > 0;
}

/// Asked at each attempt: whether this one fails.
[[nodiscard]] inline bool Refused(Fault fault) {
    std::atomic<int64_t>& left = faults_detail::left[static_cast<size_t>(fault)];
    return left.load(std::memory_order_relaxed) > 0 && left.fetch_sub(1) == 1;
}

}  // namespace trv
