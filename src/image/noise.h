#pragma once

// Chance in any amount.

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>

#include "platform/clock_and_chance.h"

namespace trv {

/// Random values from the system's strong generator, or from the plain one where that gives none. They are
/// drawn in stretches, since each draw is a call of the system.
class Noise {
  public:
    uint8_t NextByte() { return *Take(1); }

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

/// The generator xoshiro256++ by David Blackman and Sebastiano Vigna (prng.di.unimi.it): all 64 bits of a
/// value are uniform. The state is anything but zeros.
struct Xoshiro256 {
    std::array<uint64_t, 4> state{};

    uint64_t Next() {
        auto& [a, b, c, d] = state;
        const uint64_t value = std::rotl(a + d, 23) + a;
        const uint64_t shifted = b << 17;
        c ^= a;
        d ^= b;
        b ^= c;
        a ^= d;
        c ^= shifted;
        d = std::rotl(d, 45);
        return value;
    }
};

/// Uniform values of 32 bits for what has to look like chance and need not be kept from anybody. Each is a
/// draw of Noise where the system wants it so; elsewhere Noise starts a generator, which is much faster.
class UniformIntegers {
  public:
    int32_t Next() {
        if (left_ == 0) Refill();
        return pool_[--left_];
    }

  private:
    void Refill();

    std::array<int32_t, 1024> pool_;
    size_t left_ = 0;
    Xoshiro256 generator_;
};

}  // namespace trv
