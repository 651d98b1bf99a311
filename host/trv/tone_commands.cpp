#include "tone_commands.h"

#include <array>
#include <cmath>
#include <cstdio>

#include "colour_filters.h"

namespace trvhost::program {

namespace {

using Points = std::vector<std::pair<int, int>>;

struct GammaOptions : PictureOptions {
    double gamma = 1;
};

struct GainOptions : PictureOptions {
    double gain = 0.5;
    double bias = 0.5;
};

struct CurveOptions : PictureOptions {
    Points points;
};

struct DitherOptions : PictureOptions {
    int64_t levels = 2;
    std::string matrix = "ordered4";
    bool asTheyAre = false;
};

/// By the plug-in's numbers, from 1 on.
const std::vector<std::string> kMatrices = {"magic2",   "magic4",   "ordered4", "lines4",   "halftone6",
                                            "ordered6", "ordered8", "cluster3", "cluster4", "cluster8"};

int64_t MatrixNumber(const std::string& name) {
    return std::find(kMatrices.begin(), kMatrices.end(), name) - kMatrices.begin() + 1;
}

/// "0:0,128:160,255:255"; empty unless the samples rise and all numbers are of 0 to 255.
Points ParsePoints(const std::string& text) {
    Points points;
    for (const std::string& part : CLI::detail::split(text, ',')) {
        int from = 0, to = 0, end = 0;
        const int fields = std::sscanf(part.c_str(), "%3d:%3d%n", &from, &to, &end);
        const bool rises = points.empty() || from > points.back().first;
        if (fields != 2 || static_cast<size_t>(end) != part.size() || !rises) return {};
        if (from < 0 || from > 255 || to < 0 || to > 255) return {};
        points.emplace_back(from, to);
    }
    return points;
}

std::array<int64_t, 256> TableOf(const Points& points) {
    std::array<int64_t, 256> table{};
    for (int i = 0; i < 256; ++i) {
        size_t next = 0;
        while (next < points.size() && points[next].first < i)
            ++next;
        const auto& [right, above] = points[std::min(next, points.size() - 1)];
        const auto& [left, below] = points[next == 0 ? 0 : next - 1];
        const double share = right == left ? 0 : static_cast<double>(i - left) / (right - left);
        table[static_cast<size_t>(i)] =
            next == points.size() ? above : std::llround(below + (above - below) * share);
    }
    return table;
}

CLI::Validator Between(double low, double high) {
    return CLI::Range(low, high).description("");
}

}  // namespace

Ref Curved(const PictureJob& job, const Ref& image, const Points& points) {
    return FilterColours(job, image, "TransferFilter", job.TheHost().NewIntegers(TableOf(points)));
}

Ref Dithered(const PictureJob& job, const Ref& image, int64_t matrix, int64_t levels) {
    const bool turned = levels == 2;
    return FilterColours(job, turned ? Curved(job, image, {{0, 255}, {255, 0}}) : image, "DitherFilter",
                         matrix, levels);
}

std::vector<Verb> AddToneVerbs(CLI::App& program) {
    std::vector<Verb> verbs;
    verbs.push_back(AddPictureVerb<GammaOptions>(
        program, "gamma", "Make the middle tones lighter or darker", "corrected",
        [](CLI::App& verb, GammaOptions& options) {
            verb.add_option("GAMMA", options.gamma, "Above 1 lighter, below 1 darker")
                ->required()
                ->check(Between(0.01, 100));
            verb.footer("Example:\n  trv gamma photo.jpg lighter.jpg 1.8");
        },
        [](const GammaOptions& options, PictureJob& job) {
            return FilterColours(job, job.Image(), "GammaFilter", options.gamma);
        }));
    verbs.push_back(AddPictureVerb<GainOptions>(
        program, "gain", "Change contrast and brightness", "changed",
        [](CLI::App& verb, GainOptions& options) {
            verb.add_option("GAIN", options.gain, "Contrast around the middle, 0 to 1; 0.5 changes nothing")
                ->required()
                ->check(Between(0, 1));
            verb.add_option("-b,--bias", options.bias, "Brightness, 0 to 1 [0.5, which changes nothing]")
                ->type_name("N")
                ->check(Between(0, 1));
            verb.footer("Example:\n  trv gain photo.jpg crisp.jpg 0.7 --bias 0.6");
        },
        [](const GainOptions& options, PictureJob& job) {
            return FilterColours(job, job.Image(), "GainFilter", options.gain, options.bias);
        }));
    verbs.push_back(AddPictureVerb<CurveOptions>(
        program, "curves", "Put all tones through a curve of yours", "changed",
        [](CLI::App& verb, CurveOptions& options) {
            verb.add_option_function<std::string>(
                    "POINTS", [&options](const std::string& text) { options.points = ParsePoints(text); },
                    "What becomes of which tone, 0 to 255, from dark to light; in between straight lines")
                ->required()
                ->check(CLI::Validator(
                    [](const std::string& text) -> std::string {
                        if (!ParsePoints(text).empty()) return "";
                        return "\"" + text + "\" is no curve such as 0:0,128:160,255:255";
                    },
                    ""));
            verb.footer(
                "Examples:\n  trv curves photo.jpg negative.jpg 0:255,255:0\n"
                "  trv curves photo.jpg crisp.jpg 0:0,64:40,192:215,255:255");
        },
        [](const CurveOptions& options, PictureJob& job) {
            return Curved(job, job.Image(), options.points);
        }));
    verbs.push_back(AddPictureVerb<PictureOptions>(
        program, "solarize", "Turn dark tones around, as an overexposed photograph", "solarized",
        [](CLI::App& verb, PictureOptions&) {
            verb.footer("Example:\n  trv solarize photo.jpg strange.jpg");
        },
        [](const PictureOptions&, PictureJob& job) {
            return FilterColours(job, job.Image(), "SolarizeFilter");
        }));
    verbs.push_back(AddPictureVerb<DitherOptions>(
        program, "dither", "Reduce the colours to a few levels each, in a pattern", "dithered",
        [](CLI::App& verb, DitherOptions& options) {
            verb.add_option("-l,--levels", options.levels, "Levels of each channel, 2 to 256 [2]")
                ->type_name("N")
                ->check(CLI::Range(2, 256).description(""));
            verb.add_option("-m,--matrix", options.matrix,
                            "The pattern: " + CLI::detail::join(kMatrices, ", ") + " [ordered4]")
                ->type_name("NAME")
                ->check(CLI::IsMember(kMatrices).description(""));
            verb.add_flag("--plain", options.asTheyAre,
                          "Exactly as the plug-in does it: two levels give a negative");
            verb.footer(
                "Examples:\n  trv dither photo.jpg print.png --matrix cluster4\n"
                "  trv dither photo.jpg few.png --levels 4");
        },
        [](const DitherOptions& options, PictureJob& job) {
            const int64_t matrix = MatrixNumber(options.matrix);
            if (options.asTheyAre)
                return FilterColours(job, job.Image(), "DitherFilter", matrix, options.levels);
            return Dithered(job, job.Image(), matrix, options.levels);
        }));
    return verbs;
}

}  // namespace trvhost::program
