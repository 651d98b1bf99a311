#pragma once

// Texts as template arguments, so that labels and declarations can be put together at compile time.

#include <cstddef>
#include <string_view>

namespace trv {

/// A text as a template argument, written as a literal.
template <size_t N>
struct FixedText {
    char characters[N]{};
    consteval FixedText(
        const char (&text)[N]) {  // NOLINT(google-explicit-constructor): stands for the literal
        for (size_t i = 0; i < N; ++i)
            characters[i] = text[i];
    }
    [[nodiscard]] constexpr std::string_view View() const { return {characters, N - 1}; }
};

}  // namespace trv
