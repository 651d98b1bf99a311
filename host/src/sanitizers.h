// What the host does for the sanitizers, when it is built with one.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#if defined(__SANITIZE_ADDRESS__)
#define TRVHOST_ASAN 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define TRVHOST_ASAN 1
#endif
#endif

#if defined(TRVHOST_ASAN) || defined(__SANITIZE_THREAD__)
#define TRVHOST_SANITIZED 1
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define TRVHOST_SANITIZED 1
#endif
#endif

#ifdef TRVHOST_ASAN
#include <sanitizer/asan_interface.h>
#endif

namespace trvhost {

/// A report needs the code that it is about.
#ifdef TRVHOST_SANITIZED
inline constexpr bool kKeepLibraries = true;
#else
inline constexpr bool kKeepLibraries = false;
#endif

/// Makes later use of a dead block a report of AddressSanitizer, or without it at least conspicuous.
inline void Poison(std::byte* block, int64_t size) {
#ifdef TRVHOST_ASAN
    ASAN_POISON_MEMORY_REGION(block, static_cast<size_t>(size));
#else
    std::memset(block, 0xDD, static_cast<size_t>(size));
#endif
}

/// Before the block is freed.
inline void Unpoison([[maybe_unused]] std::byte* block, [[maybe_unused]] int64_t size) {
#ifdef TRVHOST_ASAN
    ASAN_UNPOISON_MEMORY_REGION(block, static_cast<size_t>(size));
#endif
}

}  // namespace trvhost
