#include "image_file.h"

#include <algorithm>
#include <stdexcept>
#include <unordered_map>

#include "text_case.h"

namespace trvhost {

bool LoadedImage::IsOpaque() const {
    return std::all_of(pixels.begin(), pixels.end(), [](uint32_t argb) { return argb >= kOpaque; });
}

namespace {

constexpr uint32_t kRedLevels = 6, kGreenLevels = 7, kBlueLevels = 6;

uint32_t NearestLevel(uint32_t value, uint32_t levels) {
    return (value * (levels - 1) + 127) / 255;
}

uint8_t RegularIndex(uint32_t argb) {
    const uint32_t red = NearestLevel(argb >> 16 & 255, kRedLevels);
    const uint32_t green = NearestLevel(argb >> 8 & 255, kGreenLevels);
    return static_cast<uint8_t>((red * kGreenLevels + green) * kBlueLevels +
                                NearestLevel(argb & 255, kBlueLevels));
}

std::vector<uint32_t> AllPixels(const PictureStore& store) {
    std::vector<uint32_t> pixels(static_cast<size_t>(store.width * store.height));
    for (int64_t y = 0; y < store.height; ++y)
        store.Read(0, y, store.width, pixels.data() + y * store.width);
    return pixels;
}

}  // namespace

std::optional<IndexedImage> WithExactPalette(const PictureStore& store) {
    constexpr size_t kMostColors = 256;
    IndexedImage image;
    std::unordered_map<uint32_t, uint8_t> known;
    for (const uint32_t pixel : AllPixels(store)) {
        const uint32_t color = pixel | kOpaque;
        const auto [found, isNew] = known.emplace(color, static_cast<uint8_t>(image.palette.size()));
        if (isNew && image.palette.size() == kMostColors) return std::nullopt;
        if (isNew) image.palette.push_back(color);
        image.indices.push_back(found->second);
    }
    return image;
}

IndexedImage WithRegularPalette(const PictureStore& store) {
    IndexedImage image;
    for (uint32_t i = 0; i < kRedLevels * kGreenLevels * kBlueLevels; ++i) {
        const uint32_t red = i / (kGreenLevels * kBlueLevels), green = i / kBlueLevels % kGreenLevels;
        image.palette.push_back(kOpaque | (red * 255 / (kRedLevels - 1)) << 16 |
                                (green * 255 / (kGreenLevels - 1)) << 8 |
                                (i % kBlueLevels * 255 / (kBlueLevels - 1)));
    }
    for (const uint32_t pixel : AllPixels(store))
        image.indices.push_back(RegularIndex(pixel));
    return image;
}

std::string FileText(const std::filesystem::path& file) {
    const std::u8string text = file.u8string();
    return {text.begin(), text.end()};
}

std::string FileFormat(const std::filesystem::path& file) {
    std::string extension = FileText(file.extension());
    if (!extension.empty()) extension.erase(0, 1);
    return LowerCase(extension);
}

void FailFile(const char* what, const std::filesystem::path& file, const std::string& reason) {
    throw std::runtime_error(std::string(what) + " " + FileText(file) + ": " + reason);
}

}  // namespace trvhost
