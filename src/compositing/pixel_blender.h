#pragma once

// Rows of plans that write pixels of 4 bytes from such pixels, in one pass: the other pictures come into the
// layout of the written one on the way through the registers. The mask can be gray or count by its
// brightness.

#include <array>
#include <cstdint>
#include <optional>
#include <span>

#include "compositing/blend_plan.h"
#include "compositing/composite_kernels.h"

namespace trv {

class PixelBlender {
  public:
    /// A blender for the plan, whose written bytes lie in one run a pixel and each apart; nothing if the plan
    /// is not of this kind or the kernels are not.
    [[nodiscard]] static std::optional<PixelBlender> For(const BlendPlan& plan,
                                                         const CompositeKernels& kernels);

    /// Makes `count` pixels at `to` from the addresses of the first ones by side. What is read may be what is
    /// written, pixel upon pixel.
    void Blend(uint8_t* to, std::span<const uint8_t* const> pixels, int64_t count);

  private:
    /// Where the bytes of an operand lie that are read.
    struct Reach {
        size_t side = 0;
        int64_t first = 0;  // offset from the address of a pixel
        int64_t bytes = 0;  // of a pixel, to the last one read; 0 for constants
        int64_t step = 0;
    };

    static constexpr size_t kOperands = 3;

    PixelBlender() = default;
    bool Prepare(const BlendPlan& plan);
    bool PrepareOperand(size_t number, const BlendPlan& plan, BlendValue BlendChannel::*column);
    static bool ChooseKind(PixelOperand& operand, const BlendValue& value, const Reach& reach, bool isMask);
    void SetPicks(PixelOperand& operand, const BlendPlan& plan, BlendValue BlendChannel::*column,
                  const Reach& reach) const;
    void BlendLast(uint8_t* to, int64_t count);
    [[nodiscard]] std::array<PixelOperand*, kOperands> Operands() {
        return {&blend_.d, &blend_.s, &blend_.m};
    }

    PixelBlendKernel kernel_ = nullptr;
    PixelBlend blend_{};
    std::array<Reach, kOperands> reach_{};  // in the order of Operands
    int64_t toFirst_ = 0;
    int64_t toBytes_ = 0;
    bool reachesNext_ = false;  // the kernel touches bytes behind the last one of a pixel that is its own
};

}  // namespace trv
