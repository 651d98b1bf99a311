#include "pixelops/multiply.h"

#include <algorithm>
#include <array>
#include <span>

#include "frame/debug_log.h"
#include "image/pixel_loop.h"
#include "pixelops/pixel_kernels.h"
#include "platform/memory.h"

namespace trv {

namespace {

enum class TableState : uint8_t { NotTried, Unavailable, Ready };

constexpr int kValues = 256;

TableState state = TableState::NotTried;
uint8_t* MultiplyTable = nullptr;
uint8_t* UnmultiplyTable = nullptr;

void FillTables() {
    for (int i = 0; i < kValues * kValues; ++i)
        UnmultiplyTable[i] = static_cast<uint8_t>(i % kValues);
    for (int alpha = 0; alpha < kValues; ++alpha) {
        // Upwards, so that of the values with one product the highest stays.
        for (int value = 0; value < kValues; ++value) {
            const uint8_t product =
                MultipliedDirectly(static_cast<uint8_t>(value), static_cast<uint8_t>(alpha));
            MultiplyTable[alpha * kValues + value] = product;
            UnmultiplyTable[alpha * kValues + product] = static_cast<uint8_t>(value);
        }
    }
}

void BuildTables() {
    if (state != TableState::NotTried) return;
    state = TableState::Unavailable;
    auto multiply = MakeZeroedBytes(kValues * kValues);
    auto unmultiply = MakeZeroedBytes(kValues * kValues);
    if (multiply == nullptr || unmultiply == nullptr) return;
    MultiplyTable = multiply.release();
    UnmultiplyTable = unmultiply.release();
    FillTables();
    state = TableState::Ready;
}

/// One of the two operations.
struct Operation {
    uint8_t* const& table;
    uint8_t (*directly)(uint8_t value, uint8_t alpha);
    void (*PixelKernels::*kernel4)(uint8_t* pixels, int alphaShift, int64_t count);
    void (*PixelKernels::*kernel2)(uint8_t* pixels, int alphaShift, int64_t count);
};

constexpr Operation kMultiply = {MultiplyTable, &MultipliedDirectly, &PixelKernels::multiply4,
                                 &PixelKernels::multiply2};
constexpr Operation kUnmultiply = {UnmultiplyTable, &UnmultipliedDirectly, &PixelKernels::unmultiply4,
                                   &PixelKernels::unmultiply2};

/// One row after the other; the last of the offsets is alpha's.
class MultiplyRows {
  public:
    MultiplyRows(const Operation& operation, int64_t pixelSize, std::span<const int64_t> offsets)
        : operation_(operation),
          step_(pixelSize),
          colours_(offsets.first(offsets.size() - 1)),
          alpha_(offsets.back()) {
        const auto [first, last] = std::minmax_element(offsets.begin(), offsets.end());
        first_ = *first;
        kernels_ = state == TableState::Ready && IsWhole(offsets, *last) ? ActivePixelKernels() : nullptr;
    }

    void Make(uint8_t* pixel, int64_t count) const {
        if (kernels_ != nullptr) {
            const auto kernel = kernels_->*(step_ == 4 ? operation_.kernel4 : operation_.kernel2);
            kernel(pixel + first_, static_cast<int>(alpha_ - first_) * 8, count);
        } else if (state == TableState::Ready) {
            MakeSingly(pixel, count, [table = operation_.table](uint8_t value, uint8_t alpha) {
                return table[alpha * kValues + value];
            });
        } else {
            MakeSingly(pixel, count, operation_.directly);
        }
    }

  private:
    /// Whether the channels are all bytes of a pixel of 4 or 2 bytes, which is what kernels are for.
    [[nodiscard]] bool IsWhole(std::span<const int64_t> offsets, int64_t last) const {
        if (step_ != 4 && step_ != 2) return false;
        if (static_cast<int64_t>(offsets.size()) != step_ || last - first_ >= step_) return false;
        unsigned seen = 0;
        for (const int64_t offset : offsets)
            seen |= 1U << (offset - first_);
        return seen + 1 == 1U << step_;
    }

    template <class Make>
    void MakeSingly(uint8_t* pixel, int64_t count, Make&& make) const {
        for (; count > 0; --count, pixel += step_) {
            const uint8_t alpha = pixel[alpha_];
            std::array<uint8_t, 4> made{};
            for (size_t c = 0; c < colours_.size(); ++c)
                made[c] = make(pixel[colours_[c]], alpha);
            for (size_t c = 0; c < colours_.size(); ++c)
                pixel[colours_[c]] = made[c];
            pixel[alpha_] = alpha;
        }
    }

    const Operation& operation_;
    int64_t step_;
    std::span<const int64_t> colours_;
    int64_t alpha_;
    int64_t first_ = 0;
    const PixelKernels* kernels_ = nullptr;
};

template <FixedText kName>
void Run(HostObject me, Rectangle rectangle, const Operation& operation) {
    PictureTRV& image = *RecordOf(me);
    TRV_LOG(kName.characters);
    if (!IsValid(&image) || image.HasAlpha == 0) return;
    Fix(image, rectangle);
    if (rectangle.IsEmpty()) return;
    BuildTables();
    if (!StartClippedImage(image)) return;
    DispatchFamily(image, [&]<class F>(F) {
        if constexpr (F::hasAlpha) {
            TRV_LOG((FamilyLabel<kName, F>()));
            const auto offsets = F::Offsets(image);
            const MultiplyRows rows(operation, image.PixelSize, offsets);
            ForEachRun(image, rectangle, [&](uint8_t* pixel, int64_t count) { rows.Make(pixel, count); });
        }
    });
}

Rectangle WholeOf(HostObject me) {
    return WholeImage(*RecordOf(me));
}

}  // namespace

uint8_t MultipliedDirectly(uint8_t value, uint8_t alpha) {
    // NOLINTNEXTLINE(bugprone-incorrect-roundings): the products are not negative
    return static_cast<uint8_t>(static_cast<float>(value) * (static_cast<float>(alpha) / 255.0F) + 0.5F);
}

uint8_t UnmultipliedDirectly(uint8_t value, uint8_t alpha) {
    // 255 / 0 times anything is not finite.
    if (alpha == 0) return 0;
    const float made = (255.0F / static_cast<float>(alpha)) * static_cast<float>(value) + 0.5F;
    return static_cast<uint8_t>(static_cast<int>(made));
}

void rbMultiply(HostObject me, int64_t x, int64_t y, int64_t width, int64_t height) {
    Run<"Multiply5">(me, {x, y, width, height}, kMultiply);
}

void rbMultiplyAll(HostObject me) {
    Run<"Multiply5">(me, WholeOf(me), kMultiply);
}

void rbUnmultiply(HostObject me, int64_t x, int64_t y, int64_t width, int64_t height) {
    Run<"Unmultiply5">(me, {x, y, width, height}, kUnmultiply);
}

void rbUnmultiplyAll(HostObject me) {
    Run<"Unmultiply5">(me, WholeOf(me), kUnmultiply);
}

}  // namespace trv
