#include "geometry/turns.h"

#include "frame/debug_log.h"
#include "geometry/pixel_runs.h"
#include "geometry/plain_turn.h"
#include "geometry/quarter_turn.h"
#include "image/destination.h"
#include "image/row_pair.h"
#include "image/store_overlap.h"

namespace trv {

namespace {

/// The tests and the destination of all turns; `work(source, dest)` then moves the pixels.
template <class Work>
HostObject RunTurn(HostObject me, HostObject given, bool quarter, Work&& work) {
    PictureTRV& source = *RecordOf(me);
    if (!IsValid(&source) || !HasByteSamples(source) || !StartImage(&source)) return nullptr;
    const int64_t width = quarter ? source.Height : source.Width;
    const int64_t height = quarter ? source.Width : source.Height;
    ObjectReference dest = TakeDestination(source, given, width, height);
    if (!dest || !StartImage(RecordOf(dest.Get()))) return nullptr;
    // The destination's time for the host may have been the end of the source.
    if (source.GetRow != nullptr) work(source, *RecordOf(dest.Get()));
    return dest.Release();
}

/// The rows of a half turn. Either all of a row finds its place in the destination or its end does.
template <class Pixel>
void TurnRows(PictureTRV& source, PictureTRV& dest, const Pixel& pixel, int64_t fromBase, int64_t toBase) {
    const int64_t columns = std::min(source.Width, dest.Width);
    const int64_t height = source.Height;
    const int64_t firstColumn = source.Width - columns;
    RowPair rows(dest, source);
    for (int64_t destY = 0; destY < std::min(height, dest.Height); ++destY) {
        if (!rows.Fetch(destY, height - 1 - destY)) continue;
        CopyReversed(pixel, rows.from + fromBase + firstColumn * pixel.FromSize(), rows.to + toBase, columns);
    }
}

template <class F>
void HalfTurn(PictureTRV& source, PictureTRV& dest, F family) {
    TRV_LOG((FamilyLabel<"Rotate180", F>()));
    const PixelMap map = PixelMap::Between(family, source, dest);
    if (!map.AnyOrder() || OrderMatters(source, dest)) {
        return PlainTurn(source, dest, map, {Turn::Half, 0});
    }
    map.Dispatch([&](const auto& pixel, int64_t fromBase, int64_t toBase) {
        TurnRows(source, dest, pixel, fromBase, toBase);
    });
}

/// Rows of a tile that stay mapped while it is worked on; may come out below 1.
int64_t TileEdge(const PictureTRV& source, const PictureTRV& dest) {
    return std::min(source.MappingRows, dest.MappingRows) - 2;
}

template <class F>
void QuarterTurn(PictureTRV& source, PictureTRV& dest, F family, Turn turn, bool tiled) {
    if (turn == Turn::Left) {
        TRV_LOG((FamilyLabel<"Rotate90", F>()));
    } else {
        TRV_LOG((FamilyLabel<"Rotate270", F>()));
    }
    int64_t edge = 0;
    if (tiled) {
        static_cast<void>(FetchRow(dest, 0));
        static_cast<void>(FetchRow(source, 0));
        edge = TileEdge(source, dest);
        TRV_LOG("r", edge);
        edge = std::max<int64_t>(edge, 1);
    }
    const PixelMap map = PixelMap::Between(family, source, dest);
    if (!map.AnyOrder() || OrderMatters(source, dest)) {
        PlainTurn(source, dest, map, {turn, edge});
    } else {
        FastQuarterTurn(source, dest, map, turn);
    }
}

HostObject RunQuarterTurn(HostObject me, HostObject given, Turn turn, bool tiled) {
    return RunTurn(me, given, true, [&](PictureTRV& source, PictureTRV& dest) {
        DispatchFamily(source, [&](auto family) { QuarterTurn(source, dest, family, turn, tiled); });
    });
}

}  // namespace

HostObject rbRotate180(HostObject me, HostObject dest) {
    TRV_LOG("Rotate180");
    return RunTurn(me, dest, false, [](PictureTRV& source, PictureTRV& target) {
        DispatchFamily(source, [&](auto family) { HalfTurn(source, target, family); });
    });
}

HostObject rbRotate90(HostObject me, HostObject dest) {
    TRV_LOG("Rotate90fast");
    return RunQuarterTurn(me, dest, Turn::Left, true);
}

HostObject rbRotate270(HostObject me, HostObject dest) {
    TRV_LOG("Rotate270fast");
    return RunQuarterTurn(me, dest, Turn::Right, true);
}

HostObject rbRotate90slow(HostObject me, HostObject dest) {
    TRV_LOG("Rotate90");
    return RunQuarterTurn(me, dest, Turn::Left, false);
}

HostObject rbRotate270slow(HostObject me, HostObject dest) {
    TRV_LOG("Rotate270");
    return RunQuarterTurn(me, dest, Turn::Right, false);
}

}  // namespace trv
