#include "filters/oil.h"

#include <algorithm>

#include "filters/filter_frame.h"
#include "filters/oil_painter.h"
#include "filters/packed_row.h"
#include "image/checked_math.h"

namespace trv {

namespace {

using uint128_t = unsigned __int128;

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

template <class F>
void Paint(PictureTRV& source, PictureTRV& dest, const OilBands& bands, int64_t range) {
    // A window cannot hold more rows and columns than there are.
    const int64_t side = SaturatedAdd(SaturatedMultiply(range, 2), 1);
    const int64_t rows = std::min(side, source.Height);
    const int64_t columns = std::min(side, source.Width);
    range = std::min(range, std::max(source.Width, source.Height));
    const auto samples = static_cast<uint64_t>(SaturatedMultiply(rows, columns));
    if (&dest != &source && SharesPixels(dest, source)) {
        OilPainter<F, uint128_t>(source, dest, bands, range).PaintInOrder();
    } else if (samples <= ToneBand<uint32_t>::kMostSamples) {
        OilPainter<F, uint32_t>(source, dest, bands, range).Paint();
    } else if (samples <= ToneBand<uint64_t>::kMostSamples) {
        OilPainter<F, uint64_t>(source, dest, bands, range).Paint();
    } else {
        OilPainter<F, uint128_t>(source, dest, bands, range).Paint();
    }
}

}  // namespace

HostObject rbOilFilter(HostObject me, HostObject dest, int64_t levels, int64_t range) {
    TRV_LOG("OilFilter", levels, range);
    return RunFilter(
        me, dest, {FilterTest::Valid, FilterTest::ByteSamples},
        [&](PictureTRV& from, PictureTRV& to) {
            if (levels < 0) return false;
            const OilBands bands(std::min(levels, kMostLevels));
            DispatchFamily(from, [&]<class F>(F) {
                TRV_LOG((FamilyLabel<"OilFilter", F>()));
                if (range < 0) {
                    PaintEmptyWindows<F>(from, to);
                } else {
                    Paint<F>(from, to, bands, range);
                }
            });
            return true;
        },
        DestLine::Omitted);
}

}  // namespace trv
