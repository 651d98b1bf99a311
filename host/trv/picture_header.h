// What a picture file says about itself, before anyone allocates memory for it or trusts a decoder with it:
// picture files come from strangers, and some were cut off on their way.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string_view>

#include "picture_size.h"

namespace trvhost::program {

/// What a header tells: the kind of picture file by its usual extension, empty for an unknown one, and the
/// size.
struct PictureHeader {
    std::string_view format;
    PictureSize size;
};

/// Reads the header of a PNG, JPEG, GIF, BMP, WebP or TIFF file. Throws std::runtime_error when the header
/// leads nowhere, and when a JPEG, GIF or WebP file ends too early: decoders make a picture of those all the
/// same. The sides of a hostile file can be anything, but none is negative. A TIFF file may leave its size
/// out; then the sides are 0.
PictureHeader ReadHeader(std::string_view file);

/// Refuses what should not be loaded: what is no ordinary file, cannot be read, is empty, too large or cut
/// off, no picture of a kind that the host knows on this platform, or says that it has no pixels, more than
/// `mostMegapixels` millions of them, or far more than so short a file can hold. Throws std::runtime_error
/// with a one-line text that names file and reason. Gives the size that the header tells.
PictureSize CheckPictureFile(const std::filesystem::path& file, int mostMegapixels);

/// Unless told otherwise; the largest pictures of the WebP format, 16383x16383, still pass. A run takes up to
/// some 14 bytes for each pixel.
inline constexpr int kMostMegapixels = 270;

/// The most bytes of a file.
inline constexpr uint64_t kMostBytes = (uint64_t{1} << 31) - 1;

}  // namespace trvhost::program
