#include "geometry/shears.h"

#include <cmath>

#include "image/row_readers.h"

namespace trv {

namespace {

/// Sizes above this are nobody's.
constexpr double kMostPixels = 9.0e15;

}  // namespace

LineShift SplitShift(double shift) {
    const double whole = std::floor(shift);
    return {static_cast<int64_t>(whole), shift - whole};
}

std::optional<Shears> Shears::Of(double angle, int64_t width, int64_t height) {
    const double radians = angle * 3.141592653589793 / 180.0;
    const auto columns = static_cast<double>(width);
    const auto rows = static_cast<double>(height);
    Shears shears{};
    shears.sine_ = std::sin(radians);
    shears.tangent_ = std::tan(radians * 0.5);
    const double cosine = std::cos(radians);
    const double shearWidth = std::abs(shears.tangent_) * rows;
    const double finalHeight = cosine * rows + columns * std::abs(shears.sine_);
    const double finalWidth = cosine * columns + rows * std::abs(shears.sine_);
    // A size that is no number is not below the limit either.
    const bool fits = shearWidth + columns < kMostPixels && std::abs(finalHeight) < kMostPixels &&
                      std::abs(finalWidth) < kMostPixels;
    if (!fits) return std::nullopt;
    shears.width = width;
    shears.height = height;
    shears.shearWidth = static_cast<int64_t>(shearWidth) + width;
    shears.finalHeight = static_cast<int64_t>(finalHeight) + 1;
    shears.finalWidth = static_cast<int64_t>(finalWidth) + 1;
    return shears;
}

PlainShear::PlainShear(PictureTRV& source, PictureTRV& dest, const ShearChannels& channels)
    : source_(source), dest_(dest), channels_(channels) {
    for (size_t c = 0; c < static_cast<size_t>(channels.count); ++c) {
        from_[c] = OffsetOf(source, channels.channel[c]);
        to_[c] = OffsetOf(dest, channels.channel[c]);
    }
}

bool PlainShear::Read(int64_t x, int64_t y, Pixel& pixel) {
    const uint8_t* row = FetchRow(source_, y);
    if (row == nullptr) return false;
    for (size_t c = 0; c < static_cast<size_t>(channels_.count); ++c)
        pixel[c] = row[x * source_.PixelSize + from_[c]];
    return true;
}

void PlainShear::Write(int64_t x, int64_t y, const Pixel& pixel) {
    if (x < 0 || x >= dest_.Width || y < 0 || y >= dest_.Height) return;
    uint8_t* row = FetchRow(dest_, y);
    if (row == nullptr) return;
    for (size_t c = 0; c < static_cast<size_t>(channels_.count); ++c)
        row[x * dest_.PixelSize + to_[c]] = pixel[c];
}

PlainShear::Pixel PlainShear::Split(const Pixel& pixel, Pixel& carry, double weight) const {
    Pixel out{};
    for (size_t c = 0; c < static_cast<size_t>(channels_.count); ++c) {
        const uint8_t share = ShareOf(pixel[c], weight);
        out[c] = static_cast<uint8_t>(pixel[c] - share + carry[c]);
        carry[c] = share;
    }
    return out;
}

PlainShear::Pixel PlainShear::FirstCarry(double weight) const {
    Pixel carry{};
    for (size_t c = 0; c < static_cast<size_t>(channels_.count); ++c)
        carry[c] = ShareOf(channels_.background[c], weight);
    return carry;
}

PlainShear::Pixel PlainShear::Fringe(const Pixel& carry, double weight) const {
    Pixel out{};
    for (size_t c = 0; c < static_cast<size_t>(channels_.count); ++c)
        out[c] = FringeOf(channels_.background[c], weight, carry[c]);
    return out;
}

void PlainShear::MoveRow(int64_t y, LineShift shift) {
    const int64_t columns = dest_.Width;
    for (int64_t x = 0; x < columns; ++x)
        Write(x, y, channels_.background);
    Pixel carry = FirstCarry(shift.weight);
    Pixel pixel{};
    const int64_t width = source_.Width;
    for (int64_t i = 0; i < width; ++i) {
        if (Read(i, y, pixel)) Write(i + shift.whole, y, Split(pixel, carry, shift.weight));
    }
    Write(width + shift.whole, y, Fringe(carry, shift.weight));
}

void PlainShear::MoveColumn(int64_t x, LineShift shift) {
    const int64_t rows = dest_.Height;
    for (int64_t y = 0; y < rows; ++y)
        Write(x, y, channels_.background);
    Pixel carry = FirstCarry(shift.weight);
    Pixel pixel{};
    const int64_t height = source_.Height;
    for (int64_t i = 0; i < height; ++i) {
        if (Read(x, i, pixel)) Write(x, i + shift.whole, Split(pixel, carry, shift.weight));
    }
    // On the last pixel itself, not behind it, unlike in a row.
    Write(x, height - 1 + shift.whole, Fringe(carry, shift.weight));
}

}  // namespace trv
