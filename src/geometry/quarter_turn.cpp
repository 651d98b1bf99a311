#include "geometry/quarter_turn.h"

#include <algorithm>

#include "geometry/pixel_runs.h"
#include "image/store_overlap.h"

namespace trv {

namespace {

/// Rows of the destination that are written side by side. Each lies in a page of its own.
constexpr int64_t kRowsTogether = 512;
/// Rows of the source that are read side by side: those whose pixels of the smallest size fill a line.
constexpr int64_t kMostSourceRows = kLineBytes;
/// Bytes from which on a destination is written past the caches, which it would only empty.
constexpr int64_t kStreamedBytes = 4 * 1024 * 1024;

struct Stretch {
    int64_t begin;
    int64_t end;
};

/// Moves a mapped image's window over all of a stretch of rows that it has room for; whether they are there.
bool Reach(PictureTRV& image, Stretch rows) {
    // A window starts a little before the row that made it move, in the store's order. So one of the two ends
    // moves it to where it shows both.
    static_cast<void>(FetchRow(image, rows.begin));
    static_cast<void>(FetchRow(image, rows.end - 1));
    const uint8_t* first = FetchRow(image, rows.begin);
    const uint8_t* last = FetchRow(image, rows.end - 1);
    return first != nullptr && last != nullptr && FetchRow(image, rows.begin) == first;
}

/// One quarter turn in the coordinates of its destination: row d is column ColumnOf(d) of the source, and
/// column k is row RowOf(k).
template <class Pixel>
class TurnWalk {
  public:
    TurnWalk(PictureTRV& source, PictureTRV& dest, const Pixel& pixel, int64_t fromBase, int64_t toBase,
             bool left)
        : source_(source),
          dest_(dest),
          pixel_(pixel),
          fromBase_(fromBase),
          toBase_(toBase),
          left_(left),
          width_(source.Width),
          height_(source.Height) {}

    void Run() {
        const int64_t rows = std::min(width_, dest_.Height);
        const int64_t columns = std::min(height_, dest_.Width);
        stream_ = rows * columns * pixel_.ToSize() >= kStreamedBytes;
        ForEachPart({0, rows}, RowsInReach(dest_), [&](Stretch destRows) {
            ForEachPart({0, columns}, RowsInReach(source_), [&](Stretch destColumns) {
                const int64_t a = RowOf(destColumns.begin);
                const int64_t b = RowOf(destColumns.end - 1);
                if (!Reach(source_, {std::min(a, b), std::max(a, b) + 1})) return;
                if (!Reach(dest_, destRows)) return;
                ForEachPart(destRows, kRowsTogether, [&](Stretch some) { TurnStrip(some, destColumns); });
            });
        });
        if (stream_) EndStreaming();
    }

  private:
    template <class Work>
    static void ForEachPart(Stretch whole, int64_t most, Work&& work) {
        for (int64_t begin = whole.begin; begin < whole.end;) {
            const int64_t end = whole.end - begin > most ? begin + most : whole.end;
            work(Stretch{begin, end});
            begin = end;
        }
    }

    [[nodiscard]] int64_t RowOf(int64_t destColumn) const {
        return left_ ? destColumn : height_ - 1 - destColumn;
    }
    [[nodiscard]] int64_t ColumnOf(int64_t destRow) const { return left_ ? width_ - 1 - destRow : destRow; }

    /// At most kRowsTogether rows of the destination.
    void TurnStrip(Stretch destRows, Stretch destColumns) {
        const int64_t count = destRows.end - destRows.begin;
        uintptr_t places = 0;  // within lines, of all rows
        for (int64_t i = 0; i < count; ++i) {
            // The rows' columns ascend in the source.
            uint8_t* row = FetchRow(dest_, left_ ? destRows.end - 1 - i : destRows.begin + i);
            if (row == nullptr) return;
            to_[static_cast<size_t>(i)] = row + toBase_;
            const auto step = reinterpret_cast<uintptr_t>(to_[static_cast<size_t>(i)]) -
                              reinterpret_cast<uintptr_t>(to_[0]);
            places |= step % kLineBytes;
        }
        const int64_t firstColumn = std::min(ColumnOf(destRows.begin), ColumnOf(destRows.end - 1));
        const bool aligned = places == 0 && kLineBytes % pixel_.ToSize() == 0;
        int64_t k = destColumns.begin;
        while (k < destColumns.end) {
            const int64_t most = std::min(ToLineEnd(k, aligned), destColumns.end - k);
            TurnRows(firstColumn, count, k, most, aligned);
            k += most;
        }
    }

    /// Columns of the destination from `k` to the end of a line.
    [[nodiscard]] int64_t ToLineEnd(int64_t k, bool aligned) const {
        const int64_t perLine = std::max<int64_t>(kLineBytes / pixel_.ToSize(), 1);
        if (!aligned) return perLine;
        const auto place =
            (reinterpret_cast<uintptr_t>(to_[0]) + static_cast<uintptr_t>(k * pixel_.ToSize())) %
            static_cast<uintptr_t>(kLineBytes);
        const auto left = static_cast<int64_t>(kLineBytes - static_cast<int64_t>(place));
        return left % pixel_.ToSize() == 0 ? left / pixel_.ToSize() : perLine;
    }

    void TurnRows(int64_t firstColumn, int64_t columns, int64_t k, int64_t rows, bool aligned) {
        for (int64_t i = 0; i < rows; ++i) {
            const uint8_t* row = FetchRow(source_, RowOf(k + i));
            if (row == nullptr) return;
            from_[static_cast<size_t>(i)] = row + fromBase_ + firstColumn * pixel_.FromSize();
        }
        const int64_t offset = k * pixel_.ToSize();
        const bool lines = aligned && (reinterpret_cast<uintptr_t>(to_[0]) + static_cast<uintptr_t>(offset)) %
                                              static_cast<uintptr_t>(kLineBytes) ==
                                          0;
        TurnBlock(pixel_, from_.data(), rows, columns, to_.data(), offset, stream_ && lines);
    }

    PictureTRV& source_;
    PictureTRV& dest_;
    const Pixel pixel_;
    const int64_t fromBase_;
    const int64_t toBase_;
    const bool left_;
    const int64_t width_;
    const int64_t height_;
    bool stream_ = false;
    std::array<uint8_t*, kRowsTogether> to_;
    std::array<const uint8_t*, kMostSourceRows> from_;
};

}  // namespace

void FastQuarterTurn(PictureTRV& source, PictureTRV& dest, const PixelMap& map, Turn turn) {
    map.Dispatch([&](const auto& pixel, int64_t fromBase, int64_t toBase) {
        TurnWalk(source, dest, pixel, fromBase, toBase, turn == Turn::Left).Run();
    });
}

}  // namespace trv
