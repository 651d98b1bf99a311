#include "filters/point_tables.h"

#include <algorithm>
#include <cmath>

#include "frame/host_arrays.h"
#include "frame/host_calls.h"
#include "image/checked_math.h"

namespace trv {

ByteTable GammaTable(double gamma) {
    ByteTable table;
    for (size_t i = 0; i < table.size(); ++i) {
        const double value = std::pow(static_cast<double>(i) / 255.0, 1.0 / gamma) * 255.0 + 0.5;
        table[i] = static_cast<uint8_t>(std::clamp<int64_t>(SaturatedTruncate<int64_t>(value), 0, 255));
    }
    return table;
}

double GrayGamma(double red, double green, double blue) {
    const auto whole = [](double gamma) { return int64_t{SaturatedTruncate<int32_t>(gamma)}; };
    const int64_t gray = (whole(green) * 151 + whole(red) * 77 + whole(blue) * 28) / 256;
    return static_cast<double>(gray);
}

ByteTable GainTable(double gain, double bias) {
    const double power = std::log(1.0 - gain) / std::log(0.5);
    const auto curve = [power](double x) {
        if (x < 0.001) return 0.0;
        if (x > 0.999) return 1.0;
        if (x < 0.5) return std::pow(x + x, power) * 0.5;
        const double rest = 1.0 - x;
        return 1.0 - std::pow(rest + rest, power) * 0.5;
    };
    ByteTable table;
    for (size_t i = 0; i < table.size(); ++i) {
        const double y = curve(static_cast<double>(i) / 255.0);
        const double biased = y / ((1.0 - y) * (1.0 / bias - 2.0) + 1.0) * 255.0;
        table[i] = static_cast<uint8_t>(std::clamp<int64_t>(SaturatedTruncate<int64_t>(biased), 0, 255));
    }
    return table;
}

ByteTable TransferTable(HostObject array) {
    ByteTable table{};
    if (array == nullptr) return table;
    const int64_t last = std::min<int64_t>(host::RuntimeUBound(array), 255);
    for (int64_t i = 0; i <= last; ++i)
        table[static_cast<size_t>(i)] = static_cast<uint8_t>(REALGetArrayInt(array, i));
    return table;
}

// The steps are uneven, so they are kept and not computed.
// clang-format off
const ByteTable kSolarizeTable = {
    255, 253, 251, 249, 247, 245, 243, 241, 239, 237, 235, 233, 231, 229, 227, 225,
    223, 221, 219, 217, 215, 213, 211, 209, 207, 205, 203, 201, 199, 197, 195, 193,
    191, 189, 187, 185, 183, 180, 179, 177, 175, 173, 171, 169, 167, 164, 163, 161,
    159, 157, 155, 153, 151, 148, 147, 145, 143, 141, 139, 137, 135, 132, 131, 129,
    127, 125, 122, 121, 119, 117, 114, 113, 111, 109, 106, 105, 103, 101, 98, 97,
    95, 93, 90, 89, 87, 85, 82, 81, 79, 77, 74, 73, 71, 69, 66, 65,
    63, 61, 58, 56, 55, 53, 50, 48, 47, 45, 42, 40, 39, 37, 34, 32,
    31, 29, 26, 24, 23, 21, 18, 16, 15, 13, 10, 8, 7, 5, 2, 0,
    0, 2, 4, 6, 9, 11, 13, 15, 16, 18, 20, 22, 25, 27, 29, 31,
    32, 34, 36, 38, 41, 43, 45, 47, 48, 50, 52, 54, 57, 59, 61, 63,
    65, 66, 68, 70, 73, 75, 77, 79, 81, 82, 84, 86, 89, 91, 93, 95,
    97, 98, 100, 102, 105, 107, 109, 111, 113, 114, 116, 118, 121, 123, 125, 127,
    129, 131, 132, 134, 137, 139, 141, 143, 145, 147, 148, 150, 153, 155, 157, 159,
    161, 163, 164, 166, 169, 171, 173, 175, 177, 179, 180, 182, 185, 187, 189, 191,
    193, 195, 196, 198, 201, 203, 205, 207, 209, 211, 212, 214, 217, 219, 221, 223,
    225, 227, 228, 230, 233, 235, 237, 239, 241, 243, 244, 246, 249, 251, 253, 255};
// clang-format on

}  // namespace trv
