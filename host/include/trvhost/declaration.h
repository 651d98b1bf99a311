// A member's declaration, taken apart: "Scale(source as PictureTRV, mode as integer = 0) as boolean".
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace trvhost {

/// What a declared type is on the boundary.
enum class WireType {
    None,
    Boolean,
    Int8,
    UInt8,
    Int16,
    UInt16,
    Int32,
    UInt32,
    Int64,
    UInt64,
    Single,
    Double,
    Color,
    String,
    Pointer,
    Object
};

/// The wire type of a type's name, in any case ("integer", "Int64", "color", "Ptr", any class's name); an
/// array is an Object.
WireType WireTypeOf(std::string_view typeName);

struct Parameter {
    std::string name;
    std::string type;                        ///< as written
    bool isArray = false;                    ///< "red() as integer"
    std::optional<std::string> defaultText;  ///< what stands behind "=", as written
    WireType wire = WireType::None;
};

struct Declaration {
    std::string text;  ///< as written
    std::string name;
    std::vector<Parameter> parameters;
    std::string resultType;  ///< empty without a result
    bool resultIsArray = false;
    WireType resultWire = WireType::None;

    /// Takes a declaration apart. Throws std::invalid_argument on a text that is none.
    static Declaration Parse(std::string_view text);
    /// Parameters without a default value.
    size_t RequiredCount() const;
};

}  // namespace trvhost
