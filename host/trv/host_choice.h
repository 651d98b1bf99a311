// Which host the plug-in meets: options that all verbs share, and the host itself.
#pragma once

#include <CLI/CLI.hpp>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "trvhost/host.h"

namespace trvhost::program {

struct HostChoice {
    std::string plugin;  ///< empty for the one that TRV_PLUGIN names, else the one beside this program
    HostKind kind = HostKind::Desktop;
    std::vector<double> versions = {Options().version};
};

/// Adds --plugin, --host and --host-version to a verb; with `severalVersions` the last one takes a list.
void AddHostOptions(CLI::App& verb, HostChoice& choice, bool severalVersions);

/// The plug-in's file that the choice comes to.
std::filesystem::path PluginFile(const HostChoice& choice);
std::string KindText(HostKind kind);
/// The version as hosts show theirs: with two digits behind the point, or three where there are three.
std::string VersionText(double version);

/// A host of the first version that has loaded the plug-in. Throws std::runtime_error with a one-line text.
std::unique_ptr<Host> StartHost(const HostChoice& choice);

/// Throws std::runtime_error with the text of the exception that the plug-in has raised, if it has.
void CheckException(const Host& host);

}  // namespace trvhost::program
