// The three shears at once. What the first and the second make is never stored as a whole: the result is made
// in bands of rows, and a band in strips of columns, from what fits into the processor's caches.
//
// In a strip each pixel of the first shear is put where the second moves it to, so that the columns stand
// side by side; then both blending steps go along rows, a vector of bytes at a time, whatever the layout is.

#include <algorithm>
#include <cstring>

#include "geometry/blend_kernels.h"
#include "geometry/pixel_runs.h"
#include "geometry/shears.h"
#include "image/checked_math.h"
#include "image/row_readers.h"
#include "image/store_overlap.h"
#include "platform/memory.h"

namespace trv {

namespace {

/// Of the layouts with channels that rotate, those of CMYK with alpha are the largest.
constexpr int64_t kMostPixelBytes = 5;
/// Bytes in front of a strip's row, for the pixel before it.
constexpr int64_t kRoomBefore = 8;
/// Bytes of a strip's row, and rows of a band.
constexpr int64_t kStripBytes = 256;
constexpr int64_t kBandRows = 256;

/// Zeroed elements with an owner.
template <class T>
class Elements {
  public:
    explicit Elements(int64_t count) : bytes_(MakeZeroedBytes(SaturatedMultiply(count, sizeof(T)))) {}
    [[nodiscard]] bool Ok() const { return bytes_ != nullptr; }
    T& operator[](int64_t i) { return reinterpret_cast<T*>(bytes_.get())[i]; }
    T* Data() { return reinterpret_cast<T*>(bytes_.get()); }

  private:
    ZeroedBytes bytes_;
};

/// A line's shift with its weight as a factor of the kernels.
struct FastLine {
    int64_t whole;
    double weight;
    uint16_t factor;
};

/// The fraction of 65536 that gives every byte the same share as `weight` does; -1 if there is none, which
/// happens at a weight of 1. Shares change at fractions with a byte below the line, and two of those are
/// further apart than 1 / 65536, so between them there is such a factor: the next one below or above.
int32_t FactorOf(double weight) {
    const auto low = static_cast<int32_t>(weight * 65536.0);
    for (const int32_t factor : {low, low + 1}) {
        bool fits = factor < 65536;
        for (int value = 0; value < 256; ++value)
            fits = fits && ((value * factor) >> 16) == ShareOf(static_cast<uint8_t>(value), weight);
        if (fits) return factor;
    }
    return -1;
}

/// The pixels of the strips: all bytes of the source's, or only the channels side by side where these are
/// few.
struct StripPixel {
    int64_t size = 0;
    int64_t window = -1;  // offset of the source pixel that is taken whole; -1 for single channels
    std::array<int64_t, ShearChannels::kMost> offset{};  // of the channels
    std::array<uint8_t, kMostPixelBytes> background{};

    StripPixel(const PictureTRV& source, const ShearChannels& channels) {
        const auto from = Offsets(source, channels);
        const int64_t first = *std::min_element(from.begin(), from.begin() + channels.count);
        const int64_t last = *std::max_element(from.begin(), from.begin() + channels.count);
        const int64_t begin = first / source.PixelSize * source.PixelSize;
        // Channels that share a byte have a background each.
        bool whole = last < begin + source.PixelSize && source.PixelSize <= 2 * channels.count &&
                     source.PixelSize <= kMostPixelBytes;
        for (int c = 1; c < channels.count; ++c)
            whole = whole && std::find(from.begin(), from.begin() + c, from[static_cast<size_t>(c)]) ==
                                 from.begin() + c;
        size = whole ? source.PixelSize : channels.count;
        window = whole ? begin : -1;
        for (size_t c = 0; c < static_cast<size_t>(channels.count); ++c) {
            offset[c] = whole ? from[c] - begin : static_cast<int64_t>(c);
            background[static_cast<size_t>(offset[c])] = channels.background[c];
        }
    }

    /// The channels' offsets in an image; beyond the last channel those of the last one again.
    static std::array<int64_t, ShearChannels::kMost> Offsets(const PictureTRV& image,
                                                             const ShearChannels& channels) {
        std::array<int64_t, ShearChannels::kMost> offsets{};
        for (size_t c = 0; c < offsets.size(); ++c) {
            const size_t known = std::min(c, static_cast<size_t>(channels.count) - 1);
            offsets[c] = OffsetOf(image, channels.channel[known]);
        }
        return offsets;
    }
};

class ShearWalk {
  public:
    ShearWalk(const Shears& shears, PictureTRV& source, PictureTRV& dest, const ShearChannels& channels,
              const BlendKernels& kernels)
        : shears_(shears),
          source_(source),
          dest_(dest),
          channels_(channels),
          kernels_(kernels),
          pixel_(source, channels),
          columns_(kStripBytes / pixel_.size),
          stride_(kStripBytes + kRoomBefore),
          firstLines_(shears.height),
          secondLines_(shears.shearWidth),
          thirdLines_(shears.finalHeight),
          sheared_((kBandRows + 1 + 2 * Slack()) * kStripBytes),
          strip_(kBandRows * stride_),
          before_(kBandRows * pixel_.size) {
        for (size_t i = 0; i < plain_.size(); ++i)
            plain_[i] = pixel_.background[i % static_cast<size_t>(pixel_.size)];
    }

    /// False without memory, or where a line has no factor.
    [[nodiscard]] bool Prepare() {
        if (!firstLines_.Ok() || !secondLines_.Ok() || !thirdLines_.Ok() || !sheared_.Ok() || !strip_.Ok() ||
            !before_.Ok()) {
            return false;
        }
        bool fits = true;
        const auto into = [&fits](Elements<FastLine>& lines) {
            return [&fits, &lines](int64_t line, LineShift shift) {
                const int32_t factor = FactorOf(shift.weight);
                fits = fits && factor >= 0;
                lines[line] = {shift.whole, shift.weight, static_cast<uint16_t>(factor)};
            };
        };
        shears_.ForEachFirst(into(firstLines_));
        shears_.ForEachSecond(into(secondLines_));
        shears_.ForEachThird(into(thirdLines_));
        return fits;
    }

    void Run() {
        // Offsets of channels that are not there repeat the last one's, and a byte may be stored twice.
        std::array<int64_t, ShearChannels::kMost> from = pixel_.offset;
        for (size_t c = static_cast<size_t>(channels_.count); c < from.size(); ++c)
            from[c] = from[static_cast<size_t>(channels_.count) - 1];
        const PixelMap store =
            PixelMap::Between(from, pixel_.size, StripPixel::Offsets(dest_, channels_), dest_.PixelSize);
        store.Dispatch([&](const auto& pixel, int64_t fromBase, int64_t toBase) {
            for (int64_t y = 0; y < shears_.finalHeight; y += kBandRows) {
                band_ = {y, std::min(y + kBandRows, shears_.finalHeight)};
                RunBand(pixel, fromBase, toBase);
            }
        });
    }

  private:
    struct Stretch {
        int64_t begin;
        int64_t end;
    };

    /// Rows that the second shear can move two columns of a strip apart.
    [[nodiscard]] int64_t Slack() const { return columns_ + 2; }

    template <class Pixel>
    void RunBand(const Pixel& pixel, int64_t fromBase, int64_t toBase) {
        for (int64_t y = 0; y < kBandRows; ++y)
            std::memcpy(before_.Data() + y * pixel_.size, plain_.data(), static_cast<size_t>(pixel_.size));
        for (int64_t x = 0; x < shears_.shearWidth; x += columns_) {
            part_ = {x, std::min(x + columns_, shears_.shearWidth)};
            MakeStrip();
            for (int64_t y = band_.begin; y < band_.end; ++y)
                StoreStripRow(pixel, fromBase, toBase, y);
        }
        for (int64_t y = band_.begin; y < band_.end; ++y)
            StoreMargins(pixel, fromBase, toBase, y);
    }

    [[nodiscard]] uint8_t* StripRow(int64_t y) {
        return strip_.Data() + (y - band_.begin) * stride_ + kRoomBefore;
    }

    /// What the second shear makes of the strip, in the rows of the band.
    void MakeStrip() {
        int64_t least = secondLines_[part_.begin].whole;
        int64_t most = least;
        for (int64_t x = part_.begin; x < part_.end; ++x) {
            least = std::min(least, secondLines_[x].whole);
            most = std::max(most, secondLines_[x].whole);
        }
        const Stretch rows{band_.begin - 1 - most, band_.end - least};
        const int64_t bytes = (part_.end - part_.begin) * pixel_.size;
        if (rows.begin >= shears_.height || rows.end <= 0) {
            for (int64_t y = band_.begin; y < band_.end; ++y)
                std::memcpy(StripRow(y), plain_.data(), static_cast<size_t>(bytes));
            return;
        }
        // Where a pixel of the first row to be sheared goes; the strip begins with the row above the band.
        const int64_t top = rows.begin + least;
        for (int64_t x = part_.begin; x < part_.end; ++x) {
            const FastLine& line = secondLines_[x];
            const int64_t column = (x - part_.begin) * pixel_.size;
            place_[static_cast<size_t>(x - part_.begin)] =
                (rows.begin + line.whole - top) * kStripBytes + column;
            std::fill_n(&factors_[static_cast<size_t>(column)], pixel_.size, line.factor);
        }
        ShearRows(rows);
        const uint8_t* from = sheared_.Data() + (band_.begin - top) * kStripBytes;
        for (int64_t y = band_.begin; y < band_.end; ++y, from += kStripBytes)
            kernels_.lanes(from, from - kStripBytes, StripRow(y), bytes, factors_.data());
        for (int64_t x = part_.begin; x < part_.end; ++x)
            EndColumn(x, sheared_.Data() + (x - part_.begin) * pixel_.size - top * kStripBytes);
    }

    /// The last pixel of a column shows its fringe, and behind it there is background.
    void EndColumn(int64_t x, const uint8_t* column) {
        const FastLine& line = secondLines_[x];
        const int64_t y = shears_.height - 1 + line.whole;
        const int64_t at = (x - part_.begin) * pixel_.size;
        const auto inBand = [&](int64_t row) { return row >= band_.begin && row < band_.end; };
        for (int64_t i = 0; i < pixel_.size; ++i) {
            const uint8_t background = plain_[static_cast<size_t>(i)];
            if (inBand(y)) {
                const uint8_t share = ShareOf(column[y * kStripBytes + i], line.weight);
                StripRow(y)[at + i] = FringeOf(background, line.weight, share);
            }
            if (inBand(y + 1)) StripRow(y + 1)[at + i] = background;
        }
    }

    /// Puts the pixels of the first shear, of the given rows and the strip's columns, in their places.
    void ShearRows(Stretch rows) {
        switch (pixel_.size) {
            case 1:
                return ShearRowsOf<1>(rows);
            case 2:
                return ShearRowsOf<2>(rows);
            case 3:
                return ShearRowsOf<3>(rows);
            case 4:
                return ShearRowsOf<4>(rows);
            default:
                return ShearRowsOf<5>(rows);
        }
    }

    template <size_t kSize>
    void ShearRowsOf(Stretch rows) {
        const int64_t count = part_.end - part_.begin;
        uint8_t* to = sheared_.Data();
        for (int64_t y = rows.begin; y < rows.end; ++y, to += kStripBytes) {
            const uint8_t* pixels = ShearedRow(y);
            for (int64_t i = 0; i < count; ++i)
                std::memcpy(to + place_[static_cast<size_t>(i)], pixels + i * static_cast<int64_t>(kSize),
                            kSize);
        }
    }

    /// What the first shear makes of row `y` of the source in the strip's columns.
    const uint8_t* ShearedRow(int64_t y) {
        if (y < 0 || y >= shears_.height) return plain_.data();
        const FastLine& line = firstLines_[y];
        const int64_t first = part_.begin - line.whole;  // column of the source
        const int64_t end = part_.end - line.whole;
        if (end <= 0 || first > shears_.width) return plain_.data();
        const uint8_t* row = FetchRow(source_, y);
        if (row == nullptr) return plain_.data();
        const int64_t bytes = (end - first) * pixel_.size;
        if (first >= 1 && end <= shears_.width && pixel_.window >= 0) {
            const uint8_t* from = row + pixel_.window + first * pixel_.size;
            kernels_.row(from, from - pixel_.size, row_.data(), bytes, line.factor);
            return row_.data();
        }
        ReadPixels(row, first - 1, end);
        kernels_.row(read_.data() + pixel_.size, read_.data(), row_.data(), bytes, line.factor);
        if (shears_.width < end) {
            const int64_t at = (shears_.width - first) * pixel_.size;
            for (int64_t i = 0; i < pixel_.size; ++i)
                row_[static_cast<size_t>(at + i)] = FringeOf(
                    plain_[i], line.weight, ShareOf(read_[static_cast<size_t>(at + i)], line.weight));
        }
        return row_.data();
    }

    /// The source's pixels from column `first` to `end`, background where it has none.
    void ReadPixels(const uint8_t* row, int64_t first, int64_t end) {
        std::memcpy(read_.data(), plain_.data(), static_cast<size_t>((end - first) * pixel_.size));
        const int64_t from = std::max<int64_t>(first, 0);
        const int64_t count = std::min(end, shears_.width) - from;
        if (count <= 0) return;
        uint8_t* to = read_.data() + (from - first) * pixel_.size;
        const uint8_t* pixels = row + from * source_.PixelSize;
        if (pixel_.window >= 0) {
            std::memcpy(to, pixels + pixel_.window, static_cast<size_t>(count * pixel_.size));
            return;
        }
        for (int c = 0; c < channels_.count; ++c) {
            const int64_t offset = OffsetOf(source_, channels_.channel[static_cast<size_t>(c)]);
            for (int64_t i = 0; i < count; ++i)
                to[i * pixel_.size + c] = pixels[i * source_.PixelSize + offset];
        }
    }

    /// The third shear of a row of the strip, into the result.
    template <class Pixel>
    void StoreStripRow(const Pixel& pixel, int64_t fromBase, int64_t toBase, int64_t y) {
        const FastLine& line = thirdLines_[y];
        const auto size = static_cast<size_t>(pixel_.size);
        uint8_t* strip = StripRow(y);
        uint8_t* before = before_.Data() + (y - band_.begin) * pixel_.size;
        std::memcpy(strip - pixel_.size, before, size);
        std::memcpy(before, strip + (part_.end - part_.begin - 1) * pixel_.size, size);
        const int64_t first = std::max<int64_t>(part_.begin, -line.whole);
        const int64_t end = std::min(part_.end, shears_.finalWidth - line.whole);
        uint8_t* row = first < end ? FetchRow(dest_, y) : nullptr;
        if (row == nullptr) return;
        const uint8_t* from = strip + (first - part_.begin) * pixel_.size;
        uint8_t* to = row + toBase + (first + line.whole) * pixel.ToSize();
        const int64_t bytes = (end - first) * pixel_.size;
        if constexpr (requires { Pixel::kWhole; }) {
            kernels_.row(from, from - pixel_.size, to, bytes, line.factor);
        } else {
            kernels_.row(from, from - pixel_.size, row_.data(), bytes, line.factor);
            CopyForward(pixel, row_.data() + fromBase, to, end - first);
        }
    }

    /// The background on both sides of a row of the result, and the fringe.
    template <class Pixel>
    void StoreMargins(const Pixel& pixel, int64_t fromBase, int64_t toBase, int64_t y) {
        uint8_t* row = FetchRow(dest_, y);
        if (row == nullptr) return;
        const FastLine& line = thirdLines_[y];
        const int64_t behind = line.whole + shears_.shearWidth;
        const auto fill = [&](int64_t first, int64_t end) {
            first = std::max<int64_t>(first, 0);
            end = std::min(end, shears_.finalWidth);
            for (int64_t x = first; x < end; x += columns_) {
                CopyForward(pixel, plain_.data() + fromBase, row + toBase + x * pixel.ToSize(),
                            std::min(columns_, end - x));
            }
        };
        fill(0, line.whole);
        fill(behind + 1, shears_.finalWidth);
        if (behind < 0 || behind >= shears_.finalWidth) return;
        const uint8_t* last = before_.Data() + (y - band_.begin) * pixel_.size;
        for (int64_t i = 0; i < pixel_.size; ++i)
            row_[static_cast<size_t>(i)] =
                FringeOf(plain_[static_cast<size_t>(i)], line.weight, ShareOf(last[i], line.weight));
        CopyForward(pixel, row_.data() + fromBase, row + toBase + behind * pixel.ToSize(), 1);
    }

    const Shears& shears_;
    PictureTRV& source_;
    PictureTRV& dest_;
    const ShearChannels& channels_;
    const BlendKernels& kernels_;
    const StripPixel pixel_;
    const int64_t columns_;  // of a strip
    const int64_t stride_;   // of a finished strip, whose rows have room for a pixel before them
    Elements<FastLine> firstLines_;
    Elements<FastLine> secondLines_;
    Elements<FastLine> thirdLines_;
    Elements<uint8_t> sheared_;  // pixels of the first shear where the second moves them
    Elements<uint8_t> strip_;
    Elements<uint8_t> before_;  // the pixel before the strip, of each row of the band
    std::array<uint8_t, kStripBytes + kMostPixelBytes> plain_;  // background
    Stretch band_{};
    Stretch part_{};  // columns of the strip
    std::array<int64_t, kStripBytes> place_{};
    std::array<uint16_t, kStripBytes> factors_{};
    std::array<uint8_t, kStripBytes + kMostPixelBytes> read_{};
    std::array<uint8_t, kStripBytes + kMostPixelBytes> row_{};
};

}  // namespace

bool RunShears(const Shears& shears, PictureTRV& source, PictureTRV& dest, const ShearChannels& channels) {
    const BlendKernels* kernels = ActiveBlendKernels();
    const bool fits = kernels != nullptr && source.PixelSize >= 1 && source.GetRow != nullptr &&
                      dest.GetRow != nullptr && dest.Width == shears.finalWidth &&
                      dest.Height == shears.finalHeight && !OrderMatters(source, dest);
    if (!fits) return false;
    ShearWalk walk(shears, source, dest, channels, *kernels);
    if (!walk.Prepare()) return false;
    walk.Run();
    return true;
}

}  // namespace trv
