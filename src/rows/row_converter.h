#pragma once

// Rows between an image and a caller's packed buffer of another layout. The buffer's side is a format record,
// which describes it and owns nothing. RGB and CMYK are refused into each other; gray and CMYK exchange gray
// and black without inversion.

#include <cstdint>
#include <optional>

#include "image/picture_record.h"
#include "rows/channel_rules.h"

namespace trv {

/// GetRow reads the image and writes the buffer, SetRow the other way round.
enum class RowDirection : uint8_t { GetRow, SetRow };

/// Why there is no converter for a pair of layouts.
enum class RowRefusal : uint8_t {
    None,
    RgbToCmyk,
    CmykToRgb,
    ImageWithoutClass,
    FormatWithoutClass,
};

class RowConverter {
  public:
    /// `invertAlpha` complements alpha where both sides have it.
    RowConverter(const PictureTRV& image, const PictureTRV& format, RowDirection direction, bool invertAlpha);

    [[nodiscard]] RowRefusal Refusal() const { return refusal_; }

    /// Converts one row, in the converter's direction, between the addresses of the rows' first bytes. No
    /// effect for a refused pair.
    void Convert(const uint8_t* from, uint8_t* to) const;

  private:
    void LogRow() const;

    const PictureTRV& from_;
    const PictureTRV& to_;
    RowDirection direction_;
    int64_t width_;
    RowRefusal refusal_;
    SpanConverter converter_;
};

}  // namespace trv
