#include "gallery_command.h"

#include <algorithm>
#include <vector>

#include "colour_filters.h"
#include "label.h"
#include "pixel_alpha.h"
#include "tone_commands.h"

namespace trvhost::program {

namespace {

struct GalleryOptions : PictureOptions {
    int64_t width = 200;
    int64_t columns = 6;
};

constexpr int64_t kGap = 6;
constexpr int64_t kDot = 2;
constexpr int64_t kLabelHeight = (kLabelDots + 4) * kDot;

struct Exhibit {
    std::string label;
    std::function<Ref(const PictureJob&, const Ref&)> make;
};

/// A filter of the colours, by its method.
template <class... Args>
Exhibit Filter(const std::string& label, const std::string& method, Args... args) {
    return {label, [=](const PictureJob& job, const Ref& image) {
                return FilterColours(job, image, method, args...);
            }};
}

/// A matrix of weights that are divided by their sum, with `delta` added.
Exhibit Matrix(const std::string& label, const std::vector<int64_t>& weights, int64_t side, int64_t delta) {
    return {label, [=](const PictureJob& job, const Ref& image) {
                return FilterColours(job, image, "ApplyMatrix", side, job.TheHost().NewIntegers(weights),
                                     delta);
            }};
}

Ref Sharpened(const PictureJob& job, const Ref& image) {
    Ref target = CopyOf(job, image);
    const Ref blurred = FilterColours(job, image, "BoxBlurFilter", 2.0, true, true);
    job.Do(target, "UnsharpFilter", blurred, 1.5, 2);
    return target;
}

std::vector<Exhibit> Exhibits() {
    return {
        {"original", [](const PictureJob&, const Ref& image) { return image; }},
        Filter("gamma 2", "GammaFilter", 2.0),
        Filter("gain 0.8", "GainFilter", 0.8, 0.5),
        {"curves",
         [](const PictureJob& job, const Ref& image) {
             return Curved(job, image, {{0, 30}, {90, 60}, {160, 220}, {255, 225}});
         }},
        Filter("solarize", "SolarizeFilter"),
        {"dither 2 levels",
         [](const PictureJob& job, const Ref& image) { return Dithered(job, image, 3, 2); }},
        Filter("dither 8 levels", "DitherFilter", 3, 8),
        Filter("box blur 4", "BoxBlurFilter", 4.0, true, true),
        {"blur 2, thrice",
         [](const PictureJob& job, const Ref& image) {
             return FilterColoursAnew(job, image, "BoxBlurFilter", 2.0, 3, true, true);
         }},
        Filter("fractional 0.5", "BoxBlurFractionalFilter", 0.5),
        Matrix("sharpen", {0, -1, 0, -1, 5, -1, 0, -1, 0}, 3, 0),
        Matrix("emboss", {-2, -1, 0, -1, 1, 1, 0, 1, 2}, 3, 0),
        {"unsharp", Sharpened},
        Filter("oil", "OilFilter", 20, 3),
        Filter("diffuse", "DiffuseFilter", 2),
        Filter("engrave", "EngraveFilter", 2),
        Filter("neon", "NeonFilter"),
        {"stamp",
         [](const PictureJob& job, const Ref& image) {
             return FilterColoursAnew(job, image, "StampFilter", 4.0, 0.45, 0.2, Color{0x24305E},
                                      Color{0xFBF5E9});
         }},
    };
}

/// The picture at the size of a tile, laid onto white.
Ref Miniature(const PictureJob& job, PictureSize size) {
    const Ref flat = CopyOf(job, job.Image());
    if (job.HasAlpha()) {
        job.ForEachRow(flat, [](std::span<uint8_t> row) {
            Multiply(row);
            FlattenOntoWhite(row);
        });
    }
    const Ref small = job.NewImageLike(flat, size);
    job.Do(small, "Scale", flat, nullptr, job.Constant("ScaleLanczos3"), size.width, size.height);
    Ref opaque = job.NewImage(size, "BGRX");
    job.Do(opaque, "CopyPixels", small);
    return opaque;
}

Ref Gallery(const GalleryOptions& options, PictureJob& job) {
    const PictureSize tile{options.width,
                           std::max<int64_t>(1, options.width * job.Size().height / job.Size().width)};
    const std::vector<Exhibit> exhibits = Exhibits();
    const auto count = static_cast<int64_t>(exhibits.size());
    const int64_t columns = std::min(options.columns, count), rows = (count + columns - 1) / columns;
    const int64_t stepX = tile.width + kGap, stepY = tile.height + kLabelHeight;
    const Ref miniature = Miniature(job, tile);
    Ref sheet = job.NewImage({columns * stepX + kGap, rows * stepY + kGap}, "BGRX");
    job.Call(sheet, "FillRect", 255);
    for (int64_t i = 0; i < count; ++i) {
        const Exhibit& exhibit = exhibits[static_cast<size_t>(i)];
        const int64_t x = kGap + i % columns * stepX, y = kGap + i / columns * stepY;
        job.Do(sheet, "CopyPixels", exhibit.make(job, miniature), x, y, tile.width, tile.height);
        DrawLabel(job, sheet, x, y + tile.height + 2 * kDot, kDot, exhibit.label);
    }
    return sheet;
}

}  // namespace

Verb AddGallery(CLI::App& program) {
    return AddPictureVerb<GalleryOptions>(
        program, "gallery", "Show what every filter makes of a picture, on one sheet", "hung",
        [](CLI::App& verb, GalleryOptions& options) {
            verb.add_option("-w,--width", options.width, "Width of each picture, 16 to 2000 pixels [200]")
                ->type_name("N")
                ->check(CLI::Range(16, 2000).description(""));
            verb.add_option("-c,--columns", options.columns, "Pictures in a row, at most [6]")
                ->type_name("N")
                ->check(CLI::Range(1, 100).description(""));
            verb.footer("Example:\n  trv gallery photo.jpg filters.png");
        },
        Gallery);
}

}  // namespace trvhost::program
