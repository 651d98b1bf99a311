#include "filters/diffuse.h"

#include <algorithm>

#include "filters/filter_frame.h"
#include "image/noise.h"

namespace trv {

namespace {

/// Which neighbour is taken on one axis.
class Displacement {
  public:
    explicit Displacement(int64_t level) : level_(std::clamp(level, -kFar, kFar)), divisor_(level_ * 2 + 1) {}

    /// Draws one for position `at` of 0 to `size` - 1. A remainder has the sign of the number drawn, and that
    /// is how the drift to the top left comes about.
    [[nodiscard]] int64_t Draw(Noise& noise, int64_t at, int64_t size) const {
        return std::clamp<int64_t>(at + noise.NextInteger() % divisor_ - level_, 0, size - 1);
    }

  private:
    /// Levels beyond it end at the picture's edge like this one: a draw has 32 bits, a side has fewer.
    static constexpr int64_t kFar = int64_t{1} << 40;

    int64_t level_;
    int64_t divisor_;
};

template <class F>
void Diffuse(PictureTRV& source, PictureTRV& dest, int64_t level) {
    const auto fromOffsets = F::Offsets(source);
    const auto toOffsets = F::Offsets(dest);
    const Rectangle common = CommonRectangle(dest, source);
    const Displacement displacement(level);
    // A mapped image has one window, which each row moves.
    const bool oneWindow = &dest == &source && source.IsMapping != 0;
    Noise noise;
    for (int64_t y = 0; y < common.height; ++y) {
        uint8_t* to = FetchRow(dest, y);
        for (int64_t x = 0; x < common.width && to != nullptr; ++x) {
            const int64_t fromX = displacement.Draw(noise, x, source.Width);
            const uint8_t* from = FetchRow(source, displacement.Draw(noise, y, source.Height));
            if (from == nullptr) continue;
            std::array<uint8_t, fromOffsets.size()> samples;
            for (size_t i = 0; i < samples.size(); ++i)
                samples[i] = from[fromX * source.PixelSize + fromOffsets[i]];
            if (oneWindow) to = FetchRow(dest, y);
            if (to == nullptr) break;
            for (size_t i = 0; i < samples.size(); ++i)
                to[x * dest.PixelSize + toOffsets[i]] = samples[i];
        }
    }
}

}  // namespace

HostObject rbDiffuseFilter(HostObject me, HostObject dest, int64_t level) {
    TRV_LOG("DifuseFilter", level);
    return RunFilter(
        me, dest, {FilterTest::Valid, FilterTest::ByteSamples},
        [&](PictureTRV& from, PictureTRV& to) {
            DispatchFamily(from.IsGray != 0, from.IsRGB != 0, false, from.HasAlpha != 0, [&]<class F>(F) {
                TRV_LOG((FamilyLabel<"DifuseFilter", F>()));
                Diffuse<F>(from, to, level);
            });
        },
        DestLine::Omitted);
}

}  // namespace trv
