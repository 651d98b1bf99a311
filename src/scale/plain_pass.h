#pragma once

// The two passes row by row in their plain form: every sample computed the exact way, every row fetched anew
// for every pixel and tap, every failure logged. The fast passes give the same bytes.

#include <cstdint>

#include "scale/exact.h"
#include "scale/scale_task.h"

namespace trv {

/// How the horizontal pass reads a slot; nothing for a slot that is 0.
[[nodiscard]] SampleReader ReaderOf(const ScaleSlot& slot, const PictureTRV& source, bool wide);
/// How the vertical pass reads a slot of MyPixel.
[[nodiscard]] SampleReader ReaderOfTemp(const ScaleFamily& family, int slot);

/// Source row `y` into the temp.
void PlainHorizontalRow(const ScaleTask& task, const ContributionList* contrib, int64_t y);
/// Destination row `y` out of the temp.
void PlainVerticalRow(const ScaleTask& task, const ContributionList* contrib, int64_t y);

}  // namespace trv
