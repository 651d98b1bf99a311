// Properties: of the host's own classes, and of the plug-in's through its tables.
#pragma once

#include <optional>
#include <string_view>

#include "core.h"
#include "trvhost/declaration.h"

namespace trvhost {

/// The row of this name in a table of properties, or null.
const PropertyDefinition* FindInTable(const PropertyDefinition* rows, int64_t count, std::string_view name);

/// A property of an object, wherever it is defined. Valid while its object's class is registered.
class PropertyRef {
  public:
    /// The property of this name, or none.
    static std::optional<PropertyRef> Find(Core& core, Thing& thing, std::string_view name);
    /// A shared property of a class of the plug-in's.
    static std::optional<PropertyRef> FindShared(Core& core, const ClassInfo& info, std::string_view name);

    WireType Type() const { return type_; }
    /// None when the property cannot be read; a thing comes with a reference.
    std::optional<Value> Read() const;
    /// False when the property cannot be written. Throws std::invalid_argument for a value of the wrong kind.
    bool Write(const Value& value) const;

    /// A row of the table of the host's own properties.
    struct HostProperty {
        const char* className;
        const char* name;
        WireType type;
        Value (*get)(Core&, Thing&);
        void (*set)(Core&, Thing&, const Value&);
        double since = 0;
        double until = 1e9;
    };

  private:
    PropertyRef(Core& core, Thing* thing, WireType type) : core_(&core), thing_(thing), type_(type) {}
    std::byte* Field() const;

    Core* core_;
    Thing* thing_;  ///< null for a shared property
    WireType type_;
    const HostProperty* own_ = nullptr;
    const PropertyDefinition* definition_ = nullptr;
    int64_t dataOffset_ = 0;  ///< where the defining class's data begins within the object's
};

}  // namespace trvhost
