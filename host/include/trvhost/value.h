// Value: any value of the host's language, for calls whose types are known at run time only.
#pragma once

#include <concepts>
#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>
#include <variant>

#include "trvhost/ref.h"

namespace trvhost {

/// A Color of the host, 0x00RRGGBB. A type of its own, so that overloads with color and with integer differ.
struct Color {
    uint32_t rgb = 0;
    friend bool operator==(Color, Color) = default;
};

/// nothing, Boolean, whole number, Double, Color, text bytes, a thing of the host, or Ptr. A string result is
/// a thing (nil possible); text bytes given as an argument become a host string of encoding UTF-8.
class Value {
  public:
    Value() = default;
    Value(bool value) : data_(value) {}
    template <std::integral T>
    requires(!std::same_as<T, bool>) Value(T value) : data_(static_cast<int64_t>(value)) {}
    template <std::floating_point T>
    Value(T value) : data_(static_cast<double>(value)) {}
    Value(Color value) : data_(value) {}
    Value(const char* text) : data_(std::string(text)) {}
    Value(std::string text) : data_(std::move(text)) {}
    Value(std::string_view text) : data_(std::string(text)) {}
    Value(Ref thing) : data_(std::move(thing)) {}
    Value(std::nullptr_t) : data_(Ref()) {}
    Value(void* pointer) : data_(pointer) {}

    bool IsEmpty() const { return std::holds_alternative<std::monostate>(data_); }
    bool IsBool() const { return std::holds_alternative<bool>(data_); }
    bool IsInt() const { return std::holds_alternative<int64_t>(data_); }
    bool IsDouble() const { return std::holds_alternative<double>(data_); }
    bool IsColor() const { return std::holds_alternative<Color>(data_); }
    bool IsText() const { return std::holds_alternative<std::string>(data_); }
    bool IsThing() const { return std::holds_alternative<Ref>(data_); }
    bool IsPointer() const { return std::holds_alternative<void*>(data_); }

    /// Readers; each throws std::invalid_argument when the value is of another kind. Whole numbers read as
    /// Double and as Color, and a Color as a whole number, since the language converts these by itself.
    bool ToBool() const;
    int64_t ToInt() const;
    double ToDouble() const;
    Color ToColor() const;
    /// Text bytes, or the bytes of a string thing; nil reads as empty.
    std::string ToText() const;
    /// The thing; a Ptr or number is none.
    const Ref& ToThing() const;
    void* ToPointer() const;

    /// The value as T: bool, whole numbers, double, Color, std::string, Ref and its kin, void*.
    template <class T>
    T As() const {
        if constexpr (std::same_as<T, Value>)
            return *this;
        else if constexpr (std::same_as<T, bool>)
            return ToBool();
        else if constexpr (std::integral<T>)
            return static_cast<T>(ToInt());
        else if constexpr (std::floating_point<T>)
            return static_cast<T>(ToDouble());
        else if constexpr (std::same_as<T, Color>)
            return ToColor();
        else if constexpr (std::same_as<T, std::string>)
            return ToText();
        else if constexpr (std::same_as<T, void*>)
            return ToPointer();
        else
            return T(ToThing());
    }

  private:
    std::variant<std::monostate, bool, int64_t, double, Color, std::string, Ref, void*> data_;
};

}  // namespace trvhost
