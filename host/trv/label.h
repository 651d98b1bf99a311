// Letters drawn by the plug-in, since the hosts that trv plays have no fonts.
#pragma once

#include <string>

#include "picture_job.h"

namespace trvhost::program {

/// Height of a line, in dots.
inline constexpr int64_t kLabelDots = 9;

/// Writes small letters, digits and blanks in black from (x, y) on, with dots of `dot` pixels square.
void DrawLabel(const PictureJob& job, const Ref& image, int64_t x, int64_t y, int64_t dot,
               const std::string& text);

}  // namespace trvhost::program
