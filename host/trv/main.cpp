// trv: the plug-in at the command line. Exit status 0: done; 1: could not be done, for the reason in one line
// on standard error; 2: the command line was not understood, likewise.

#include <CLI/CLI.hpp>
#include <algorithm>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include "blur_commands.h"
#include "complaint.h"
#include "effect_commands.h"
#include "gallery_command.h"
#include "help_text.h"
#include "info_command.h"
#include "pixel_commands.h"
#include "platform.h"
#include "scale_command.h"
#include "tone_commands.h"
#include "turn_commands.h"
#include "view_commands.h"

namespace {

using namespace trvhost::program;

std::vector<Verb> AddVerbs(CLI::App& program) {
    std::vector<Verb> verbs = {AddScale(program)};
    const auto add = [&](std::vector<Verb> more) { verbs.insert(verbs.end(), more.begin(), more.end()); };
    add(AddViewVerbs(program));
    add(AddTurnVerbs(program));
    add(AddToneVerbs(program));
    add(AddBlurVerbs(program));
    add(AddEffectVerbs(program));
    add(AddPixelVerbs(program));
    verbs.push_back(AddGallery(program));
    verbs.push_back(AddInfo(program));
    return verbs;
}

/// The verb that the command line names, or null.
const Verb* Given(const std::vector<Verb>& verbs) {
    const auto found =
        std::find_if(verbs.begin(), verbs.end(), [](const Verb& verb) { return verb.app->parsed(); });
    return found == verbs.end() ? nullptr : &*found;
}

int Run(std::vector<std::string> arguments) {
    CLI::App program("Works on pictures with the image processing plug-in PictureTRV.", "trv");
    const auto help = std::make_shared<HelpText>();
    help->label("Positionals", "Arguments");
    program.formatter(help);
    program.allow_windows_style_options(false);  // a path may begin with a slash
    program.set_help_flag("-h,--help", "Print this help");
    program.set_version_flag("--version", "trv " TRV_VERSION, "Print the version");
    program.footer(
        "trv VERB --help tells more. Exit status: 0 done, 1 failed (one line on standard error says why),\n"
        "2 command line not understood.");
    program.require_subcommand(0, 1);
    const std::vector<Verb> verbs = AddVerbs(program);
    try {
        std::reverse(arguments.begin(), arguments.end());  // as the parser wants them
        program.parse(std::move(arguments));
    } catch (const CLI::Success& e) {
        return program.exit(e);
    } catch (const CLI::ParseError& e) {
        const Verb* verb = Given(verbs);
        const std::string name = verb == nullptr ? "" : verb->app->get_name() + " ";
        return Complain(kNotUnderstood, std::string(e.what()) + " (see trv " + name + "--help)");
    }
    const Verb* verb = Given(verbs);
    if (verb == nullptr) return Complain(kNotUnderstood, "what is to be done? (see trv --help)");
    verb->run();
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    PrepareStreams();
    try {
        return Run(Arguments(argc, argv));
    } catch (const std::bad_alloc&) {
        return Complain(kFailed, "there is not enough memory");
    } catch (const std::exception& e) {
        return Complain(kFailed, e.what());
    }
}
