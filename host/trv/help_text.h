// How the help looks.
#pragma once

#include <CLI/CLI.hpp>
#include <string>

namespace trvhost::program {

/// Breaks a text into lines of at most `width` characters at its blanks; its own line ends stay.
std::string Wrap(const std::string& text, size_t width);

/// Names left, descriptions right and wrapped so that the whole fits into 100 columns.
class HelpText : public CLI::Formatter {
  public:
    std::string make_usage(const CLI::App* app, std::string name) const override;
    std::string make_help(const CLI::App* app, std::string name, CLI::AppFormatMode mode) const override;
    std::string make_option(const CLI::Option* option, bool isPositional) const override;
    std::string make_subcommand(const CLI::App* verb) const override;
};

}  // namespace trvhost::program
