#pragma once

// What callers have to keep, as docs/safety.md tells it, and no more: everything else is called as it comes.

#include <cstdint>
#include <string>
#include <vector>

#include "members.h"
#include "trvhost/host.h"

namespace trvfuzz {

/// Bytes that a program lets one image have, so that no call takes long for its size alone.
inline constexpr int64_t kLargestStore = 32768;
/// The same for a mapped image, whose windows move in steps of 64 KiB.
inline constexpr int64_t kLargestMapped = 400000;

/// Bytes that an image over a caller's memory reaches: all rows but the last count RowSize, the last as many
/// as it or its pixels take. -1 if no memory would do.
int64_t BytesForRows(int64_t width, int64_t height, int64_t pixelSize, int64_t rowSize);

/// Bytes of a pixel in a format, 0 for none.
int64_t PixelSizeOf(const trvhost::Host& host, int64_t format);

/// Changes the arguments of a call where they would break a contract. False if the call is not to be made.
bool KeepContracts(const trvhost::Host& host, const Member& member, const trvhost::Ref& self,
                   std::vector<trvhost::Value>& arguments);

}  // namespace trvfuzz
