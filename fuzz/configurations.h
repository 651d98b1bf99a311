#pragma once

// The hosts that programs run in.

#include <string>
#include <vector>

#include "trvhost/options.h"

namespace trvfuzz {

struct Configuration {
    std::string name;
    trvhost::Options options;
};

/// Hosts of different kinds, ages and habits.
std::vector<Configuration> Configurations();

}  // namespace trvfuzz
