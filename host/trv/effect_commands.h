// trv oil, diffuse, engrave, neon, stamp: filters that change the look of a picture.
#pragma once

#include <vector>

#include "picture_job.h"

namespace trvhost::program {

std::vector<Verb> AddEffectVerbs(CLI::App& program);

}  // namespace trvhost::program
