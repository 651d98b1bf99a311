#include "contracts.h"

#include <algorithm>
#include <map>

namespace trvfuzz {

namespace {

using Wide = __int128;

int64_t Number(const trvhost::Host& host, const trvhost::Ref& image, const char* property) {
    return image ? host.Get<int64_t>(image, property) : 0;
}

/// A block handed to a setter holds at least what the rows take; a shorter one is replaced.
void LengthenBlock(const trvhost::Host& host, trvhost::Value& value, int64_t bytes) {
    const trvhost::MemoryBlock block(value.ToThing());
    // Nil is refused; a block over a bare pointer tells no size.
    if (!block || block.Size() >= bytes) return;
    value = host.NewMemoryBlock(std::max<int64_t>(bytes, 1));
}

void LengthenString(const trvhost::Host& host, trvhost::Value& value, int64_t bytes) {
    const std::string text = value.ToText();
    // An image that was not made has any size; it has no rows to set.
    if (text.empty() || static_cast<int64_t>(text.size()) >= bytes || bytes > kLargestMapped * 5) return;
    std::string longer(static_cast<size_t>(bytes), '\x5A');
    std::copy(text.begin(), text.end(), longer.begin());
    value = trvhost::Ref(host.NewString(longer, trvhost::kEncodingNone));
}

/// A product that a program can have made of any numbers; what is too much stays too much.
int64_t Product(int64_t a, int64_t b, int64_t c = 1) {
    constexpr int64_t kTooMuch = int64_t{1} << 40;
    // Three numbers of 64 bits are more than a wide one holds.
    const Wide two = std::clamp<Wide>(Wide{a} * b, -kTooMuch, kTooMuch);
    return static_cast<int64_t>(std::clamp<Wide>(two * c, 0, kTooMuch));
}

/// Row setters read as many bytes as the rows take.
void KeepRowLength(const trvhost::Host& host, const Member& member, const trvhost::Ref& self,
                   std::vector<trvhost::Value>& arguments) {
    if (!self) return;
    const int64_t width = Number(host, self, "Width");
    if (member.name == "Row") {
        LengthenBlock(host, arguments.back(), Number(host, self, "RowSize"));
    } else if (member.name == "RowInFormat") {
        LengthenBlock(host, arguments.back(), Product(width, PixelSizeOf(host, arguments[1].ToInt())));
    } else if (member.name == "RowStringInFormat") {
        LengthenString(host, arguments.back(), Product(width, PixelSizeOf(host, arguments[1].ToInt())));
    } else if (member.name == "DataStringInFormat") {
        const int64_t pixel = PixelSizeOf(host, arguments[0].ToInt());
        LengthenString(host, arguments.back(), Product(width, pixel, Number(host, self, "Height")));
    }
}

/// An image over a caller's memory lies within it.
void KeepMemory(const trvhost::Host& host, std::vector<trvhost::Value>& arguments) {
    const trvhost::MemoryBlock block(arguments[0].ToThing());
    if (!block) return;  // refused
    const int64_t pixelSize = PixelSizeOf(host, arguments[3].ToInt());
    const int64_t width = arguments[1].ToInt();
    const int64_t height = arguments[2].ToInt();
    if (pixelSize == 0 || width < 1 || height < 1) return;  // refused too
    const int64_t bytes = BytesForRows(width, height, pixelSize, arguments[4].ToInt());
    if (block.Size() >= bytes && bytes >= 0) return;
    if (bytes >= 0 && bytes <= kLargestStore) {
        arguments[0] = host.NewMemoryBlock(bytes);
        return;
    }
    arguments[1] = int64_t{5};
    arguments[2] = int64_t{4};
    arguments[4] = 5 * pixelSize;
    arguments[0] = host.NewMemoryBlock(20 * pixelSize);
}

/// Not a contract but good manners towards the machine: a file of moderate size, or one that no disk holds.
void KeepFileSmall(const trvhost::Host& host, std::vector<trvhost::Value>& arguments) {
    const int64_t width = arguments[0].ToInt();
    const int64_t height = arguments[1].ToInt();
    constexpr Wide kNoDisk = Wide{1} << 58;
    const Wide pixels = Wide{width} * height;
    if (width < 1 || height < 1 || pixels > kNoDisk) return;
    if (pixels * std::max<int64_t>(PixelSizeOf(host, arguments[2].ToInt()), 1) <= kLargestMapped) return;
    arguments[0] = int64_t{90};
    arguments[1] = int64_t{300};
}

/// Rows and columns of a scaled picture that lie outside the destination are the caller's, as far as time
/// goes.
void KeepScaledSize(const trvhost::Host& host, const Member& member, const trvhost::Ref& self,
                    std::vector<trvhost::Value>& arguments) {
    constexpr int64_t kBeyond = 300;
    const size_t first = arguments.size() - 2;
    const int64_t width = Number(host, self, "Width");
    const int64_t height = Number(host, self, "Height");
    // Enough to reach outside, not so much that tables for it take minutes.
    if (width < 100000) arguments[first] = std::min(arguments[first].ToInt(), width + kBeyond);
    if (height < 100000) arguments[first + 1] = std::min(arguments[first + 1].ToInt(), height + kBeyond);
    const size_t temp = member.name == "ScaleMT" ? 2 : 1;
    const bool threaded = member.name == "ScaleMT";
    // A mapped image has one window, which several threads cannot share.
    if (threaded && arguments[temp].ToThing() && host.Get<bool>(arguments[temp].ToThing(), "IsMapping")) {
        arguments[temp] = nullptr;
    }
}

}  // namespace

int64_t BytesForRows(int64_t width, int64_t height, int64_t pixelSize, int64_t rowSize) {
    if (rowSize < 0) return -1;
    const Wide pixels = Wide{width} * pixelSize;
    const Wide bytes = Wide{rowSize} * (height - 1) + std::max<Wide>(pixels, rowSize);
    return bytes > kLargestStore * 2 ? -1 : static_cast<int64_t>(bytes);
}

int64_t PixelSizeOf(const trvhost::Host& host, int64_t format) {
    // Asked once: later the answer could be wanted in the midst of a call.
    static std::map<int64_t, int64_t> known;
    if (known.empty()) {
        for (int64_t code = 0; code <= 64; ++code) {
            const trvhost::Ref probe = host.Construct("PictureTRV", 1, 1, code);
            known[code] = host.Get<bool>(probe, "Valid") ? host.Get<int64_t>(probe, "PixelSize") : 0;
        }
        (void)host.TakeException();
    }
    const auto found = known.find(format);
    return found == known.end() ? 0 : found->second;
}

bool KeepContracts(const trvhost::Host& host, const Member& member, const trvhost::Ref& self,
                   std::vector<trvhost::Value>& arguments) {
    if (member.kind == MemberKind::Setter) KeepRowLength(host, member, self, arguments);
    if (member.name == "Constructor" && arguments.size() == 5) {
        if (member.parameters[0].name == "Buf") {
            KeepMemory(host, arguments);
        } else {
            KeepFileSmall(host, arguments);
        }
    }
    if (member.name == "Scale" || member.name == "ScaleMT") KeepScaledSize(host, member, self, arguments);
    return true;
}

}  // namespace trvfuzz
