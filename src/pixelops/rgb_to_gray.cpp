#include "pixelops/rgb_to_gray.h"

#include <algorithm>
#include <array>
#include <optional>

#include "image/pixel_loop.h"
#include "pixelops/gray_modes.h"
#include "pixelops/pixel_kernels.h"
#include "spans/convert_span.h"

namespace trv {

namespace {

using Colours = LayoutFamily<Family::Rgb, false>;
using Offsets = std::array<int64_t, 3>;

template <int kMode>
void GraySingly(uint8_t* pixel, int64_t step, const Offsets& at, int64_t count) {
    for (; count > 0; --count, pixel += step) {
        const int gray = GrayByMode<kMode>(pixel[at[0]], pixel[at[1]], pixel[at[2]]);
        for (const int64_t offset : at)
            pixel[offset] = static_cast<uint8_t>(gray);
    }
}

constexpr void (*kGraySingly[kGrayModes])(uint8_t*, int64_t, const Offsets&, int64_t) = {
    &GraySingly<0>, &GraySingly<1>, &GraySingly<2>, &GraySingly<3>, &GraySingly<4>};

/// One row after the other, by a kernel where there is one for the layout.
class GrayRows {
  public:
    GrayRows(const PictureTRV& image, int64_t mode)
        : mode_(static_cast<size_t>(mode)), step_(image.PixelSize), at_(Colours::Offsets(image)) {
        const auto [first, last] = std::minmax_element(at_.begin(), at_.end());
        first_ = *first;
        last_ = *last;
        const bool apart = at_[0] != at_[1] && at_[0] != at_[2] && at_[1] != at_[2];
        if (!apart || last_ - first_ >= step_ || step_ < 3 || step_ > 4) return;
        kernels_ = ActivePixelKernels();
        if (step_ == 3) PrepareBlocks();
    }

    void Make(uint8_t* pixel, int64_t count) {
        if (kernels_ == nullptr) {
            kGraySingly[mode_](pixel, step_, at_, count);
        } else if (step_ == 4) {
            // The kernel takes 4 bytes from the first colour on, which the last pixel need not have.
            const int64_t whole = last_ - first_ == 3 ? count : count - 1;
            const auto shift = [&](size_t i) { return static_cast<int>(at_[i] - first_) * 8; };
            kernels_->gray[mode_](pixel + first_, {shift(0), shift(1), shift(2)}, whole);
            kGraySingly[mode_](pixel + whole * step_, step_, at_, count - whole);
        } else {
            MakeBlocks(pixel, count);
        }
    }

  private:
    static constexpr int64_t kBlockPixels = 1024;

    void PrepareBlocks() {
        load_.emplace(step_, 4);
        store_.emplace(4, step_);
        for (size_t i = 0; i < at_.size(); ++i) {
            load_->Add({.to = static_cast<int64_t>(i), .from = at_[i]});
            store_->Add({.to = at_[i], .from = static_cast<int64_t>(i)});
        }
        load_->Prepare();
        store_->Prepare();
    }

    /// By way of pixels of 4 bytes.
    void MakeBlocks(uint8_t* pixel, int64_t count) {
        for (; count > 0; count -= kBlockPixels, pixel += kBlockPixels * step_) {
            const int64_t now = std::min(count, kBlockPixels);
            load_->Convert(pixel, block_.data(), now);
            kernels_->gray[mode_](block_.data(), {0, 8, 16}, now);
            store_->Convert(block_.data(), pixel, now);
        }
    }

    size_t mode_;
    int64_t step_;
    Offsets at_;
    int64_t first_ = 0;
    int64_t last_ = 0;
    const PixelKernels* kernels_ = nullptr;
    std::optional<SpanConverter> load_;
    std::optional<SpanConverter> store_;
    std::array<uint8_t, kBlockPixels * 4> block_{};
};

}  // namespace

Boolean rbRGBToGray(HostObject me, int64_t mode) {
    PictureTRV& image = *RecordOf(me);
    if (image.IsRGB == 0 || !IsValid(&image)) return 0;
    if (mode < 0 || mode >= kGrayModes) return 0;
    GrayRows rows(image, mode);
    const int64_t width = image.Width;
    ForEachRowAtOnce(image, 0, image.Height, [&](uint8_t* row) { rows.Make(row, width); });
    return 1;
}

}  // namespace trv
