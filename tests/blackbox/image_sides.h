#pragma once

// What a reference needs to know of an image: its layout, read from its properties, and its bytes.

#include <algorithm>
#include <map>
#include <random>
#include <string>
#include <vector>

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

/// Names of the channels that operations of an image's family move, alpha last; empty outside the families.
inline std::vector<std::string> ChannelNames(const Side& side) {
    std::vector<std::string> names;
    if (side.family == 'G') names = {"Gray"};
    if (side.family == 'R') names = {"Red", "Green", "Blue"};
    if (side.family == 'C') names = {"Cyan", "Magenta", "Yellow", "Black"};
    if (side.alpha && !names.empty()) names.emplace_back("Alpha");
    return names;
}

/// The address of a row, good until the next row of the image is asked for.
inline uint8_t* RawRow(trvhost::Host& host, const Ref& image, int64_t y) {
    return static_cast<uint8_t*>(host.Call(image, "RawRowPtr", y).ToPointer());
}

/// Bytes of the pixels of a row.
inline int64_t RowBytes(trvhost::Host& host, const Ref& image) {
    return host.Get<int64_t>(image, "Width") * host.Get<int64_t>(image, "PixelSize");
}

/// The pixels of all rows of an image without views, row by row, whatever its store.
inline std::vector<uint8_t> PixelBytes(trvhost::Host& host, const Ref& image) {
    const int64_t bytes = RowBytes(host, image);
    std::vector<uint8_t> all;
    for (int64_t y = 0; y < host.Get<int64_t>(image, "Height"); ++y) {
        const uint8_t* row = RawRow(host, image, y);
        all.insert(all.end(), row, row + bytes);
    }
    return all;
}

inline void FillWithNoise(trvhost::Host& host, const Ref& image, std::mt19937& random) {
    const int64_t bytes = RowBytes(host, image);
    for (int64_t y = 0; y < host.Get<int64_t>(image, "Height"); ++y) {
        uint8_t* row = RawRow(host, image, y);
        std::generate(row, row + bytes, [&] { return static_cast<uint8_t>(random()); });
    }
}

/// Gray of a colour.
inline uint8_t Luma(int red, int green, int blue) {
    return static_cast<uint8_t>((77 * red + 151 * green + 28 * blue) >> 8);
}

}  // namespace trvtest
