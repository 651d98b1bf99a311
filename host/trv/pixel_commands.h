// trv composite, invert, autolevel, gray, premultiply, unpremultiply: what works on the pixels in place.
#pragma once

#include <vector>

#include "picture_job.h"

namespace trvhost::program {

std::vector<Verb> AddPixelVerbs(CLI::App& program);

}  // namespace trvhost::program
