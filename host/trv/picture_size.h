// What a person writes for a size, and what it comes to for a picture.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace trvhost::program {

/// Width and height in pixels.
struct PictureSize {
    int64_t width = 0;
    int64_t height = 0;
    friend bool operator==(const PictureSize&, const PictureSize&) = default;
};

/// "1024x768"
std::string SizeText(PictureSize size);

/// The longest side of a picture that the plug-in hands to its host.
inline constexpr int64_t kLongestSide = 32767;

/// A size as written: WIDTHxHEIGHT, WIDTHx, xHEIGHT or PERCENT%, the percentage also with decimals.
class SizeRequest {
  public:
    /// None for a text that is none of these. A number may be zero, negative or beyond all bounds: the text
    /// is understood then, and Apply refuses it.
    static std::optional<SizeRequest> Parse(std::string_view text);

    /// The size for a picture of that size. A side that is left out follows the picture's proportions and a
    /// percentage applies to both, rounded to the nearest pixel, at least one. With `fit` the picture's
    /// proportions win: the largest size inside WIDTHxHEIGHT. Throws std::runtime_error with a one-line text
    /// unless both sides come to 1 ... kLongestSide.
    PictureSize Apply(PictureSize picture, bool fit) const;

  private:
    std::string text_;
    std::optional<int64_t> width_;
    std::optional<int64_t> height_;
    std::optional<double> percent_;
};

}  // namespace trvhost::program
