#pragma once

// One line a member: declaration, function, setter, flags. The declaration is the text that the host shows
// and parses; it is checked at compile time against the signature of the function, so that a table cannot
// promise the host arguments that the function does not take.

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "frame/class_tables.h"
#include "frame/fixed_text.h"
#include "frame/host_types.h"

namespace trv::member_lines {

/// A signature in letters: i Integer, b Boolean, d Double, c Color, p anything by pointer; the result first,
/// v for none.
struct Signature {
    std::array<char, 24> letters{};
    size_t length = 0;

    constexpr void Add(char letter) { letters[length++] = letter; }
    constexpr bool operator==(const Signature&) const = default;
};

constexpr char Lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

/// The letter of a type name, which ends at the first character that is not part of it.
constexpr char TypeLetter(std::string_view text) {
    size_t end = 0;
    std::array<char, 32> word{};
    while (end < text.size() && end < word.size() && text[end] != ' ' && text[end] != '=') {
        word[end] = Lower(text[end]);
        ++end;
    }
    const std::string_view name(word.data(), end);
    if (name == "integer" || name == "int64") return 'i';
    if (name == "boolean") return 'b';
    if (name == "double") return 'd';
    if (name == "color") return 'c';
    return 'p';
}

/// Where the type starts behind the word "as", or npos.
constexpr size_t FindType(std::string_view text) {
    for (size_t i = 0; i + 4 <= text.size(); ++i) {
        if (text[i] == ' ' && Lower(text[i + 1]) == 'a' && Lower(text[i + 2]) == 's' && text[i + 3] == ' ')
            return i + 4;
    }
    return std::string_view::npos;
}

constexpr char ResultLetter(std::string_view text) {
    const size_t type = FindType(text);
    return type == std::string_view::npos ? 'v' : TypeLetter(text.substr(type));
}

constexpr char ParameterLetter(std::string_view text) {
    const size_t type = FindType(text);
    const bool array = text.substr(0, type).find('(') != std::string_view::npos;
    return array || type == std::string_view::npos ? 'p' : TypeLetter(text.substr(type));
}

/// Reads a declaration. The parameter list follows the name at once; a "()" further on belongs to the
/// result's type.
constexpr Signature SignatureOfDeclaration(std::string_view text) {
    Signature signature;
    size_t i = 0;
    while (i < text.size() && text[i] != '(' && text[i] != ' ')
        ++i;
    if (i == text.size() || text[i] == ' ') {
        signature.Add(ResultLetter(text.substr(i)));
        return signature;
    }
    const size_t open = i;
    size_t close = open;
    for (int depth = 0; close < text.size(); ++close) {
        depth += text[close] == '(' ? 1 : text[close] == ')' ? -1 : 0;
        if (depth == 0) break;
    }
    signature.Add(ResultLetter(text.substr(close + 1)));
    for (size_t start = open + 1; start < close;) {
        size_t comma = text.find(',', start);
        if (comma == std::string_view::npos || comma > close) comma = close;
        signature.Add(ParameterLetter(text.substr(start, comma - start)));
        start = comma + 1;
    }
    return signature;
}

template <class T>
constexpr char LetterOf() {
    if constexpr (std::is_void_v<T>) return 'v';
    if constexpr (std::is_same_v<T, int64_t>) return 'i';
    if constexpr (std::is_same_v<T, Boolean>) return 'b';
    if constexpr (std::is_same_v<T, double>) return 'd';
    if constexpr (std::is_same_v<T, uint32_t>) return 'c';
    if constexpr (std::is_pointer_v<T>) return 'p';
}

template <class R, class... A>
constexpr Signature SignatureOfFunction(R (*)(A...)) {
    Signature signature;
    signature.Add(LetterOf<R>());
    (signature.Add(LetterOf<A>()), ...);
    return signature;
}

/// The declared signature with what every call starts with (the object, for a method) and ends with (the
/// value assigned, for a setter, which gives no result).
template <FixedText kDeclaration>
consteval Signature Expected(bool hasObject, bool isSetter) {
    const Signature declared = SignatureOfDeclaration(kDeclaration.characters);
    Signature signature;
    signature.Add(isSetter ? 'v' : declared.letters[0]);
    if (hasObject) signature.Add('p');
    for (size_t i = 1; i < declared.length; ++i)
        signature.Add(declared.letters[i]);
    if (isSetter) signature.Add(declared.letters[0]);
    return signature;
}

template <FixedText kDeclaration, auto kFunction, auto kSetter, bool kHasObject>
MethodDefinition Member(int32_t flags) {
    static_assert(SignatureOfFunction(kFunction) == Expected<kDeclaration>(kHasObject, false));
    void* setter = nullptr;
    if constexpr (kSetter != nullptr) {
        static_assert(SignatureOfFunction(kSetter) == Expected<kDeclaration>(kHasObject, true));
        setter = TableFunction(kSetter);
    }
    // The template argument's characters live as long as the process, which is how long the host keeps the
    // table.
    static constexpr auto declaration = kDeclaration;
    return {.function = TableFunction(kFunction),
            .setter = setter,
            .declaration = declaration.characters,
            .flags = flags};
}

/// A method of an object.
template <FixedText kDeclaration, auto kFunction, auto kSetter = nullptr>
MethodDefinition Method() {
    return Member<kDeclaration, kFunction, kSetter, true>(kOrdinary);
}

/// A method that takes or gives a host picture, which older hosts do not have.
template <FixedText kDeclaration, auto kFunction>
MethodDefinition PictureMethod() {
    return Member<kDeclaration, kFunction, nullptr, true>(kSinceHost2010);
}

/// A method of the class.
template <FixedText kDeclaration, auto kFunction>
MethodDefinition SharedMethod() {
    return Member<kDeclaration, kFunction, nullptr, false>(kOrdinary);
}

}  // namespace trv::member_lines
