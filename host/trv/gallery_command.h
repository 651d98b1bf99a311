// trv gallery: a contact sheet of all filters.
#pragma once

#include "picture_job.h"

namespace trvhost::program {

Verb AddGallery(CLI::App& program);

}  // namespace trvhost::program
