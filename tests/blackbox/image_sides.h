#pragma once

// What a reference needs to know of an image's layout, read from its properties.

#include <map>
#include <string>

#include "plugin_test.h"

namespace trvtest {

struct Side {
    char family = '-';  // G, R, C or - for none
    bool alpha = false;
    bool wide = false;
    int64_t pixelSize = 0;
    std::map<std::string, int64_t> at;  // offset by channel name

    Side(trvhost::Host& host, const Ref& image) {
        if (host.Get<bool>(image, "IsGray")) family = 'G';
        if (host.Get<bool>(image, "IsRGB")) family = 'R';
        if (host.Get<bool>(image, "IsCMYK")) family = 'C';
        alpha = host.Get<bool>(image, "HasAlpha");
        wide = host.Get<int64_t>(image, "BitsPerComponent") == 16;
        pixelSize = host.Get<int64_t>(image, "PixelSize");
        for (const char* name :
             {"Red", "Green", "Blue", "Gray", "Alpha", "Cyan", "Magenta", "Yellow", "Black"}) {
            at[name] = host.Get<int64_t>(image, std::string(name) + "Offset");
        }
    }
};

/// Gray of a colour.
inline uint8_t Luma(int red, int green, int blue) {
    return static_cast<uint8_t>((77 * red + 151 * green + 28 * blue) >> 8);
}

}  // namespace trvtest
