// trv convert, channel, crop, mirror: what views of an image and other layouts are good for.
#pragma once

#include <vector>

#include "picture_job.h"

namespace trvhost::program {

std::vector<Verb> AddViewVerbs(CLI::App& program);

}  // namespace trvhost::program
