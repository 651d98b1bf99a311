#pragma once

// The rule for long paths where a system refuses them without a mark.

#include <algorithm>
#include <cstddef>
#include <string_view>

namespace trv {

/// What marks a path as a long one, and the units of the longest path that goes without.
inline constexpr std::u16string_view kLongPathPrefix = u"\\\\?\\";
inline constexpr size_t kLongestPlainPath = 260;

/// Whether a path of UTF-16, whatever the type of its units, has to be put behind kLongPathPrefix.
template <class Unit>
[[nodiscard]] constexpr bool NeedsLongPathPrefix(std::basic_string_view<Unit> path) {
    static_assert(sizeof(Unit) == sizeof(char16_t));
    return path.size() > kLongestPlainPath &&
           !std::equal(kLongPathPrefix.begin(), kLongPathPrefix.end(), path.begin(),
                       [](char16_t a, Unit b) { return a == static_cast<char16_t>(b); });
}

/// Whether this system has the rule. Elsewhere paths are bytes of any length.
[[nodiscard]] bool SystemMarksLongPaths();

}  // namespace trv
