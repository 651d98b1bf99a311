#include "picture_header.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <stdexcept>
#include <string_view>

#include "platform.h"

namespace trvhost::program {

namespace {

/// Some bytes of a file, read as numbers; bytes that are not there read as 0, which Has tells before.
class Bytes {
  public:
    Bytes(const HeaderReader& read, uint64_t offset, size_t count) : bytes_(read(offset, count)) {}

    bool Has(size_t count) const { return bytes_.size() >= count; }
    bool Says(std::string_view magic, size_t at = 0) const {
        return Has(at + magic.size()) && std::string_view(bytes_).substr(at, magic.size()) == magic;
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

  private:
    uint32_t Byte(size_t at) const { return at < bytes_.size() ? static_cast<uint8_t>(bytes_[at]) : 0; }
    std::string bytes_;
};

/// Segments of a JPEG or pieces of a GIF that a sound file does not come near to.
constexpr int kMostSteps = 100'000;

[[noreturn]] void FailDamaged() {
    throw std::runtime_error("the file is damaged or cut off");
}

void Require(bool sound) {
    if (!sound) FailDamaged();
}

PictureSize PngSize(const HeaderReader& read) {
    const Bytes header(read, 0, 24);
    Require(header.Has(24) && header.Says("IHDR", 12));
    return {header.Big(16, 4), header.Big(20, 4)};
}

/// The first frame header behind the other segments.
PictureSize JpegSize(const HeaderReader& read) {
    uint64_t at = 2;
    for (int step = 0; step < kMostSteps; ++step) {
        const Bytes segment(read, at, 9);
        Require(segment.Has(4) && segment.Big(0, 1) == 0xFF);
        const uint32_t marker = segment.Big(1, 1), length = segment.Big(2, 2);
        if (marker == 0xFF) {  // filling
            ++at;
            continue;
        }
        const bool isFrame =
            marker >= 0xC0 && marker <= 0xCF && marker != 0xC4 && marker != 0xC8 && marker != 0xCC;
        if (isFrame) {
            Require(segment.Has(9));
            return {segment.Big(7, 2), segment.Big(5, 2)};
        }
        constexpr uint32_t kScan = 0xDA;
        Require(marker != kScan && length >= 2);
        at += 2 + uint64_t{length};
    }
    FailDamaged();
}

/// Bytes of the colour table that the flags announce.
uint32_t GifTableBytes(uint32_t flags) {
    return (flags & 0x80) != 0 ? 3u << ((flags & 7) + 1) : 0u;
}

/// The larger one of the screen and the first frame on it, by each side: decoders make either.
PictureSize GifSize(const HeaderReader& read) {
    const Bytes header(read, 0, 13);
    Require(header.Has(13));
    PictureSize size{header.Little(6, 2), header.Little(8, 2)};
    uint64_t at = 13 + GifTableBytes(header.Little(10, 1));
    bool inExtension = false;
    for (int step = 0; step < kMostSteps; ++step) {
        const Bytes block(read, at, 10);
        Require(block.Has(1));
        if (inExtension) {  // a chain of short pieces, the last one empty
            const uint32_t piece = block.Little(0, 1);
            inExtension = piece != 0;
            at += 1 + uint64_t{piece};
        } else if (block.Says("!")) {
            inExtension = true;
            at += 2;
        } else {
            Require(block.Says(",") && block.Has(10));
            size.width = std::max<int64_t>(size.width, block.Little(5, 2));
            size.height = std::max<int64_t>(size.height, block.Little(7, 2));
            return size;
        }
    }
    FailDamaged();
}

PictureSize BmpSize(const HeaderReader& read) {
    const Bytes header(read, 0, 26);
    Require(header.Has(26));
    if (header.Little(14, 4) == 12) return {header.Little(18, 2), header.Little(20, 2)};
    // A negative height means that the rows begin at the top.
    const auto side = [&](size_t at) {
        return std::abs(int64_t{static_cast<int32_t>(header.Little(at, 4))});
    };
    return {side(18), side(22)};
}

PictureSize WebpSize(const HeaderReader& read) {
    const Bytes header(read, 0, 30);
    if (header.Says("VP8L", 12)) {
        Require(header.Has(25));
        const uint32_t sides = header.Little(21, 4);
        return {(sides & 0x3FFF) + 1, (sides >> 14 & 0x3FFF) + 1};
    }
    Require(header.Has(30));
    if (header.Says("VP8X", 12)) return {header.Little(24, 3) + 1, header.Little(27, 3) + 1};
    return {header.Little(26, 2) & 0x3FFF, header.Little(28, 2) & 0x3FFF};
}

}  // namespace

std::optional<PictureSize> SizeByHeader(const HeaderReader& read) {
    const Bytes magic(read, 0, 12);
    if (magic.Says("\x89PNG")) return PngSize(read);
    if (magic.Says("\xFF\xD8")) return JpegSize(read);
    if (magic.Says("GIF8")) return GifSize(read);
    if (magic.Says("BM")) return BmpSize(read);
    if (magic.Says("RIFF") && magic.Says("WEBP", 8)) return WebpSize(read);
    return std::nullopt;
}

std::optional<PictureSize> CheckPictureFile(const std::filesystem::path& file) {
    const auto refuse = [&](const std::string& reason) {
        throw std::runtime_error("cannot load " + ToText(file) + ": " + reason);
    };
    std::error_code error;
    const std::filesystem::file_status status = std::filesystem::status(file, error);
    if (!std::filesystem::exists(status)) refuse("there is no such file");
    if (std::filesystem::is_directory(status)) refuse("it is a folder");
    if (!std::filesystem::is_regular_file(status)) refuse("it is no ordinary file");
    std::ifstream in(file, std::ios::binary);
    if (!in) refuse(std::strerror(errno));
    if (in.peek() == std::ifstream::traits_type::eof()) refuse("the file is empty");

    const auto read = [&](uint64_t offset, size_t count) {
        std::string bytes(count, '\0');
        in.clear();
        in.seekg(static_cast<std::streamoff>(offset));
        in.read(bytes.data(), static_cast<std::streamsize>(count));
        bytes.resize(static_cast<size_t>(in.gcount()));
        return bytes;
    };
    std::optional<PictureSize> size;
    try {
        size = SizeByHeader(read);
    } catch (const std::runtime_error& e) {
        refuse(e.what());
    }
    if (!size) return size;
    if (size->width < 1 || size->height < 1 || size->width > kMostPixels / size->height) {
        refuse("it says that it has " + SizeText(*size) + " pixels");
    }
    return size;
}

}  // namespace trvhost::program
