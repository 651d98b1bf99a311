// The size that a picture file says it has, before anyone allocates memory for it: picture files come from
// strangers.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <span>
#include <string>

#include "picture_size.h"

namespace trvhost::program {

/// Reads `count` bytes at an offset of the file; fewer where the file ends before.
using HeaderReader = std::function<std::string(uint64_t offset, size_t count)>;

/// The size by the header of a PNG, JPEG, GIF, BMP or WebP file; none for any other file. Throws
/// std::runtime_error when the header is cut off or leads nowhere. The sides of a hostile file can be
/// anything, but none is negative.
std::optional<PictureSize> SizeByHeader(const HeaderReader& read);

/// Refuses what should not be loaded: what is no ordinary file, cannot be opened, is empty, or says that it
/// has more pixels than kMostPixels or a side of none. Throws std::runtime_error with a one-line text that
/// names file and reason. Gives the size where the header tells it.
std::optional<PictureSize> CheckPictureFile(const std::filesystem::path& file);

/// The most pixels of a picture that is loaded.
inline constexpr int64_t kMostPixels = (int64_t{1} << 31) - 1;

}  // namespace trvhost::program
