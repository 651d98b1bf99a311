// trv gamma, gain, curves, solarize, dither: filters of single samples.
#pragma once

#include <vector>

#include "picture_job.h"

namespace trvhost::program {

std::vector<Verb> AddToneVerbs(CLI::App& program);

/// Dithers the colours, so that two levels show the picture and not its negative. `matrix` is the plug-in's
/// number.
Ref Dithered(const PictureJob& job, const Ref& image, int64_t matrix, int64_t levels);

/// Puts the colours through a curve of straight lines between points, sample to sample in rising order, which
/// is flat beyond the first and the last one.
Ref Curved(const PictureJob& job, const Ref& image, const std::vector<std::pair<int, int>>& points);

}  // namespace trvhost::program
