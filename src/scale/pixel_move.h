#pragma once

// A move of pixels from one layout into another, byte by byte or, where the instruction set can, 16 bytes at
// a time.

#include <array>
#include <cstdint>

#include "scale/row_kernels.h"

namespace trv {

class PixelMove {
  public:
    /// A move between pixels `fromSize` and `toSize` bytes apart that moves nothing yet.
    PixelMove(int64_t fromSize = 1, int64_t toSize = 1) : fromSize_(fromSize), toSize_(toSize) {}

    /// Adds `size` bytes at `from` of a pixel, which go to `to`. Where two go to the same place, the later
    /// one stays.
    void Add(int64_t from, int64_t to, int64_t size);
    /// To be called after the last Add.
    void Finish();

    /// Bytes from a target pixel's address to the end of what is written.
    [[nodiscard]] int64_t Extent() const { return extent_; }
    /// Whether pixels are copied as they are, every byte of them.
    [[nodiscard]] bool IsCopy() const { return isCopy_; }

    /// Moves `pixels` pixels. The bytes between the written ones stay as they are, but may be written anew;
    /// nothing is read or written beyond `readable` and `writable` bytes.
    void Run(const RowKernels& kernels, const uint8_t* from, int64_t readable, uint8_t* to, int64_t writable,
             int64_t pixels) const;

  private:
    struct Byte {
        int64_t from;
        int64_t to;
    };

    int64_t fromSize_;
    int64_t toSize_;
    int64_t extent_ = 0;
    int64_t groupPixels_ = 0;  // pixels of a group of 16 bytes; 0 if they do not fit into one
    int count_ = 0;
    bool isCopy_ = false;
    bool isWhole_ = false;          // every byte of a target pixel is written
    std::array<Byte, 16> bytes_{};  // in the order of the stores
    ByteShuffle shuffle_{};
};

}  // namespace trv
