#pragma once

// Both passes over a temp that nobody else sees. Such a temp need not exist as a whole: its rows are made in
// a band that moves down the image, and used while they are in the processor's cache.
//
// The work is still that of two passes with a join between them. In the first, the job for a stretch of
// source rows also makes the destination rows that need no other rows than these, and leaves in the temp the
// few that its neighbours need; the second makes the rest. On one thread the first leaves nothing.

#include <cstdint>

#include "scale/horizontal_pass.h"
#include "scale/pass_support.h"
#include "scale/scale_task.h"
#include "scale/vertical_pass.h"

namespace trv {

/// Whether passes over these images can be told apart from fused ones by nothing but their speed, if nobody
/// else sees the temp: no log, nothing mapped, and no destination row that is a source row still to be read.
[[nodiscard]] bool CanFuse(const ScaleTask& task);

class FusedPasses {
  public:
    /// Of two passes over a task that can be fused. They must outlive it.
    FusedPasses(const ScaleTask& task, const HorizontalPass& horizontal, const VerticalPass& vertical)
        : task_(task),
          horizontal_(horizontal),
          vertical_(vertical),
          done_(task.DestinationRows()),
          possible_(horizontal.IsFast() && vertical.IsFast() && done_.Ok()) {}

    /// Over rows of the source: the fused pass, or the horizontal one if there are no kernels or no memory.
    [[nodiscard]] const RowPass& First() const {
        return possible_ ? static_cast<const RowPass&>(first_) : horizontal_;
    }
    /// Over rows of the destination, when all of the first is done.
    [[nodiscard]] const RowPass& Second() const {
        return possible_ ? static_cast<const RowPass&>(second_) : vertical_;
    }

  private:
    friend class FusedStretch;

    /// One of the two below, for a runner.
    class Part final : public RowPass {
      public:
        using Rows = void (FusedPasses::*)(int64_t first, int64_t last, bool yields) const;
        Part(const FusedPasses& fused, Rows rows) : fused_(fused), rows_(rows) {}
        void Run(int64_t first, int64_t last, bool yields) const override {
            (fused_.*rows_)(first, last, yields);
        }

      private:
        const FusedPasses& fused_;
        const Rows rows_;
    };
    void RunFirst(int64_t first, int64_t last, bool yields) const;
    void RunSecond(int64_t first, int64_t last, bool yields) const;

    const ScaleTask task_;
    const HorizontalPass& horizontal_;
    const VerticalPass& vertical_;
    WorkBlock<uint8_t> done_;  // for each destination row, 1 if the first pass has made it
    const bool possible_;      // held on to, since a second pass must follow its first
    const Part first_{*this, &FusedPasses::RunFirst};
    const Part second_{*this, &FusedPasses::RunSecond};
};

}  // namespace trv
