#pragma once

// Which byte of one layout becomes which byte of another: the rules behind every exchange of rows and
// rectangles.

#include <cstdint>

#include "image/picture_record.h"
#include "spans/convert_span.h"

namespace trv {

/// The colour class of a record: which channels it has to give or to take.
[[nodiscard]] Family ClassOf(const PictureTRV& record);

/// The letters of a class with or without alpha, as they stand in the names of converters.
[[nodiscard]] const char* ClassLetters(Family family, bool alpha);

/// What becomes of gray in CMYK: the row converters give it to all four inks, copies of rectangles to black
/// alone.
enum class GrayToInks : uint8_t { AllFour, BlackOnly };

/// What becomes of alpha where both sides have it; elsewhere it is neither read nor written.
enum class AlphaRule : uint8_t { Copy, Complement, Leave };

/// How the channels of `from` become those of `to`; RGB and CMYK have no way into each other and give no
/// rules. The converter is prepared.
[[nodiscard]] SpanConverter MakeConverter(const PictureTRV& from, const PictureTRV& to, GrayToInks grayToInks,
                                          AlphaRule alpha);

/// The brightness of three bytes, written to the gray channel of `to`.
[[nodiscard]] ByteRule LumaRule(const PictureTRV& from, const PictureTRV& to);

}  // namespace trv
