#include "filters/byte_tables.h"

#include <algorithm>
#include <functional>

#include "frame/instruction_set.h"

namespace trv {

namespace {

template <size_t kChannels>
void MapPlain(uint8_t* bytes, int64_t pixels, std::span<const ByteTable> tables) {
    for (; pixels > 0; --pixels, bytes += kChannels) {
        for (size_t channel = 0; channel < kChannels; ++channel)
            bytes[channel] = tables[channel][bytes[channel]];
    }
}

void MapPlain(uint8_t* bytes, int64_t pixels, std::span<const ByteTable> tables) {
    using Map = void (*)(uint8_t*, int64_t, std::span<const ByteTable>);
    constexpr Map kMaps[] = {MapPlain<1>, MapPlain<2>, MapPlain<3>, MapPlain<4>, MapPlain<5>};
    kMaps[tables.size() - 1](bytes, pixels, tables);
}

MapBytesKernel ActiveKernel() {
    return KernelsInUse<MapBytesKernel>(nullptr, MapBytesAvx2,
                                        RunsMapBytesAvx512() ? MapBytesAvx512 : nullptr);
}

MapBytesByLimitKernel ActiveLimitKernel() {
    return KernelsInUse<MapBytesByLimitKernel>(nullptr, MapBytesByLimitAvx2,
                                               RunsMapBytesAvx512() ? MapBytesByLimitAvx512 : nullptr);
}

}  // namespace

void MapBytesByLimit(uint8_t* bytes, const uint8_t* limits, int64_t count, const ByteTable& above,
                     const ByteTable& upTo) {
    const MapBytesByLimitKernel kernel = ActiveLimitKernel();
    int64_t i = kernel == nullptr ? 0 : kernel(bytes, limits, count, above, upTo);
    for (; i < count; ++i)
        bytes[i] = bytes[i] > limits[i] ? above[bytes[i]] : upTo[bytes[i]];
}

void MapBytes(uint8_t* bytes, int64_t pixels, std::span<const ByteTable> tables) {
    // One table for all channels is one channel with more samples.
    if (std::adjacent_find(tables.begin(), tables.end(), std::not_equal_to<>()) == tables.end()) {
        pixels *= static_cast<int64_t>(tables.size());
        tables = tables.first(1);
    }
    const auto channels = static_cast<int64_t>(tables.size());
    const MapBytesKernel kernel = ActiveKernel();
    const int64_t done = kernel == nullptr ? 0 : kernel(bytes, pixels * channels, tables);
    MapPlain(bytes + done, pixels - done / channels, tables);
}

}  // namespace trv
