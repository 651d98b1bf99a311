#include "pixelops/invert.h"

#include <algorithm>
#include <array>
#include <span>

#include "frame/debug_log.h"
#include "image/pixel_loop.h"
#include "pixelops/pixel_kernels.h"

namespace trv {

namespace {

/// The bytes of a pixel that are complemented, repeated over a block.
class FlipPattern {
  public:
    FlipPattern(int64_t pixelSize, std::span<const int64_t> offsets) : step_(pixelSize), offsets_(offsets) {
        const auto [first, last] = std::minmax_element(offsets.begin(), offsets.end());
        first_ = *first;
        last_ = *last;
        kernels_ = last_ - first_ < step_ && step_ <= kMostStep ? ActivePixelKernels() : nullptr;
        if (kernels_ == nullptr) return;
        for (int64_t pixel = 0; pixel < kBlockPixels; ++pixel) {
            // A program can lay two channels on one byte, which then turns twice.
            for (const int64_t offset : offsets)
                flips_[static_cast<size_t>(pixel * step_ + offset - first_)] ^= 255;
        }
        all_ = std::all_of(flips_.begin(), flips_.begin() + step_, [](uint8_t flip) { return flip != 0; });
    }

    /// Complements `count` pixels from the address of the first one on.
    void Flip(uint8_t* pixel, int64_t count) const {
        if (kernels_ == nullptr) {
            FlipSingly(pixel, count);
            return;
        }
        // Nothing behind the last channel of the last pixel is touched: it may be the end of the store.
        int64_t left = (count - 1) * step_ + last_ - first_ + 1;
        uint8_t* bytes = pixel + first_;
        if (all_) {
            kernels_->flip(bytes, nullptr, left);
            return;
        }
        for (const int64_t block = kBlockPixels * step_; left > 0; bytes += block, left -= block)
            kernels_->flip(bytes, flips_.data(), std::min(block, left));
    }

  private:
    void FlipSingly(uint8_t* pixel, int64_t count) const {
        for (; count > 0; --count, pixel += step_) {
            for (const int64_t offset : offsets_)
                pixel[offset] ^= 255;
        }
    }

    static constexpr int64_t kBlockPixels = 512;
    static constexpr int64_t kMostStep = 8;

    int64_t step_;
    std::span<const int64_t> offsets_;
    int64_t first_ = 0;
    int64_t last_ = 0;
    const PixelKernels* kernels_ = nullptr;
    bool all_ = false;  // every byte is complemented
    std::array<uint8_t, kBlockPixels * kMostStep> flips_{};
};

/// Whether a gray sample has a second byte, inside its pixel: a program can move its offset so that the last
/// one's would lie behind the row.
bool HasSecondByte(const PictureTRV& image) {
    return image.BitsPerComponent == 16 && image.GrayOffset % image.PixelSize + 1 < image.PixelSize;
}

void LogFamily(const PictureTRV& image, const Rectangle& rectangle) {
    TRV_LOG("x", rectangle.x);
    TRV_LOG("y", rectangle.y);
    TRV_LOG("uw", rectangle.x + rectangle.width);
    TRV_LOG("uh", rectangle.y + rectangle.height);
    if (image.HasAlpha != 0) TRV_LOG("HasAlpha 1");
    if (image.IsGray != 0) {
        TRV_LOG(image.HasAlpha == 0 && image.BitsPerComponent == 16 ? "HasGray16 1" : "HasGray 1");
    }
    if (image.IsCMYK != 0) TRV_LOG("HasCMYK 1");
    if (image.IsRGB != 0) TRV_LOG("HasRGB 1");
}

}  // namespace

void rbInvert(HostObject me, int64_t x, int64_t y, int64_t width, int64_t height) {
    PictureTRV& image = *RecordOf(me);
    Rectangle rectangle{x, y, width, height};
    TRV_LOG("Invert5");
    if (!IsValid(&image)) return;
    Fix(image, rectangle);
    if (rectangle.IsEmpty() || !StartClippedImage(image)) return;
    DispatchFamily(image, [&]<class F>(F) {
        TRV_LOG((FamilyLabel<"Invert ", F>()));
        LogFamily(image, rectangle);
        const auto channels = F::Offsets(image);
        std::array<int64_t, channels.size() + 1> offsets{};
        std::copy(channels.begin(), channels.end(), offsets.begin());
        size_t count = channels.size();
        if constexpr (F::family == Family::Gray && !F::hasAlpha) {
            if (HasSecondByte(image)) offsets[count++] = channels[0] + 1;
        }
        const FlipPattern pattern(image.PixelSize, std::span(offsets).first(count));
        ForEachRun(image, rectangle, [&](uint8_t* pixel, int64_t pixels) { pattern.Flip(pixel, pixels); });
    });
}

void rbInvertAll(HostObject me) {
    const PictureTRV& image = *RecordOf(me);
    rbInvert(me, 0, 0, image.Width, image.Height);
}

}  // namespace trv
