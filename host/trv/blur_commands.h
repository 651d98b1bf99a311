// trv blur, sharpen, convolve: filters that look at the pixels around a pixel.
#pragma once

#include <vector>

#include "picture_job.h"

namespace trvhost::program {

std::vector<Verb> AddBlurVerbs(CLI::App& program);

}  // namespace trvhost::program
