// trv scale
#pragma once

#include "picture_job.h"

namespace trvhost::program {

Verb AddScale(CLI::App& program);

}  // namespace trvhost::program
