#include "filters/point_filters.h"

#include <array>

#include "filters/byte_tables.h"
#include "filters/filter_frame.h"
#include "filters/packed_row.h"
#include "filters/point_tables.h"

namespace trv {

namespace {

// Which tests each filter makes of its source, in which order. It is uneven, and that is how it is.
constexpr std::initializer_list<FilterTest> kGammaTests = {FilterTest::Valid, FilterTest::ByteSamples};
constexpr std::initializer_list<FilterTest> kGammaTestsOfMore = {FilterTest::Valid};
constexpr std::initializer_list<FilterTest> kGainTests = {FilterTest::Valid, FilterTest::ByteSamples};
constexpr std::initializer_list<FilterTest> kTransferTests = {FilterTest::ByteSamples, FilterTest::Valid};
constexpr std::initializer_list<FilterTest> kTransferTestsOfMore = {FilterTest::Valid};
constexpr std::initializer_list<FilterTest> kSolarizeTests = {FilterTest::Valid, FilterTest::ByteSamples};

/// The one worker: each channel of family F through its table, in the order of the channels.
template <FixedText kName, class F>
void MapChannels(PictureTRV& source, PictureTRV& dest,
                 const std::array<ByteTable, F::channels.size()>& tables) {
    TRV_LOG((FamilyLabel<kName, F>()));
    ChangePackedRows<F>(source, dest, [&](uint8_t* samples, int64_t, int64_t, int64_t count) {
        MapBytes(samples, count, tables);
    });
}

/// Tables for the channels that a caller names; a gray image has the gray one, and an alpha table counts
/// where the caller gives one and the image has alpha.
struct NamedTables {
    ByteTable gray;
    std::array<ByteTable, 3> colours;
    const ByteTable* alpha = nullptr;

    template <class F>
    [[nodiscard]] std::array<ByteTable, F::channels.size()> Of() const {
        std::array<ByteTable, F::channels.size()> tables;
        for (size_t i = 0; i < tables.size(); ++i) {
            const bool isAlpha = F::channels[i] == Channel::Alpha;
            tables[i] = isAlpha ? *alpha : F::family == Family::Gray ? gray : colours[i];
        }
        return tables;
    }
};

/// Filters gray and RGB images.
template <FixedText kName>
void MapNamed(PictureTRV& source, PictureTRV& dest, const NamedTables& tables) {
    DispatchFamily(source.IsGray != 0, source.IsRGB != 0, false,
                   source.HasAlpha != 0 && tables.alpha != nullptr, [&]<class F>(F) {
                       if constexpr (F::family != Family::Cmyk) {
                           MapChannels<kName, F>(source, dest, tables.Of<F>());
                       }
                   });
}

/// The same table for all channels of a family.
template <class F>
std::array<ByteTable, F::channels.size()> Repeated(const ByteTable& table) {
    std::array<ByteTable, F::channels.size()> tables;
    tables.fill(table);
    return tables;
}

}  // namespace

HostObject rbGammaFilterG(HostObject me, HostObject dest, double gamma) {
    TRV_LOG("GammaFilterG", gamma);
    return RunFilter(me, dest, kGammaTests, [&](PictureTRV& from, PictureTRV& to) {
        const ByteTable table = GammaTable(gamma);
        MapNamed<"rbGammaFilter">(from, to, {table, {table, table, table}, nullptr});
    });
}

HostObject rbGammaFilterGA(HostObject me, HostObject dest, double gamma, double alphaGamma) {
    TRV_LOG("GammaFilterGA", gamma, alphaGamma);
    return RunFilter(me, dest, kGammaTestsOfMore, [&](PictureTRV& from, PictureTRV& to) {
        const ByteTable table = GammaTable(gamma);
        const ByteTable alpha = GammaTable(alphaGamma);
        MapNamed<"rbGammaFilter">(from, to, {table, {table, table, table}, &alpha});
    });
}

HostObject rbGammaFilterRGB(HostObject me, HostObject dest, double redGamma, double greenGamma,
                            double blueGamma) {
    TRV_LOG("GammaFilterRGB", redGamma, greenGamma, blueGamma);
    return RunFilter(me, dest, kGammaTestsOfMore, [&](PictureTRV& from, PictureTRV& to) {
        MapNamed<"rbGammaFilter">(from, to,
                                  {GammaTable(GrayGamma(redGamma, greenGamma, blueGamma)),
                                   {GammaTable(redGamma), GammaTable(greenGamma), GammaTable(blueGamma)},
                                   nullptr});
    });
}

HostObject rbGammaFilterRGBA(HostObject me, HostObject dest, double redGamma, double greenGamma,
                             double blueGamma, double alphaGamma) {
    TRV_LOG("GammaFilterRGBA", redGamma, greenGamma, blueGamma, alphaGamma);
    return RunFilter(me, dest, kGammaTestsOfMore, [&](PictureTRV& from, PictureTRV& to) {
        const ByteTable alpha = GammaTable(alphaGamma);
        MapNamed<"rbGammaFilter">(from, to,
                                  {GammaTable(GrayGamma(redGamma, greenGamma, blueGamma)),
                                   {GammaTable(redGamma), GammaTable(greenGamma), GammaTable(blueGamma)},
                                   &alpha});
    });
}

HostObject rbGainFilter(HostObject me, HostObject dest, double gain, double bias) {
    TRV_LOG("GainFilter", gain, bias);
    return RunFilter(me, dest, kGainTests, [&](PictureTRV& from, PictureTRV& to) {
        const ByteTable table = GainTable(gain, bias);
        MapNamed<"GainFilter">(from, to, {table, {table, table, table}, &table});
    });
}

HostObject rbTransferFilterG(HostObject me, HostObject dest, HostObject gray) {
    TRV_LOG("TransferFilterG");
    return RunFilter(me, dest, kTransferTests, [&](PictureTRV& from, PictureTRV& to) {
        const ByteTable table = TransferTable(gray);
        MapNamed<"rbTransferFilter">(from, to, {table, {table, table, table}, nullptr});
    });
}

HostObject rbTransferFilterGA(HostObject me, HostObject dest, HostObject gray, HostObject alpha) {
    TRV_LOG("TransferFilterGA");
    return RunFilter(me, dest, kTransferTestsOfMore, [&](PictureTRV& from, PictureTRV& to) {
        const ByteTable table = TransferTable(gray);
        const ByteTable alphaTable = TransferTable(alpha);
        MapNamed<"rbTransferFilter">(from, to, {table, {table, table, table}, &alphaTable});
    });
}

HostObject rbTransferFilterRGB(HostObject me, HostObject dest, HostObject red, HostObject green,
                               HostObject blue) {
    TRV_LOG("TransferFilterRGB");
    return RunFilter(me, dest, kTransferTestsOfMore, [&](PictureTRV& from, PictureTRV& to) {
        const ByteTable greenTable = TransferTable(green);
        MapNamed<"rbTransferFilter">(
            from, to, {greenTable, {TransferTable(red), greenTable, TransferTable(blue)}, nullptr});
    });
}

HostObject rbTransferFilterRGBA(HostObject me, HostObject dest, HostObject red, HostObject green,
                                HostObject blue, HostObject alpha) {
    TRV_LOG("TransferFilterRGBA");
    return RunFilter(me, dest, kTransferTestsOfMore, [&](PictureTRV& from, PictureTRV& to) {
        const ByteTable greenTable = TransferTable(green);
        const ByteTable alphaTable = TransferTable(alpha);
        MapNamed<"rbTransferFilter">(
            from, to, {greenTable, {TransferTable(red), greenTable, TransferTable(blue)}, &alphaTable});
    });
}

HostObject rbSolarizeFilter(HostObject me, HostObject dest) {
    TRV_LOG("SolarizeFilter");
    return RunFilter(me, dest, kSolarizeTests, [](PictureTRV& from, PictureTRV& to) {
        DispatchFamily(from, [&]<class F>(F) {
            MapChannels<"SolarizeFilter", F>(from, to, Repeated<F>(kSolarizeTable));
        });
    });
}

}  // namespace trv
