#include "trvhost/declaration.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <stdexcept>

#include "text_case.h"

namespace trvhost {

namespace {

std::string_view Trim(std::string_view text) {
    while (!text.empty() && text.front() == ' ')
        text.remove_prefix(1);
    while (!text.empty() && text.back() == ' ')
        text.remove_suffix(1);
    return text;
}

/// Position of a blank-separated word in any case, or npos.
size_t FindWord(std::string_view text, std::string_view word) {
    return LowerCase(text).find(" " + std::string(word) + " ");
}

bool TakeWord(std::string_view& text, std::string_view word) {
    if (text.size() <= word.size() || LowerCase(text.substr(0, word.size() + 1)) != std::string(word) + " ")
        return false;
    text = Trim(text.substr(word.size()));
    return true;
}

bool TakeBrackets(std::string_view& text) {
    if (text.size() < 2 || text.substr(text.size() - 2) != "()") return false;
    text = Trim(text.substr(0, text.size() - 2));
    return true;
}

[[noreturn]] void Refuse(std::string_view text) {
    throw std::invalid_argument("not a declaration: " + std::string(text));
}

Parameter ParseParameter(std::string_view text, std::string_view whole) {
    Parameter parameter;
    const size_t equals = text.find('=');
    if (equals != std::string_view::npos) {
        parameter.defaultText = std::string(Trim(text.substr(equals + 1)));
        text = text.substr(0, equals);
    }
    text = Trim(text);
    while (TakeWord(text, "assigns") || TakeWord(text, "extends") || TakeWord(text, "byref") ||
           TakeWord(text, "byval")) {
    }
    const size_t as = FindWord(text, "as");
    if (as == std::string_view::npos) Refuse(whole);
    std::string_view name = Trim(text.substr(0, as));
    std::string_view type = Trim(text.substr(as + 4));
    parameter.isArray = TakeBrackets(name) || TakeBrackets(type);
    if (name.empty() || type.empty()) Refuse(whole);
    parameter.name = name;
    parameter.type = type;
    parameter.wire = parameter.isArray ? WireType::Object : WireTypeOf(type);
    return parameter;
}

/// The closing bracket that belongs to the opening one at `open`, or npos.
size_t FindClosing(std::string_view text, size_t open) {
    int depth = 0;
    for (size_t i = open; i < text.size(); ++i) {
        if (text[i] == '(') ++depth;
        if (text[i] == ')' && --depth == 0) return i;
    }
    return std::string_view::npos;
}

void ParseParameters(std::string_view list, std::string_view whole, std::vector<Parameter>& out) {
    while (!Trim(list).empty()) {
        const size_t comma = list.find(',');
        out.push_back(ParseParameter(list.substr(0, comma), whole));
        list = comma == std::string_view::npos ? std::string_view() : list.substr(comma + 1);
    }
}

}  // namespace

WireType WireTypeOf(std::string_view typeName) {
    struct Row {
        std::string_view name;
        WireType type;
    };
    static constexpr Row kRows[] = {
        {"", WireType::None},           {"boolean", WireType::Boolean}, {"integer", WireType::Int64},
        {"int8", WireType::Int8},       {"uint8", WireType::UInt8},     {"byte", WireType::UInt8},
        {"int16", WireType::Int16},     {"uint16", WireType::UInt16},   {"int32", WireType::Int32},
        {"uint32", WireType::UInt32},   {"int64", WireType::Int64},     {"uint64", WireType::UInt64},
        {"uinteger", WireType::UInt64}, {"currency", WireType::Int64},  {"single", WireType::Single},
        {"double", WireType::Double},   {"color", WireType::Color},     {"string", WireType::String},
        {"ptr", WireType::Pointer},
    };
    std::string_view name = Trim(typeName);
    if (TakeBrackets(name)) return WireType::Object;
    const std::string lower = LowerCase(name);
    const auto* found =
        std::find_if(std::begin(kRows), std::end(kRows), [&](const Row& row) { return row.name == lower; });
    return found == std::end(kRows) ? WireType::Object : found->type;
}

Declaration Declaration::Parse(std::string_view text) {
    Declaration result;
    result.text = text;
    std::string_view rest = Trim(text);
    const size_t nameEnd = std::min(rest.find_first_of(" ("), rest.size());
    result.name = rest.substr(0, nameEnd);
    if (result.name.empty()) Refuse(text);
    rest = Trim(rest.substr(nameEnd));
    if (!rest.empty() && rest.front() == '(') {
        const size_t close = FindClosing(rest, 0);
        if (close == std::string_view::npos) Refuse(text);
        ParseParameters(rest.substr(1, close - 1), text, result.parameters);
        rest = Trim(rest.substr(close + 1));
    }
    if (rest.empty()) return result;
    if (!TakeWord(rest, "as")) Refuse(text);
    result.resultIsArray = TakeBrackets(rest);
    result.resultType = rest;
    result.resultWire = result.resultIsArray ? WireType::Object : WireTypeOf(rest);
    return result;
}

size_t Declaration::RequiredCount() const {
    return static_cast<size_t>(std::count_if(parameters.begin(), parameters.end(),
                                             [](const Parameter& p) { return !p.defaultText; }));
}

}  // namespace trvhost
