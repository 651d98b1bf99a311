#include "filters/dither.h"

#include <cstring>

#include "filters/byte_tables.h"
#include "filters/dither_matrices.h"
#include "filters/filter_frame.h"
#include "filters/packed_row.h"
#include "image/checked_math.h"

namespace trv {

namespace {

constexpr int64_t kFewestLevels = 2;
constexpr int64_t kMostLevels = 256;

/// The two levels next to each sample.
struct LevelTables {
    ByteTable low;
    ByteTable high;

    explicit LevelTables(int64_t levels) {
        const auto output = [levels](int64_t level) {
            return static_cast<uint8_t>(level * 255 / (levels - 1));
        };
        for (size_t v = 0; v < low.size(); ++v) {
            const int64_t level = (levels - 1) * static_cast<int64_t>(v) / 256;
            low[v] = output(level);
            high[v] = output(level + 1);
        }
    }
};

/// The highest sample whose rank on the matrix's scale is not above a threshold: ranks rise with samples.
uint8_t Limit(const DitherMatrix& matrix, int64_t threshold) {
    const int64_t scale = matrix.side * matrix.side + 1;
    int64_t limit = 255;
    while (limit > 0 && limit * scale / 256 > threshold)
        --limit;
    return static_cast<uint8_t>(limit);
}

/// The limits of all samples of a picture's rows, of which as many differ as the matrix has.
class LimitRows {
  public:
    LimitRows(const DitherMatrix& matrix, int64_t width, int64_t channels)
        : matrix_(matrix),
          channels_(channels),
          rowBytes_(width * channels),
          bytes_(MakeZeroedBytes(SaturatedMultiply(matrix.side, rowBytes_))) {
        if (bytes_ == nullptr) return;
        uint8_t* to = bytes_.get();
        for (int64_t y = 0; y < matrix.side; ++y) {
            for (int64_t x = 0; x < width; ++x, to += channels)
                std::memset(to, Limit(matrix, matrix.At(x, y)), static_cast<size_t>(channels));
        }
    }

    [[nodiscard]] explicit operator bool() const { return bytes_ != nullptr; }
    /// The limits from the sample of pixel `x` of row `y` on.
    [[nodiscard]] const uint8_t* From(int64_t x, int64_t y) const {
        return bytes_.get() + y % matrix_.side * rowBytes_ + x * channels_;
    }

  private:
    const DitherMatrix& matrix_;
    int64_t channels_;
    int64_t rowBytes_;
    ZeroedBytes bytes_;
};

template <class F>
void Dither(PictureTRV& source, PictureTRV& dest, const DitherMatrix& matrix, const LevelTables& levels) {
    constexpr int64_t kChannels = kSamplesOf<F>;
    const LimitRows limits(matrix, source.Width, kChannels);
    if (!limits) return;
    ChangePackedRows<F>(source, dest, [&](uint8_t* samples, int64_t x, int64_t y, int64_t count) {
        MapBytesByLimit(samples, limits.From(x, y), count * kChannels, levels.low, levels.high);
    });
}

}  // namespace

HostObject rbDitherFilter(HostObject me, HostObject dest, int64_t matrix, int64_t levels) {
    TRV_LOG("DitherFilter", matrix, levels);
    return RunFilter(
        me, dest, {FilterTest::Valid, FilterTest::ByteSamples}, [&](PictureTRV& from, PictureTRV& to) {
            const DitherMatrix* found = FindDitherMatrix(matrix);
            bool possible = true;
            DispatchFamily(from.IsGray != 0, from.IsRGB != 0, false, from.HasAlpha != 0, [&]<class F>(F) {
                TRV_LOG((FamilyLabel<"DitherFilter", F>()));
                if (found == nullptr) return;
                possible = levels >= kFewestLevels && levels <= kMostLevels;
                if (possible) Dither<F>(from, to, *found, LevelTables(levels));
            });
            return possible;
        });
}

}  // namespace trv
