#include "help_text.h"

namespace trvhost::program {

namespace {

constexpr size_t kColumns = 100;
constexpr size_t kNames = 26;

std::string Row(const std::string& name, const std::string& description) {
    std::string row = "  " + name;
    if (row.size() >= kNames) row += "\n";
    const size_t line = row.rfind('\n') == std::string::npos ? row.size() : 0;
    row.append(kNames - line, ' ');
    for (const char c : Wrap(description, kColumns - kNames)) {
        row += c;
        if (c == '\n') row.append(kNames, ' ');
    }
    return row + "\n";
}

}  // namespace

std::string Wrap(const std::string& text, size_t width) {
    std::string wrapped;
    size_t start = 0;
    while (text.size() - start > width) {
        size_t end = text.substr(start, width + 1).find('\n');
        if (end == std::string::npos) end = text.substr(start, width + 1).rfind(' ');
        if (end == std::string::npos || end == 0) break;
        wrapped += text.substr(start, end) + "\n";
        start += end + 1;
    }
    return wrapped + text.substr(start);
}

std::string HelpText::make_usage(const CLI::App* app, std::string name) const {
    std::string usage = "Usage: " + name;
    for (const CLI::Option* option :
         app->get_options([](const CLI::Option* o) { return o->get_positional(); }))
        usage += " " + option->get_name(true);
    return usage + (app->get_parent() == nullptr ? " VERB ...\n" : " [OPTIONS]\n");
}

std::string HelpText::make_help(const CLI::App* app, std::string name, CLI::AppFormatMode mode) const {
    return CLI::detail::find_and_replace(CLI::Formatter::make_help(app, std::move(name), mode), "\n\n\n",
                                         "\n\n");
}

std::string HelpText::make_option(const CLI::Option* option, bool isPositional) const {
    std::string name = option->get_name(isPositional, !isPositional);
    for (size_t comma = name.find(','); comma != std::string::npos; comma = name.find(',', comma + 2))
        name.insert(comma + 1, " ");
    if (!isPositional && option->get_type_size() != 0) name += " " + option->get_type_name();
    return Row(name, option->get_description());
}

std::string HelpText::make_subcommand(const CLI::App* verb) const {
    return Row(verb->get_name(), verb->get_description());
}

}  // namespace trvhost::program
