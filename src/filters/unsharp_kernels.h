#pragma once

// The innermost work of the unsharp filter, where its formula can be done without a look into a table.

#include <cstdint>

namespace trv {

/// What becomes of a sample by its difference d from the other one: with |d| at least `threshold` the other
/// one plus d * whole plus (d * part >> 16), brought into a byte, else it stays. All of it fits 16 bits with
/// sign.
struct UnsharpFormula {
    int16_t whole;
    int16_t part;
    int16_t threshold;  // 0 to 256
};

/// Changes `count` samples by as many others, which do not overlap them unless they are the same; does as
/// many whole groups as there are and says how many samples those were.
using UnsharpKernel = int64_t (*)(uint8_t* samples, const uint8_t* others, int64_t count,
                                  const UnsharpFormula& formula);

int64_t UnsharpBaseline(uint8_t* samples, const uint8_t* others, int64_t count,
                        const UnsharpFormula& formula);
int64_t UnsharpAvx2(uint8_t* samples, const uint8_t* others, int64_t count, const UnsharpFormula& formula);

/// The kernel of the instruction set in use, null for the plain form.
[[nodiscard]] UnsharpKernel ActiveUnsharpKernel();

}  // namespace trv
