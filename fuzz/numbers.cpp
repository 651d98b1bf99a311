#include "numbers.h"

#include <iterator>
#include <limits>

#include "text_case.h"

namespace trvfuzz {

namespace {

constexpr int64_t kMost = std::numeric_limits<int64_t>::max();
constexpr int64_t kLeast = std::numeric_limits<int64_t>::min();

constexpr int64_t kExtremes[] = {kMost,
                                 kMost - 1,
                                 kLeast,
                                 kLeast + 1,
                                 kMost / 2,
                                 kLeast / 2,
                                 int64_t{1} << 62,
                                 int64_t{1} << 32,
                                 (int64_t{1} << 32) - 1,
                                 int64_t{1} << 31,
                                 (int64_t{1} << 31) - 1,
                                 -(int64_t{1} << 31),
                                 -(int64_t{1} << 32),
                                 int64_t{1} << 40,
                                 65536,
                                 65535,
                                 -65536,
                                 256,
                                 255,
                                 -256,
                                 -1,
                                 0};

constexpr double kDoubles[] = {0.0,
                               -0.0,
                               0.5,
                               1.0,
                               -1.0,
                               45.0,
                               90.0,
                               180.0,
                               270.0,
                               360.0,
                               -90.0,
                               2.2,
                               255.0,
                               256.0,
                               1e9,
                               -1e9,
                               1e18,
                               -1e18,
                               1e19,
                               1e308,
                               -1e308,
                               5e-324,
                               1e-12,
                               std::numeric_limits<double>::quiet_NaN(),
                               std::numeric_limits<double>::infinity(),
                               -std::numeric_limits<double>::infinity()};

int64_t NearSize(Choices& choices, int64_t size) {
    // A size may be a number of the program's own choice, at the very end of the range.
    const int64_t step = choices.Between(-2, 2);
    return size > kMost - 2 || size < kLeast + 2 ? size : size + step;
}

/// By the parameter's name.
int64_t SensibleInteger(Choices& choices, const NumberHints& hints) {
    const std::string name = LowerCase(hints.name);
    const auto contains = [&](const char* part) { return name.find(part) != std::string::npos; };
    if (contains("format")) return AnyFormat(choices);
    if (contains("width") || contains("height") || name == "w" || name == "h") return AnySize(choices);
    if (contains("threads")) return choices.Between(-1, 6);
    if (contains("mode") || contains("matrix") || contains("dimension")) return choices.Between(0, 11);
    if (contains("row") || contains("index") || contains("y")) {
        return hints.height > 0 && hints.height < 65536 ? choices.Between(-1, hints.height)
                                                        : choices.Between(-1, 4);
    }
    if (contains("blocksize")) return choices.Between(0, 5) * 65536;
    return choices.Between(-3, 260);
}

}  // namespace

int64_t AnySize(Choices& choices) {
    switch (choices.Below(8)) {
        case 0:
            return choices.Between(-1, 3);
        case 1:
            return choices.Between(1, 400);
        default:
            return choices.Between(1, 40);
    }
}

int64_t AnyFormat(Choices& choices) {
    return choices.Between(0, 50);
}

int64_t AnyInteger(Choices& choices, const NumberHints& hints) {
    switch (choices.Below(8)) {
        case 0:
            return kExtremes[choices.Below(std::size(kExtremes))];
        case 1:
            return static_cast<int64_t>(choices.Bytes(8));
        case 2:
            return NearSize(choices, choices.OneIn(2) ? hints.width : hints.height);
        default:
            return SensibleInteger(choices, hints);
    }
}

double AnyDouble(Choices& choices) {
    switch (choices.Below(4)) {
        case 0:
            return kDoubles[choices.Below(std::size(kDoubles))];
        case 1:
            return static_cast<double>(static_cast<int32_t>(choices.Bytes(4))) / 1000.0;
        default:
            return static_cast<double>(choices.Between(-20, 2000)) / 50.0;
    }
}

}  // namespace trvfuzz
