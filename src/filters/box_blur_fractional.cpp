#include "filters/box_blur_fractional.h"

#include <array>
#include <cmath>

#include "filters/blur_kernels.h"
#include "filters/filter_frame.h"
#include "filters/lanes.h"
#include "image/checked_math.h"
#include "image/row_readers.h"
#include "image/store_overlap.h"

namespace trv {

namespace {

TapWeights WeightsOf(double radius) {
    const double side = radius - std::floor(radius);
    const double scale = 1.0 / (side + side + 1.0);
    TRV_LOG("radius *1000", side * 1000);
    TRV_LOG("f *1000", scale * 1000);
    // Of no number nothing is left.
    return std::isfinite(side) ? TapWeights{side, scale} : TapWeights{0, 0};
}

class FractionalBlur {
  public:
    FractionalBlur(PictureTRV& source, PictureTRV& dest, const PixelPlaces& from, const PixelPlaces& to,
                   const TapWeights& weights)
        : source_(source),
          dest_(dest),
          written_(CommonRectangle(dest, source)),
          weights_(weights),
          plan_(ChooseLanes(from, to, static_cast<int64_t>(from.channels))),
          lanes_(SaturatedMultiply(written_.width, plan_.lanes)),
          rows_{Reader(from), Reader(from), Reader(from)},
          along_(Reader(to)),
          nothing_(MakeZeroedBytes(lanes_)),
          down_(MakeZeroedBytes(lanes_)),
          to_(to, plan_, written_.width),
          inOrder_(&dest == &source ? RowsMayOverlap(dest) : MayShareMemory(dest, source)),
          rowByRow_(!inOrder_ && to.AreApart() && !RowsMayOverlap(dest)),
          readPixel_(from, plan_, 1, true),
          writePixel_(to, plan_, 1) {
        const BlurKernels* kernels = ActiveBlurKernels();
        tap_ = (kernels != nullptr ? *kernels : kBlurKernelsBaseline).tap;
    }

    /// False without memory.
    [[nodiscard]] explicit operator bool() const {
        return rows_[0] && rows_[1] && rows_[2] && along_ && nothing_ != nullptr && down_ != nullptr && to_ &&
               readPixel_ && writePixel_;
    }

    /// Both passes. Where nobody can tell, each row is mixed along right behind the vertical pass.
    void Run() {
        TRV_LOG("Vertical");
        Down();
        TRV_LOG("horizontal");
        if (!rowByRow_) Along();
    }

  private:
    /// The vertical pass. What it reads is held, so that the source's own rows may be overwritten.
    void Down() {
        const int64_t last = source_.Height - 1;
        const uint8_t* above = nothing_.get();
        const uint8_t* centre = ReadRow(0);
        for (int64_t y = 0; y < written_.height; ++y) {
            if (inOrder_ && y > 0 && y < last) {
                TapInOrder(above, centre, y);
                above = centre;
                centre = ReadRow(y + 1);
                continue;
            }
            const uint8_t* below = y < last ? ReadRow(y + 1) : nothing_.get();
            uint8_t* row = FetchRow(dest_, y);
            uint8_t* lanes = rowByRow_ ? down_.get() : to_.Lanes(row);
            if (y == 0 && last > 0) {
                Tap(centre, centre, centre, lanes, lanes_);
            } else if (y == 0) {
                // The one row is the neighbour of a row that does not exist.
                Tap(centre, below, below, lanes, lanes_);
            } else {
                Tap(above, y < last ? below : centre, centre, lanes, lanes_);
            }
            if (rowByRow_) AlongRow(lanes, to_.Lanes(row));
            to_.Write(row);
            above = centre;
            centre = below;
        }
    }

    /// The horizontal pass, on the destination alone.
    void Along() {
        for (int64_t y = 0; y < written_.height; ++y) {
            uint8_t* row = FetchRow(dest_, y);
            if (row == nullptr) continue;
            AlongRow(along_.Read(row), to_.Lanes(row));
            to_.Write(row);
        }
    }

    [[nodiscard]] LaneReader Reader(const PixelPlaces& places) const {
        return {places, plan_, written_.width, true};
    }

    /// Three rows are held at a time.
    const uint8_t* ReadRow(int64_t y) { return rows_[static_cast<size_t>(y % 3)].Read(FetchRow(source_, y)); }

    void AlongRow(const uint8_t* from, uint8_t* to) const {
        const int64_t pixel = plan_.lanes;
        if (lanes_ == pixel) {
            Tap(from, nothing_.get(), from, to, pixel);
            return;
        }
        Tap(from, from + pixel, from, to, pixel);
        Tap(from, from + 2 * pixel, from + pixel, to + pixel, lanes_ - 2 * pixel);
        const uint8_t* last = from + lanes_ - pixel;
        Tap(last, last, last, to + lanes_ - pixel, pixel);
    }

    /// Row `y`, neither the first nor the last, pixel by pixel: its neighbour below is what it has become by
    /// then.
    void TapInOrder(const uint8_t* above, const uint8_t* centre, int64_t y) {
        const uint8_t* below = FetchRow(source_, y + 1);
        uint8_t* pixel = FetchRow(dest_, y);
        if (below == nullptr || pixel == nullptr) return;
        for (int64_t x = 0; x < written_.width; ++x) {
            Tap(above, readPixel_.Read(below), centre, writePixel_.Lanes(pixel), plan_.lanes);
            writePixel_.Write(pixel);
            above += plan_.lanes;
            centre += plan_.lanes;
            below += source_.PixelSize;
            pixel += dest_.PixelSize;
        }
    }

    void Tap(const uint8_t* a, const uint8_t* b, const uint8_t* centre, uint8_t* to, int64_t lanes) const {
        tap_(a, b, centre, to, lanes, weights_);
    }

    PictureTRV& source_;
    PictureTRV& dest_;
    const Rectangle written_;
    const TapWeights weights_;
    const LanePlan plan_;
    const int64_t lanes_;
    std::array<LaneReader, 3> rows_;
    LaneReader along_;
    ZeroedBytes nothing_;
    ZeroedBytes down_;  // a row behind the vertical pass
    LaneWriter to_;
    const bool inOrder_;   // the destination shows the source's pixels in another way
    const bool rowByRow_;  // whether the order of the passes does not show
    LaneReader readPixel_;
    LaneWriter writePixel_;
    decltype(BlurKernels::tap) tap_;
};

template <class F>
void BlurFamily(PictureTRV& source, PictureTRV& dest, double radius) {
    TRV_LOG((FamilyLabel<"BoxBlurFractionalFilter", F>()));
    const TapWeights weights = WeightsOf(radius);
    if (CommonRectangle(dest, source).IsEmpty()) return;
    FractionalBlur blur(source, dest, PlacesOf<F>(source), PlacesOf<F>(dest), weights);
    if (!blur) return;
    blur.Run();
}

}  // namespace

HostObject rbBoxBlurFractionalFilter(HostObject me, HostObject dest, double radius) {
    TRV_LOG("BoxBlurFractionalFilter", radius);
    const auto work = [radius](PictureTRV& source, PictureTRV& target) {
        // The workers of colours serve inks as well, with the colours' offsets.
        return DispatchFamily(source.IsGray != 0, source.IsRGB != 0 || source.IsCMYK != 0, false,
                              source.HasAlpha != 0,
                              [&]<class F>(F) { BlurFamily<F>(source, target, radius); });
    };
    return RunFilter(me, dest, {FilterTest::Valid, FilterTest::ByteSamples}, work);
}

}  // namespace trv
