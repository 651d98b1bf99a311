#pragma once

// A run of equal pixels, written over memory at the speed of memset: some bytes of each pixel get a value,
// the others keep theirs.

#include <cstdint>

namespace trv {

/// The bytes of one pixel that are written, repeated over a block. Channels are given by their offset from
/// the address of a pixel; the offsets may lie beyond the pixel size, on a view that starts at a column.
class FillPattern {
  public:
    /// `pixelSize` bytes a pixel, 1 to 8.
    explicit FillPattern(int64_t pixelSize) : pixelSize_(pixelSize) {}

    /// Writes `value` at `offset` of each pixel; of several values for one byte the last counts.
    void Set(int64_t offset, uint8_t value);

    /// Writes `count` pixels from `pixel`, the address of the first pixel, on. Bytes without a value keep
    /// theirs.
    void Fill(uint8_t* pixel, int64_t count);

  private:
    struct ChannelByte {
        int64_t offset;
        uint8_t value;
    };

    void Prepare();
    void FillBlocks(uint8_t* bytes, int64_t length) const;
    void FillBetween(uint8_t* bytes, int64_t length) const;
    void FillSingly(uint8_t* pixel, int64_t count) const;

    static constexpr int64_t kPixelsPerBlock = 64;
    static constexpr int64_t kMaximumPixelSize = 8;
    static constexpr int kMaximumChannels = 5;

    int64_t pixelSize_;
    ChannelByte channels_[kMaximumChannels]{};
    int channelCount_ = 0;
    bool prepared_ = false;
    bool inBlocks_ = false;   // the channels of a pixel lie within one pixel size
    bool coversAll_ = false;  // every byte of a pixel gets a value
    int64_t first_ = 0;       // lowest offset
    int64_t last_ = 0;        // highest offset
    uint8_t values_[kPixelsPerBlock * kMaximumPixelSize]{};
    uint8_t kept_[kPixelsPerBlock * kMaximumPixelSize]{};  // 255 for a byte that keeps its value
};

}  // namespace trv
