#include "pixelops/rgb_to_gray.h"

#include <algorithm>
#include <array>

#include "image/pixel_loop.h"
#include "pixelops/gray_modes.h"
#include "pixelops/pixel_kernels.h"

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
        if (apart && last_ - first_ < step_ && step_ >= 3 && step_ <= 4) kernels_ = ActivePixelKernels();
    }

    /// Views can be of no width and less.
    void Make(uint8_t* pixel, int64_t count) const {
        if (count <= 0) return;
        int64_t done = 0;
        if (kernels_ != nullptr) {
            // The kernel takes whole pixels from the first colour on, which the last one need not be.
            const int64_t whole = last_ - first_ + 1 == step_ ? count : count - 1;
            const auto place = [&](size_t i) { return static_cast<int>(at_[i] - first_); };
            done = kernels_->gray[mode_](pixel + first_, {step_, place(0), place(1), place(2)}, whole);
        }
        kGraySingly[mode_](pixel + done * step_, step_, at_, count - done);
    }

  private:
    size_t mode_;
    int64_t step_;
    Offsets at_;
    int64_t first_ = 0;
    int64_t last_ = 0;
    const PixelKernels* kernels_ = nullptr;
};

}  // namespace

Boolean rbRGBToGray(HostObject me, int64_t mode) {
    PictureTRV& image = *RecordOf(me);
    if (image.IsRGB == 0 || !IsValid(&image)) return 0;
    if (mode < 0 || mode >= kGrayModes) return 0;
    const GrayRows rows(image, mode);
    const int64_t width = image.Width;
    ForEachRowAtOnce(image, 0, image.Height, [&](uint8_t* row) { rows.Make(row, width); });
    return 1;
}

}  // namespace trv
