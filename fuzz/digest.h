#pragma once

// A number for everything that a program can see of its images, to compare what the same program does to them
// on different processors.

#include <cstdint>
#include <string_view>

#include "trvhost/host.h"

namespace trvfuzz {

/// FNV-1a over all that was added.
class Digest {
  public:
    void Add(std::string_view bytes) {
        for (const char byte : bytes)
            value_ = (value_ ^ static_cast<uint8_t>(byte)) * 0x100000001B3;
    }
    /// The image's size and the bytes of its rows from their addresses on; only the size of one that is
    /// closed or has more than `kMostPixels`.
    void AddImage(const trvhost::Host& host, const trvhost::Ref& image);
    [[nodiscard]] uint64_t Value() const { return value_; }

    static constexpr int64_t kMostPixels = 100'000;

  private:
    uint64_t value_ = 0xCBF29CE484222325;
};

/// Fills the rows of a new image with bytes that depend on `seed` only.
void FillWithNoise(const trvhost::Host& host, const trvhost::Ref& image, uint64_t seed);

}  // namespace trvfuzz
