// trv info
#pragma once

#include "picture_job.h"

namespace trvhost::program {

/// Prints what a host sees of the plug-in.
Verb AddInfo(CLI::App& program);

}  // namespace trvhost::program
