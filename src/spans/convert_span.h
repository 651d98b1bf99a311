#pragma once

// Runs of pixels from one layout into another: each byte of a destination pixel is a byte of the source
// pixel, its complement, zero, or the brightness of three. All conversions of rows and rectangles are lists
// of such bytes.

#include <cstdint>

#include "spans/span_kernels.h"

namespace trv {

/// What one byte of a destination pixel is made of. Offsets count from the address of a pixel and may lie
/// beyond its size, on a view that starts at a column.
struct ByteRule {
    enum class Kind : uint8_t { Copy, Complement, Zero, Luma };

    Kind kind = Kind::Copy;
    int64_t to = 0;
    int64_t from = 0;   // the byte, or red
    int64_t green = 0;  // Luma only
    int64_t blue = 0;   // Luma only
};

class SpanConverter {
  public:
    static constexpr int kMostRules = 8;

    /// Bytes from one pixel to the next on both sides. Without rules it converts nothing.
    explicit SpanConverter(int64_t fromStep = 1, int64_t toStep = 1) : fromStep_(fromStep), toStep_(toStep) {}

    void Add(const ByteRule& rule);

    /// Decides once how runs are done; to be called after the last rule.
    void Prepare();

    /// Whether pixels are copied as they are, every byte of them.
    [[nodiscard]] bool IsCopy() const { return method_ == Method::Move && fromFirst_ == 0 && toFirst_ == 0; }

    /// Converts `count` pixels from the addresses of the first ones. The result is that of going pixel by
    /// pixel and rule by rule, from first to last, also where both runs are the same memory.
    void Convert(const uint8_t* from, uint8_t* to, int64_t count) const;
    /// The same for runs that may be one memory at two addresses.
    void ConvertInOrder(const uint8_t* from, uint8_t* to, int64_t count) const;

  private:
    static constexpr int kMostParts = 5;

    enum class Method : uint8_t { Plain, Move, Spread, Shuffle, Luma };

    [[nodiscard]] bool IsMove() const;
    bool PrepareSpread();
    bool PrepareShuffle();
    bool FillShuffle(ByteShuffle& shuffle, int64_t firstByte, int64_t bytes) const;
    bool PrepareLuma();
    void RunKernel(const uint8_t* from, uint8_t* to, int64_t groups) const;
    [[nodiscard]] int64_t Groups(const uint8_t* from, uint8_t* to, int64_t count) const;

    int64_t fromStep_;
    int64_t toStep_;
    ByteRule rules_[kMostRules];
    int count_ = 0;
    Method method_ = Method::Plain;
    int64_t fromFirst_ = 0;  // lowest and highest offsets that are read and written
    int64_t fromLast_ = 0;
    int64_t toFirst_ = 0;
    int64_t toLast_ = 0;
    int64_t groupPixels_ = 0;  // pixels that a kernel handles at a time
    int64_t groupReads_ = 0;   // bytes that it touches for them on each side
    int64_t groupWrites_ = 0;
    ByteShuffle shuffles_[kMostParts]{};  // one, or as many as a pixel has bytes to spread one byte into
    uint8_t weights_[4]{};
};

}  // namespace trv
