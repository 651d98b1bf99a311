#include "scale/contributions.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstring>
#include <limits>

#include "frame/debug_log.h"
#include "image/pixel_loop.h"
#include "platform/memory.h"
#include "scale/kernels.h"
#include "scale/stage_name.h"

namespace trv {

ContributionArray::~ContributionArray() {
    FreeZeroed(lists_);
}

bool ContributionArray::Allocate(int64_t count) {
    FreeZeroed(lists_);
    constexpr int64_t kMost = std::numeric_limits<int64_t>::max() / int64_t{sizeof(ContributionList)};
    const int64_t bytes = count <= kMost ? count * int64_t{sizeof(ContributionList)} : 0;
    lists_ = static_cast<ContributionList*>(AllocateZeroed(bytes));
    return lists_ != nullptr;
}

void ContributionArray::FreeLists(int64_t count) {
    for (int64_t i = 0; i < count; ++i) {
        FreeZeroed(lists_[i].entries);
        lists_[i].entries = nullptr;
    }
}

namespace {

/// The candidates of one list: the kernel's centre and the input pixels around it, right one included.
struct Candidates {
    double centre;
    int64_t left;
    int64_t right;

    /// Lists of the same phase and length have the same weights to the bit: centre - left is exact, and so
    /// the distance of every tap is the rounding of the same number.
    [[nodiscard]] double Phase() const { return centre - static_cast<double>(left); }
    [[nodiscard]] bool SameWeights(const Candidates& other) const {
        return Phase() == other.Phase() && right - left == other.right - other.left;
    }
};

/// Remembers lists that were built, so that a ratio of small numbers computes each of its few phases once.
class PhaseMemory {
  public:
    /// The slot of a phase: the last list that was stored there, or -1.
    [[nodiscard]] int64_t& Slot(const Candidates& candidates) {
        const uint64_t bits = std::bit_cast<uint64_t>(candidates.Phase());
        return lists_[static_cast<size_t>((bits * 0x9E3779B97F4A7C15u) >> (64 - kBits))];
    }
    PhaseMemory() { lists_.fill(-1); }

  private:
    static constexpr int kBits = 7;
    std::array<int64_t, 1 << kBits> lists_;
};

template <class Kernel>
class Builder {
  public:
    Builder(TableStage stage, const TableRequest& request)
        : stage_(stage),
          request_(request),
          shrinks_(stage == TableStage::Scale1 || stage == TableStage::Scale4),
          stretch_(shrinks_ ? request.scale : 1.0),
          reach_(shrinks_ ? Kernel::kRadius / request.scale : Kernel::kRadius),
          capacity_(Capacity()) {}

    void Build(ContributionList* contrib) {
        LogStart();
        for (int64_t i = 0; i < request_.listCount; ++i) {
            contrib[i] = {};
            const int64_t bytes = capacity_ * int64_t{sizeof(ContributionEntry)};
            contrib[i].entries = static_cast<ContributionEntry*>(AllocateZeroed(bytes));
            if (contrib[i].entries != nullptr) Fill(contrib, i);
            if (request_.yields != nullptr) YieldIfWanted(*request_.yields);
        }
    }

  private:
    [[nodiscard]] int64_t Capacity() const {
        switch (stage_) {
            case TableStage::Scale1:
                return (static_cast<int64_t>(reach_) + 1) * 2;
            case TableStage::Scale2:
                return Kernel::kHorizontalCapacity;
            case TableStage::Scale4:
                return static_cast<int64_t>(2.0 * reach_ + 2.0);
            case TableStage::Scale5:
                return Kernel::kVerticalCapacity;
        }
        return 0;
    }

    void LogStart() const {
        TRV_LOG(StageName(request_.family, static_cast<int>(stage_)).text);
        const bool vertical = stage_ == TableStage::Scale4 || stage_ == TableStage::Scale5;
        if (vertical) TRV_LOG("wdth*1000", static_cast<int64_t>(reach_ * 1000.0));
    }

    /// Scale2 looks one candidate further than the others; it lies outside the kernel.
    [[nodiscard]] Candidates CandidatesOf(int64_t i) const {
        const double centre = (static_cast<double>(i) + 0.5) / request_.scale;
        double left = centre - reach_;
        double right = centre + reach_;
        if (stage_ == TableStage::Scale2) {
            left = std::floor(left);
            right = std::ceil(right);
        }
        return {centre, std::max<int64_t>(static_cast<int64_t>(left), 0),
                std::min(static_cast<int64_t>(right), request_.inputSize - 1)};
    }

    void Fill(ContributionList* contrib, int64_t i) {
        const Candidates candidates = CandidatesOf(i);
        int64_t& slot = phases_.Slot(candidates);
        if (slot >= 0 && contrib[slot].entries != nullptr && CandidatesOf(slot).SameWeights(candidates)) {
            Copy(contrib[slot], candidates.left - CandidatesOf(slot).left, contrib[i]);
        } else {
            Compute(candidates, contrib[i]);
            slot = i;
        }
    }

    void Compute(const Candidates& candidates, ContributionList& list) const {
        double sum = 0.0;
        for (int64_t j = candidates.left; j <= candidates.right && list.count < capacity_; ++j) {
            const double x = (candidates.centre - static_cast<double>(j) - 0.5) * stretch_;
            const double f = Kernel::At(x);
            if (f == 0.0) continue;
            sum += f;
            list.entries[list.count++] = {static_cast<float>(f), static_cast<int32_t>(j)};
        }
        list.weightSum = static_cast<float>(sum);
    }

    static void Copy(const ContributionList& from, int64_t shift, ContributionList& to) {
        for (int64_t k = 0; k < from.count; ++k) {
            const ContributionEntry& entry = from.entries[k];
            to.entries[k] = {entry.weight, static_cast<int32_t>(entry.pixel + shift)};
        }
        to.count = from.count;
        to.weightSum = from.weightSum;
    }

    const TableStage stage_;
    const TableRequest request_;
    const bool shrinks_;
    const double stretch_;    // of distances, before the kernel
    const double reach_;      // support radius in input pixels
    const int64_t capacity_;  // of each list
    PhaseMemory phases_;
};

template <class Kernel>
void BuildTable(TableStage stage, const TableRequest& request, ContributionList* contrib) {
    Builder<Kernel>(stage, request).Build(contrib);
}

}  // namespace

TableBuilder FindTableBuilder(int64_t mode) {
    TableBuilder builder = nullptr;
    DispatchKernel(mode, [&]<class Kernel>() { builder = &BuildTable<Kernel>; });
    return builder;
}

}  // namespace trv
