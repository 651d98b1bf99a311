#pragma once

// Rows as lanes: the channels of a row side by side, without gaps, a fixed number of bytes a pixel, wherever
// they lay in the image. What treats all channels alike need not know which is which, so a lane can be the
// channel's own place in the pixel, and rows of the common layouts are used where they are.

#include <array>
#include <cstdint>
#include <span>

#include "platform/memory.h"
#include "spans/convert_span.h"

namespace trv {

inline constexpr size_t kMostChannels = 5;

/// The lowest and the highest of some offsets.
struct ByteExtent {
    int64_t first;
    int64_t last;
};

/// How the pixels of one image hold the channels.
struct PixelPlaces {
    int64_t pixelSize;
    size_t channels;
    std::array<int64_t, kMostChannels> offsets;  // from the address of a pixel

    [[nodiscard]] std::span<const int64_t> Offsets() const { return {offsets.data(), channels}; }
    /// Whether no two channels are the same byte of a row.
    [[nodiscard]] bool AreApart() const;
    [[nodiscard]] ByteExtent Extent() const;
};

/// The places of the channels of family F in an image.
template <class F, class Image>
[[nodiscard]] PixelPlaces PlacesOf(const Image& image) {
    PixelPlaces places{image.PixelSize, F::channels.size(), {}};
    size_t c = 0;
    for (const int64_t offset : F::Offsets(image))
        places.offsets[c++] = offset;
    return places;
}

/// Which lane of a pixel is which channel. A lane that is none holds anything.
struct LanePlan {
    int64_t lanes;  // of a pixel
    size_t channels;
    std::array<int64_t, kMostChannels> lane;  // by channel
};

/// The channels alone, in their order.
[[nodiscard]] LanePlan LanesInOrder(const PixelPlaces& places);

/// Brings the channels of pixels into lanes. What no channel gives stays as it was.
[[nodiscard]] SpanConverter ToLanes(const PixelPlaces& places, const LanePlan& plan);

/// Brings lanes back to where the channels are; the other bytes of the pixels stay as they are.
[[nodiscard]] SpanConverter FromLanes(const PixelPlaces& places, const LanePlan& plan);

/// The plan with so many lanes a pixel, at least as many as there are channels, that spares most conversions:
/// as the destination has them, else as the source has them, else in order.
[[nodiscard]] LanePlan ChooseLanes(const PixelPlaces& source, const PixelPlaces& dest, int64_t lanes);

/// Gives rows of an image as lanes.
class LaneReader {
  public:
    /// For runs of up to `pixels` pixels. With `hold` what Read gives stays when the row goes.
    LaneReader(const PixelPlaces& places, const LanePlan& plan, int64_t pixels, bool hold);

    /// False without memory.
    [[nodiscard]] explicit operator bool() const { return direct_ || buffer_ != nullptr; }

    /// The lanes of the first `pixels` pixels of a row; zeros for null. Good until the next call.
    [[nodiscard]] const uint8_t* Read(const uint8_t* row);

  private:
    int64_t pixels_;
    int64_t bytes_;
    bool direct_;
    int64_t start_ = 0;  // of the lanes in a row that is used where it is
    SpanConverter converter_;
    ZeroedBytes buffer_;
};

/// Stores lanes into rows of an image; the other bytes of its pixels stay as they are.
class LaneWriter {
  public:
    LaneWriter(const PixelPlaces& places, const LanePlan& plan, int64_t pixels);

    [[nodiscard]] explicit operator bool() const { return buffer_ != nullptr; }

    /// Where to put the lanes of a row before Write is called for it: in the row itself if all of its bytes
    /// are lanes. Null for the row is allowed. What lies behind the lanes must be left alone.
    [[nodiscard]] uint8_t* Lanes(uint8_t* row) {
        return direct_ && row != nullptr ? row + start_ : buffer_.get();
    }
    void Write(uint8_t* row) {
        if (!direct_ && row != nullptr) converter_.Convert(buffer_.get(), row, pixels_);
    }

  private:
    int64_t pixels_;
    bool direct_;
    int64_t start_ = 0;
    SpanConverter converter_;
    ZeroedBytes buffer_;
};

}  // namespace trv
