#include "picture_header.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <optional>
#include <stdexcept>

#include "platform.h"

namespace trvhost::program {

namespace {

void Require(bool sound) {
    if (!sound) throw std::runtime_error("the file is damaged or cut off");
}

/// The bytes of a file, read as text or numbers. A number of which a byte is missing is no number: it throws.
class Bytes {
  public:
    explicit Bytes(std::string_view file) : file_(file) {}

    bool Says(std::string_view magic, size_t at) const {
        return at <= file_.size() && file_.substr(at).starts_with(magic);
    }
    uint32_t Little(size_t at, size_t count) const {
        uint32_t value = 0;
        for (size_t i = count; i-- > 0;)
            value = value << 8 | Byte(at + i);
        return value;
    }
    uint32_t Big(size_t at, size_t count) const {
        uint32_t value = 0;
        for (size_t i = 0; i < count; ++i)
            value = value << 8 | Byte(at + i);
        return value;
    }
    uint8_t Byte(size_t at) const {
        Require(at < file_.size());
        return static_cast<uint8_t>(file_[at]);
    }
    size_t Size() const { return file_.size(); }
    bool Contains(std::string_view magic, size_t from) const {
        return file_.find(magic, from) != std::string_view::npos;
    }

  private:
    std::string_view file_;
};

PictureSize PngSize(const Bytes& file) {
    Require(file.Says("IHDR", 12));
    return {file.Big(16, 4), file.Big(20, 4)};
}

/// The first frame header among the segments before the first scan. Behind that an end must be marked.
PictureSize JpegSize(const Bytes& file) {
    constexpr uint8_t kStartOfScan = 0xDA;
    std::optional<PictureSize> size;
    size_t at = 2;
    for (;;) {
        Require(file.Byte(at) == 0xFF);
        const uint8_t marker = file.Byte(at + 1);
        if (marker == 0xFF) {  // filling
            ++at;
            continue;
        }
        if (marker == kStartOfScan) break;
        const bool isFrame =
            marker >= 0xC0 && marker <= 0xCF && marker != 0xC4 && marker != 0xC8 && marker != 0xCC;
        if (isFrame && !size) size = PictureSize{file.Big(at + 7, 2), file.Big(at + 5, 2)};
        const uint32_t length = file.Big(at + 2, 2);
        Require(length >= 2);
        at += 2 + length;
    }
    Require(size.has_value() && file.Contains("\xFF\xD9", at));
    return *size;
}

/// Bytes of the colour table that the flags announce.
uint32_t GifTableBytes(uint8_t flags) {
    return (flags & 0x80) != 0 ? 3u << ((flags & 7) + 1) : 0u;
}

/// The position behind a chain of short pieces, of which the last one is empty.
size_t BehindGifPieces(const Bytes& file, size_t at) {
    while (file.Byte(at) != 0)
        at += 1 + size_t{file.Byte(at)};
    return at + 1;
}

/// The larger one of the screen and the first frame on it, by each side: decoders make either.
PictureSize GifSize(const Bytes& file) {
    PictureSize size{file.Little(6, 2), file.Little(8, 2)};
    size_t at = 13 + GifTableBytes(file.Byte(10));
    while (file.Byte(at) == '!')
        at = BehindGifPieces(file, at + 2);
    Require(file.Byte(at) == ',');
    size.width = std::max<int64_t>(size.width, file.Little(at + 5, 2));
    size.height = std::max<int64_t>(size.height, file.Little(at + 7, 2));
    BehindGifPieces(file, at + 11 + GifTableBytes(file.Byte(at + 9)));
    return size;
}

PictureSize BmpSize(const Bytes& file) {
    constexpr uint32_t kOldHeader = 12;
    if (file.Little(14, 4) == kOldHeader) return {file.Little(18, 2), file.Little(20, 2)};
    // A negative height means that the rows begin at the top.
    const auto side = [&](size_t at) { return std::abs(int64_t{static_cast<int32_t>(file.Little(at, 4))}); };
    return {side(18), side(22)};
}

PictureSize WebpSize(const Bytes& file) {
    Require(uint64_t{file.Little(4, 4)} + 8 <= file.Size());
    if (file.Says("VP8X", 12)) return {file.Little(24, 3) + 1, file.Little(27, 3) + 1};
    if (file.Says("VP8L", 12)) {
        const uint32_t sides = file.Little(21, 4);
        return {(sides & 0x3FFF) + 1, (sides >> 14 & 0x3FFF) + 1};
    }
    return {file.Little(26, 2) & 0x3FFF, file.Little(28, 2) & 0x3FFF};
}

/// The sides among the entries of the first picture's list.
PictureSize TiffSize(const Bytes& file) {
    constexpr uint32_t kWidth = 256, kHeight = 257, kShort = 3;
    const bool little = file.Says("II", 0);
    const auto number = [&](size_t at, size_t count) {
        return little ? file.Little(at, count) : file.Big(at, count);
    };
    PictureSize size;
    const size_t list = number(4, 4);
    const size_t entries = number(list, 2);
    for (size_t i = 0; i < entries; ++i) {
        const size_t entry = list + 2 + 12 * i;
        const uint32_t tag = number(entry, 2);
        if (tag != kWidth && tag != kHeight) continue;
        const uint32_t side = number(entry + 8, number(entry + 2, 2) == kShort ? 2 : 4);
        (tag == kWidth ? size.width : size.height) = side;
    }
    return size;
}

/// Refuses sizes that no honest file of so many bytes has. The tightest packing in wide use is that of PNG:
/// 1032 bytes in one, each of which can be eight pixels. Solid areas in WebP files take less, and so a size
/// that does little harm is let pass.
void CheckSize(PictureSize size, uint64_t bytes, int mostMegapixels) {
    constexpr int64_t kHarmless = 4096 * 4096;
    constexpr int64_t kMostPixelsPerByte = 10000;
    constexpr int64_t kMillion = 1000000;
    const auto refuse = [&](const std::string& reason) {
        throw std::runtime_error("it says that it has " + SizeText(size) + " pixels" + reason);
    };
    if (size.width < 1 || size.height < 1) refuse("");
    const auto above = [&](int64_t most) { return size.width > most / size.height; };
    const int64_t most = static_cast<int64_t>(bytes) * kMostPixelsPerByte;
    if (above(std::max(most, kHarmless))) {
        refuse(", which is too many for " + std::to_string(bytes) + " bytes");
    }
    if (above(mostMegapixels * kMillion)) {
        refuse(", which is more than " + std::to_string(mostMegapixels) + " million (see --pixel-limit)");
    }
}

/// The whole file. Throws std::runtime_error with the reason.
std::string Read(const std::filesystem::path& file) {
    std::error_code error;
    const std::filesystem::file_status status = std::filesystem::status(file, error);
    if (!std::filesystem::exists(status)) throw std::runtime_error("there is no such file");
    if (std::filesystem::is_directory(status)) throw std::runtime_error("it is a folder");
    if (!std::filesystem::is_regular_file(status)) throw std::runtime_error("it is no ordinary file");
    const uint64_t size = std::filesystem::file_size(file);
    if (size == 0) throw std::runtime_error("the file is empty");
    if (size > kMostBytes) throw std::runtime_error("the file is too large");
    std::ifstream in(file, std::ios::binary);
    if (!in) throw std::runtime_error(std::strerror(errno));
    std::string bytes(static_cast<size_t>(size), '\0');
    in.read(bytes.data(), static_cast<std::streamsize>(size));
    if (!in) throw std::runtime_error("reading failed");
    return bytes;
}

}  // namespace

PictureHeader ReadHeader(std::string_view file) {
    const Bytes bytes(file);
    if (bytes.Says("\x89PNG", 0)) return {"png", PngSize(bytes)};
    if (bytes.Says("\xFF\xD8", 0)) return {"jpg", JpegSize(bytes)};
    if (bytes.Says("GIF8", 0)) return {"gif", GifSize(bytes)};
    if (bytes.Says("BM", 0)) return {"bmp", BmpSize(bytes)};
    if (bytes.Says("RIFF", 0) && bytes.Says("WEBP", 8)) return {"webp", WebpSize(bytes)};
    using namespace std::string_view_literals;
    if (bytes.Says("II*\0"sv, 0) || bytes.Says("MM\0*"sv, 0)) return {"tif", TiffSize(bytes)};
    return {};
}

PictureSize CheckPictureFile(const std::filesystem::path& file, int mostMegapixels) {
    try {
        const std::string bytes = Read(file);
        const auto [format, size] = ReadHeader(bytes);
        if (!KnownFormats().contains(std::string(format))) {
            throw std::runtime_error("it is no picture of a kind that is known here: " + FormatList());
        }
        CheckSize(size, bytes.size(), mostMegapixels);
        return size;
    } catch (const std::runtime_error& e) {
        throw std::runtime_error("cannot load " + ToText(file) + ": " + e.what());
    }
}

}  // namespace trvhost::program
