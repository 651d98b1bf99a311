#include "filters/unsharp_filter.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <optional>

#include "filters/lanes.h"
#include "filters/unsharp_kernels.h"
#include "frame/debug_log.h"
#include "image/checked_math.h"
#include "image/destination.h"
#include "image/pixel_loop.h"
#include "image/row_pair.h"
#include "image/store_overlap.h"

namespace trv {

namespace {

/// What becomes of each sample beside each other one.
class UnsharpTable {
  public:
    UnsharpTable(double amount, int64_t threshold)
        : factor_(amount * 4.0 + 1.0),
          threshold_(std::clamp(static_cast<int32_t>(static_cast<uint64_t>(threshold)), 0, 256)) {
        for (int i = 0; i < 256; ++i) {
            for (int j = 0; j < 256; ++j)
                entries_[i * 256 + j] = Entry(i, j);
        }
    }

    void Change(uint8_t& sample, uint8_t other) const { sample = entries_[sample * 256 + other]; }

    /// The formula that gives the whole table, if there is one.
    [[nodiscard]] std::optional<UnsharpFormula> Formula() const {
        // Products with differences up to 255 have to fit 16 bits.
        if (!(std::abs(factor_) <= 126)) return std::nullopt;
        const double whole = std::floor(factor_ + 0.5);
        const double part = std::floor((factor_ - whole) * 65536);
        for (const double tried : {part, part + 1}) {
            if (tried < -32768 || tried > 32767) continue;
            const UnsharpFormula formula{static_cast<int16_t>(whole), static_cast<int16_t>(tried),
                                         static_cast<int16_t>(threshold_)};
            if (IsGivenBy(formula)) return formula;
        }
        return std::nullopt;
    }

  private:
    [[nodiscard]] uint8_t Entry(int i, int j) const {
        if (std::abs(i - j) < threshold_) return static_cast<uint8_t>(i);
        const double value = (i - j) * factor_ + j;
        if (std::isnan(value)) return static_cast<uint8_t>(i);
        return static_cast<uint8_t>(std::clamp<int64_t>(SaturatedTruncate<int64_t>(value), 0, 255));
    }

    [[nodiscard]] bool IsGivenBy(const UnsharpFormula& formula) const {
        for (int i = 0; i < 256; ++i) {
            for (int j = 0; j < 256; ++j) {
                const int d = i - j;
                const int widened = j + d * formula.whole + ((d * formula.part) >> 16);
                const int expected = std::abs(d) < threshold_ ? i : std::clamp(widened, 0, 255);
                if (entries_[i * 256 + j] != expected) return false;
            }
        }
        return true;
    }

    double factor_;
    int threshold_;
    uint8_t entries_[256 * 256];
};

/// The mapping of one run of samples, by the formula as far as it goes.
class Sharpener {
  public:
    explicit Sharpener(const UnsharpTable& table) : table_(table), kernel_(ActiveUnsharpKernel()) {
        if (kernel_ != nullptr) formula_ = table.Formula();
    }

    void Change(uint8_t* samples, const uint8_t* others, int64_t count) const {
        int64_t done = formula_ ? kernel_(samples, others, count, *formula_) : 0;
        for (; done < count; ++done)
            table_.Change(samples[done], others[done]);
    }

    /// Changes single bytes of pixels.
    void ChangeBytes(uint8_t* pixels, int64_t step, const uint8_t* others, int64_t otherStep,
                     int64_t count) const {
        for (; count > 0; --count, pixels += step, others += otherStep)
            table_.Change(*pixels, *others);
    }

  private:
    const UnsharpTable& table_;
    UnsharpKernel kernel_;
    std::optional<UnsharpFormula> formula_;
};

struct UnsharpTask {
    PictureTRV& image;
    PictureTRV& original;
    PixelPlaces places;
    PixelPlaces originalPlaces;
    /// Of inks without alpha: the byte where alpha would be is changed behind the others.
    bool changesAlphaByte;

    [[nodiscard]] Rectangle Changed() const { return CommonRectangle(image, original); }
};

/// Pixel by pixel, for images that may share pixels.
void SharpenPixels(const UnsharpTask& task, const UnsharpTable& table) {
    const Rectangle changed = task.Changed();
    RowPair rows(task.image, task.original);
    for (int64_t y = 0; y < changed.height; ++y) {
        if (!rows.Fetch(y, y)) continue;
        uint8_t* pixel = rows.to;
        const uint8_t* other = rows.from;
        for (int64_t x = 0; x < changed.width; ++x) {
            for (size_t c = 0; c < task.places.channels; ++c)
                table.Change(pixel[task.places.offsets[c]], other[task.originalPlaces.offsets[c]]);
            if (task.changesAlphaByte)
                table.Change(pixel[task.image.AlphaOffset], other[task.original.AlphaOffset]);
            pixel += task.image.PixelSize;
            other += task.original.PixelSize;
        }
    }
}

/// Row by row, for images that do not; without memory nothing is changed.
void SharpenRows(const UnsharpTask& task, const Sharpener& sharpener) {
    const Rectangle changed = task.Changed();
    const LanePlan plan =
        ChooseLanes(task.originalPlaces, task.places, static_cast<int64_t>(task.places.channels));
    LaneReader samples(task.places, plan, changed.width, false);
    LaneReader others(task.originalPlaces, plan, changed.width, false);
    LaneWriter writer(task.places, plan, changed.width);
    if (!samples || !others || !writer) return;
    const int64_t count = changed.width * plan.lanes;
    for (int64_t y = 0; y < changed.height; ++y) {
        const uint8_t* otherRow = FetchRow(task.original, y);
        uint8_t* row = FetchRow(task.image, y);
        if (row == nullptr || otherRow == nullptr) continue;
        uint8_t* lanes = writer.Lanes(row);
        const uint8_t* read = samples.Read(row);
        if (read != lanes) std::memcpy(lanes, read, static_cast<size_t>(count));
        sharpener.Change(lanes, others.Read(otherRow), count);
        writer.Write(row);
        if (task.changesAlphaByte) {
            sharpener.ChangeBytes(row + task.image.AlphaOffset, task.image.PixelSize,
                                  otherRow + task.original.AlphaOffset, task.original.PixelSize,
                                  changed.width);
        }
    }
}

template <class F>
void SharpenFamily(PictureTRV& image, PictureTRV& original, double amount, int64_t threshold) {
    // Inks have one worker, which takes alpha for granted.
    constexpr bool kInks = F::family == Family::Cmyk;
    TRV_LOG((FamilyLabel<"unsharpFilter", LayoutFamily<F::family, F::hasAlpha || kInks>>()));
    const UnsharpTask task{image, original, PlacesOf<F>(image), PlacesOf<F>(original), kInks && !F::hasAlpha};
    const UnsharpTable table(amount, threshold);
    if (task.Changed().IsEmpty()) return;
    if (MayShareMemory(image, original) || !task.places.AreApart()) {
        SharpenPixels(task, table);
    } else {
        SharpenRows(task, Sharpener(table));
    }
}

}  // namespace

Boolean rbUnsharpFilter(HostObject me, HostObject origpixels, double amount, int64_t threshold) {
    TRV_LOG("unsharpFilter");
    TRV_LOG("pAmount", amount);
    TRV_LOG("pThreshold", threshold);
    if (origpixels == nullptr) return 0;
    PictureTRV& image = *RecordOf(me);
    PictureTRV& original = *RecordOf(origpixels);
    if (!HasByteSamples(image) || !HasByteSamples(original)) return 0;
    if (!IsValid(&image) || !IsValid(&original)) return 0;
    if (image.Width != original.Width || image.Height != original.Height ||
        image.ImageFormat != original.ImageFormat) {
        return 0;
    }
    if (!StartImage(&image) || !StartImage(&original)) return 0;
    DispatchFamily(image, [&]<class F>(F) { SharpenFamily<F>(image, original, amount, threshold); });
    return 1;
}

}  // namespace trv
