#include "scale_command.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <stdexcept>

#include "picture_header.h"
#include "pixel_alpha.h"
#include "platform.h"
#include "progress.h"
#include "target_file.h"

namespace trvhost::program {

namespace {

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

// Formats
// --------------------------------------------------------------------------------------------------------

/// Throws std::runtime_error for a name that ends in none of them.
const FileFormat& FormatOf(const TargetFile& target, const std::string& name) {
    const auto found = KnownFormats().find(target.Format());
    if (found == KnownFormats().end()) {
        throw std::runtime_error("cannot write " + name + ": the name must end in one of " + FormatList());
    }
    return found->second;
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

struct Scaled {
    Picture picture;
    double milliseconds = 0;  ///< of the scaling alone
};

class Scaling {
  public:
    Scaling(const ScaleOptions& options, const Host& host) : options_(options), host_(host) {}

    /// A picture without alpha: an image over its pixels, an image for the result, and a picture of that.
    Scaled Opaque(const Picture& picture, PictureSize size) const {
        const Ref source = Checked(host_.Construct("PictureTRV", picture));
        const Ref result = Checked(host_
                                       .CallShared("PictureTRV", "CreatePictureTRV", size.width, size.height,
                                                   Constant("ImageFormatBGRX"))
                                       .ToThing());
        const double milliseconds = Run(source, result, size);
        return {Made(host_.Call(result, "CopyPicture")), milliseconds};
    }

    /// A picture with alpha: by way of memory, in which the colours can be multiplied and divided.
    Scaled WithAlpha(const Picture& picture, PictureSize size, bool keepAlpha) const {
        const MemoryBlock sourceBytes = Bytes(picture),
                          resultBytes = host_.NewMemoryBlock(size.width * size.height * 4);
        if (!sourceBytes || !resultBytes) throw std::bad_alloc();
        const Ref source = ImageOver(sourceBytes, {picture.Width(), picture.Height()});
        const Ref result = ImageOver(resultBytes, size);
        if (!options_.straightAlpha) Multiply(sourceBytes.Bytes());
        const double milliseconds = Run(source, result, size);
        if (!keepAlpha) {
            if (options_.straightAlpha) Multiply(resultBytes.Bytes());
            FlattenOntoWhite(resultBytes.Bytes());
            return {Made(host_.Call(result, "CopyPicture")), milliseconds};
        }
        if (!options_.straightAlpha) Divide(resultBytes.Bytes());
        // In gd pictures 0 is opaque, and the plug-in hands alpha over as it stands.
        const bool isGd = host_.Settings().kind != HostKind::Desktop;
        if (isGd) InvertAlpha(resultBytes.Bytes());
        const Picture made = Made(host_.Call(result, "CopyPictureWithAlpha"));
        if (!made.HasAlpha()) throw std::runtime_error("a host of this version has no pictures with alpha");
        return {made, milliseconds};
    }

  private:
    int64_t Constant(const char* name) const { return host_.Constant("PictureTRV", name); }

    Ref Checked(Ref image) const {
        CheckException(host_);
        if (!image) throw std::runtime_error("the plug-in made no image");
        return image;
    }

    Ref ImageOver(const MemoryBlock& bytes, PictureSize size) const {
        return Checked(host_.Construct("PictureTRV", bytes, size.width, size.height,
                                       Constant("ImageFormatBGRA"), size.width * 4));
    }

    /// The picture's pixels as blue, green, red, alpha.
    MemoryBlock Bytes(const Picture& picture) const {
        const std::vector<uint32_t> words = picture.Pixels();
        return host_.NewMemoryBlock({reinterpret_cast<const uint8_t*>(words.data()), words.size() * 4});
    }

    double Run(const Ref& source, const Ref& result, PictureSize size) const {
        const auto started = std::chrono::steady_clock::now();
        const bool done =
            host_.Call(result, "Scale", source, nullptr, options_.filter, size.width, size.height).ToBool();
        const auto ended = std::chrono::steady_clock::now();
        CheckException(host_);
        if (!done) throw std::runtime_error("the plug-in refused to scale the picture");
        return std::chrono::duration<double, std::milli>(ended - started).count();
    }

    Picture Made(const Value& picture) const {
        CheckException(host_);
        if (!picture.ToThing()) throw std::runtime_error("the plug-in made no picture of the result");
        return Picture(picture.ToThing());
    }

    const ScaleOptions& options_;
    const Host& host_;
};

/// Saves to a file whose name nobody asked for, so that only the reason is worth telling.
void SaveTo(const Picture& picture, const std::filesystem::path& file, int quality) {
    try {
        picture.Save(file, quality);
    } catch (const std::runtime_error& e) {
        std::string reason = e.what();
        const size_t name = reason.find(ToText(file) + ": ");
        if (name != std::string::npos) reason.erase(0, name + ToText(file).size() + 2);
        throw std::runtime_error(reason);
    }
}

std::string Milliseconds(double milliseconds) {
    char text[32];
    std::snprintf(text, sizeof text, milliseconds < 100 ? "%.1f ms" : "%.0f ms", milliseconds);
    return text;
}

/// Everything but the line that tells of it, which this gives.
std::string Scale(const ScaleOptions& options) {
    Progress progress;
    const std::filesystem::path in = ToPath(options.in);
    const TargetFile target(ToPath(options.out));
    const FileFormat& format = FormatOf(target, options.out);
    const auto sizeByHeader = CheckPictureFile(in);
    if (sizeByHeader) CheckSizes(*sizeByHeader, options.size.Apply(*sizeByHeader, options.fit), format);

    const std::unique_ptr<Host> host = StartHost(options.host);
    progress.Stage("loading " + options.in);
    const Picture picture = host->LoadPicture(in);
    const PictureSize from{picture.Width(), picture.Height()};
    const PictureSize to = options.size.Apply(from, options.fit);
    CheckSizes(from, to, format);

    progress.Stage("scaling " + options.in + " to " + SizeText(to));
    const Scaling scaling(options, *host);
    const Scaled scaled =
        picture.HasAlpha() ? scaling.WithAlpha(picture, to, format.keepsAlpha) : scaling.Opaque(picture, to);

    progress.Stage("writing " + options.out);
    target.Write([&](const std::filesystem::path& file) { SaveTo(scaled.picture, file, options.quality); });
    return options.in + " " + SizeText(from) + " -> " + options.out + " " + SizeText(to) + ", " +
           FilterName(options.filter) + ": scaled in " + Milliseconds(scaled.milliseconds);
}

}  // namespace

CLI::App& AddScale(CLI::App& program, ScaleOptions& options) {
    CLI::App& verb = *program.add_subcommand("scale", "Scale a picture file");
    verb.group("Verbs");
    verb.add_option("IN", options.in, "The picture to scale, recognised by its content")->required();
    verb.add_option("OUT", options.out,
                    "The file to write, which may be IN. Its extension decides the format: " + FormatList() +
                        ". An existing file is replaced only when the new one is complete")
        ->required();
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
    verb.add_option("-q,--quality", options.quality,
                    "Quality of a JPEG or WebP file, 1 to 100 [" + std::to_string(options.quality) + "]")
        ->type_name("N")
        ->check(CLI::Range(1, 100).description(""));
    verb.add_flag(
        "--straight-alpha", options.straightAlpha,
        "Scale colours and alpha each by themselves, as the plug-in alone does. Without it a colour "
        "counts as much as it is opaque, so that what stands in transparent pixels does not show at "
        "edges");
    verb.add_flag("--quiet", options.quiet, "Print nothing when all is well");
    AddHostOptions(verb, options.host, false);
    verb.footer(
        "Alpha is kept where the format can; in other formats the picture is laid onto white.\n"
        "\n"
        "Examples:\n"
        "  trv scale photo.jpg small.jpg 800x600 --fit\n"
        "  trv scale photo.jpg small.png 50% --filter mitchell\n"
        "  trv scale logo.png logo.png x64");
    return verb;
}

void RunScale(const ScaleOptions& options) {
    const std::string line = Scale(options);
    if (!options.quiet) std::printf("%s\n", line.c_str());
}

}  // namespace trvhost::program
