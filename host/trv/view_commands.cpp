#include "view_commands.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <stdexcept>

namespace trvhost::program {

namespace {

// Convert
// --------------------------------------------------------------------------------------------------------

struct ConvertOptions : PictureOptions {
    std::string layout;
};

/// The names of the layouts that a picture can be shown in, as the constants have them.
std::vector<std::string> Layouts(const Host& host) {
    const std::string prefix = "ImageFormat";
    std::vector<std::string> names;
    const ClassDefinition& definition = host.Class("PictureTRV");
    for (int64_t i = 0; i < definition.constantCount; ++i) {
        const std::string declaration = definition.constants[i].declaration;
        const bool isInner = declaration.find("Scaling") != std::string::npos ||
                             declaration.find("Unknown") != std::string::npos ||
                             declaration.find("Buffer") != std::string::npos;
        if (declaration.starts_with(prefix) && !isInner)
            names.push_back(
                declaration.substr(prefix.size(), declaration.find_first_of(" =") - prefix.size()));
    }
    return names;
}

/// The layout's name as the constants spell it.
std::string LayoutNamed(const Host& host, const std::string& wanted) {
    const std::vector<std::string> names = Layouts(host);
    std::string list;
    for (const std::string& name : names) {
        if (CLI::detail::to_lower(name) == CLI::detail::to_lower(wanted)) return name;
        list += (list.empty() ? "" : ", ") + name;
    }
    throw std::runtime_error("there is no layout \"" + wanted + "\" (" + list + ")");
}

Ref Convert(const ConvertOptions& options, PictureJob& job) {
    if (options.layout.empty()) return job.Image();
    const std::string layout = LayoutNamed(job.TheHost(), options.layout);
    Ref converted = job.NewImage(job.Size(), layout);
    const bool done = job.Call(converted, "CopyPixels", job.Image()).ToBool();
    if (!done) throw std::runtime_error("the plug-in does not convert colours of pictures into " + layout);
    return converted;
}

// Channel
// --------------------------------------------------------------------------------------------------------

struct ChannelOptions : PictureOptions {
    std::string channel;
};

const std::vector<std::string> kChannels = {"red", "green", "blue", "alpha"};

Ref Channel(const ChannelOptions& options, PictureJob& job) {
    std::string name = options.channel;
    name.front() = static_cast<char>(std::toupper(static_cast<unsigned char>(name.front())));
    Ref view = job.Call(job.Image(), name + "Channel").ToThing();
    if (!view) throw std::runtime_error("the picture has no channel " + options.channel);
    return view;
}

// Crop
// --------------------------------------------------------------------------------------------------------

struct CropRectangle {
    int64_t width = 0;
    int64_t height = 0;
    int64_t x = 0;
    int64_t y = 0;
};

struct CropOptions : PictureOptions {
    CropRectangle rectangle;
};

/// WIDTHxHEIGHT or WIDTHxHEIGHT+X+Y; false for anything else.
bool ParseCrop(const std::string& text, CropRectangle& rectangle) {
    int end = 0;
    const auto isWhole = [&](int fields, int expected) {
        return fields == expected && static_cast<size_t>(end) == text.size();
    };
    const bool plain = text.find_first_not_of("0123456789x+") == std::string::npos && text.size() < 40;
    if (!plain) return false;
    long long width = 0, height = 0, x = 0, y = 0;
    if (!isWhole(std::sscanf(text.c_str(), "%9lldx%9lld%n", &width, &height, &end), 2) &&
        !isWhole(std::sscanf(text.c_str(), "%9lldx%9lld+%9lld+%9lld%n", &width, &height, &x, &y, &end), 4))
        return false;
    rectangle = {width, height, x, y};
    return true;
}

Ref Crop(const CropOptions& options, PictureJob& job) {
    const CropRectangle& wanted = options.rectangle;
    Ref view = job.Make(job.Image(), "ClipImage", wanted.x, wanted.y, wanted.width, wanted.height);
    const PictureSize size = job.SizeOf(view);
    if (size.width < 1 || size.height < 1) {
        throw std::runtime_error("nothing of a picture of " + SizeText(job.Size()) +
                                 " is inside that rectangle");
    }
    return view;
}

}  // namespace

std::vector<Verb> AddViewVerbs(CLI::App& program) {
    std::vector<Verb> verbs;
    verbs.push_back(AddPictureVerb<ConvertOptions>(
        program, "convert", "Write a picture in another file format", "converted",
        [](CLI::App& verb, ConvertOptions& options) {
            verb.add_option(
                    "-l,--layout", options.layout,
                    "Take the pixels through this layout of the plug-in's, such as G, RGB, GA or Gray16, and "
                    "so lose what it does not hold")
                ->type_name("NAME");
            verb.footer(
                "Examples:\n  trv convert photo.png photo.jpg\n  trv convert photo.jpg gray.png --layout G");
        },
        Convert));
    verbs.push_back(AddPictureVerb<ChannelOptions>(
        program, "channel", "Show one channel as a gray picture", "taken out",
        [](CLI::App& verb, ChannelOptions& options) {
            verb.add_option("CHANNEL", options.channel, "red, green, blue or alpha")
                ->required()
                ->check(CLI::IsMember(kChannels).description(""));
            verb.footer("Example:\n  trv channel logo.png mask.png alpha");
        },
        Channel));
    verbs.push_back(AddPictureVerb<CropOptions>(
        program, "crop", "Cut a rectangle out of a picture", "cut",
        [](CLI::App& verb, CropOptions& options) {
            verb.add_option_function<std::string>(
                    "RECTANGLE", [&options](const std::string& text) { ParseCrop(text, options.rectangle); },
                    "WIDTHxHEIGHT+X+Y, or WIDTHxHEIGHT from the top left corner; what lies outside the "
                    "picture is "
                    "left out")
                ->required()
                ->check(CLI::Validator(
                    [](const std::string& text) -> std::string {
                        CropRectangle parsed;
                        if (ParseCrop(text, parsed)) return "";
                        return "\"" + text + "\" is no rectangle such as 200x100+30+40 or 200x100";
                    },
                    ""));
            verb.footer("Example:\n  trv crop photo.jpg face.jpg 300x300+420+80");
        },
        Crop));
    verbs.push_back(AddPictureVerb<PictureOptions>(
        program, "mirror", "Turn a picture upside down, as its reflection in water", "mirrored",
        [](CLI::App& verb, PictureOptions&) {
            verb.footer("Example:\n  trv mirror photo.jpg reflection.jpg");
        },
        [](const PictureOptions&, PictureJob& job) { return job.Make(job.Image(), "MirroredView"); }));
    return verbs;
}

}  // namespace trvhost::program
