#include "scale/horizontal_pass.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <new>

#include "image/pixel_loop.h"
#include "scale/plain_pass.h"

namespace trv {

namespace {

constexpr int64_t kLists = 256;       // in a group
constexpr int64_t kLineColumns = 64;  // transposed at a time
constexpr int64_t kMostPixelSize = 8;
constexpr int64_t kStageBytes = kLineColumns * kMostPixelSize + 2 * kGroupLanes;  // of one row
constexpr int64_t kLineBytes = kStageBytes * kGroupLanes;                         // of one span
constexpr int64_t kResultBytes = kLists * kMostSlots + kGroupLanes;               // of one row
constexpr int64_t kMostGroups = kMostLanes / kGroupLanes;

const uint8_t kZeroLine[kGroupLanes] = {};

}  // namespace

/// The working memory of one run, and what it does with a block of rows.
class HorizontalBlock {
  public:
    HorizontalBlock(const HorizontalPass& pass, PictureTRV& temp)
        : pass_(pass),
          task_(pass.task_),
          temp_(temp),
          pixelSize_(task_.source.PixelSize),
          sampleBytes_(task_.family.wide ? 2 : 1),
          window_(kWindowBytes),
          open_(kListsApart * kMostLanes),
          lines_(kLineBytes * pass.spanCount_),
          stage_(kStageBytes * kGroupLanes),
          tile_(kLists * kMostLanes * sampleBytes_),
          results_(kResultBytes * kGroupLanes),
          doubts_(kLists * kMostGroups + 1) {}

    [[nodiscard]] bool Ok() const {
        return window_.Ok() && open_.Ok() && lines_.Ok() && stage_.Ok() && tile_.Ok() && results_.Ok() &&
               doubts_.Ok();
    }
    /// Rows that it takes at once.
    [[nodiscard]] int64_t MostRows() const {
        return std::min({pass_.BlockRows(), RowsInReach(task_.source), RowsInReach(temp_)});
    }
    [[nodiscard]] const DoubtMeter& Meter() const { return meter_; }

    /// Source rows `y` and following, at most MostRows().
    template <class T>
    void Do(int64_t y, int64_t rows) {
        y_ = y;
        rows_ = rows;
        rowGroups_ = (rows + kGroupLanes - 1) / kGroupLanes;
        lanes_ = rowGroups_ * pass_.planeCount_ * kGroupLanes;
        held_ = task_.source.IsMapping == 0;
        for (int64_t r = 0; r < kMostLanes; ++r) {
            rowsHeld_[r] = held_ && r < rows ? FetchRow(task_.source, y + r) : nullptr;
        }
        const int64_t count = pass_.tables_.For<T>().Count();
        for (int64_t begin = 0; begin < count;) {
            const auto [end, isFixed] = pass_.tables_.StretchFrom(begin, count);
            begin = isFixed ? DoNextGroup<uint8_t>(begin, end) : DoNextGroup<T>(begin, end);
        }
    }

  private:
    /// The group that starts with list `begin`, below `end`; gives the first list behind it.
    template <class T>
    int64_t DoNextGroup(int64_t begin, int64_t end) {
        const ListGroup group = NextGroup(pass_.tables_.For<T>(), begin, end, kLists, lanes_ * kLaneBytes<T>);
        DoGroup<T>(group);
        return group.end;
    }

    template <class T>
    void DoGroup(const ListGroup& group) {
        for (int64_t i = 0; i < group.Lists(); ++i)
            out_[i] = tile_.Get() + i * lanes_ * sampleBytes_;
        AccumulateJob<T> job{};
        job.window = reinterpret_cast<T*>(window_.Get());
        job.lanes = lanes_;
        job.lists = pass_.tables_.For<T>().Lists() + group.begin;
        job.listCount = group.Lists();
        job.open = reinterpret_cast<SumOf<T>*>(open_.Get());
        job.out = out_;
        job.doubts = doubts_.Get();
        ForEachWindow(group, lanes_ * kLaneBytes<T>, [&](int64_t first, int64_t end) {
            LoadWindow<T>(first, end);
            job.firstPosition = first;
            job.endPosition = end;
            if constexpr (sizeof(T) == sizeof(double)) {
                if (task_.family.wide) return pass_.kernels_->accumulateWords(job);
            }
            KernelsFor<T>(*pass_.kernels_).accumulateBytes(job);
        });
        Settle(group, job.doubtCount);
        StoreResults(group);
    }

    /// Columns `first` to `end` - 1 of the block's rows into the window.
    template <class T>
    void LoadWindow(int64_t first, int64_t end) {
        for (int64_t rowGroup = 0; rowGroup < rowGroups_; ++rowGroup) {
            for (int64_t column = first; column < end; column += kLineColumns) {
                const int64_t columns = std::min(kLineColumns, end - column);
                for (int span = 0; span < pass_.spanCount_; ++span)
                    LoadLines(rowGroup, span, column, columns);
                for (int plane = 0; plane < pass_.planeCount_; ++plane) {
                    T* window = reinterpret_cast<T*>(window_.Get()) + (column - first) * lanes_ +
                                (rowGroup * pass_.planeCount_ + plane) * kGroupLanes;
                    Unpack(pass_.planes_[static_cast<size_t>(plane)], columns, window);
                }
            }
        }
    }

    /// A span's bytes of 16 rows, as lines of one byte position each.
    void LoadLines(int64_t rowGroup, int spanIndex, int64_t column, int64_t columns) {
        const HorizontalPass::Span& span = pass_.spans_[static_cast<size_t>(spanIndex)];
        const int64_t begin = span.base + column * pixelSize_;
        const int64_t bytes = (columns - 1) * pixelSize_ + span.extent;
        const int64_t readable = (task_.source.Width - 1 - column) * pixelSize_ + span.extent;
        const uint8_t* from[kGroupLanes];
        uint8_t* to[kGroupLanes];
        GatherRows(rowGroup, begin, bytes, from);
        for (int64_t k = 0; k < kGroupLanes; ++k)
            to[k] = lines_.Get() + spanIndex * kLineBytes + k * kGroupLanes;

        constexpr int64_t kBlockBytes = kGroupLanes * kGroupLanes;
        const int64_t whole =
            RaisedToGroup(bytes) <= readable ? RaisedToGroup(bytes) : bytes / kGroupLanes * kGroupLanes;
        pass_.kernels_->transpose(from, kGroupLanes, to, kBlockBytes, whole / kGroupLanes);
        if (whole >= bytes) return;
        // The last bytes of the rows: nothing behind them may be read.
        uint8_t edge[kGroupLanes][kGroupLanes] = {};
        for (int64_t k = 0; k < kGroupLanes; ++k) {
            std::memcpy(edge[k], from[k] + whole, static_cast<size_t>(bytes - whole));
            from[k] = edge[k];
            to[k] += whole * kGroupLanes;
        }
        pass_.kernels_->transpose(from, 0, to, 0, 1);
    }

    [[nodiscard]] static int64_t RaisedToGroup(int64_t bytes) {
        return (bytes + kGroupLanes - 1) / kGroupLanes * kGroupLanes;
    }

    /// Where `bytes` bytes from `begin` on are found for 16 rows: in the rows, if they stay where they are,
    /// else in copies. Rows that do not exist are zeros.
    void GatherRows(int64_t rowGroup, int64_t begin, int64_t bytes, const uint8_t** from) {
        for (int64_t k = 0; k < kGroupLanes; ++k) {
            const uint8_t* row = RowOf(rowGroup * kGroupLanes + k);
            if (row != nullptr && held_) {
                from[k] = row + begin;
                Prefetch(from[k] + bytes, bytes);
                continue;
            }
            uint8_t* copy = stage_.Get() + k * kStageBytes;
            from[k] = copy;
            if (row != nullptr) {
                std::memcpy(copy, row + begin, static_cast<size_t>(bytes));
            } else {
                std::memset(copy, 0, static_cast<size_t>(bytes));
            }
        }
    }

    /// Source row `r` of the block; a row of a mapped image is good only until the next one is asked for.
    [[nodiscard]] const uint8_t* RowOf(int64_t r) const {
        if (held_ || r >= rows_) return rowsHeld_[r];
        return FetchRow(task_.source, y_ + r);
    }

    template <class T>
    void Unpack(const HorizontalPass::Plane& plane, int64_t columns, T* window) {
        const auto line = [&](size_t i) {
            return lines_.Get() + plane.span[i] * kLineBytes + plane.position[i] * kGroupLanes;
        };
        const int64_t step = pixelSize_ * kGroupLanes;
        const SampleKernels<T>& kernels = KernelsFor<T>(*pass_.kernels_);
        switch (plane.reader.kind) {
            case SampleReader::Kind::Byte:
                kernels.unpackBytes(line(0), step, columns, window, lanes_);
                break;
            case SampleReader::Kind::Luma:
                kernels.unpackLuma(line(0), line(1), line(2), step, columns, window, lanes_);
                break;
            case SampleReader::Kind::Word:
                if constexpr (sizeof(T) == sizeof(double)) {
                    pass_.kernels_->unpackSplitWords(line(0), step, columns, window, lanes_);
                }
                break;
        }
    }

    /// Replaces the results that are too close to call by the exact ones.
    void Settle(const ListGroup& group, int64_t doubtCount) {
        int64_t settled = 0;
        for (const Doubt* doubt = doubts_.Get(); doubt != doubts_.Get() + doubtCount; ++doubt) {
            const ContributionList& list = pass_.contrib_[group.begin + doubt->list];
            const int plane = doubt->group % pass_.planeCount_;
            const int64_t firstRow = doubt->group / pass_.planeCount_ * kGroupLanes;
            const SampleReader& reader = pass_.planes_[static_cast<size_t>(plane)].reader;
            for (auto mask = static_cast<unsigned>(doubt->mask); mask != 0; mask &= mask - 1) {
                const int lane = std::countr_zero(mask);
                if (firstRow + lane >= rows_) continue;
                const uint8_t* row = RowOf(firstRow + lane);
                const double sum = ExactSum(reader, list, [&](int64_t column) {
                    return row == nullptr ? nullptr : row + column * pixelSize_;
                });
                const uint16_t sample = ExactSample(sum, list.weightSum, task_.family.MaxValue());
                std::memcpy(out_[doubt->list] + (doubt->group * kGroupLanes + lane) * sampleBytes_, &sample,
                            static_cast<size_t>(sampleBytes_));
                ++settled;
            }
        }
        meter_.Add(settled, group.Lists() * lanes_);
    }

    /// The tile's results as MyPixels into the rows of the temp.
    void StoreResults(const ListGroup& group) {
        const int64_t bytes = group.Lists() * task_.family.pixelBytes;
        for (int64_t rowGroup = 0; rowGroup < rowGroups_; ++rowGroup) {
            TransposeResults(group, rowGroup, bytes);
            for (int64_t k = 0; k < kGroupLanes && rowGroup * kGroupLanes + k < rows_; ++k) {
                uint8_t* row = FetchInside(temp_, y_ + rowGroup * kGroupLanes + k);
                if (row == nullptr) continue;
                std::memcpy(row + group.begin * task_.family.pixelBytes, results_.Get() + k * kResultBytes,
                            static_cast<size_t>(bytes));
            }
        }
    }

    void TransposeResults(const ListGroup& group, int64_t rowGroup, int64_t bytes) {
        const int pixelBytes = task_.family.pixelBytes;
        const int64_t firstLine = rowGroup * pass_.planeCount_ * kGroupLanes * sampleBytes_;
        if (task_.family.wide) SplitWords(group, firstLine);
        int64_t list = 0;
        int byte = 0;  // of the MyPixel
        for (int64_t at = 0; at < bytes; at += kGroupLanes) {
            const uint8_t* from[kGroupLanes];
            uint8_t* to[kGroupLanes];
            for (int64_t k = 0; k < kGroupLanes; ++k) {
                const int plane = task_.family.wide ? 0 : pass_.slotPlane_[static_cast<size_t>(byte)];
                const int64_t line = firstLine + (task_.family.wide ? byte : plane) * kGroupLanes;
                from[k] = list < group.Lists() && plane >= 0 ? out_[list] + line : kZeroLine;
                to[k] = results_.Get() + k * kResultBytes + at;
                if (++byte == pixelBytes) {
                    byte = 0;
                    ++list;
                }
            }
            pass_.kernels_->transpose(from, 0, to, 0, 1);
        }
    }

    /// Turns each line of 16 words into one of 16 low bytes and one of 16 high bytes.
    void SplitWords(const ListGroup& group, int64_t firstLine) {
        for (int64_t i = 0; i < group.Lists(); ++i) {
            uint8_t* line = out_[i] + firstLine;
            uint8_t words[2 * kGroupLanes];
            std::memcpy(words, line, sizeof words);
            for (int64_t k = 0; k < kGroupLanes; ++k) {
                line[k] = words[2 * k];
                line[kGroupLanes + k] = words[2 * k + 1];
            }
        }
    }

    const HorizontalPass& pass_;
    const ScaleTask& task_;
    PictureTRV& temp_;
    const int64_t pixelSize_;
    const int64_t sampleBytes_;
    WorkBlock<uint8_t> window_;
    WorkBlock<double> open_;
    WorkBlock<uint8_t> lines_;    // [span][position][row]
    WorkBlock<uint8_t> stage_;    // [row][byte]: copies of rows that do not stay
    WorkBlock<uint8_t> tile_;     // [list][row group][plane][row]
    WorkBlock<uint8_t> results_;  // [row][byte]
    WorkBlock<Doubt> doubts_;
    DoubtMeter meter_;

    // The block at hand.
    int64_t y_ = 0;
    int64_t rows_ = 0;
    int64_t rowGroups_ = 0;
    int64_t lanes_ = 0;
    bool held_ = false;  // the rows stay where they are
    const uint8_t* rowsHeld_[kMostLanes] = {};
    uint8_t* out_[kLists] = {};
};

HorizontalPass::HorizontalPass(const ScaleTask& task, const ContributionList* contrib)
    : task_(task), shapes_(task), contrib_(contrib), kernels_(ActiveRowKernels()) {
    const bool small = task.source.PixelSize >= 1 && task.source.PixelSize <= kMostPixelSize;
    if (kernels_ == nullptr || !small || task.source.Width < 1 || task.TempColumns() < 1) {
        kernels_ = nullptr;
        return;
    }
    FindPlanes();
    FindSpans();
    const SampleRange range{task.family.MaxValue(), planes_[0].reader.kind == SampleReader::Kind::Luma};
    if (!tables_.Build(contrib, task.TempColumns(), task.source.Width, range, task.family.wide,
                       kernels_->fixed.samples.accumulateBytes != nullptr))
        kernels_ = nullptr;
}

/// Slots that read the same bytes share a plane.
void HorizontalPass::FindPlanes() {
    for (int slot = 0; slot < task_.family.slotCount; ++slot) {
        const ScaleSlot& from = task_.family.slots[static_cast<size_t>(slot)];
        int& plane = slotPlane_[static_cast<size_t>(slot)];
        plane = -1;
        if (from.source == SlotSource::Zero) continue;
        const SampleReader reader = ReaderOf(from, task_.source, task_.family.wide);
        plane = 0;
        while (plane < planeCount_ && planes_[static_cast<size_t>(plane)].reader != reader)
            ++plane;
        if (plane == planeCount_) planes_[static_cast<size_t>(planeCount_++)].reader = reader;
    }
}

void HorizontalPass::FindSpans() {
    struct Piece {
        int64_t offset;
        int64_t bytes;
        Plane* plane;
        size_t index;
    };
    std::array<Piece, 3 * kMostSlots> pieces{};
    size_t count = 0;
    for (int p = 0; p < planeCount_; ++p) {
        Plane* plane = &planes_[static_cast<size_t>(p)];
        const SampleReader& reader = plane->reader;
        pieces[count++] = {reader.offset, reader.kind == SampleReader::Kind::Word ? 2 : 1, plane, 0};
        if (reader.kind != SampleReader::Kind::Luma) continue;
        pieces[count++] = {reader.greenOffset, 1, plane, 1};
        pieces[count++] = {reader.blueOffset, 1, plane, 2};
    }
    std::sort(pieces.begin(), pieces.begin() + static_cast<std::ptrdiff_t>(count),
              [](const Piece& a, const Piece& b) { return a.offset < b.offset; });
    for (size_t i = 0; i < count; ++i) {
        const Piece& piece = pieces[i];
        const bool joins =
            spanCount_ > 0 && piece.offset + piece.bytes - spans_[static_cast<size_t>(spanCount_ - 1)].base <=
                                  std::max<int64_t>(task_.source.PixelSize, piece.bytes);
        if (!joins) spans_[static_cast<size_t>(spanCount_++)] = {piece.offset, 0};
        Span& span = spans_[static_cast<size_t>(spanCount_ - 1)];
        span.extent = std::max(span.extent, piece.offset + piece.bytes - span.base);
        piece.plane->span[piece.index] = spanCount_ - 1;
        piece.plane->position[piece.index] = piece.offset - span.base;
    }
}

/// False if the host has made other images of the records meanwhile.
bool HorizontalPass::YieldAfter(int64_t rows, bool yields) const {
    for (int64_t i = 0; yields && i < rows; ++i)
        YieldIfWanted(task_.destination);
    return shapes_.AreThoseOf(task_);
}

void HorizontalPass::RunPlain(int64_t first, int64_t last, bool yields) const {
    for (int64_t y = first; y <= last; ++y) {
        PlainHorizontalRow(task_, contrib_, y);
        if (!YieldAfter(1, yields)) return;
    }
}

bool HorizontalPass::IsFast() const {
    return kernels_ != nullptr && !NeedsPlainOrder(task_.source, task_.temp);
}

int64_t HorizontalPass::BlockRows() const {
    return kMostGroups / planeCount_ * kGroupLanes;
}

void HorizontalPass::Run(int64_t first, int64_t last, bool yields) const {
    last = std::min(last, task_.SourceRows() - 1);
    if (first > last) return;
    if (!IsFast()) return RunPlain(first, last, yields);
    HorizontalRows rows(*this, task_.temp);
    if (!rows.Ok()) return RunPlain(first, last, yields);
    (void)rows.Do(first, last, yields);
}

HorizontalRows::HorizontalRows(const HorizontalPass& pass, PictureTRV& temp)
    : pass_(pass), block_(new (std::nothrow) HorizontalBlock(pass, temp)), useWide_(pass.tables_.UseWide()) {}

HorizontalRows::~HorizontalRows() = default;

bool HorizontalRows::Ok() const {
    return block_ != nullptr && block_->Ok();
}

bool HorizontalRows::Do(int64_t first, int64_t last, bool yields) {
    const int64_t most = block_->MostRows();
    for (int64_t y = first; y <= last; y += most) {
        const int64_t rows = std::min(most, last + 1 - y);
        if (useWide_) {
            block_->Do<double>(y, rows);
        } else {
            block_->Do<float>(y, rows);
        }
        useWide_ = useWide_ || block_->Meter().TooMany();
        if (!pass_.YieldAfter(rows, yields)) return false;
    }
    return true;
}

}  // namespace trv
