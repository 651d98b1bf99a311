#pragma once

// A turn by less than 45 degrees as three shears: along the rows, along the columns, along the rows. A shear
// moves each line by a shift of its own; the shift's whole part moves pixels, its fraction is blended between
// neighbours along the line, with truncation at each product.

#include <array>
#include <cstdint>
#include <optional>

#include "image/picture_record.h"

namespace trv {

/// How far a line is moved: `whole` pixels, and a share of `weight`, from 0 to 1, of each into the next.
struct LineShift {
    int64_t whole;
    double weight;
};

[[nodiscard]] LineShift SplitShift(double shift);

/// The share of `value` that goes into the next pixel.
[[nodiscard]] inline uint8_t ShareOf(uint8_t value, double weight) {
    return static_cast<uint8_t>(static_cast<int>(value * weight));
}

/// What lies behind a line's last pixel: the background, and the share that the pixel has left over.
[[nodiscard]] inline uint8_t FringeOf(uint8_t background, double weight, uint8_t share) {
    return static_cast<uint8_t>(static_cast<int>(background - (background * weight - share)));
}

/// The three shears of an image of `width` by `height` pixels, and the sizes of what they make.
class Shears {
  public:
    /// By `angle` degrees. Nothing if a size leaves the range of what an image can be.
    [[nodiscard]] static std::optional<Shears> Of(double angle, int64_t width, int64_t height);

    int64_t width;        // of the image
    int64_t height;       // of the image and of what the first shear makes
    int64_t shearWidth;   // of what the first and the second shear make
    int64_t finalHeight;  // of what the second and the third shear make
    int64_t finalWidth;   // of what the third shear makes

    /// Calls `work(line, shift)` with the lines of a shear in their order: the rows of the image, the columns
    /// of what the first shear makes, the rows of what the second makes.
    template <class Work>
    void ForEachFirst(Work&& work) const {
        const auto rows = static_cast<double>(height);
        for (int64_t u = 0; u < height; ++u) {
            const auto row = static_cast<double>(u);
            work(u, SplitShift((tangent_ >= 0 ? row + 0.5 : row - rows + 0.5) * tangent_));
        }
    }
    template <class Work>
    void ForEachSecond(Work&& work) const {
        const auto columns = static_cast<double>(width);
        double shift =
            sine_ > 0 ? (columns - 1) * sine_ : (columns - static_cast<double>(shearWidth)) * -sine_;
        for (int64_t u = 0; u < shearWidth; ++u, shift -= sine_)
            work(u, SplitShift(shift));
    }
    template <class Work>
    void ForEachThird(Work&& work) const {
        const auto columns = static_cast<double>(width);
        double shift = sine_ >= 0
                           ? (columns - 1) * sine_ * -tangent_
                           : ((1 - static_cast<double>(finalHeight)) - (columns - 1) * sine_) * tangent_;
        for (int64_t u = 0; u < finalHeight; ++u, shift += tangent_)
            work(u, SplitShift(shift));
    }

  private:
    double sine_;
    double tangent_;  // of half the angle
};

/// The channels of one family and their background.
struct ShearChannels {
    static constexpr int kMost = 5;
    int count = 0;
    std::array<Channel, kMost> channel{};
    std::array<uint8_t, kMost> background{};
};

/// One shear of `source` into `dest`, pixel by pixel in the defined order. What has no place in `dest` is
/// left out, rows that cannot be had are skipped.
class PlainShear {
  public:
    PlainShear(PictureTRV& source, PictureTRV& dest, const ShearChannels& channels);

    void MoveRow(int64_t y, LineShift shift);
    void MoveColumn(int64_t x, LineShift shift);

  private:
    using Pixel = std::array<uint8_t, ShearChannels::kMost>;

    [[nodiscard]] bool Read(int64_t x, int64_t y, Pixel& pixel);
    void Write(int64_t x, int64_t y, const Pixel& pixel);
    /// Splits a pixel in two: what stays, with `carry` added, and what is carried into the next.
    [[nodiscard]] Pixel Split(const Pixel& pixel, Pixel& carry, double weight) const;
    [[nodiscard]] Pixel FirstCarry(double weight) const;
    [[nodiscard]] Pixel Fringe(const Pixel& carry, double weight) const;

    PictureTRV& source_;
    PictureTRV& dest_;
    const ShearChannels& channels_;
    std::array<int64_t, ShearChannels::kMost> from_{};
    std::array<int64_t, ShearChannels::kMost> to_{};
};

/// All three shears at once, from `source` into `dest`, an image of the final size that shares no memory
/// with it: the same bytes as the shears one after the other over images that only have the family's
/// channels. False, with nothing done, where this form does not apply or there is no memory for it.
[[nodiscard]] bool RunShears(const Shears& shears, PictureTRV& source, PictureTRV& dest,
                             const ShearChannels& channels);

}  // namespace trv
