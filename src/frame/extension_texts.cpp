#include "frame/extension_texts.h"

#include <algorithm>
#include <initializer_list>
#include <new>
#include <string_view>

#include "frame/debug_log.h"

namespace trv {

namespace {

OwnedText Join(std::initializer_list<std::string_view> parts) {
    size_t length = 0;
    for (const std::string_view part : parts)
        length += part.size();
    if (length >= kDeclarationBytes) {
        TRV_LOG("Error: The declaration is too long:", parts.begin()->data());
        return nullptr;
    }
    OwnedText text(new (std::nothrow) char[length + 1]);
    if (text == nullptr) return nullptr;
    char* end = text.get();
    for (const std::string_view part : parts)
        end = std::copy(part.begin(), part.end(), end);
    *end = 0;
    return text;
}

}  // namespace

OwnedText AddExtendsRef(const char* declaration, const char* className) {
    if (declaration == nullptr || className == nullptr) return nullptr;
    const std::string_view text = declaration;
    const size_t nameEnd = std::min(text.find_first_of("( "), text.size());
    const std::string_view name = text.substr(0, nameEnd);
    const std::string_view rest = text.substr(nameEnd);
    if (rest.starts_with('(')) return Join({name, "(extends ref as ", className, ", ", rest.substr(1)});
    return Join({name, "(extends ref as ", className, ")", rest});
}

OwnedText AddAssignsValue(const char* declaration, const char* className) {
    const OwnedText extension = AddExtendsRef(declaration, className);
    return extension == nullptr ? nullptr : AddAssigns(extension.get());
}

OwnedText AddAssigns(const char* declaration) {
    const std::string_view text = declaration;
    const size_t close = text.find(')');
    if (close != std::string_view::npos) {
        return Join({text.substr(0, close), ", assigns value", text.substr(close + 1), ")"});
    }
    const size_t blank = text.find(' ');
    if (blank != std::string_view::npos) {
        return Join({text.substr(0, blank), "(assigns value", text.substr(blank), ")"});
    }
    TRV_LOG("Error: Keine Klammer in der Deklaration", declaration);
    return nullptr;
}

}  // namespace trv
