#include "blur_commands.h"

#include <cmath>
#include <limits>
#include <numeric>
#include <stdexcept>

#include "pixel_alpha.h"

namespace trvhost::program {

namespace {

/// Larger than any picture that trv takes.
constexpr double kMostRadius = 32767;

/// `image` blurred by a radius with a fraction, which two filters share out between them: one does the whole
/// pixels and the other one what is left over.
Ref Blurred(PictureJob& job, const Ref& image, double radius, int64_t times, bool vertical, bool horizontal) {
    const double whole = std::floor(radius);
    Ref blurred = image;
    for (int64_t i = 0; i < times; ++i) {
        if (whole >= 1) {
            const Ref to = job.NewImageLike(image, job.Size());
            blurred = job.Make(blurred, "BoxBlurFilter", to, whole, vertical, horizontal);
        }
        if (radius > whole) {
            const Ref to = job.NewImageLike(image, job.Size());
            blurred = job.Make(blurred, "BoxBlurFractionalFilter", to, radius - whole);
        }
    }
    return blurred;
}

/// `work` on the picture with its colours multiplied by alpha, which keeps the colours of transparent pixels
/// out of their neighbours.
template <class Work>
Ref WithMultipliedColours(PictureJob& job, const Work& work) {
    if (!job.HasAlpha()) return work();
    job.ForEachRow(job.Image(), Multiply);
    Ref result = work();
    job.ForEachRow(result, Divide);
    return result;
}

/// Numbers between these; unlike the parser's own range also no number at all is refused.
CLI::Validator Between(double least, double most) {
    const auto check = [=](const std::string& text) -> std::string {
        double number = 0;
        if (CLI::detail::lexical_cast(text, number) && number >= least && number <= most) return "";
        return "\"" + text + "\" is not between " + CLI::detail::to_string(least) + " and " +
               CLI::detail::to_string(most);
    };
    return {check, ""};
}

// Blur
// -----------------------------------------------------------------------------------------------------------

struct BlurOptions : PictureOptions {
    double radius = 0;
    int64_t times = 1;
    std::string only;
};

Ref Blur(const BlurOptions& options, PictureJob& job) {
    const bool vertical = options.only != "horizontal";
    const bool horizontal = options.only != "vertical";
    const bool both = vertical && horizontal;
    if (!both && options.radius != std::floor(options.radius))
        throw std::runtime_error("in one direction only a whole radius can be had");
    return WithMultipliedColours(
        job, [&] { return Blurred(job, job.Image(), options.radius, options.times, vertical, horizontal); });
}

// Sharpen
// --------------------------------------------------------------------------------------------------------

struct SharpenOptions : PictureOptions {
    double amount = 0.5;
    double radius = 2;
    int64_t threshold = 0;
};

Ref Sharpen(const SharpenOptions& options, PictureJob& job) {
    const Ref blurred = Blurred(job, job.Image(), options.radius, 1, true, true);
    Ref result = job.NewImageLike(job.Image(), job.Size());
    job.Do(result, "CopyPixels", job.Image());
    // The plug-in widens a difference 4 * Amount + 1 times.
    job.Do(result, "UnsharpFilter", blurred, options.amount / 4, options.threshold);
    return result;
}

// Convolve
// -------------------------------------------------------------------------------------------------------

struct ConvolveOptions : PictureOptions {
    std::vector<int64_t> entries;
    int64_t delta = 0;
    double factor = 1;
    bool normalise = false;
};

int64_t DimensionOf(const std::vector<int64_t>& entries) {
    return std::lround(std::sqrt(static_cast<double>(entries.size())));
}

/// Alpha is kept as it is: a matrix that finds edges would make a picture transparent.
Ref Convolve(const ConvolveOptions& options, PictureJob& job) {
    const int64_t sum = std::accumulate(options.entries.begin(), options.entries.end(), int64_t{0});
    const double share = options.normalise && sum != 0 ? 1.0 / static_cast<double>(sum) : 1.0;
    Ref result = job.NewImageLike(job.Image(), job.Size());
    job.Do(result, "CopyPixels", job.Image());
    const Ref from = job.Make(job.Image(), "RGBChannels");
    const Ref to = job.Make(result, "RGBChannels");
    const Array matrix = job.TheHost().NewIntegers(options.entries);
    (void)job.Make(from, "ApplyMatrix", to, DimensionOf(options.entries), matrix, options.delta,
                   options.factor * share);
    return result;
}

/// Whole numbers with commas between, as many as a square matrix has; false for anything else.
bool ParseMatrix(const std::string& text, std::vector<int64_t>& entries) {
    std::vector<int64_t> parsed;
    for (const std::string& part : CLI::detail::split(text, ',')) {
        int64_t entry = 0;
        if (!CLI::detail::lexical_cast(CLI::detail::trim_copy(part), entry)) return false;
        if (entry > 254 || entry < std::numeric_limits<int32_t>::min()) return false;
        parsed.push_back(entry);
    }
    const int64_t dimension = DimensionOf(parsed);
    if (dimension < 1 || dimension > 50 || dimension * dimension != std::ssize(parsed)) return false;
    entries = std::move(parsed);
    return true;
}

std::string CheckMatrix(const std::string& text) {
    std::vector<int64_t> parsed;
    if (ParseMatrix(text, parsed)) return "";
    return "\"" + text +
           "\" is no square matrix of whole numbers up to 254, such as 0,-1,0,-1,5,-1,0,-1,0, with at most "
           "50 "
           "rows";
}

// The command line
// -----------------------------------------------------------------------------------------------

void AddBlurOptions(CLI::App& verb, BlurOptions& options) {
    verb.add_option("RADIUS", options.radius,
                    "Pixels on each side that the mean of a pixel takes in, such as 2 or 1.5")
        ->required()
        ->check(Between(0, kMostRadius));
    verb.add_option("-n,--times", options.times, "Blur so many times; three are nearly a Gaussian blur [1]")
        ->type_name("N")
        ->check(CLI::Range(1, 100).description(""));
    verb.add_option("--only", options.only, "Blur in one direction: horizontal or vertical")
        ->type_name("DIRECTION")
        ->check(CLI::IsMember({"horizontal", "vertical"}).description(""));
    verb.footer("Examples:\n  trv blur photo.jpg soft.jpg 2\n  trv blur photo.jpg backdrop.jpg 20 --times 3");
}

void AddSharpenOptions(CLI::App& verb, SharpenOptions& options) {
    verb.add_option("AMOUNT", options.amount,
                    "How much of the difference to a blurred copy is added, such as 0.5 or 2 [0.5]")
        ->check(Between(-100, 100));
    verb.add_option("-r,--radius", options.radius, "Radius of the blur [2]")
        ->type_name("PIXELS")
        ->check(Between(0, kMostRadius));
    verb.add_option("-t,--threshold", options.threshold,
                    "Leave what differs by less, such as the noise of a photo [0]")
        ->type_name("N")
        ->check(CLI::Range(0, 256).description(""));
    verb.footer(
        "Examples:\n  trv sharpen photo.jpg crisp.jpg\n  trv sharpen photo.jpg crisp.jpg 1.5 -r 1 -t 4");
}

void AddConvolveOptions(CLI::App& verb, ConvolveOptions& options) {
    verb.add_option_function<std::string>(
            "MATRIX", [&options](const std::string& text) { ParseMatrix(text, options.entries); },
            "The entries of a square matrix, row by row with commas between")
        ->required()
        ->check(CLI::Validator(CheckMatrix, ""));
    verb.add_option("-d,--delta", options.delta, "Add this to each sum, before the factor [0]")
        ->type_name("N");
    verb.add_option("-f,--factor", options.factor, "Multiply the whole by this [1]")->type_name("F");
    verb.add_flag("--normalise,--normalize", options.normalise,
                  "Divide by the sum of the entries, unless that is 0");
    verb.footer(
        "Alpha is kept.\n"
        "Examples:\n"
        "  trv convolve photo.jpg crisp.jpg 0,-1,0,-1,5,-1,0,-1,0\n"
        "  trv convolve photo.jpg soft.jpg 1,2,1,2,4,2,1,2,1 --normalise\n"
        "  trv convolve photo.jpg relief.jpg --delta 128 -- -2,-1,0,-1,0,1,0,1,2");
}

}  // namespace

std::vector<Verb> AddBlurVerbs(CLI::App& program) {
    return {AddPictureVerb<BlurOptions>(program, "blur", "Blur a picture", "blurred", AddBlurOptions, Blur),
            AddPictureVerb<SharpenOptions>(program, "sharpen", "Sharpen a picture by an unsharp mask",
                                           "sharpened", AddSharpenOptions, Sharpen),
            AddPictureVerb<ConvolveOptions>(program, "convolve", "Run a matrix over a picture", "convolved",
                                            AddConvolveOptions, Convolve)};
}

}  // namespace trvhost::program
