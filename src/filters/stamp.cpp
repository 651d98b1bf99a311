#include "filters/stamp.h"

#include "filters/box_blur.h"
#include "filters/byte_tables.h"
#include "filters/filter_frame.h"
#include "filters/packed_row.h"
#include "image/checked_math.h"

namespace trv {

namespace {

constexpr int64_t kBlurs = 3;

/// A smooth step between two values around a threshold.
struct Step {
    double low;
    double high;

    Step(double threshold, double softness)
        : low((threshold - softness * 0.5) * 255.0), high((softness * 0.5 + threshold) * 255.0) {}

    [[nodiscard]] double At(double i) const {
        if (low > i) return 0.0;
        if (i >= high) return 1.0;
        const double u = (i - low) / (high - low);
        return (3.0 - (u + u)) * (u * u);
    }

    [[nodiscard]] ByteTable Table(int black, int white) const {
        ByteTable table;
        for (size_t i = 0; i < table.size(); ++i) {
            const double value = (white - black) * At(static_cast<double>(i)) + black;
            table[i] = static_cast<uint8_t>(SaturatedTruncate<int32_t>(value));
        }
        return table;
    }
};

int Part(uint32_t colour, int shift) {
    return static_cast<int>(colour >> shift & 255);
}

template <class F>
void Stamp(PictureTRV& source, PictureTRV& dest, const Step& step, uint32_t black, uint32_t white) {
    constexpr std::array<int, 3> kShifts = {16, 8, 0};
    std::array<ByteTable, F::channels.size()> tables;
    for (size_t i = 0; i < tables.size(); ++i) {
        const int shift = F::family == Family::Gray ? 8 : kShifts[i];
        tables[i] = step.Table(Part(black, shift), Part(white, shift));
    }
    ChangePackedRows<F>(source, dest, [&](uint8_t* samples, int64_t, int64_t, int64_t count) {
        MapBytes(samples, count, tables);
    });
}

HostObject StampFilter2(HostObject me, HostObject dest, double radius, double threshold, double softness,
                        uint32_t black, uint32_t white) {
    TRV_LOG("StampFilter2", radius, threshold, softness);
    return RunFilter(me, dest, {FilterTest::Valid, FilterTest::ByteSamples},
                     [&](PictureTRV& from, PictureTRV& to) {
                         DispatchFamily(from.IsGray != 0, from.IsRGB != 0, false, false, [&]<class F>(F) {
                             if constexpr (F::family != Family::Cmyk && !F::hasAlpha) {
                                 TRV_LOG((FamilyLabel<"StampFilter", F>()));
                                 Stamp<F>(from, to, Step(threshold, softness), black, white);
                             }
                         });
                     });
}

}  // namespace

HostObject rbStampFilter(HostObject me, HostObject dest, double radius, double threshold, double softness,
                         uint32_t black, uint32_t white) {
    const ObjectReference blurred(rbBoxBlurFilterIterations(me, dest, radius / 3.0, kBlurs, 1, 1));
    if (!blurred) return nullptr;
    return StampFilter2(blurred.Get(), nullptr, radius, threshold, softness, black, white);
}

}  // namespace trv
