#pragma once

// Chance in any amount.

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "platform/clock_and_chance.h"

namespace trv {

/// Random values from the system's strong generator, or from the plain one where that gives none. They are
/// drawn in stretches, since each draw is a call of the system.
class Noise {
  public:
    uint8_t NextByte() { return *Take(1); }

    /// All 32 bits are chance.
    int32_t NextInteger() {
        int32_t value = 0;
        std::memcpy(&value, Take(sizeof value), sizeof value);
        return value;
    }

    static void Fill(uint8_t* bytes, size_t count) {
        if (SecureRandomBytes(bytes, count)) return;
        for (size_t i = 0; i < count; ++i)
            bytes[i] = static_cast<uint8_t>(PlainRandom());
    }

  private:
    const uint8_t* Take(size_t count) {
        if (left_ < count) {
            Fill(pool_, sizeof pool_);
            left_ = sizeof pool_;
        }
        left_ -= count;
        return pool_ + left_;
    }

    uint8_t pool_[4096];
    size_t left_ = 0;
};

}  // namespace trv
