// What all verbs that make a picture file from a picture file have in common: the file is checked and loaded,
// an image of the plug-in shows its pixels, the verb works on that, and what comes out is written.
#pragma once

#include <CLI/CLI.hpp>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>

#include "host_choice.h"
#include "picture_header.h"
#include "picture_size.h"
#include "progress.h"
#include "scratch_images.h"
#include "target_file.h"

namespace trvhost::program {

struct FileFormat;

/// Options of every such verb.
struct PictureOptions {
    std::string in;
    std::string out;
    int quality = 90;
    int loadLimit = 120;               ///< seconds of processor time for a picture that is read
    int pixelLimit = kMostMegapixels;  ///< millions of pixels of a picture that is read
    bool mapped = false;
    bool quiet = false;
    HostChoice host;
};

/// Adds IN and OUT; the verb's own arguments follow, then AddPictureOptions.
void AddPictureFiles(CLI::App& verb, PictureOptions& options);
void AddPictureOptions(CLI::App& verb, PictureOptions& options);

/// One run of a verb. Everything throws std::exception with a one-line text.
class PictureJob {
  public:
    /// `doing` is the verb as people read it while they wait: "scaling". Checks both files before anyone
    /// works for them; `checkSize` is told the size that the file's header tells, and refuses what cannot be
    /// done.
    PictureJob(const PictureOptions& options, const std::string& doing,
               const std::function<void(PictureSize, const FileFormat&)>& checkSize = {});

    [[nodiscard]] const Host& TheHost() const { return *host_; }
    [[nodiscard]] PictureSize Size() const { return size_; }
    /// Whether the picture has alpha, and whether the target's format keeps it.
    [[nodiscard]] bool HasAlpha() const { return picture_.HasAlpha(); }
    [[nodiscard]] bool KeepsAlpha() const;
    /// The picture as an image: over the picture itself in ImageFormatBGRX, or, with alpha, a copy in
    /// ImageFormatBGRA, whose colours are not multiplied with it. With --mapped in a scratch file. Working in
    /// place is allowed.
    [[nodiscard]] const Ref& Image() const { return image_; }
    /// A new image with zeros. `format` is the name of a constant without "ImageFormat": "BGRX".
    [[nodiscard]] Ref NewImage(PictureSize size, const std::string& format) const;
    /// A new image in the format of another one.
    [[nodiscard]] Ref NewImageLike(const Ref& image, PictureSize size) const;
    /// A second picture, which --mapped leaves in memory.
    [[nodiscard]] Ref LoadImage(const std::string& file) const;
    [[nodiscard]] int64_t Constant(const std::string& name) const;
    [[nodiscard]] PictureSize SizeOf(const Ref& image) const;

    /// Calls a method that gives true, or an image, when it did its work; fails otherwise.
    template <class... Args>
    void Do(const Ref& self, const std::string& method, Args&&... args) const {
        if (!Call(self, method, std::forward<Args>(args)...).ToBool()) Refused(method);
    }
    template <class... Args>
    [[nodiscard]] Ref Make(const Ref& image, const std::string& method, Args&&... args) const {
        Ref made = Call(image, method, std::forward<Args>(args)...).ToThing();
        if (!made) Refused(method);
        return made;
    }
    /// Calls any method; fails only if it raises an exception.
    template <class... Args>
    Value Call(const Ref& image, const std::string& method, Args&&... args) const {
        Value result = TheHost().Call(image, method, std::forward<Args>(args)...);
        CheckException(TheHost());
        return result;
    }

    /// Calls `work` with the bytes of each row's pixels.
    void ForEachRow(const Ref& image, const std::function<void(std::span<uint8_t>)>& work) const;

    /// Writes the image to the target and prints the line that tells of it, unless told to be quiet. `how` is
    /// what the verb did with which settings: "lanczos3: scaled in 12.1 ms".
    void Save(const Ref& image, const std::string& how);

  private:
    [[noreturn]] static void Refused(const std::string& method);
    [[nodiscard]] Picture Load(const std::filesystem::path& file) const;
    [[nodiscard]] Ref ImageOf(const Picture& picture) const;
    [[nodiscard]] Picture PictureOf(const Ref& image) const;
    [[nodiscard]] Ref Copied(const Ref& image, const Ref& onto) const;
    [[nodiscard]] Ref ImageOver(const MemoryBlock& bytes, PictureSize size) const;

    const PictureOptions options_;
    Progress progress_;
    TargetFile target_;
    const FileFormat* format_;
    std::unique_ptr<Host> host_;
    std::optional<ScratchImages> scratch_;
    Picture picture_;
    PictureSize size_;
    Ref image_;
};

/// A verb of the program and what it does when it was given.
struct Verb {
    CLI::App* app;
    std::function<void()> run;
};

/// "12.1 ms"
std::string Milliseconds(double milliseconds);
/// Runs the work and gives the milliseconds that it took.
double TimeOf(const std::function<void()>& work);

/// A verb that makes an image of the job's. `Options` is PictureOptions or derived from it; `add` adds the
/// verb's own arguments and options, `work` gives the image to be saved. Its time is told as "`done` in 12
/// ms".
template <class Options>
Verb AddPictureVerb(CLI::App& program, const std::string& name, const std::string& description,
                    const std::string& done, const std::function<void(CLI::App&, Options&)>& add,
                    std::function<Ref(const Options&, PictureJob&)> work) {
    CLI::App& verb = *program.add_subcommand(name, description);
    verb.group("Verbs");
    const auto options = std::make_shared<Options>();
    AddPictureFiles(verb, *options);
    if (add) add(verb, *options);
    AddPictureOptions(verb, *options);
    return {&verb, [=, work = std::move(work)] {
                PictureJob job(*options, name);
                Ref result;
                const double time = TimeOf([&] { result = work(*options, job); });
                job.Save(result, done + " in " + Milliseconds(time));
            }};
}

}  // namespace trvhost::program
