// Texts in lower case, where letters are those of ASCII.
#pragma once

#include <algorithm>
#include <string>
#include <string_view>

namespace trvhost {

inline std::string LowerCase(std::string_view text) {
    std::string lower(text);
    std::transform(lower.begin(), lower.end(), lower.begin(),
                   [](char c) { return static_cast<char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c); });
    return lower;
}

}  // namespace trvhost
