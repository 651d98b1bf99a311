#include "filters/oil.h"

#include <algorithm>

#include "filters/filter_frame.h"
#include "filters/oil_painter.h"
#include "filters/packed_row.h"
#include "image/checked_math.h"

namespace trv {

namespace {

constexpr int64_t kMostLevels = 256;

/// What becomes of a picture of which no window holds a sample: 255 everywhere. The workers for inks write it
/// to cyan in the place of magenta and yellow, which therefore keep what they have.
template <class F>
void PaintEmptyWindows(PictureTRV& source, PictureTRV& dest) {
    const Rectangle common = CommonRectangle(dest, source);
    SpanConverter converter(0, dest.PixelSize);
    for (const Channel channel : F::channels) {
        const bool toCyan = channel == Channel::Magenta || channel == Channel::Yellow;
        converter.Add({.to = OffsetOf(dest, toCyan ? Channel::Cyan : channel), .from = 0});
    }
    const uint8_t white = 255;
    for (int64_t y = 0; y < common.height; ++y) {
        if (uint8_t* row = FetchRow(dest, y)) converter.Convert(&white, row, common.width);
    }
}

/// Whether moving by the samples of two columns is cheaper than by two histograms, of so many samples a side.
bool PrefersRows(int64_t range, const OilBands& bands) {
    constexpr int64_t kBandsPerSample = 7;  // measured
    return range <= OilRows<LayoutFamily<Family::Gray, false>>::kMostRange &&
           (2 * range + 1) * kBandsPerSample < bands.stride;
}

template <class F>
void Paint(PictureTRV& source, PictureTRV& dest, const OilBands& bands, int64_t range) {
    // A window cannot hold more rows and columns than there are.
    const int64_t side = SaturatedAdd(SaturatedMultiply(range, 2), 1);
    const auto samples =
        static_cast<uint64_t>(SaturatedMultiply(std::min(side, source.Height), std::min(side, source.Width)));
    range = std::min(range, std::max(source.Width, source.Height));
    if (PrefersRows(range, bands)) {
        OilPainter<F, OilRows<F>>(source, dest, bands, range).Paint();
    } else if (samples <= ToneBand<uint32_t>::kMostSamples) {
        OilPainter<F, OilColumns<F, uint32_t>>(source, dest, bands, range).Paint();
    } else if (samples <= ToneBand<uint64_t>::kMostSamples) {
        OilPainter<F, OilColumns<F, uint64_t>>(source, dest, bands, range).Paint();
    } else {
        OilPainter<F, OilColumns<F, unsigned __int128>>(source, dest, bands, range).Paint();
    }
}

}  // namespace

HostObject rbOilFilter(HostObject me, HostObject dest, int64_t levels, int64_t range) {
    TRV_LOG("OilFilter", levels, range);
    return RunFilter(
        me, dest, {FilterTest::Valid, FilterTest::ByteSamples},
        [&](PictureTRV& from, PictureTRV& to) {
            const bool served = DispatchFamily(from, [&]<class F>(F) {
                TRV_LOG((FamilyLabel<"OilFilter", F>()));
                if (levels < 0) return;
                const OilBands bands(std::min(levels, kMostLevels));
                if (range < 0) {
                    PaintEmptyWindows<F>(from, to);
                } else {
                    Paint<F>(from, to, bands, range);
                }
            });
            return levels >= 0 || !served;
        },
        DestLine::Omitted);
}

}  // namespace trv
