// What a picture file says about itself, before anyone allocates memory for it or trusts a decoder with it:
// picture files come from strangers, and some were cut off on their way.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string_view>

#include "picture_size.h"

namespace trvhost::program {

/// What a header tells: the kind of picture file by its usual extension, empty for an unknown one, and the
/// size where it is told in a way that is known here.
struct PictureHeader {
    std::string_view format;
    std::optional<PictureSize> size;
};

/// Reads the header of a PNG, JPEG, GIF, BMP, WebP or TIFF file. Throws std::runtime_error when the header
/// leads nowhere, and when a JPEG, GIF or WebP file ends too early: decoders make a picture of those all the
/// same. The sides of a hostile file can be anything, but none is negative.
PictureHeader ReadHeader(std::string_view file);

/// Refuses what should not be loaded: what is no ordinary file, cannot be read, is empty, too large or cut
/// off, no picture of a kind that the host knows on this platform, or says that it has more than kMostPixels
/// pixels or none. Throws std::runtime_error with a one-line text that names file and reason. Gives the size
/// where the header tells it.
std::optional<PictureSize> CheckPictureFile(const std::filesystem::path& file);

/// The most pixels of a picture that is loaded, and the most bytes of its file.
inline constexpr int64_t kMostPixels = (int64_t{1} << 31) - 1;
inline constexpr uint64_t kMostBytes = (uint64_t{1} << 31) - 1;

}  // namespace trvhost::program
