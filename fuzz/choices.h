#pragma once

// A stream of bytes read as decisions. Every stream is a program: what is missing reads as zero, and no value
// of a byte is refused, so that a mutated input stays an input.

#include <cstddef>
#include <cstdint>
#include <span>

namespace trvfuzz {

class Choices {
  public:
    /// The bytes must live as long as the object.
    explicit Choices(std::span<const uint8_t> bytes) : bytes_(bytes) {}

    /// Whether the bytes are used up.
    [[nodiscard]] bool Done() const { return at_ >= bytes_.size(); }

    uint8_t Byte() { return Done() ? uint8_t{0} : bytes_[at_++]; }

    /// `count` bytes, 1 to 8, as a number.
    uint64_t Bytes(int count) {
        uint64_t value = 0;
        for (int i = 0; i < count; ++i)
            value = value << 8 | Byte();
        return value;
    }

    /// 0 to count - 1, for a count of at least 1; takes one byte, or two if that is not enough.
    size_t Below(size_t count) { return static_cast<size_t>(Bytes(count > 256 ? 2 : 1)) % count; }

    /// From `low` to `high`, at most 65536 apart.
    int64_t Between(int64_t low, int64_t high) {
        return low + static_cast<int64_t>(Below(static_cast<size_t>(high - low + 1)));
    }

    /// True for one value of `count`, never once the bytes are used up.
    bool OneIn(size_t count) { return !Done() && Below(count) == count - 1; }

  private:
    std::span<const uint8_t> bytes_;
    size_t at_ = 0;
};

}  // namespace trvfuzz
