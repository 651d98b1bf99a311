#include "scale_command.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <optional>
#include <stdexcept>

#include "picture_size.h"
#include "pixel_alpha.h"
#include "platform.h"

namespace trvhost::program {

namespace {

struct ScaleOptions : PictureOptions {
    SizeRequest size;
    bool fit = false;
    int filter = 3;  // 1 ... 7, the plug-in's number for it
    bool straightAlpha = false;
    std::optional<int64_t> threads;
};

// Filters
// --------------------------------------------------------------------------------------------------------

/// In the order of the plug-in's numbers, from 1 on.
constexpr std::array<const char*, 7> kFilters = {"triangle", "box",   "lanczos3", "lanczos8",
                                                 "mitchell", "poly3", "cubic"};

/// Number of a filter, given by its name or number; 0 for any other text.
int FilterNumber(std::string text) {
    text = CLI::detail::to_lower(text);
    for (size_t i = 0; i < kFilters.size(); ++i) {
        if (text == kFilters[i] || text == std::to_string(i + 1)) return static_cast<int>(i + 1);
    }
    return 0;
}

const char* FilterName(int number) {
    return kFilters.at(static_cast<size_t>(number - 1));
}

std::string FilterList() {
    std::string list;
    for (const char* name : kFilters)
        list += (list.empty() ? "" : ", ") + std::string(name);
    return list;
}

std::string CheckFilter(const std::string& text) {
    if (FilterNumber(text) != 0) return "";
    return "there is no filter \"" + text + "\" (" + FilterList() + ", or 1 to 7)";
}

std::string CheckSize(const std::string& text) {
    if (SizeRequest::Parse(text)) return "";
    return "\"" + text + "\" is no size such as 800x600, 800x, x600 or 50%";
}

// Scaling
// --------------------------------------------------------------------------------------------------------

/// Refuses what the format or the machine cannot hold. A run needs at most roughly the file's pixels in the
/// decoder, in the picture and in the image, the plug-in's image between its two passes, and the same for the
/// result.
void CheckSizes(PictureSize from, PictureSize to, const FileFormat& format) {
    if (std::max(to.width, to.height) > format.longestSide) {
        throw std::runtime_error("cannot scale to " + SizeText(to) +
                                 ": in a file of this format a side has at most " +
                                 std::to_string(format.longestSide) + " pixels");
    }
    const auto pixels = [](int64_t width, int64_t height) {
        return static_cast<double>(width) * static_cast<double>(height);
    };
    const double needed = 12 * pixels(from.width, from.height) + 4 * pixels(to.width, from.height) +
                          12 * pixels(to.width, to.height);
    const uint64_t memory = PhysicalMemory();
    if (memory == 0 || needed <= static_cast<double>(memory)) return;
    char text[200];
    std::snprintf(
        text, sizeof text, "scaling %s to %s takes some %.0f GB of memory, and this machine has %.0f GB",
        SizeText(from).c_str(), SizeText(to).c_str(), needed / 1e9, static_cast<double>(memory) / 1e9);
    throw std::runtime_error(text);
}

/// The plug-in scales each channel by itself, so colours are multiplied with alpha meanwhile unless told not
/// to.
Ref Scale(const ScaleOptions& options, const PictureJob& job, PictureSize size, double& milliseconds) {
    const bool multiplies = job.HasAlpha() && !options.straightAlpha;
    const Ref source = job.Image();
    Ref result = job.NewImage(size, job.HasAlpha() ? "BGRA" : "BGRX");
    if (multiplies) job.ForEachRow(source, Multiply);
    milliseconds = TimeOf([&] {
        if (options.threads) {
            job.Do(result, "ScaleMT", *options.threads, source, nullptr, options.filter, size.width,
                   size.height);
        } else {
            job.Do(result, "Scale", source, nullptr, options.filter, size.width, size.height);
        }
    });
    if (multiplies) job.ForEachRow(result, Divide);
    return result;
}

void RunScale(const ScaleOptions& options) {
    PictureJob job(options, "scaling", [&](PictureSize size, const FileFormat& format) {
        CheckSizes(size, options.size.Apply(size, options.fit), format);
    });
    const PictureSize size = options.size.Apply(job.Size(), options.fit);
    double milliseconds = 0;
    const Ref result = Scale(options, job, size, milliseconds);
    job.Save(result, std::string(FilterName(options.filter)) + ": scaled in " + Milliseconds(milliseconds));
}

}  // namespace

Verb AddScale(CLI::App& program) {
    CLI::App& verb = *program.add_subcommand("scale", "Scale a picture file");
    verb.group("Verbs");
    const auto held = std::make_shared<ScaleOptions>();
    ScaleOptions& options = *held;
    AddPictureFiles(verb, options);
    verb.add_option_function<std::string>(
            "SIZE", [&options](const std::string& text) { options.size = *SizeRequest::Parse(text); },
            "800x600, 800x or x600 (the other side follows), 50%")
        ->required()
        ->check(CLI::Validator(CheckSize, ""));
    verb.add_flag("--fit", options.fit,
                  "Keep the proportions: the largest size inside 800x600. Without it, exactly that size");
    verb.add_option_function<std::string>(
            "-f,--filter", [&options](const std::string& text) { options.filter = FilterNumber(text); },
            "How to resample: " + FilterList() + ", or the plug-in's number for it, 1 to 7 [" +
                FilterName(options.filter) + "]")
        ->type_name("NAME")
        ->check(CLI::Validator(CheckFilter, ""));
    verb.add_flag(
        "--straight-alpha", options.straightAlpha,
        "Scale colours and alpha each by themselves, as the plug-in alone does. Without it a colour "
        "counts as much as it is opaque, so that what stands in transparent pixels does not show at "
        "edges");
    verb.add_option("--threads", options.threads,
                    "Work with so many threads, at most 32; 0 for one per processor. Without it, with none")
        ->type_name("N")
        ->check(CLI::Range(0, 32).description(""));
    AddPictureOptions(verb, options);
    verb.footer(
        "Alpha is kept where the format can; in other formats the picture is laid onto white.\n"
        "\n"
        "Examples:\n"
        "  trv scale photo.jpg small.jpg 800x600 --fit\n"
        "  trv scale photo.jpg small.png 50% --filter mitchell\n"
        "  trv scale logo.png logo.png x64");
    return {&verb, [held] { RunScale(*held); }};
}

}  // namespace trvhost::program
