#pragma once

// What the two fast passes share: working memory, the cutting of lists into groups and of groups into
// windows, the choice between float and double.

#include <algorithm>
#include <cstdint>

#include "platform/memory.h"
#include "scale/row_kernels.h"
#include "scale/tap_table.h"

namespace trv {

/// Rows for a runner to have done, in any order and by any number of threads.
class RowPass {
  public:
    RowPass() = default;
    virtual ~RowPass() = default;
    RowPass(const RowPass&) = delete;
    RowPass& operator=(const RowPass&) = delete;

    /// Does the rows from `first` to `last`, both included. With `yields` the host gets its time as the
    /// destination wants it. Several threads can do different rows of unmapped images, none of them with
    /// `yields`.
    virtual void Run(int64_t first, int64_t last, bool yields) const = 0;
};

/// Bytes of a window, in the cache behind the first: as many positions as fit are worked on together.
inline constexpr int64_t kWindowBytes = 128 * 1024;
/// Bytes of a window where even one group of lists needs several. Such lists are long and walk over the whole
/// window, so it should stay in the first cache.
inline constexpr int64_t kNearWindowBytes = 24 * 1024;
/// Lists that one window must hold for it to be worth while; a group that needs several windows has up to
/// kListsApart.
inline constexpr int64_t kFewestLists = 16;
inline constexpr int64_t kListsApart = 64;

/// A zeroed block of T from the system, aligned for vectors.
template <class T>
class WorkBlock {
  public:
    explicit WorkBlock(int64_t count) : block_(AllocateZeroed(count * int64_t{sizeof(T)} + kAlignment)) {}
    ~WorkBlock() { FreeZeroed(block_); }
    WorkBlock(const WorkBlock&) = delete;
    WorkBlock& operator=(const WorkBlock&) = delete;

    [[nodiscard]] bool Ok() const { return block_ != nullptr; }
    [[nodiscard]] T* Get() const {
        constexpr auto kRest = static_cast<uintptr_t>(kAlignment - 1);
        return reinterpret_cast<T*>((reinterpret_cast<uintptr_t>(block_) + kRest) & ~kRest);
    }

  private:
    static constexpr int64_t kAlignment = 64;
    void* block_;
};

/// Asks the processor to have these bytes at hand soon. The passes read from and write to more rows at once
/// than it follows by itself. Any address will do.
inline void Prefetch(const uint8_t* bytes, int64_t count) {
    constexpr int64_t kLine = 64;
    for (int64_t i = 0; i < count; i += kLine)
        __builtin_prefetch(bytes + i);
}

/// The kernels' functions for T.
template <class T>
[[nodiscard]] const SampleKernels<T>& KernelsFor(const RowKernels& kernels) {
    if constexpr (sizeof(T) == 1) {
        return kernels.fixed.samples;
    } else if constexpr (sizeof(T) == sizeof(float)) {
        return kernels.single;
    } else {
        return kernels.wide;
    }
}

/// Bytes of a window that a lane's sample is reckoned with. Bytes are worked on in as large groups as floats.
template <class T>
inline constexpr int64_t kLaneBytes = std::max(sizeof(T), sizeof(float));

/// Lists that are worked on together, and the positions that their taps cover.
struct ListGroup {
    int64_t begin;
    int64_t end;
    int64_t firstPosition;
    int64_t endPosition;

    [[nodiscard]] int64_t Lists() const { return end - begin; }
    [[nodiscard]] int64_t Positions() const { return endPosition - firstPosition; }
};

/// The group that starts with list `begin`, below `end`: at most `most` lists, as many as have their taps in
/// one window together, or more than that where it would be too few.
template <class T>
[[nodiscard]] ListGroup NextGroup(const TapTable<T>& table, int64_t begin, int64_t end, int64_t most,
                                  int64_t positionBytes) {
    const TapList<T>* lists = table.Lists();
    ListGroup group{begin, begin, lists[begin].first, 0};
    bool together = true;
    while (group.end < end && group.Lists() < most) {
        const int64_t endPosition = lists[group.end].first + lists[group.end].count;
        const bool fits = (endPosition - group.firstPosition) * positionBytes <= kWindowBytes;
        if (!fits && group.Lists() >= (together ? kFewestLists : kListsApart)) break;
        together = together && fits;
        group.endPosition = endPosition;
        ++group.end;
    }
    return group;
}

/// Calls `work(first, end)` with each window's stretch of the group's positions, of `positionBytes` each.
template <class Work>
void ForEachWindow(const ListGroup& group, int64_t positionBytes, Work&& work) {
    const bool together = group.Positions() * positionBytes <= kWindowBytes;
    const int64_t positions = together ? group.Positions() : kNearWindowBytes / positionBytes;
    for (int64_t first = group.firstPosition; first < group.endPosition; first += positions) {
        work(first, std::min(first + positions, group.endPosition));
    }
}

/// The tables of a pass: bytes for the lists whose weights allow it, if most do; for the others float where
/// its margins are small enough to be useful, double where they are not.
class TapTables {
  public:
    /// `onlyWide` is for samples of 16 bits, `hasFixed` tells whether there are kernels for bytes. False if
    /// there is no memory.
    [[nodiscard]] bool Build(const ContributionList* contrib, int64_t count, int64_t positions,
                             SampleRange range, bool onlyWide, bool hasFixed) {
        useFixed_ = hasFixed && !onlyWide && !range.luma && fixed_.Build(contrib, count, positions, range) &&
                    fixed_.ExpectedDoubts() < kMostOthers;
        useWide_ = onlyWide || !single_.Build(contrib, count, positions, range) ||
                   single_.ExpectedDoubts() > kMostDoubts;
        return wide_.Build(contrib, count, positions, range);
    }
    [[nodiscard]] bool UseWide() const { return useWide_; }
    template <class T>
    [[nodiscard]] const TapTable<T>& For() const {
        if constexpr (sizeof(T) == 1) {
            return fixed_;
        } else if constexpr (sizeof(T) == sizeof(float)) {
            return single_;
        } else {
            return wide_;
        }
    }

    /// The end of the lists from `begin` on, below `end`, that are alike in being or not being for bytes;
    /// whether they are.
    struct Stretch {
        int64_t end;
        bool isFixed;
    };
    [[nodiscard]] Stretch StretchFrom(int64_t begin, int64_t end) const {
        if (!useFixed_) return {end, false};
        const auto isFixed = [&](int64_t list) { return fixed_.Lists()[list].margin == 0; };
        const bool first = isFixed(begin);
        int64_t stop = begin + 1;
        while (stop < end && isFixed(stop) == first)
            ++stop;
        return {stop, first};
    }

    /// Share of doubts from which on double is faster.
    static constexpr double kMostDoubts = 1.0 / 64.0;

  private:
    /// Share of lists not for bytes from which on it is no use to tell them apart.
    static constexpr double kMostOthers = 0.25;

    TapTable<uint8_t> fixed_;
    TapTable<float> single_;
    TapTable<double> wide_;
    bool useWide_ = false;
    bool useFixed_ = false;
};

/// Counts doubts as they come, and tells when an image has so many that float does not pay.
class DoubtMeter {
  public:
    void Add(int64_t doubts, int64_t samples) {
        doubts_ += doubts;
        samples_ += samples;
    }
    [[nodiscard]] bool TooMany() const {
        return static_cast<double>(doubts_) > TapTables::kMostDoubts * static_cast<double>(samples_) + 1000.0;
    }

  private:
    int64_t doubts_ = 0;
    int64_t samples_ = 0;
};

}  // namespace trv
