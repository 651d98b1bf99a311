// Image files, by what the platform has for them: libgd on POSIX, GDI+ on Windows.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "picture_store.h"

namespace trvhost {

/// A loaded file: 0xAARRGGBB row by row, nothing premultiplied.
struct LoadedImage {
    int64_t width = 0;
    int64_t height = 0;
    std::vector<uint32_t> pixels;

    bool IsOpaque() const;
};

/// Pixels as indices into at most 256 colours 0xFFRRGGBB, for formats with a palette.
struct IndexedImage {
    std::vector<uint32_t> palette;
    std::vector<uint8_t> indices;  ///< row by row
};

/// The picture by its own colours, where these are at most 256. Alpha is left out.
std::optional<IndexedImage> WithExactPalette(const PictureStore& store);
/// The picture by 6 x 7 x 6 evenly spaced levels, each pixel at its nearest.
IndexedImage WithRegularPalette(const PictureStore& store);

/// Both throw std::runtime_error with a one-line text that names file and reason.
LoadedImage LoadImageFile(const std::filesystem::path& file);
void SaveImage(const PictureStore& store, const std::filesystem::path& file, int quality);

/// Extensions of the formats that both know, in lower case.
std::vector<std::string> ImageFormats();

/// The file's name for messages, as UTF-8.
std::string FileText(const std::filesystem::path& file);
/// The extension in lower case without its dot.
std::string FileFormat(const std::filesystem::path& file);
[[noreturn]] void FailFile(const char* what, const std::filesystem::path& file, const std::string& reason);

}  // namespace trvhost
