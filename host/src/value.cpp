#include "trvhost/value.h"

#include <stdexcept>

#include "core.h"
#include "string_things.h"

namespace trvhost {

namespace {

[[noreturn]] void WrongKind(const char* wanted) {
    throw std::invalid_argument(std::string("the value is not ") + wanted);
}

}  // namespace

bool Value::ToBool() const {
    if (const auto* value = std::get_if<bool>(&data_)) return *value;
    WrongKind("a Boolean");
}

int64_t Value::ToInt() const {
    if (const auto* value = std::get_if<int64_t>(&data_)) return *value;
    if (const auto* value = std::get_if<Color>(&data_)) return value->rgb;
    WrongKind("a whole number");
}

double Value::ToDouble() const {
    if (const auto* value = std::get_if<double>(&data_)) return *value;
    if (const auto* value = std::get_if<int64_t>(&data_)) return static_cast<double>(*value);
    WrongKind("a number");
}

Color Value::ToColor() const {
    if (const auto* value = std::get_if<Color>(&data_)) return *value;
    if (const auto* value = std::get_if<int64_t>(&data_)) return Color{static_cast<uint32_t>(*value)};
    WrongKind("a color");
}

std::string Value::ToText() const {
    if (const auto* value = std::get_if<std::string>(&data_)) return *value;
    const auto* thing = std::get_if<Ref>(&data_);
    if (thing == nullptr) WrongKind("a string");
    return *thing ? String(*thing).Bytes() : std::string();
}

const Ref& Value::ToThing() const {
    if (const auto* value = std::get_if<Ref>(&data_)) return *value;
    WrongKind("an object or string");
}

void* Value::ToPointer() const {
    if (const auto* value = std::get_if<void*>(&data_)) return *value;
    WrongKind("a pointer");
}

}  // namespace trvhost
