#pragma once

// Time and chance: the tick count that paces yields, and random values for noise.

#include <cstddef>
#include <cstdint>

namespace trv {

/// Milliseconds of a monotonic clock with an arbitrary start, modulo 2^32.
[[nodiscard]] uint32_t TickCount();

/// Fills `count` bytes from the system's strong generator; false, with nothing promised about the bytes, if
/// it has none to give.
[[nodiscard]] bool SecureRandomBytes(uint8_t* bytes, size_t count);

/// Whether the system's strong generator is to make each single value, even where a picture only has to look
/// random: so on Windows. Elsewhere it may do with starting another one.
[[nodiscard]] bool DrawsEachValueStrongly();

/// Seeds the process's plain generator, the fallback behind SecureRandomBytes, from the time in seconds plus
/// 17 times the process identifier (a 32-bit product, a 32-bit sum).
void SeedPlainRandom();

/// A value of the process's plain generator.
[[nodiscard]] uint32_t PlainRandom();

}  // namespace trv
