#pragma once

// The host's language does not tell upper from lower case.

#include <algorithm>
#include <cctype>
#include <string>

namespace trvfuzz {

inline std::string LowerCase(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text;
}

}  // namespace trvfuzz
