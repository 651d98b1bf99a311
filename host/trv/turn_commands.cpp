#include "turn_commands.h"

#include <cmath>
#include <cstdlib>

#include "pixel_alpha.h"

namespace trvhost::program {

namespace {

// Rotate
// ---------------------------------------------------------------------------------------------------------

struct RotateOptions : PictureOptions {
    double angle = 0;
    std::string background = "FFFFFF";
};

std::string CheckAngle(const std::string& text) {
    double angle = 0;
    if (CLI::detail::lexical_cast(text, angle) && std::isfinite(angle)) return "";
    return "\"" + text + "\" is no angle in degrees";
}

std::string CheckColour(const std::string& text) {
    if (text.size() == 6 && text.find_first_not_of("0123456789abcdefABCDEF") == std::string::npos) return "";
    return "\"" + text + "\" is no colour such as FF8000";
}

/// A picture with alpha gets transparent corners, and where pixels are blended its colours count as much as
/// they are opaque.
Ref Rotate(const RotateOptions& options, PictureJob& job) {
    const bool blends = std::fmod(options.angle, 90.0) != 0;
    if (blends && job.HasAlpha()) {
        job.ForEachRow(job.Image(), Multiply);
        Ref result = job.Make(job.Image(), "Rotate", options.angle, 0, 0, 0, 0, 0, 0, 0, 0, 0);
        job.ForEachRow(result, Divide);
        return result;
    }
    const auto colour = static_cast<int64_t>(std::strtol(options.background.c_str(), nullptr, 16));
    return job.Make(job.Image(), "Rotate", options.angle, (colour >> 16) & 255, (colour >> 8) & 255,
                    colour & 255, 0, 0, 0, 0, 0, 0);
}

// Flip
// -----------------------------------------------------------------------------------------------------------

struct FlipOptions : PictureOptions {
    bool vertical = false;
};

Ref Flip(const FlipOptions& options, PictureJob& job) {
    job.Call(job.Image(), options.vertical ? "VMirror" : "HMirror");
    return job.Image();
}

}  // namespace

std::vector<Verb> AddTurnVerbs(CLI::App& program) {
    std::vector<Verb> verbs;
    verbs.push_back(AddPictureVerb<RotateOptions>(
        program, "rotate", "Turn a picture by an angle", "turned",
        [](CLI::App& verb, RotateOptions& options) {
            verb.add_option("ANGLE", options.angle, "Degrees, counter-clockwise; negative ones clockwise")
                ->required()
                ->check(CLI::Validator(CheckAngle, ""));
            verb.add_option(
                    "-b,--background", options.background,
                    "The corners of a picture without alpha [FFFFFF]; with alpha they are transparent")
                ->type_name("RRGGBB")
                ->check(CLI::Validator(CheckColour, ""));
            verb.footer(
                "Examples:\n  trv rotate photo.jpg turned.jpg 90\n  trv rotate logo.png leaning.png -7.5");
        },
        Rotate));
    verbs.push_back(AddPictureVerb<FlipOptions>(
        program, "flip", "Swap left and right, or top and bottom", "flipped",
        [](CLI::App& verb, FlipOptions& options) {
            verb.add_flag("--vertical", options.vertical, "Top and bottom instead of left and right");
            verb.footer("Example:\n  trv flip photo.jpg mirror.jpg");
        },
        Flip));
    return verbs;
}

}  // namespace trvhost::program
