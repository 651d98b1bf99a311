#include "pixel_commands.h"

#include <cstdio>
#include <stdexcept>

namespace trvhost::program {

namespace {

// Composite
// ------------------------------------------------------------------------------------------------------

struct Place {
    int64_t x = 0;
    int64_t y = 0;
};

struct CompositeOptions : PictureOptions {
    std::string over;
    std::string mask;
    Place at;
};

/// X,Y; false for anything else.
bool ParsePlace(const std::string& text, Place& place) {
    long long x = 0, y = 0;
    int end = 0;
    const bool plain = text.find_first_not_of("0123456789,-") == std::string::npos;
    if (!plain || std::sscanf(text.c_str(), "%10lld,%10lld%n", &x, &y, &end) != 2 ||
        static_cast<size_t>(end) != text.size())
        return false;
    place = {x, y};
    return true;
}

/// What lets the picture below through: a gray picture that is white where it shows, which is how the plug-in
/// has its masks.
Ref MaskFrom(const Ref& shows, PictureJob& job) {
    Ref mask = job.NewImage(job.SizeOf(shows), "G");
    job.Do(mask, "CopyPixels", shows);
    job.Call(mask, "Invert");
    return mask;
}

/// The mask for the picture on top: from its file, else from the picture's alpha; nil where all of it shows.
Ref MaskFor(const CompositeOptions& options, const Ref& over, PictureJob& job) {
    if (!options.mask.empty()) {
        const Ref mask = job.LoadImage(options.mask);
        if (!(job.SizeOf(mask) == job.SizeOf(over))) {
            throw std::runtime_error(options.mask + " has " + SizeText(job.SizeOf(mask)) + " pixels and " +
                                     options.over + " has " + SizeText(job.SizeOf(over)));
        }
        return MaskFrom(mask, job);
    }
    const Ref alpha = job.Call(over, "AlphaChannel").ToThing();
    return alpha ? MaskFrom(alpha, job) : Ref();
}

Ref Composite(const CompositeOptions& options, PictureJob& job) {
    const Ref over = job.LoadImage(options.over);
    const PictureSize size = job.SizeOf(over);
    const Ref mask = MaskFor(options, over, job);
    const auto from = [](int64_t at) { return at < 0 ? -at : 0; };
    const Place start = {from(options.at.x), from(options.at.y)};
    const bool combined =
        job.Call(job.Image(), "Combine", over, mask, options.at.x + start.x, options.at.y + start.y, start.x,
                 start.y, size.width - start.x, size.height - start.y, false)
            .ToBool();
    if (!combined) throw std::runtime_error("nothing of " + options.over + " lies on the picture there");
    return job.Image();
}

// In place
// -------------------------------------------------------------------------------------------------------

/// Colours only: nobody wants the negative of what a picture shows to be transparent where it was not.
Ref Invert(const PictureOptions&, PictureJob& job) {
    const Ref colours = job.Make(job.Image(), "RGBChannels");
    job.Call(colours, "Invert");
    return job.Image();
}

Ref AutoLevel(const PictureOptions&, PictureJob& job) {
    job.Do(job.Image(), "AutoLevel");
    return job.Image();
}

struct GrayOptions : PictureOptions {
    int64_t mode = 0;
};

Ref Gray(const GrayOptions& options, PictureJob& job) {
    job.Do(job.Image(), "RGBToGray", options.mode);
    return job.Image();
}

/// Calls a method that is about alpha.
Ref WithAlpha(const char* method, PictureJob& job) {
    if (!job.HasAlpha()) throw std::runtime_error("the picture has no alpha");
    job.Call(job.Image(), method);
    return job.Image();
}

void AddComposite(CLI::App& program, std::vector<Verb>& verbs) {
    verbs.push_back(AddPictureVerb<CompositeOptions>(
        program, "composite", "Lay a picture over another one", "composed",
        [](CLI::App& verb, CompositeOptions& options) {
            verb.add_option("OVER", options.over, "Picture to lay over IN; its alpha says where it shows")
                ->required();
            verb.add_option_function<std::string>(
                    "-a,--at", [&options](const std::string& text) { ParsePlace(text, options.at); },
                    "Where the top left corner of OVER goes; may be negative")
                ->type_name("X,Y")
                ->check(CLI::Validator(
                    [](const std::string& text) -> std::string {
                        Place place;
                        return ParsePlace(text, place) ? "" : "\"" + text + "\" is no place such as 20,-5";
                    },
                    ""));
            verb.add_option("-m,--mask", options.mask,
                            "Picture of the size of OVER that says where it shows, in place of its alpha: "
                            "white does, black does not")
                ->type_name("FILE");
            verb.footer(
                "The alpha of IN stays as it is.\nExamples:\n  trv composite photo.jpg signed.jpg "
                "signature.png --at 20,20\n  trv composite day.png out.png night.png --mask "
                "shadow.png");
        },
        Composite));
}

}  // namespace

std::vector<Verb> AddPixelVerbs(CLI::App& program) {
    std::vector<Verb> verbs;
    AddComposite(program, verbs);
    verbs.push_back(AddPictureVerb<PictureOptions>(
        program, "invert", "Make the negative of a picture", "inverted",
        [](CLI::App& verb, PictureOptions&) {
            verb.footer("Alpha stays as it is.\nExample:\n  trv invert photo.jpg negative.jpg");
        },
        Invert));
    verbs.push_back(AddPictureVerb<PictureOptions>(
        program, "autolevel", "Stretch the tones of a picture over the whole range", "levelled",
        [](CLI::App& verb, PictureOptions&) { verb.footer("Example:\n  trv autolevel pale.jpg photo.jpg"); },
        AutoLevel));
    verbs.push_back(AddPictureVerb<GrayOptions>(
        program, "gray", "Take the colours out of a picture", "grayed",
        [](CLI::App& verb, GrayOptions& options) {
            verb.add_option(
                    "-m,--mode", options.mode,
                    "Weights of red, green, blue: 0: 2, 3, 1 of 6; 1: 3, 4, 1 of 8; 2: 0.2126, 0.7152, "
                    "0.0722; 3: 0.299, 0.587, 0.114; 4: 77, 151, 29 of 256")
                ->type_name("NUMBER")
                ->check(CLI::Range(0, 4).description(""))
                ->capture_default_str();
            verb.footer("Example:\n  trv gray photo.jpg gray.jpg --mode 3");
        },
        Gray));
    verbs.push_back(AddPictureVerb<PictureOptions>(
        program, "premultiply", "Multiply the colours of a picture by its alpha", "multiplied",
        [](CLI::App& verb, PictureOptions&) { verb.footer("Example:\n  trv premultiply logo.png out.png"); },
        [](const PictureOptions&, PictureJob& job) { return WithAlpha("Multiply", job); }));
    verbs.push_back(AddPictureVerb<PictureOptions>(
        program, "unpremultiply", "Divide the colours of a picture by its alpha", "divided",
        [](CLI::App& verb, PictureOptions&) {
            verb.footer("Example:\n  trv unpremultiply out.png logo.png");
        },
        [](const PictureOptions&, PictureJob& job) { return WithAlpha("Unmultiply", job); }));
    return verbs;
}

}  // namespace trvhost::program
