// Strings and texts.
#pragma once

#include <string>

#include "core.h"

namespace trvhost {

class StringThing : public Thing {
  public:
    static constexpr ThingKind kKind = ThingKind::String;
    StringThing(std::string text, uint32_t code)
        : Thing(kKind, nullptr, 0), bytes(std::move(text)), encoding(code) {}

    const std::string bytes;  ///< zero-terminated by std::string
    uint32_t encoding;
};

/// Text of no encoding, kept as UTF-8.
class TextThing : public Thing {
  public:
    static constexpr ThingKind kKind = ThingKind::Text;
    explicit TextThing(std::string text) : Thing(kKind, nullptr, 0), utf8(std::move(text)) {}

    const std::string utf8;
};

/// Bytes of a string handle; empty for nil.
std::string BytesOf(Core& core, Handle string);

}  // namespace trvhost
