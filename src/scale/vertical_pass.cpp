#include "scale/vertical_pass.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <new>

#include "image/pixel_loop.h"
#include "scale/plain_pass.h"

namespace trv {

namespace {

constexpr int64_t kLists = 16;           // in a group; few enough rows for the processor to follow
constexpr int64_t kStripsAhead = 2;      // fetched into the cache
constexpr int64_t kStripsOfMapped = 16;  // done together where rows of the temp have to be copied
constexpr int64_t kMostGroups = kMostLanes / kGroupLanes;

/// The most positions that a group of the table's lists can cover.
template <class T>
int64_t MostPositions(const TapTable<T>& table, int64_t inWindow) {
    const TapList<T>* lists = table.Lists();
    int64_t most = inWindow;
    for (int64_t i = 0; i < table.Count(); ++i) {
        const TapList<T>& last = lists[std::min(i + kLists, table.Count()) - 1];
        most = std::max(most, last.first + last.count - lists[i].first);
    }
    return most;
}

}  // namespace

/// The working memory of one run, and what it does with a group of destination rows.
class VerticalStrips {
  public:
    VerticalStrips(const VerticalPass& pass, PictureTRV& temp)
        : pass_(pass),
          task_(pass.task_),
          temp_(temp),
          tempPixel_(task_.family.pixelBytes),
          packedPixel_(pass.usedCount_ * pass.sampleBytes_),
          columns_(task_.DestinationColumns()),
          stripPixels_(kMostLanes / pass.usedCount_ / kGroupLanes * kGroupLanes),
          stripBytes_(stripPixels_ * packedPixel_),
          copies_(temp_.IsMapping != 0),
          holdsTargets_(task_.destination.IsMapping == 0),
          strips_(copies_ ? kStripsOfMapped : 1),
          window_(kWindowBytes),
          open_(strips_ * kLists * kMostLanes),
          results_(strips_ * kLists * stripBytes_ + kGroupLanes),
          strip_(stripPixels_ * tempPixel_ + 2 * kGroupLanes),
          copied_(copies_ ? PieceBytes() * PositionsInWindow<float>() : 1),
          rows_(std::max({MostPositions(pass.tables_.For<float>(), PositionsInWindow<float>()),
                          MostPositions(pass.tables_.For<double>(), PositionsInWindow<double>())})),
          doubts_(kLists * kMostGroups + 1) {}

    [[nodiscard]] bool Ok() const {
        return window_.Ok() && open_.Ok() && results_.Ok() && strip_.Ok() && copied_.Ok() && rows_.Ok() &&
               doubts_.Ok();
    }
    [[nodiscard]] const DoubtMeter& Meter() const { return meter_; }

    /// Destination rows from `y` on, as many as make a group below `end`; returns how many.
    template <class T>
    int64_t Do(int64_t y, int64_t end) {
        const int64_t most = std::min(kLists, RowsInReach(task_.destination));
        group_ = NextGroup(pass_.tables_.For<T>(), y, end, most, PositionBytes<T>());
        for (int64_t i = 0; i < group_.Lists(); ++i) {
            targets_[i] = holdsTargets_ ? FetchInside(task_.destination, y + i) : nullptr;
        }
        rowsColumn_ = 0;
        for (int64_t p = group_.firstPosition; !copies_ && p < group_.endPosition; ++p) {
            rows_.Get()[p - group_.firstPosition] = FetchInside(temp_, p);
        }
        for (int64_t x = 0; x < columns_; x += strips_ * stripPixels_)
            DoPiece<T>(x);
        return group_.Lists();
    }

  private:
    /// A stretch of pixels.
    struct Strip {
        int64_t index;  // in its piece
        int64_t x;
        int64_t pixels;
        int64_t lanes;
    };

    /// Bytes of a full strip's position in the window.
    template <class T>
    [[nodiscard]] int64_t PositionBytes() const {
        return stripPixels_ * pass_.usedCount_ * int64_t{sizeof(T)};
    }
    template <class T>
    [[nodiscard]] int64_t PositionsInWindow() const {
        return kWindowBytes / PositionBytes<T>();
    }
    [[nodiscard]] int64_t PieceBytes() const { return strips_ * stripPixels_ * tempPixel_; }
    [[nodiscard]] bool IsDirect(const Strip& strip) const {
        return holdsTargets_ && pass_.store_.IsCopy() && strip.pixels * pass_.usedCount_ == strip.lanes;
    }

    template <class Work>
    void ForEachStrip(int64_t x, Work&& work) const {
        for (int64_t index = 0; index < strips_ && x < columns_; ++index, x += stripPixels_) {
            const int64_t pixels = std::min(stripPixels_, columns_ - x);
            const int64_t lanes = (pixels * pass_.usedCount_ + kGroupLanes - 1) / kGroupLanes * kGroupLanes;
            work(Strip{index, x, pixels, lanes});
        }
    }

    /// The strips of a piece, window by window, so that rows of a mapped temp are asked for once per window.
    template <class T>
    void DoPiece(int64_t x) {
        ForEachWindow(group_, PositionBytes<T>(), [&](int64_t first, int64_t end) {
            if (copies_) CopyRows(first, end, x);
            ForEachStrip(x, [&](const Strip& strip) { DoStrip<T>(strip, first, end); });
        });
        for (int64_t i = 0; i < group_.Lists(); ++i) {
            uint8_t* target = holdsTargets_ ? targets_[i] : FetchInside(task_.destination, group_.begin + i);
            if (target == nullptr) continue;
            ForEachStrip(x, [&](const Strip& strip) {
                if (!IsDirect(strip)) Store(strip, i, target);
            });
        }
    }

    void CopyRows(int64_t first, int64_t end, int64_t x) {
        rowsColumn_ = x;
        const int64_t bytes = std::min(strips_ * stripPixels_, columns_ - x) * tempPixel_;
        for (int64_t p = first; p < end; ++p) {
            const uint8_t* row = FetchInside(temp_, p);
            uint8_t* copy = copied_.Get() + (p - first) * PieceBytes();
            rows_.Get()[p - group_.firstPosition] = row == nullptr ? nullptr : copy;
            if (row != nullptr) std::memcpy(copy, row + x * tempPixel_, static_cast<size_t>(bytes));
        }
    }

    template <class T>
    void DoStrip(const Strip& strip, int64_t first, int64_t end) {
        T* window = reinterpret_cast<T*>(window_.Get());
        for (int64_t p = first; p < end; ++p) {
            const uint8_t* row = rows_.Get()[p - group_.firstPosition];
            Load(strip, row == nullptr ? nullptr : row + (strip.x - rowsColumn_) * tempPixel_,
                 window + (p - first) * strip.lanes);
        }
        for (int64_t i = 0; i < group_.Lists(); ++i) {
            const bool direct = IsDirect(strip) && targets_[i] != nullptr;
            out_[i] = direct ? targets_[i] + pass_.storeBase_ + strip.x * packedPixel_ : ResultOf(strip, i);
            if (direct) Prefetch(out_[i] + kStripsAhead * stripBytes_, stripBytes_);
        }
        AccumulateJob<T> job{};
        job.window = window;
        job.firstPosition = first;
        job.endPosition = end;
        job.lanes = strip.lanes;
        job.lists = pass_.tables_.For<T>().Lists() + group_.begin;
        job.listCount = group_.Lists();
        job.open = reinterpret_cast<T*>(open_.Get()) + strip.index * kLists * kMostLanes;
        job.out = out_;
        job.doubts = doubts_.Get();
        Accumulate(job);
        Settle(strip, job.doubtCount);
    }

    void Accumulate(AccumulateJob<float>& job) { pass_.kernels_->single.accumulateBytes(job); }
    void Accumulate(AccumulateJob<double>& job) {
        if (task_.family.wide) {
            pass_.kernels_->accumulateWords(job);
        } else {
            pass_.kernels_->wide.accumulateBytes(job);
        }
    }

    [[nodiscard]] uint8_t* ResultOf(const Strip& strip, int64_t list) const {
        return results_.Get() + (strip.index * kLists + list) * stripBytes_;
    }

    /// A strip of a temp row into the window; a row that is not there counts as zeros.
    template <class T>
    void Load(const Strip& strip, const uint8_t* from, T* window) {
        if (from == nullptr) {
            std::fill_n(window, strip.lanes, T{0});
            return;
        }
        const int64_t bytes = strip.pixels * tempPixel_;
        Prefetch(from + kStripsAhead * bytes, bytes);
        if (!pass_.pack_.IsCopy()) {
            pass_.pack_.Convert(from, strip_.Get(), strip.pixels);
            from = strip_.Get();
        } else if (bytes != strip.lanes * pass_.sampleBytes_) {
            std::memcpy(strip_.Get(), from, static_cast<size_t>(bytes));
            from = strip_.Get();
        }
        const int64_t groups = strip.lanes / kGroupLanes;
        if constexpr (sizeof(T) == sizeof(double)) {
            if (task_.family.wide) {
                pass_.kernels_->unpackWords(from, 2 * kGroupLanes, groups, window, kGroupLanes);
                return;
            }
        }
        KernelsFor<T>(*pass_.kernels_).unpackBytes(from, kGroupLanes, groups, window, kGroupLanes);
    }

    /// Replaces the results that are too close to call by the exact ones.
    void Settle(const Strip& strip, int64_t doubtCount) {
        int64_t settled = 0;
        for (const Doubt* doubt = doubts_.Get(); doubt != doubts_.Get() + doubtCount; ++doubt) {
            const ContributionList& list = pass_.contrib_[group_.begin + doubt->list];
            for (auto mask = static_cast<unsigned>(doubt->mask); mask != 0; mask &= mask - 1) {
                const int64_t lane = doubt->group * kGroupLanes + std::countr_zero(mask);
                const int64_t pixel = lane / pass_.usedCount_;
                if (pixel >= strip.pixels) break;
                const auto used = static_cast<size_t>(lane % pass_.usedCount_);
                const SampleReader reader = ReaderOfTemp(task_.family, pass_.usedSlots_[used]);
                const double sum = ExactSum(reader, list, [&](int64_t position) {
                    const uint8_t* row = TempRow(position);
                    return row == nullptr ? nullptr : row + (strip.x + pixel) * tempPixel_;
                });
                const uint16_t sample = ExactSample(sum, list.weightSum, task_.family.MaxValue());
                std::memcpy(out_[doubt->list] + lane * pass_.sampleBytes_, &sample,
                            static_cast<size_t>(pass_.sampleBytes_));
                ++settled;
            }
        }
        meter_.Add(settled, group_.Lists() * strip.lanes);
    }

    [[nodiscard]] const uint8_t* TempRow(int64_t position) const {
        return copies_ ? FetchInside(temp_, position) : rows_.Get()[position - group_.firstPosition];
    }

    void Store(const Strip& strip, int64_t list, uint8_t* target) {
        const int64_t size = task_.destination.PixelSize;
        pass_.store_.Convert(ResultOf(strip, list), target + pass_.storeBase_ + strip.x * size, strip.pixels);
    }

    const VerticalPass& pass_;
    const ScaleTask& task_;
    PictureTRV& temp_;
    const int64_t tempPixel_;    // bytes of MyPixel
    const int64_t packedPixel_;  // bytes of its used slots
    const int64_t columns_;
    const int64_t stripPixels_;
    const int64_t stripBytes_;  // of its results
    const bool copies_;         // rows of the temp do not stay where they are
    const bool holdsTargets_;   // those of the destination do
    const int64_t strips_;      // in a piece
    WorkBlock<uint8_t> window_;
    WorkBlock<double> open_;
    WorkBlock<uint8_t> results_;      // [strip][list][lane]
    WorkBlock<uint8_t> strip_;        // a strip's bytes, packed or filled up
    WorkBlock<uint8_t> copied_;       // [position][byte of the piece]
    WorkBlock<const uint8_t*> rows_;  // [position]: rows of the temp, from column rowsColumn_ on
    WorkBlock<Doubt> doubts_;
    DoubtMeter meter_;

    ListGroup group_{};
    int64_t rowsColumn_ = 0;
    uint8_t* targets_[kLists] = {};  // rows of the destination
    uint8_t* out_[kLists] = {};
};

/// Destination rows whose weights are 128ths, each as a whole: nothing is converted, and rows are read and
/// written from one end to the other.
class BlendedRow {
  public:
    BlendedRow(const VerticalPass& pass, PictureTRV& temp)
        : pass_(pass),
          task_(pass.task_),
          temp_(temp),
          bytes_(task_.DestinationColumns() * task_.family.pixelBytes),
          result_(pass.unpack_.IsCopy() ? 1 : bytes_),
          possible_(temp_.IsMapping == 0 && task_.destination.IsMapping == 0 && result_.Ok()) {}

    /// Row `y`; false, with nothing done, if it has to be done in strips.
    [[nodiscard]] bool Do(int64_t y) {
        const TapList<uint8_t>& list = pass_.tables_.For<uint8_t>().Lists()[y];
        const uint8_t* rows[kMostTaps];
        if (!possible_ || list.count > kMostTaps) return false;
        for (int64_t k = 0; k < list.count; ++k) {
            rows[k] = FetchInside(temp_, list.first + k);
            if (rows[k] == nullptr) return false;
        }
        uint8_t* target = FetchInside(task_.destination, y);
        if (target == nullptr) return true;
        target += pass_.storeBase_;
        uint8_t* out = pass_.unpack_.IsCopy() ? target : result_.Get();
        pass_.kernels_->fixed.blendRows(rows, list.weights, list.count, bytes_, out);
        if (out != target) pass_.unpack_.Convert(out, target, task_.DestinationColumns());
        return true;
    }

  private:
    static constexpr int64_t kMostTaps = 32;

    const VerticalPass& pass_;
    const ScaleTask& task_;
    PictureTRV& temp_;
    const int64_t bytes_;
    WorkBlock<uint8_t> result_;  // a row of MyPixels
    const bool possible_;
};

VerticalPass::VerticalPass(const ScaleTask& task, const ContributionList* contrib)
    : task_(task),
      shapes_(task),
      contrib_(contrib),
      kernels_(ActiveRowKernels()),
      sampleBytes_(task.family.wide ? 2 : 1) {
    if (task.DestinationColumns() < 1 || task.DestinationRows() < 1 || task.destination.PixelSize < 1)
        kernels_ = nullptr;
    if (kernels_ == nullptr) return;
    FindMoves();
    const SampleRange range{task.family.MaxValue(), false};
    if (!tables_.Build(contrib, task.DestinationRows(), task.temp.Height, range, task.family.wide,
                       kernels_->fixed.blendRows != nullptr))
        kernels_ = nullptr;
}

void VerticalPass::FindMoves() {
    std::array<int64_t, kMostSlots> packed{};  // place of a slot among the used ones
    for (int slot = 0; slot < task_.family.slotCount; ++slot) {
        const auto& writes = task_.family.writes;
        const bool used = std::any_of(writes.begin(), writes.begin() + task_.family.writeCount,
                                      [&](const ScaleWrite& write) { return write.slot == slot; });
        if (!used) continue;
        packed[static_cast<size_t>(slot)] = usedCount_;
        usedSlots_[static_cast<size_t>(usedCount_++)] = slot;
    }
    const int64_t packedPixel = int64_t{usedCount_} * sampleBytes_;
    const auto addSample = [&](SpanConverter& converter, int64_t from, int64_t to) {
        for (int64_t byte = 0; byte < sampleBytes_; ++byte)
            converter.Add({.to = to + byte, .from = from + byte});
    };
    pack_ = SpanConverter(task_.family.pixelBytes, packedPixel);
    for (int i = 0; i < usedCount_; ++i)
        addSample(pack_, int64_t{usedSlots_[static_cast<size_t>(i)]} * sampleBytes_,
                  int64_t{i} * sampleBytes_);
    pack_.Prepare();

    const auto offsetOf = [&](int w) {
        return OffsetOf(task_.destination, task_.family.writes[static_cast<size_t>(w)].channel);
    };
    storeBase_ = offsetOf(0);
    for (int w = 1; w < task_.family.writeCount; ++w)
        storeBase_ = std::min(storeBase_, offsetOf(w));
    store_ = SpanConverter(packedPixel, task_.destination.PixelSize);
    unpack_ = SpanConverter(task_.family.pixelBytes, task_.destination.PixelSize);
    for (int w = 0; w < task_.family.writeCount; ++w) {
        const int slot = task_.family.writes[static_cast<size_t>(w)].slot;
        addSample(unpack_, int64_t{slot} * sampleBytes_, offsetOf(w) - storeBase_);
        addSample(store_, packed[static_cast<size_t>(slot)] * sampleBytes_, offsetOf(w) - storeBase_);
    }
    store_.Prepare();
    unpack_.Prepare();
}

/// False if the host has made other images of the records meanwhile.
bool VerticalPass::YieldAfter(int64_t rows, bool yields) const {
    for (int64_t i = 0; yields && i < rows; ++i)
        YieldIfWanted(task_.destination);
    return shapes_.AreThoseOf(task_);
}

void VerticalPass::RunPlain(int64_t first, int64_t last, bool yields) const {
    for (int64_t y = first; y <= last; ++y) {
        PlainVerticalRow(task_, contrib_, y);
        if (!YieldAfter(1, yields)) return;
    }
}

bool VerticalPass::IsFast() const {
    return kernels_ != nullptr && !NeedsPlainOrder(task_.temp, task_.destination);
}

VerticalPass::TempRows VerticalPass::TempRowsOf(int64_t y) const {
    const TapList<double>& list = tables_.For<double>().Lists()[y];
    return {list.first, list.first + list.count};
}

void VerticalPass::Run(int64_t first, int64_t last, bool yields) const {
    last = std::min(last, task_.DestinationRows() - 1);
    if (first > last) return;
    if (!IsFast()) return RunPlain(first, last, yields);
    VerticalRows rows(*this, task_.temp);
    if (!rows.Ok()) return RunPlain(first, last, yields);
    (void)rows.Do(first, last, yields);
}

VerticalRows::VerticalRows(const VerticalPass& pass, PictureTRV& temp)
    : pass_(pass),
      strips_(new (std::nothrow) VerticalStrips(pass, temp)),
      row_(new (std::nothrow) BlendedRow(pass, temp)),
      useWide_(pass.tables_.UseWide()) {}

VerticalRows::~VerticalRows() = default;

bool VerticalRows::Ok() const {
    return strips_ != nullptr && strips_->Ok() && row_ != nullptr;
}

bool VerticalRows::Do(int64_t first, int64_t last, bool yields) {
    TapTables::Stretch stretch{first, false};
    for (int64_t y = first; y <= last;) {
        if (y >= stretch.end) stretch = pass_.tables_.StretchFrom(y, last + 1);
        int64_t rows = 1;
        if (!stretch.isFixed || !row_->Do(y)) {
            rows = useWide_ ? strips_->Do<double>(y, stretch.end) : strips_->Do<float>(y, stretch.end);
            useWide_ = useWide_ || strips_->Meter().TooMany();
        }
        if (!pass_.YieldAfter(rows, yields)) return false;
        y += rows;
    }
    return true;
}

}  // namespace trv
