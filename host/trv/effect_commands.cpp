#include "effect_commands.h"

#include "colour_filters.h"

namespace trvhost::program {

namespace {

struct OilOptions : PictureOptions {
    int64_t levels = 20;
    int64_t range = 3;
};

struct LevelOptions : PictureOptions {
    int64_t level = 0;
};

struct StampOptions : PictureOptions {
    double radius = 6;
    double threshold = 0.5;
    double softness = 0.2;
    std::string black = "000000";
    std::string white = "FFFFFF";
};

/// Further than any picture is wide.
constexpr int64_t kFar = 1'000'000;

std::string CheckColour(const std::string& text) {
    const bool fits =
        text.size() == 6 && text.find_first_not_of("0123456789abcdefABCDEF") == std::string::npos;
    return fits ? "" : "\"" + text + "\" is no colour such as 336699";
}

Color ColourOf(const std::string& text) {
    return {static_cast<uint32_t>(std::stoul(text, nullptr, 16))};
}

Verb AddOil(CLI::App& program) {
    return AddPictureVerb<OilOptions>(
        program, "oil", "Paint a picture in oil", "painted",
        [](CLI::App& verb, OilOptions& options) {
            verb.add_option("-r,--range", options.range,
                            "How far the brush reaches, in pixels [" + std::to_string(options.range) + "]")
                ->type_name("N")
                ->check(CLI::Range(int64_t{0}, kFar).description(""));
            verb.add_option("-l,--levels", options.levels,
                            "How many tones to tell apart, 1 to 256 [" + std::to_string(options.levels) + "]")
                ->type_name("N")
                ->check(CLI::Range(1, 256).description(""));
            verb.footer("Example:\n  trv oil photo.jpg painting.jpg --range 5");
        },
        [](const OilOptions& options, PictureJob& job) {
            return FilterColours(job, job.Image(), "OilFilter", options.levels, options.range);
        });
}

Verb AddDiffuse(CLI::App& program) {
    return AddPictureVerb<LevelOptions>(
        program, "diffuse", "Scatter the pixels, as through frosted glass", "scattered",
        [](CLI::App& verb, LevelOptions& options) {
            verb.add_option("LEVEL", options.level, "How far, in pixels; three times as far to the top left")
                ->required()
                ->check(CLI::Range(int64_t{0}, kFar).description(""));
            verb.footer("Example:\n  trv diffuse photo.jpg glass.jpg 3");
        },
        // Whole pixels move, alpha with them.
        [](const LevelOptions& options, PictureJob& job) {
            return job.Make(job.Image(), "DiffuseFilter", job.NewImageLike(job.Image(), job.Size()),
                            options.level);
        });
}

Verb AddEngrave(CLI::App& program) {
    return AddPictureVerb<LevelOptions>(
        program, "engrave", "Cut a picture into a gray plate", "engraved",
        [](CLI::App& verb, LevelOptions& options) {
            verb.add_option("LEVEL", options.level,
                            "How deep, in pixels; below 0 with the light from the other side")
                ->required()
                ->check(CLI::Range(-kFar, kFar).description(""));
            verb.footer("Example:\n  trv engrave photo.jpg plate.jpg 2");
        },
        [](const LevelOptions& options, PictureJob& job) {
            return FilterColours(job, job.Image(), "EngraveFilter", options.level);
        });
}

Verb AddNeon(CLI::App& program) {
    return AddPictureVerb<PictureOptions>(
        program, "neon", "Let edges glow on black", "lit",
        [](CLI::App& verb, PictureOptions&) { verb.footer("Example:\n  trv neon photo.jpg night.jpg"); },
        [](const PictureOptions&, PictureJob& job) { return FilterColours(job, job.Image(), "NeonFilter"); });
}

Verb AddStamp(CLI::App& program) {
    return AddPictureVerb<StampOptions>(
        program, "stamp", "Print a picture in two colours, as with a rubber stamp", "stamped",
        [](CLI::App& verb, StampOptions& options) {
            verb.add_option("-r,--radius", options.radius, "How coarse, in pixels, 3 and more [6]")
                ->type_name("N")
                ->check(CLI::Range(3.0, static_cast<double>(kFar)).description(""));
            verb.add_option("-t,--threshold", options.threshold, "Where light begins, 0 to 1 [0.5]")
                ->type_name("N")
                ->check(CLI::Range(0.0, 1.0).description(""));
            verb.add_option("-s,--softness", options.softness, "Width of the step between them, 0 to 1 [0.2]")
                ->type_name("N")
                ->check(CLI::Range(0.0, 1.0).description(""));
            verb.add_option("--black", options.black, "The colour of the dark parts [000000]")
                ->type_name("RRGGBB")
                ->check(CLI::Validator(CheckColour, ""));
            verb.add_option("--white", options.white, "The colour of the light parts [FFFFFF]")
                ->type_name("RRGGBB")
                ->check(CLI::Validator(CheckColour, ""));
            verb.footer("Example:\n  trv stamp photo.jpg poster.png --black 800020 --white FFF8E7");
        },
        [](const StampOptions& options, PictureJob& job) {
            return FilterColoursAnew(job, job.Image(), "StampFilter", options.radius, options.threshold,
                                     options.softness, ColourOf(options.black), ColourOf(options.white));
        });
}

}  // namespace

std::vector<Verb> AddEffectVerbs(CLI::App& program) {
    return {AddOil(program), AddDiffuse(program), AddEngrave(program), AddNeon(program), AddStamp(program)};
}

}  // namespace trvhost::program
