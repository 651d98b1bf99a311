// trv scale
#pragma once

#include <CLI/CLI.hpp>
#include <optional>
#include <string>

#include "host_choice.h"
#include "picture_size.h"

namespace trvhost::program {

struct ScaleOptions {
    std::string in;
    std::string out;
    SizeRequest size;
    bool fit = false;
    int filter = 3;  ///< 1 ... 7, the plug-in's number for it
    int quality = 90;
    bool straightAlpha = false;
    bool quiet = false;
    HostChoice host;
};

/// Adds the verb to the program; parsing fills in the options, which live as long as the program.
CLI::App& AddScale(CLI::App& program, ScaleOptions& options);

/// Does it: loads, scales, saves, and prints one line. Throws std::exception with a one-line text.
void RunScale(const ScaleOptions& options);

}  // namespace trvhost::program
