#pragma once

// The vertical pass: rows of the temp, resampled to the requested height, into the destination.
//
// The lanes of the kernels are the bytes (or words) of a strip of pixels; slots of MyPixel that are not
// stored anywhere are left out. The results of a strip are MyPixels again, and are moved into the
// destination's layout.

#include <array>
#include <cstdint>
#include <memory>

#include "scale/pass_support.h"
#include "scale/row_kernels.h"
#include "scale/scale_task.h"
#include "spans/convert_span.h"

namespace trv {

class VerticalPass final : public RowPass {
  public:
    /// Prepares the pass over lists that the builders have filled. `contrib` must outlive it.
    VerticalPass(const ScaleTask& task, const ContributionList* contrib);

    /// Does rows of the destination.
    void Run(int64_t first, int64_t last, bool yields) const override;

    /// Whether the vector kernels can do it.
    [[nodiscard]] bool IsFast() const;

    /// Rows of the temp, `end` not included.
    struct TempRows {
        int64_t first;
        int64_t end;
    };
    /// What a fast pass reads for destination row `y`: at least one row. Both numbers ascend with `y`.
    [[nodiscard]] TempRows TempRowsOf(int64_t y) const;

    /// Gives the host its time for `rows` rows done, if it `yields`. False if the host has made other images
    /// of the records meanwhile.
    [[nodiscard]] bool YieldAfter(int64_t rows, bool yields) const;

  private:
    friend class VerticalStrips;
    friend class BlendedRow;
    friend class VerticalRows;

    void FindMoves();
    void RunPlain(int64_t first, int64_t last, bool yields) const;

    const ScaleTask task_;
    const ScaleShapes shapes_;
    const ContributionList* contrib_;
    const RowKernels* kernels_;
    TapTables tables_;
    int sampleBytes_ = 1;
    int usedCount_ = 0;                        // slots that are stored
    std::array<int, kMostSlots> usedSlots_{};  // ascending
    SpanConverter pack_;                       // MyPixel to the used slots side by side
    SpanConverter store_;                      // these to the destination's pixel
    SpanConverter unpack_;                     // MyPixel to the destination's pixel at once
    int64_t storeBase_ = 0;                    // lowest offset that is stored to
};

class VerticalStrips;
class BlendedRow;

/// A fast vertical pass at work on one thread.
class VerticalRows {
  public:
    /// Rows come from `temp`, which is the task's own or has its shape. Both must outlive it.
    VerticalRows(const VerticalPass& pass, PictureTRV& temp);
    ~VerticalRows();

    /// Whether there is memory to work with.
    [[nodiscard]] bool Ok() const;
    /// As VerticalPass::Run. False, with rows left undone, if the host has made other images of the records
    /// meanwhile.
    [[nodiscard]] bool Do(int64_t first, int64_t last, bool yields);

  private:
    const VerticalPass& pass_;
    std::unique_ptr<VerticalStrips> strips_;
    std::unique_ptr<BlendedRow> row_;
    bool useWide_;
};

}  // namespace trv
