// trv rotate, flip: a picture turned by any angle, or mirrored.
#pragma once

#include <vector>

#include "picture_job.h"

namespace trvhost::program {

std::vector<Verb> AddTurnVerbs(CLI::App& program);

}  // namespace trvhost::program
