// trv info
#pragma once

#include <CLI/CLI.hpp>

#include "host_choice.h"

namespace trvhost::program {

struct InfoOptions {
    bool members = false;
    HostChoice host;
};

/// Adds the verb to the program; parsing fills in the options, which live as long as the program.
CLI::App& AddInfo(CLI::App& program, InfoOptions& options);

/// Prints what a host sees of the plug-in. Throws std::exception with a one-line text.
void RunInfo(const InfoOptions& options);

}  // namespace trvhost::program
