#include "image_file.h"

#include <algorithm>
#include <stdexcept>

namespace trvhost {

bool LoadedImage::IsOpaque() const {
    return std::all_of(pixels.begin(), pixels.end(), [](uint32_t argb) { return argb >= kOpaque; });
}

std::string FileText(const std::filesystem::path& file) {
    const std::u8string text = file.u8string();
    return {text.begin(), text.end()};
}

std::string FileFormat(const std::filesystem::path& file) {
    std::string extension = FileText(file.extension());
    if (!extension.empty()) extension.erase(0, 1);
    for (char& c : extension) {
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    }
    return extension;
}

void FailFile(const char* what, const std::filesystem::path& file, const std::string& reason) {
    throw std::runtime_error(std::string(what) + " " + FileText(file) + ": " + reason);
}

}  // namespace trvhost
