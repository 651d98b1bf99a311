#include "picture_size.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <stdexcept>

namespace trvhost::program {

namespace {

/// The whole text as a number; one too large for the type comes out as `beyond` it.
template <class T>
std::optional<T> Number(std::string_view text, T beyond) {
    if (text.find_first_not_of("-.0123456789") != std::string_view::npos) return std::nullopt;
    T value{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (end != text.data() + text.size() || error == std::errc::invalid_argument) return std::nullopt;
    return error == std::errc::result_out_of_range ? beyond : value;
}

std::optional<int64_t> Side(std::string_view text) {
    return Number<int64_t>(text, INT64_MAX);
}

/// Nearest whole number of pixels, at least one; what no picture has may come out as anything too large.
int64_t Pixels(double value) {
    return static_cast<int64_t>(std::clamp(std::round(value), 1.0, 1e15));
}

}  // namespace

std::string SizeText(PictureSize size) {
    return std::to_string(size.width) + "x" + std::to_string(size.height);
}

std::optional<SizeRequest> SizeRequest::Parse(std::string_view text) {
    SizeRequest request;
    request.text_ = text;
    if (text.ends_with('%')) {
        request.percent_ = Number<double>(text.substr(0, text.size() - 1), HUGE_VAL);
        if (!request.percent_) return std::nullopt;
        return request;
    }
    const size_t x = text.find_first_of("xX");
    if (x == std::string_view::npos || text.size() == 1) return std::nullopt;
    const std::string_view width = text.substr(0, x), height = text.substr(x + 1);
    request.width_ = Side(width);
    request.height_ = Side(height);
    if ((!width.empty() && !request.width_) || (!height.empty() && !request.height_)) return std::nullopt;
    return request;
}

PictureSize SizeRequest::Apply(PictureSize picture, bool fit) const {
    const auto refuse = [&](const std::string& reason) {
        throw std::runtime_error("cannot scale to " + text_ + ": " + reason);
    };
    if ((percent_ && !(*percent_ > 0)) || width_.value_or(1) < 1 || height_.value_or(1) < 1) {
        refuse("a size is more than zero");
    }
    const double w = static_cast<double>(picture.width), h = static_cast<double>(picture.height);
    const double byWidth = static_cast<double>(width_.value_or(0)) / w;
    const double byHeight = static_cast<double>(height_.value_or(0)) / h;
    PictureSize size{width_.value_or(0), height_.value_or(0)};
    if (percent_) {
        size = {Pixels(w * *percent_ / 100), Pixels(h * *percent_ / 100)};
    } else if (!height_ || (fit && width_ && byWidth < byHeight)) {
        size.height = Pixels(h * byWidth);
    } else if (!width_ || fit) {
        size.width = Pixels(w * byHeight);
    }
    if (size.width > kLongestSide || size.height > kLongestSide) {
        refuse("a side has at most " + std::to_string(kLongestSide) + " pixels");
    }
    return size;
}

}  // namespace trvhost::program
