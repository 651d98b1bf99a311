#pragma once

// Samples through tables of 256 entries, one table a channel: the work of every filter whose result at a
// sample depends on that sample alone.

#include <array>
#include <cstdint>
#include <span>

namespace trv {

/// The new value of each old one.
using ByteTable = std::array<uint8_t, 256>;

inline constexpr int64_t kMostTables = 5;

/// The form of the work that an instruction set has: replaces each of the `samples` bytes, of which the first
/// is of the first channel and so on around. It may stop short of the end, behind a whole pixel, and says how
/// many bytes it did.
using MapBytesKernel = int64_t (*)(uint8_t* bytes, int64_t samples, std::span<const ByteTable> tables);

/// Each of them does any number of equal or different tables up to kMostTables. Byte shuffles look at 16
/// entries of a table at once, and permutations of whole vectors at 128, on processors that have them.
int64_t MapBytesAvx2(uint8_t* bytes, int64_t samples, std::span<const ByteTable> tables);
int64_t MapBytesAvx512(uint8_t* bytes, int64_t samples, std::span<const ByteTable> tables);
[[nodiscard]] bool RunsMapBytesAvx512();

/// The same of bytes that go through one table above a limit and through another up to it.
using MapBytesByLimitKernel = int64_t (*)(uint8_t* bytes, const uint8_t* limits, int64_t count,
                                          const ByteTable& above, const ByteTable& upTo);

int64_t MapBytesByLimitAvx2(uint8_t* bytes, const uint8_t* limits, int64_t count, const ByteTable& above,
                            const ByteTable& upTo);
int64_t MapBytesByLimitAvx512(uint8_t* bytes, const uint8_t* limits, int64_t count, const ByteTable& above,
                              const ByteTable& upTo);

/// Replaces each of `count` bytes: by table `above` where it is above the limit of its place, else by `upTo`.
void MapBytesByLimit(uint8_t* bytes, const uint8_t* limits, int64_t count, const ByteTable& above,
                     const ByteTable& upTo);

/// Replaces the samples of `pixels` pixels of tables.size() bytes each, channel by channel through its table.
void MapBytes(uint8_t* bytes, int64_t pixels, std::span<const ByteTable> tables);

}  // namespace trv
