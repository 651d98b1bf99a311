#pragma once

// Rows of a plan. The result is always that of going pixel by pixel, each made from what its bytes are when
// it is its turn, whatever memory the pictures share.
//
// The fast way brings each operand into the layout of the written picture, a block at a time and only where
// it has another one, and has a kernel make the bytes; among pixels of 4 bytes a kernel does both at once.
// Where rows overlap other than pixel upon pixel, or channels lie in unusual places, the pixels are made one
// after the other.

#include <array>
#include <cstdint>
#include <optional>
#include <span>

#include "compositing/blend_plan.h"
#include "compositing/composite_kernels.h"
#include "compositing/pixel_blender.h"
#include "image/row_set.h"
#include "spans/convert_span.h"

namespace trv {

/// One operand of all channels of a plan, as a run of bytes in the layout of the written picture.
class BlendOperand {
  public:
    static constexpr int64_t kBlockBytes = 4096;

    /// The value of channel i goes to byte `to[i]` of pixels of `step` bytes, 1 to 8.
    void Prepare(const BlendPlan& plan, std::span<const BlendValue> values, std::span<const int64_t> to,
                 int64_t step);

    /// The bytes of `count` pixels, at most a block, from the addresses of the first pixels by side. Good
    /// until the next call.
    [[nodiscard]] const uint8_t* Bytes(std::span<const uint8_t* const> pixels, int64_t count);

    /// Whether the bytes of this side are taken as they are, and from which offset on.
    [[nodiscard]] bool TakesFrom(size_t side, int64_t& first) const {
        first = first_.value_or(0);
        return first_.has_value() && side_ == side;
    }

  private:
    void AddConverters(const BlendPlan& plan, std::span<const BlendValue> values, std::span<const int64_t> to,
                       int64_t step);
    void ReduceColours(const uint8_t* pixel, int64_t count);

    size_t side_ = 0;                      // that everything but constants comes from
    std::optional<int64_t> first_;         // offset in that side's pixels of a run that serves as it is
    std::optional<SpanConverter> bytes_;   // to block_
    std::optional<SpanConverter> spread_;  // gray_ to block_
    std::optional<SpanConverter> luma_;    // to gray_
    BlendValue colours_;                   // what gray_ is made of
    int64_t colourStep_ = 0;
    std::array<uint8_t, kBlockBytes> block_{};
    std::array<uint8_t, kBlockBytes> gray_{};
};

class RowBlender {
  public:
    /// The plan must live as long.
    explicit RowBlender(const BlendPlan& plan);

    /// Makes `count` pixels. `pixels` are the addresses of the first ones by side, `to` the address to write,
    /// which is side 0's; `spots` says where those addresses lie.
    void Blend(uint8_t* to, std::span<const uint8_t* const> pixels, std::span<const StoreSpot> spots,
               int64_t count);

    /// The same where it can be done in the fast way; false, with nothing done, where it cannot. For rows
    /// that lie one behind the other, which the fast way can take as one, whatever their order.
    bool BlendRun(uint8_t* to, std::span<const uint8_t* const> pixels, std::span<const StoreSpot> spots,
                  int64_t count);

  private:
    /// Offsets of the bytes that are touched in a pixel.
    struct Extent {
        int64_t first = INT64_MAX;
        int64_t last = INT64_MIN;

        [[nodiscard]] bool IsEmpty() const { return last < first; }
        void Add(int64_t offset);
        void Add(const BlendValue& value);
    };

    static constexpr int64_t kGrayBlock = 1024;
    using GrayRun = std::array<uint8_t, kGrayBlock>;

    void FindExtents();
    [[nodiscard]] bool FitsBlocks() const;
    void PrepareMix();
    void PrepareGray();
    [[nodiscard]] bool GoesPixelUponPixel(std::span<const StoreSpot> spots, int64_t count) const;
    void BlendPixels(std::span<const uint8_t* const> pixels, uint8_t* to, int64_t count) const;
    void BlendBlocks(uint8_t* to, std::span<const uint8_t* const> pixels, int64_t count);
    void BlendBlock(std::span<const uint8_t* const> pixels, uint8_t* to, int64_t count);
    void BlendGrayBlock(std::span<const uint8_t* const> pixels, uint8_t* to, int64_t count);

    const BlendPlan& plan_;
    std::array<Extent, BlendPlan::kMostSides> extents_;
    const CompositeKernels* kernels_ = nullptr;  // null where only the slow way serves
    std::optional<PixelBlender> pixels_;         // where it serves; then what follows is not used
    int64_t blockPixels_ = 0;
    BlendOperand d_;
    BlendOperand s_;
    BlendOperand m_;
    bool keeps_ = false;  // some bytes between the written ones keep their value
    std::array<uint8_t, BlendOperand::kBlockBytes> write_{};
    std::array<GrayRun, 3> shades_{};     // MixToGray: the constants
    std::array<GrayRun, 3> mixed_{};      // and what becomes of them
    std::optional<SpanConverter> store_;  // and on to the written pixels
};

/// Runs a plan over `height` rows of `width` pixels: from row `destY` of side 0 and row `sourceY` of the
/// others on. `rows` has the sides' images in their order. Rows that cannot be had are left out. With
/// `yields`, side 0 gives the host its time behind each row.
void BlendRows(const BlendPlan& plan, RowSet& rows, std::span<const BlendSide> sides, int64_t destY,
               int64_t sourceY, int64_t width, int64_t height, bool yields);

}  // namespace trv
