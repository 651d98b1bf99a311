#include "scale/scale_fast.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "frame/debug_log.h"
#include "image/pixel_loop.h"
#include "image/row_pair.h"
#include "scale/families.h"
#include "scale/nearest_columns.h"
#include "scale/pass_support.h"
#include "scale/scale_task.h"
#include "spans/convert_span.h"

namespace trv {

namespace {

/// Columns that are gathered together.
constexpr int64_t kPiece = 512;

/// The family of the pair, or null. Gray with and CMYK without alpha have no way here, nor the other way
/// round.
const ScaleFamily* SelectFastFamily(const PictureTRV& source, const PictureTRV& dest) {
    const ScaleFamily* family = SelectFamily(source, dest);
    const bool inks = dest.IsCMYK != 0 && source.IsCMYK == 0;
    if (inks && (source.HasAlpha != 0) != (dest.HasAlpha != 0)) return nullptr;
    return family;
}

/// What a family does to a pixel: its letters before and behind "_to_".
struct Route {
    std::string_view from;
    std::string_view to;

    explicit Route(const ScaleFamily& family) {
        constexpr std::string_view kBetween = "_to_";
        const std::string_view name = family.name;
        from = name.substr(0, name.find(kBetween));
        to = name.substr(from.size() + kBetween.size());
    }
    /// The same without alpha.
    static std::string_view Colours(std::string_view letters) {
        return letters.ends_with("A") ? letters.substr(0, letters.size() - 1) : letters;
    }
    [[nodiscard]] bool Is(std::string_view a, std::string_view b) const {
        return Colours(from) == a && Colours(to) == b;
    }
    /// Alpha is copied, but not with gray that is spread into several channels.
    [[nodiscard]] bool CopiesAlpha() const {
        return from.ends_with("A") && to.ends_with("A") && !Is("G", "RGB") && !Is("G", "CMYK");
    }
};

ByteRule Copy(const PictureTRV& source, Channel from, const PictureTRV& dest, Channel to) {
    return {.kind = ByteRule::Kind::Copy, .to = OffsetOf(dest, to), .from = OffsetOf(source, from)};
}

SpanConverter MakeFastConverter(const Route& route, const PictureTRV& source, const PictureTRV& dest) {
    using enum Channel;
    SpanConverter converter(source.PixelSize, dest.PixelSize);
    const auto copy = [&](Channel from, Channel to) { converter.Add(Copy(source, from, dest, to)); };
    if (route.Is("RGB", "RGB")) {
        for (const Channel colour : {Red, Green, Blue})
            copy(colour, colour);
    } else if (route.Is("RGB", "G")) {
        converter.Add({.kind = ByteRule::Kind::Luma,
                       .to = dest.GrayOffset,
                       .from = source.RedOffset,
                       .green = source.GreenOffset,
                       .blue = source.BlueOffset});
    } else if (route.Is("G", "G")) {
        copy(Gray, Gray);
    } else if (route.Is("G", "RGB")) {
        for (const Channel colour : {Red, Green, Blue})
            copy(Gray, colour);
    } else if (route.Is("G", "CMYK")) {
        // Gray is read first: it may be one of these inks.
        copy(Gray, Black);
        for (const Channel ink : {Cyan, Magenta, Yellow})
            converter.Add({.kind = ByteRule::Kind::Zero, .to = OffsetOf(dest, ink)});
    } else if (route.Is("CMYK", "CMYK")) {
        for (const Channel ink : {Cyan, Magenta, Yellow, Black})
            copy(ink, ink);
    } else {
        copy(Black, Gray);
    }
    if (route.CopiesAlpha()) copy(Alpha, Alpha);
    converter.Prepare();
    return converter;
}

/// The source pixel that holds every channel, as the offset of its first byte from a column's address; -1 if
/// channels belong to several.
int64_t PixelWindow(const PictureTRV& source) {
    int64_t first = -1;
    int64_t last = -1;
    for (const ChannelField& field : kChannelFields) {
        if (source.*field.has == 0) continue;
        const int64_t offset = source.*field.offset;
        first = first < 0 ? offset : std::min(first, offset);
        last = std::max(last, offset);
    }
    const int64_t size = source.PixelSize;
    if (first < 0 || size > NearestColumns::kMostPixelBytes) return -1;
    const int64_t window = first / size * size;
    return last < window + size ? window : -1;
}

class FastScaler {
  public:
    FastScaler(PictureTRV& source, PictureTRV& dest, const SpanConverter& converter, int64_t width,
               int64_t height)
        : source_(source),
          dest_(dest),
          converter_(converter),
          width_(width),
          height_(height),
          sourceHeight_(source.Height),
          fromStep_(source.PixelSize),
          toStep_(dest.PixelSize),
          rowStep_(IsLinear(source) ? source.RowSize : 0),
          yRatio_(static_cast<double>(source.Height) / static_cast<double>(height)),
          window_(PixelWindow(source)),
          inOrder_(MayShareMemory(source, dest)),
          columns_(source.Width, width, source.PixelSize) {}

    void Run() {
        RowPair rows(dest_, source_);
        for (int64_t y = 0; y < height_; ++y) {
            const int64_t sourceY = SourceRow(y);
            const int64_t next = y + 1 < height_ ? SourceRow(y + 1) : sourceY;
            // Rows one after the other are what the processor fetches by itself.
            ahead_ = next - sourceY > 1 ? (next - sourceY) * rowStep_ : 0;
            if (rows.Fetch(y, sourceY)) ScaleRow(rows.from, rows.to);
            YieldIfWanted(dest_);
        }
    }

  private:
    [[nodiscard]] int64_t SourceRow(int64_t y) const {
        return std::min(static_cast<int64_t>(static_cast<double>(y) * yRatio_), sourceHeight_ - 1);
    }

    void ScaleRow(const uint8_t* from, uint8_t* to) {
        for (int64_t x = 0; x < width_;) {
            const int64_t found = columns_.Find(x, width_ - x);
            for (int64_t i = 0; i < found; i += kPiece)
                ScalePiece(from, i, std::min(kPiece, found - i), to + (x + i) * toStep_);
            x += found;
        }
    }

    /// The columns from the i-th that was found on.
    void ScalePiece(const uint8_t* from, int64_t i, int64_t count, uint8_t* to) {
        if (inOrder_ || window_ < 0) {
            ConvertSingly(from, i, count, to);
            return;
        }
        if (ahead_ != 0) {
            const int64_t first = columns_.At(i);
            Prefetch(from + first * fromStep_ + ahead_, (columns_.At(i + count - 1) - first) * fromStep_);
        }
        if (converter_.IsCopy()) {
            columns_.Gather(from, i, count, to);
        } else {
            columns_.Gather(from + window_, i, count, pixels_.data());
            converter_.Convert(pixels_.data() - window_, to, count);
        }
    }

    /// Pixel by pixel, where a pixel that is read may have been written before.
    void ConvertSingly(const uint8_t* from, int64_t i, int64_t count, uint8_t* to) {
        for (int64_t k = 0; k < count; ++k)
            converter_.Convert(from + columns_.At(i + k) * fromStep_, to + k * toStep_, 1);
    }

    PictureTRV& source_;
    PictureTRV& dest_;
    const SpanConverter& converter_;
    const int64_t width_;
    const int64_t height_;
    const int64_t sourceHeight_;
    const int64_t fromStep_;
    const int64_t toStep_;
    const int64_t rowStep_;  // bytes from row to row, 0 where they are not at a fixed distance
    const double yRatio_;
    const int64_t window_;
    const bool inOrder_;
    int64_t ahead_ = 0;  // bytes to the row that comes next, 0 where there is nothing to fetch ahead
    NearestColumns columns_;
    std::array<uint8_t, kPiece * NearestColumns::kMostPixelBytes> pixels_;
};

void LogFamily(const ScaleFamily& family, const Route& route, int64_t width, int64_t height) {
    TRV_LOG(family.name, width, height);
    TRV_LOG("RGB_to_G", static_cast<int>(route.Is("RGB", "G")));
    TRV_LOG("G_to_RGB", static_cast<int>(route.Is("G", "RGB")));
    TRV_LOG("CMYK_to_G", static_cast<int>(route.Is("CMYK", "G")));
    TRV_LOG("G_to_CMYK", static_cast<int>(route.Is("G", "CMYK")));
}

}  // namespace

Boolean rbScaleFast(HostObject me, HostObject sourceObject, int64_t width, int64_t height) {
    TRV_LOG("ScalePictureFast", width, height);
    if (me == nullptr || sourceObject == nullptr) return 0;
    PictureTRV& source = *RecordOf(sourceObject);
    PictureTRV& dest = *RecordOf(me);
    if (!IsValid(&source) || !IsValid(&dest)) return 0;
    if (source.BitsPerComponent == 16 || dest.BitsPerComponent == 16) return 0;
    width = std::min(width, dest.Width);
    height = std::min(height, dest.Height);
    if (width < 1 || height < 1) return 0;
    const ScaleFamily* family = SelectFastFamily(source, dest);
    if (family == nullptr) return 0;
    const Route route(*family);
    LogFamily(*family, route, width, height);
    const ImageShape sourceShape(source);
    const ImageShape destShape(dest);
    if (!StartImage(&source) || !StartImage(&dest)) return 0;
    // Either may have been closed, or become another image, while the host had its time.
    if (source.GetRow == nullptr || source.Width < 1) return 0;
    if (!(sourceShape == ImageShape(source)) || !(destShape == ImageShape(dest))) return 0;
    const SpanConverter converter = MakeFastConverter(route, source, dest);
    FastScaler(source, dest, converter, width, height).Run();
    return 1;
}

}  // namespace trv
