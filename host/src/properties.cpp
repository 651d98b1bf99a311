#include "properties.h"

#include <cmath>
#include <cstring>
#include <stdexcept>

#include "entry.h"
#include "exceptions.h"
#include "folder_items.h"
#include "graphics.h"
#include "memory_blocks.h"
#include "pictures.h"
#include "string_things.h"
#include "wire_call.h"

namespace trvhost {

namespace {

using HostProperty = PropertyRef::HostProperty;

template <class T>
T& As(Thing& thing) {
    return static_cast<T&>(thing);
}

/// Getter of a data member of T.
template <class T, auto kMember>
Value GetMember(Core&, Thing& thing) {
    return As<T>(thing).*kMember;
}

template <class T, auto kMember>
void SetMember(Core&, Thing& thing, const Value& value) {
    auto& member = As<T>(thing).*kMember;
    member = value.As<std::remove_reference_t<decltype(member)>>();
}

/// Getter and setter of a member that holds a string.
template <class T, auto kMember>
Value GetThing(Core& core, Thing& thing) {
    return Ref::Share(core.host, As<T>(thing).*kMember);
}

template <class T, auto kMember>
void SetThing(Core& core, Thing& thing, const Value& value) {
    const Ref fresh = value.IsText() ? detail::MakeString(core.host, value.ToText()) : value.ToThing();
    core.Assign(As<T>(thing).*kMember, fresh.Handle());
}

/// A Double member under an Integer declaration: truncated on the way out.
template <auto kMember>
Value GetTruncated(Core&, Thing& thing) {
    return static_cast<int64_t>(As<GraphicsThing>(thing).*kMember);
}

template <auto kMember>
void SetWhole(Core&, Thing& thing, const Value& value) {
    As<GraphicsThing>(thing).*kMember = static_cast<double>(value.ToInt());
}

Value GetPenSize(Core&, Thing& thing) {
    return As<GraphicsThing>(thing).penWidth;
}

void SetPenSize(Core&, Thing& thing, const Value& value) {
    As<GraphicsThing>(thing).penWidth = As<GraphicsThing>(thing).penHeight = value.ToDouble();
}

Value GetForeColor(Core&, Thing& thing) {
    return Color{As<GraphicsThing>(thing).foreColor};
}

void SetForeColor(Core&, Thing& thing, const Value& value) {
    As<GraphicsThing>(thing).foreColor = value.ToColor().rgb & 0xFFFFFF;
}

Value GetGraphics(Core& core, Thing& thing) {
    const GraphicsThing* graphics = NewGraphics(core, As<PictureThing>(thing));
    return Ref::Adopt(core.host, graphics == nullptr ? nullptr : graphics->Address());
}

template <auto kMember>
Value GetStoreMember(Core&, Thing& thing) {
    return *As<PictureThing>(thing).store.*kMember;
}

Value GetBlockSize(Core&, Thing& thing) {
    return As<MemoryBlockThing>(thing).Size();
}

Value GetNativePath(Core& core, Thing& thing) {
    return detail::MakeString(core.host, As<FolderItemThing>(thing).Utf8Path());
}

// Graphics numbers are doubles from this version on; the text size has its newer name from the next.
constexpr double kDoubles = 2018.02;
constexpr double kNewNames = 2020.0;

constexpr HostProperty kHostProperties[] = {
    {"MemoryBlock", "Size", WireType::Int64, GetBlockSize, nullptr},
    {"Picture", "Width", WireType::Int64, GetStoreMember<&PictureStore::width>, nullptr},
    {"Picture", "Height", WireType::Int64, GetStoreMember<&PictureStore::height>, nullptr},
    {"Picture", "HasAlphaChannel", WireType::Boolean, GetStoreMember<&PictureStore::alpha>, nullptr},
    {"Picture", "HorizontalResolution", WireType::Int64,
     GetMember<PictureThing, &PictureThing::horizontalResolution>,
     SetMember<PictureThing, &PictureThing::horizontalResolution>},
    {"Picture", "VerticalResolution", WireType::Int64,
     GetMember<PictureThing, &PictureThing::verticalResolution>,
     SetMember<PictureThing, &PictureThing::verticalResolution>},
    {"Picture", "Graphics", WireType::Object, GetGraphics, nullptr},
    {"Graphics", "ForeColor", WireType::Color, GetForeColor, SetForeColor},
    {"Graphics", "FontSize", WireType::Double, GetMember<GraphicsThing, &GraphicsThing::textSize>,
     SetMember<GraphicsThing, &GraphicsThing::textSize>, kNewNames},
    {"Graphics", "TextSize", WireType::Double, GetMember<GraphicsThing, &GraphicsThing::textSize>,
     SetMember<GraphicsThing, &GraphicsThing::textSize>, kDoubles},
    {"Graphics", "TextSize", WireType::Int64, GetTruncated<&GraphicsThing::textSize>,
     SetWhole<&GraphicsThing::textSize>, 0, kDoubles},
    {"Graphics", "PenSize", WireType::Double, GetPenSize, SetPenSize, kDoubles},
    {"Graphics", "PenWidth", WireType::Double, GetMember<GraphicsThing, &GraphicsThing::penWidth>,
     SetMember<GraphicsThing, &GraphicsThing::penWidth>, kDoubles},
    {"Graphics", "PenWidth", WireType::Int64, GetTruncated<&GraphicsThing::penWidth>,
     SetWhole<&GraphicsThing::penWidth>, 0, kDoubles},
    {"Graphics", "PenHeight", WireType::Double, GetMember<GraphicsThing, &GraphicsThing::penHeight>,
     SetMember<GraphicsThing, &GraphicsThing::penHeight>, kDoubles},
    {"Graphics", "PenHeight", WireType::Int64, GetTruncated<&GraphicsThing::penHeight>,
     SetWhole<&GraphicsThing::penHeight>, 0, kDoubles},
    {"Graphics", "TextFont", WireType::String, GetThing<GraphicsThing, &GraphicsThing::textFont>,
     SetThing<GraphicsThing, &GraphicsThing::textFont>},
    {"FolderItem", "NativePath", WireType::String, GetNativePath, nullptr},
    {"RuntimeException", "Message", WireType::String, GetThing<ExceptionThing, &ExceptionThing::message>,
     SetThing<ExceptionThing, &ExceptionThing::message>},
    {"RuntimeException", "ErrorNumber", WireType::Int64,
     GetMember<ExceptionThing, &ExceptionThing::errorNumber>,
     SetMember<ExceptionThing, &ExceptionThing::errorNumber>},
};

const HostProperty* FindOwn(const Core& core, const ClassInfo& info, std::string_view name) {
    const auto& missing = core.options.missingMembers;
    if (missing.count(name) != 0 || missing.count(info.name + "." + std::string(name)) != 0) return nullptr;
    for (const HostProperty& row : kHostProperties) {
        const bool applies = core.options.version >= row.since && core.options.version < row.until;
        if (applies && name == row.name && info.name == row.className) return &row;
    }
    return nullptr;
}

}  // namespace

const PropertyDefinition* FindInTable(const PropertyDefinition* rows, int64_t count, std::string_view name) {
    for (int64_t i = 0; rows != nullptr && i < count; ++i) {
        if (rows[i].name != nullptr && name == rows[i].name) return &rows[i];
    }
    return nullptr;
}

std::optional<PropertyRef> PropertyRef::Find(Core& core, Thing& thing, std::string_view name) {
    for (const ClassInfo* info = thing.classInfo; info != nullptr; info = info->super) {
        if (info->definition == nullptr) {
            if (const HostProperty* row = FindOwn(core, *info, name)) {
                PropertyRef found(core, &thing, row->type);
                found.own_ = row;
                return found;
            }
        } else if (const auto* definition =
                       FindInTable(info->definition->properties, info->definition->propertyCount, name)) {
            PropertyRef found(core, &thing, WireTypeOf(definition->type == nullptr ? "" : definition->type));
            found.definition_ = definition;
            found.dataOffset_ = info->definition->forSystemUse - kObjectHeaderSize;
            return found;
        }
    }
    return std::nullopt;
}

std::optional<PropertyRef> PropertyRef::FindShared(Core& core, const ClassInfo& info, std::string_view name) {
    if (info.definition == nullptr) return std::nullopt;
    const auto* definition =
        FindInTable(info.definition->sharedProperties, info.definition->sharedPropertyCount, name);
    if (definition == nullptr) return std::nullopt;
    PropertyRef found(core, nullptr, WireTypeOf(definition->type == nullptr ? "" : definition->type));
    found.definition_ = definition;
    return found;
}

std::byte* PropertyRef::Field() const {
    const int64_t offset = dataOffset_ + definition_->parameter;
    if (thing_ == nullptr || offset < 0 || offset + WireSize(type_) > thing_->ClassDataSize()) {
        throw std::invalid_argument(std::string("the property ") + definition_->name +
                                    " lies outside the class data");
    }
    return thing_->ClassData() + offset;
}

std::optional<Value> PropertyRef::Read() const {
    if (own_ != nullptr) return own_->get(*core_, *thing_);
    if (definition_->getter == nullptr) return std::nullopt;
    if (definition_->getter == kDirectAccess) {
        uint64_t bits = 0;
        std::memcpy(&bits, Field(), static_cast<size_t>(WireSize(type_)));
        if (type_ == WireType::Object || type_ == WireType::String) {
            core_->Lock(reinterpret_cast<Handle>(bits));
        }
        return FromWire(core_->host, type_, bits);
    }
    std::vector<WireSlot> arguments;
    if (thing_ != nullptr)
        arguments.push_back({WireType::Pointer, reinterpret_cast<uintptr_t>(thing_->Address())});
    arguments.push_back({WireType::Int64, static_cast<uint64_t>(definition_->parameter)});
    const detail::CurrentScope scope(core_->host);
    return FromWire(core_->host, type_, CallFunction(definition_->getter, arguments, type_));
}

bool PropertyRef::Write(const Value& value) const {
    if (own_ != nullptr) {
        if (own_->set == nullptr) return false;
        own_->set(*core_, *thing_, value);
        return true;
    }
    if (definition_->setter == nullptr) return false;
    Ref keep;
    const WireSlot slot = ToWire(core_->host, value, type_, keep);
    if (definition_->setter == kDirectAccess) {
        std::byte* field = Field();
        if (type_ == WireType::Object || type_ == WireType::String) {
            Handle held = nullptr;
            std::memcpy(&held, field, sizeof held);
            core_->Lock(keep.Handle());
            std::memcpy(field, &slot.bits, sizeof slot.bits);
            core_->Unlock(held);
        } else {
            std::memcpy(field, &slot.bits, static_cast<size_t>(WireSize(type_)));
        }
        return true;
    }
    std::vector<WireSlot> arguments;
    if (thing_ != nullptr)
        arguments.push_back({WireType::Pointer, reinterpret_cast<uintptr_t>(thing_->Address())});
    arguments.push_back({WireType::Int64, static_cast<uint64_t>(definition_->parameter)});
    arguments.push_back(slot);
    const detail::CurrentScope scope(core_->host);
    CallFunction(definition_->setter, arguments, WireType::None);
    return true;
}

namespace {

/// Types that the language converts into each other without being asked.
enum class Family { Whole, Boolean, Floating, Color, String, Object, Pointer, None };

Family FamilyOf(WireType type) {
    if (IsWholeNumber(type)) return Family::Whole;
    switch (type) {
        case WireType::Boolean:
            return Family::Boolean;
        case WireType::Single:
        case WireType::Double:
            return Family::Floating;
        case WireType::Color:
            return Family::Color;
        case WireType::String:
            return Family::String;
        case WireType::Object:
            return Family::Object;
        case WireType::Pointer:
            return Family::Pointer;
        default:
            return Family::None;
    }
}

std::optional<PropertyRef> Property(Core& core, Handle object, const char* name, Family family) {
    Thing* thing = core.Find(object);
    if (thing == nullptr || name == nullptr) return std::nullopt;
    auto property = PropertyRef::Find(core, *thing, name);
    if (!property || FamilyOf(property->Type()) != family) return std::nullopt;
    return property;
}

/// What crosses for a family: T is the type of the out parameter and of the value.
template <Family kFamily, class T>
bool Get(Core& core, Handle object, const char* name, T* out) {
    const auto property = Property(core, object, name, kFamily);
    auto value = property ? property->Read() : std::nullopt;
    if (!value || out == nullptr) return false;
    if constexpr (kFamily == Family::String || kFamily == Family::Object) {
        Ref thing = value->ToThing();
        *out = thing.Release();
    } else if constexpr (kFamily == Family::Boolean) {
        *out = value->ToBool() ? 1 : 0;
    } else if constexpr (kFamily == Family::Color) {
        *out = value->ToColor().rgb;
    } else if constexpr (kFamily == Family::Pointer) {
        *out = value->ToPointer();
    } else {
        *out = value->As<T>();
    }
    return true;
}

template <Family kFamily, class T>
bool Set(Core& core, Handle object, const char* name, T value) {
    const auto property = Property(core, object, name, kFamily);
    if (!property) return false;
    if constexpr (kFamily == Family::String || kFamily == Family::Object) {
        if (value != nullptr && core.Find(value) == nullptr) return false;
        return property->Write(Ref::Share(core.host, value));
    } else if constexpr (kFamily == Family::Color) {
        return property->Write(Color{value});
    } else {
        return property->Write(value);
    }
}

bool GetText(Core& core, Handle object, const char* name, Handle* out) {
    const auto property = Property(core, object, name, Family::String);
    const auto value = property ? property->Read() : std::nullopt;
    if (!value || out == nullptr) return false;
    *out = core.Make<TextThing>(value->ToText()).Address();
    return true;
}

/// Properties of a registered class and those above it, in table order.
std::vector<const PropertyDefinition*> PropertiesOf(const ClassInfo* info) {
    std::vector<const PropertyDefinition*> all;
    for (; info != nullptr; info = info->super) {
        for (int64_t i = 0; info->definition != nullptr && i < info->definition->propertyCount; ++i) {
            all.push_back(&info->definition->properties[i]);
        }
    }
    return all;
}

int64_t CountProperties(Core& core, void* classHandle) {
    return static_cast<int64_t>(PropertiesOf(core.classes.FromHandle(classHandle)).size());
}

/// Gives name and type as strings with a reference each, and whether the property can be read and written.
bool ClassProperty(Core& core, void* classHandle, int64_t index, void* name, void* type, void* canRead,
                   void* canWrite) {
    const auto all = PropertiesOf(core.classes.FromHandle(classHandle));
    if (index < 0 || index >= static_cast<int64_t>(all.size())) return false;
    const PropertyDefinition& row = *all[static_cast<size_t>(index)];
    const auto text = [&](const char* bytes) {
        return core.Make<StringThing>(bytes == nullptr ? "" : bytes, kEncodingUtf8).Address();
    };
    if (name != nullptr) *static_cast<Handle*>(name) = text(row.name);
    if (type != nullptr) *static_cast<Handle*>(type) = text(row.type);
    if (canRead != nullptr) *static_cast<uint8_t*>(canRead) = row.getter != nullptr;
    if (canWrite != nullptr) *static_cast<uint8_t*>(canWrite) = row.setter != nullptr;
    return true;
}

}  // namespace

std::span<const EntryRow> PropertyEntries() {
    static const EntryRow rows[] = {
        Row<"REALGetPropValueBool", Get<Family::Boolean, uint8_t>>(),
        Row<"REALGetPropValueColor", Get<Family::Color, uint32_t>>(),
        Row<"REALGetPropValueCurrency", Get<Family::Whole, int64_t>>(),
        Row<"REALGetPropValueDouble", Get<Family::Floating, double>>(),
        Row<"REALGetPropValueSingle", Get<Family::Floating, float>>(),
        Row<"REALGetPropValueInt16", Get<Family::Whole, int16_t>>(),
        Row<"REALGetPropValueInt", Get<Family::Whole, int32_t>>(),
        Row<"REALGetPropValueInt64", Get<Family::Whole, int64_t>>(),
        Row<"REALGetPropValueInteger", Get<Family::Whole, int64_t>>(),
        Row<"REALGetPropValueUInt16", Get<Family::Whole, uint16_t>>(),
        Row<"REALGetPropValueUInt32", Get<Family::Whole, uint32_t>>(),
        Row<"REALGetPropValueUInt64", Get<Family::Whole, uint64_t>>(),
        Row<"REALGetPropValueUInteger", Get<Family::Whole, uint64_t>>(),
        Row<"REALGetPropValueObject", Get<Family::Object, Handle>>(),
        Row<"REALGetPropValuePtr", Get<Family::Pointer, void*>>(),
        Row<"REALGetPropValueString", Get<Family::String, Handle>>(),
        Row<"PluginGetPropValueText", GetText>(),
        Row<"REALSetPropValueBoolean", Set<Family::Boolean, bool>>(),
        Row<"REALSetPropValueColor", Set<Family::Color, uint32_t>>(),
        Row<"REALSetPropValueCurrency", Set<Family::Whole, int64_t>>(),
        Row<"REALSetPropValueDouble", Set<Family::Floating, double>>(),
        Row<"REALSetPropValueInt8", Set<Family::Whole, int8_t>>(),
        Row<"REALSetPropValueInt16", Set<Family::Whole, int16_t>>(),
        Row<"REALSetPropValueInt", Set<Family::Whole, int32_t>>(),
        Row<"REALSetPropValueInt64", Set<Family::Whole, int64_t>>(),
        Row<"REALSetPropValueInteger", Set<Family::Whole, int64_t>>(),
        Row<"REALSetPropValueUInt16", Set<Family::Whole, uint16_t>>(),
        Row<"REALSetPropValueUInt32", Set<Family::Whole, uint32_t>>(),
        Row<"REALSetPropValueUInt64", Set<Family::Whole, uint64_t>>(),
        Row<"REALSetPropValueUInteger", Set<Family::Whole, uint64_t>>(),
        Row<"REALSetPropValueObject", Set<Family::Object, Handle>>(),
        Row<"REALSetPropValueString", Set<Family::String, Handle>>(),
        Row<"REALCountClassProperties", CountProperties>(),
        Row<"REALGetClassProperty", ClassProperty>(),
    };
    return rows;
}

}  // namespace trvhost
