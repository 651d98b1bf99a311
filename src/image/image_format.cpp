#include "image/image_format.h"

namespace trv {

const char* FormatText(int64_t code) {
    if (code == ImageFormatUnknown) return "Unknown";
    const FormatLayout* layout = FindFormat(code);
    if (layout == nullptr) return nullptr;
    const auto contains = [&](char letter) { return layout->letters.find(letter) != std::string_view::npos; };
    if (contains('.') || contains('b')) return nullptr;
    if (contains('s')) return "Scaling";
    if (contains('g')) return "G16";
    return layout->letters.data();  // a literal of the table, so it is terminated
}

}  // namespace trv
