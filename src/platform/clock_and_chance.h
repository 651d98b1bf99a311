#pragma once

// Time and chance: the tick count that paces yields, and random values for noise.

#include <cstdint>

namespace trv {

/// Milliseconds of a monotonic clock with an arbitrary start, modulo 2^32.
[[nodiscard]] uint32_t TickCount();

/// Fills `value` from the system's strong generator; false if it has none to give.
[[nodiscard]] bool SecureRandom(uint32_t& value);

/// Seeds the process's plain generator, the fallback behind SecureRandom, from the time in seconds plus 17
/// times the process identifier (a 32-bit product, a 32-bit sum).
void SeedPlainRandom();

/// A value of the process's plain generator.
[[nodiscard]] uint32_t PlainRandom();

}  // namespace trv
