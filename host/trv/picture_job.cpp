#include "picture_job.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <new>
#include <stdexcept>

#include "picture_header.h"
#include "pixel_alpha.h"
#include "platform.h"
#include "time_limit.h"

namespace trvhost::program {

namespace {

/// Throws std::runtime_error for a name that ends in none of them.
const FileFormat& FormatOf(const TargetFile& target, const std::string& name) {
    const auto found = KnownFormats().find(target.Format());
    if (found == KnownFormats().end()) {
        throw std::runtime_error("cannot write " + name + ": the name must end in one of " + FormatList());
    }
    return found->second;
}

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

void CheckSides(PictureSize size, const FileFormat& format) {
    const int64_t longest = std::min(format.longestSide, kLongestSide);
    if (std::max(size.width, size.height) <= longest) return;
    throw std::runtime_error("cannot write a picture of " + SizeText(size) +
                             ": in a file of this format a side has "
                             "at most " +
                             std::to_string(longest) + " pixels");
}

}  // namespace

// Options
// --------------------------------------------------------------------------------------------------------

void AddPictureFiles(CLI::App& verb, PictureOptions& options) {
    verb.add_option("IN", options.in, "The picture to work on, recognised by its content")->required();
    verb.add_option("OUT", options.out,
                    "The file to write, which may be IN. Its extension decides the format: " + FormatList() +
                        ". An existing file is replaced only when the new one is complete")
        ->required();
}

void AddPictureOptions(CLI::App& verb, PictureOptions& options) {
    verb.add_option("-q,--quality", options.quality,
                    "Quality of a JPEG or WebP file, 1 to 100 [" + std::to_string(options.quality) + "]")
        ->type_name("N")
        ->check(CLI::Range(1, 100).description(""));
    verb.add_option("--load-limit", options.loadLimit,
                    "Most seconds of processor time for reading a picture [" +
                        std::to_string(options.loadLimit) + "]")
        ->type_name("N")
        ->check(CLI::Range(0, 1000000).description(""));
    verb.add_option(
            "--pixel-limit", options.pixelLimit,
            "Most millions of pixels of a picture that is read [" + std::to_string(options.pixelLimit) + "]")
        ->type_name("N")
        ->check(CLI::Range(1, 2000).description(""));
    verb.add_flag("--mapped", options.mapped,
                  "Keep the images in scratch files instead of memory, with a window of each in memory");
    verb.add_flag("--quiet", options.quiet, "Print nothing when all is well");
    AddHostOptions(verb, options.host, false);
}

// The job
// --------------------------------------------------------------------------------------------------------

PictureJob::PictureJob(const PictureOptions& options, const std::string& doing,
                       const std::function<void(PictureSize, const FileFormat&)>& checkSize)
    : options_(options), target_(ToPath(options.out)), format_(&FormatOf(target_, options.out)) {
    const std::filesystem::path in = ToPath(options.in);
    const PictureSize sizeByHeader = CheckPictureFile(in, options.pixelLimit);
    if (checkSize) checkSize(sizeByHeader, *format_);
    host_ = StartHost(options.host);
    progress_.Stage("loading " + options.in);
    picture_ = Load(in);
    size_ = {picture_.Width(), picture_.Height()};
    if (checkSize) checkSize(size_, *format_);
    if (options.mapped) scratch_.emplace(*host_);
    image_ = ImageOf(picture_);
    if (options.mapped) image_ = Copied(image_, NewImageLike(image_, size_));
    progress_.Stage(doing + " " + options.in);
}

bool PictureJob::KeepsAlpha() const {
    return format_->keepsAlpha;
}

int64_t PictureJob::Constant(const std::string& name) const {
    return TheHost().Constant("PictureTRV", name);
}

PictureSize PictureJob::SizeOf(const Ref& image) const {
    return {TheHost().Get<int64_t>(image, "Width"), TheHost().Get<int64_t>(image, "Height")};
}

void PictureJob::Refused(const std::string& method) {
    throw std::runtime_error("the plug-in refused: " + method + " gave no result");
}

Ref PictureJob::NewImage(PictureSize size, const std::string& format) const {
    Ref image = TheHost()
                    .CallShared("PictureTRV", "CreatePictureTRV", size.width, size.height,
                                Constant("ImageFormat" + format))
                    .ToThing();
    CheckException(TheHost());
    if (!image) throw std::runtime_error("the plug-in made no image of " + SizeText(size));
    return image;
}

Ref PictureJob::NewImageLike(const Ref& image, PictureSize size) const {
    return Make(image,
                "CreatePictureTRV(width as integer, height as integer, ImageFormat as integer) as PictureTRV",
                size.width, size.height, TheHost().Get<int64_t>(image, "ImageFormat"));
}

void PictureJob::ForEachRow(const Ref& image, const std::function<void(std::span<uint8_t>)>& work) const {
    const auto row = TheHost().Method<void*(int64_t)>("PictureTRV", "RawRowPtr");
    const PictureSize size = SizeOf(image);
    const int64_t bytes = size.width * TheHost().Get<int64_t>(image, "PixelSize");
    for (int64_t y = 0; y < size.height; ++y) {
        auto* const pixels = static_cast<uint8_t*>(row(image, y));
        CheckException(TheHost());
        if (pixels == nullptr) throw std::runtime_error("a row of a mapped image cannot be had");
        work({pixels, static_cast<size_t>(bytes)});
    }
}

Ref PictureJob::LoadImage(const std::string& file) const {
    CheckPictureFile(ToPath(file), options_.pixelLimit);
    return ImageOf(Load(ToPath(file)));
}

Picture PictureJob::Load(const std::filesystem::path& file) const {
    const TimeLimit limit("cannot load " + ToText(file), options_.loadLimit);
    const MutedLibraries muted;
    Picture picture = TheHost().LoadPicture(file);
    limit.Check();
    return picture;
}

Ref PictureJob::Copied(const Ref& image, const Ref& onto) const {
    Do(onto, "CopyPixels", image);
    return onto;
}

Ref PictureJob::ImageOver(const MemoryBlock& bytes, PictureSize size) const {
    Ref image = TheHost().Construct("PictureTRV", bytes, size.width, size.height, Constant("ImageFormatBGRA"),
                                    size.width * 4);
    CheckException(TheHost());
    return image;
}

Ref PictureJob::ImageOf(const Picture& picture) const {
    if (!picture.HasAlpha()) {
        Ref image = TheHost().Construct("PictureTRV", picture);
        CheckException(TheHost());
        return image;
    }
    const std::vector<uint32_t> words = picture.Pixels();  // blue, green, red, alpha
    const MemoryBlock bytes =
        TheHost().NewMemoryBlock({reinterpret_cast<const uint8_t*>(words.data()), words.size() * 4});
    if (!bytes) throw std::bad_alloc();
    return ImageOver(bytes, {picture.Width(), picture.Height()});
}

Picture PictureJob::PictureOf(const Ref& image) const {
    const PictureSize size = SizeOf(image);
    const auto made = [&](const Value& picture) {
        if (!picture.ToThing()) throw std::runtime_error("the plug-in made no picture of the result");
        return Picture(picture.ToThing());
    };
    if (!TheHost().Get<bool>(image, "HasAlpha")) {
        const bool isRgb = TheHost().Get<bool>(image, "IsRGB");
        return made(Call(isRgb ? image : Copied(image, NewImage(size, "BGRX")), "CopyPicture"));
    }
    const MemoryBlock bytes = TheHost().NewMemoryBlock(size.width * size.height * 4);
    if (!bytes) throw std::bad_alloc();
    const Ref straight = Copied(image, ImageOver(bytes, size));
    if (!KeepsAlpha()) {
        Multiply(bytes.Bytes());
        FlattenOntoWhite(bytes.Bytes());
        return made(Call(straight, "CopyPicture"));
    }
    // In gd pictures 0 is opaque, and the plug-in hands alpha over as it stands.
    if (TheHost().Settings().kind != HostKind::Desktop) InvertAlpha(bytes.Bytes());
    Picture picture = made(Call(straight, "CopyPictureWithAlpha"));
    if (!picture.HasAlpha()) throw std::runtime_error("a host of this version has no pictures with alpha");
    return picture;
}

void PictureJob::Save(const Ref& image, const std::string& how) {
    const PictureSize size = SizeOf(image);
    CheckSides(size, *format_);
    const Picture picture = PictureOf(image);
    progress_.Stage("writing " + options_.out);
    target_.Write([&](const std::filesystem::path& file) { SaveTo(picture, file, options_.quality); });
    if (options_.quiet) return;
    std::printf("%s %s -> %s %s, %s\n", options_.in.c_str(), SizeText(size_).c_str(), options_.out.c_str(),
                SizeText(size).c_str(), how.c_str());
}

// Time
// --------------------------------------------------------------------------------------------------------

std::string Milliseconds(double milliseconds) {
    char text[32];
    std::snprintf(text, sizeof text, milliseconds < 100 ? "%.1f ms" : "%.0f ms", milliseconds);
    return text;
}

double TimeOf(const std::function<void()>& work) {
    const auto started = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - started).count();
}

}  // namespace trvhost::program
