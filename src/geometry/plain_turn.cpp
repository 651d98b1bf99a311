#include "geometry/plain_turn.h"

#include <algorithm>
#include <limits>

#include "image/checked_math.h"

namespace trv {

namespace {

struct Place {
    int64_t x;
    int64_t y;
};

Place PlaceOf(const PictureTRV& source, Turn turn, Place at) {
    switch (turn) {
        case Turn::Left:
            return {at.y, source.Width - 1 - at.x};
        case Turn::Half:
            return {source.Width - 1 - at.x, source.Height - 1 - at.y};
        case Turn::Right:
            return {source.Height - 1 - at.y, at.x};
    }
    return at;
}

/// One pixel, channel by channel. Rows are fetched anew for each, since those of one mapped image take each
/// other away; there all channels are read before the first is written.
void MovePixel(PictureTRV& source, PictureTRV& dest, const LoosePixel& pixel, Place from, Place to) {
    const uint8_t* row = FetchRow(source, from.y);
    if (row == nullptr) return;
    row += from.x * pixel.fromSize;
    std::array<uint8_t, LoosePixel::kMost> held;
    LoosePixel store = pixel;
    if (&source == &dest && source.IsMapping != 0) {
        for (int i = 0; i < pixel.count; ++i) {
            auto& byte = store.bytes[static_cast<size_t>(i)];
            held[static_cast<size_t>(i)] = row[byte.from];
            byte.from = i;
        }
        row = held.data();
    }
    if (uint8_t* target = FetchRow(dest, to.y)) store.Move(row, target + to.x * pixel.toSize);
}

}  // namespace

void PlainTurn(PictureTRV& source, PictureTRV& dest, const PixelMap& map, TurnOrder order) {
    const int64_t width = source.Width;
    const int64_t height = source.Height;
    const int64_t edge = order.edge > 0 ? order.edge : std::numeric_limits<int64_t>::max();
    // A row of a half turn is walked from its end.
    const bool backward = order.turn == Turn::Half;
    for (int64_t top = 0; top < height; top = SaturatedAdd(top, edge)) {
        for (int64_t left = 0; left < width; left = SaturatedAdd(left, edge)) {
            const int64_t right = std::min(width, SaturatedAdd(left, edge));
            for (int64_t y = top; y < std::min(height, SaturatedAdd(top, edge)); ++y) {
                for (int64_t i = left; i < right; ++i) {
                    const int64_t x = backward ? left + right - 1 - i : i;
                    const Place to = PlaceOf(source, order.turn, {x, y});
                    if (to.x >= dest.Width || to.y >= dest.Height) continue;
                    MovePixel(source, dest, map.Loose(), {x, y}, to);
                }
            }
        }
    }
}

}  // namespace trv
