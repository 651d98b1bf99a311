#include "frame/validate_class.h"

#include <cctype>
#include <string_view>

#include "frame/debug_log.h"

namespace trv {

namespace {

constexpr uint64_t kMostMembers = 10000;
/// Attributes of a member and entries of an enumeration are fewer than this.
constexpr uint64_t kTooManyEntries = 1001;

/// What the host is to read directly must lie at a multiple of this.
constexpr int64_t kFieldAlignment = 4;

const char* Printable(const char* text) {
    return text == nullptr ? "" : text;
}

long long Printable(int64_t number) {
    return number;
}

/// Writes one line, with texts for %s and 64-bit numbers for %lld.
template <class... Values>
void Tell(const char* format, Values... values) {
    WriteDebugLine(format, Printable(values)...);
}

bool OutOfRange(int64_t count) {
    return static_cast<uint64_t>(count) > kMostMembers;
}

/// A count that can be followed: 0 after the line that says why, if it is out of range.
int64_t CountInRange(const char* format, const char* className, int64_t count) {
    if (!OutOfRange(count)) return count;
    Tell(format, className, count);
    return 0;
}

/// The test of attributes and of enumerations: a count without entries, entries without count, or too many.
bool IsWrongTable(const void* entries, int64_t count) {
    return (entries == nullptr) != (count == 0) || static_cast<uint64_t>(count) >= kTooManyEntries;
}

/// An entry of an array; an empty one if the array is missing.
template <class Definition>
const Definition& EntryOf(const Definition* entries, int64_t index) {
    static constexpr Definition kEmpty{};
    return entries == nullptr ? kEmpty : entries[index];
}

bool IsDouble(const char* type) {
    constexpr std::string_view kDouble = "double";
    const std::string_view name = Printable(type);
    if (name.size() != kDouble.size()) return false;
    for (size_t i = 0; i < name.size(); ++i) {
        if (std::tolower(static_cast<unsigned char>(name[i])) != kDouble[i]) return false;
    }
    return true;
}

void ValidateAttributes(const char* className, const char* member, const AttributeDefinition* attributes,
                        int64_t count) {
    if (OutOfRange(count)) {
        Tell("Error: attribute count out of range for %s.%s: %lld.", className, member, count);
        return;
    }
    for (int64_t i = 0; attributes != nullptr && i < count; ++i) {
        const AttributeDefinition& attribute = attributes[i];
        if (attribute.name == nullptr)
            Tell("Error: %s.%s has an attribute without name! Index: %lld", className, member, i);
        if (attribute.value == nullptr)
            Tell("Error: %s.%s has an attribute without value! Name: %s Index: %lld", className, member,
                 attribute.name, i);
    }
}

/// The attributes of a member of any kind: the test with its line, then each of them.
template <class Definition>
void ValidateMemberAttributes(const char* wrongCount, const char* className, const char* member,
                              const Definition& definition) {
    if (IsWrongTable(definition.attributes, definition.attributeCount))
        Tell(wrongCount, className, member, definition.attributeCount);
    ValidateAttributes(className, member, definition.attributes, definition.attributeCount);
}

void ValidateConstants(const char* className, const ConstantDefinition* constants, int64_t count) {
    count = CountInRange("Error: constant count out of range for %s: %lld.", className, count);
    for (int64_t i = 0; i < count; ++i) {
        if (constants == nullptr) {
            Tell("Error: Constant %s.%lld is NULL.", className, i);
            continue;
        }
        const ConstantDefinition& constant = constants[i];
        if (constant.declaration == nullptr)
            Tell("Error: The constant %s.%lld has nil declaration.", className, i);
        ValidateMemberAttributes("Error: The constant %s.%s has the wrong attributeCount value: %lld",
                                 className, constant.declaration, constant);
    }
}

void ValidateMethods(const char* className, const MethodDefinition* methods, int64_t count) {
    count = CountInRange("Error: method count out of range for %s: %lld.", className, count);
    for (int64_t i = 0; i < count; ++i) {
        if (methods == nullptr) {
            Tell("Error: method %s.%lld is NULL.", className, i);
            continue;
        }
        const MethodDefinition& method = methods[i];
        if (method.declaration == nullptr)
            Tell("Error: The method %s.%lld has nil declaration.", className, i);
        if (method.function == nullptr)
            Tell("Error: The method %s.%s has nil function.", className, method.declaration);
        ValidateMemberAttributes("Error: The method %s.%s has the wrong attributeCount value: %lld",
                                 className, method.declaration, method);
    }
}

void ValidateDelegates(const char* className, const DelegateDefinition* delegates, int64_t count) {
    count = CountInRange("Error: delegate count out of range for %s: %lld.", className, count);
    for (int64_t i = 0; i < count; ++i) {
        const DelegateDefinition& delegate = EntryOf(delegates, i);
        if (delegate.declaration == nullptr)
            Tell("Error: The delegate %s.%lld has nil declaration.", className, i);
        if (delegate.flags == 0)
            Tell("Warning: The delegate %s.%s has 0 for flags.", className, delegate.declaration);
        ValidateMemberAttributes("Error: The delegate %s.%s has the wrong attributeCount value: %lld",
                                 className, delegate.declaration, delegate);
    }
}

void ValidateEvents(const char* className, const EventDefinition* events, int64_t count) {
    count = CountInRange("Error: event count out of range for %s: %lld.", className, count);
    for (int64_t i = 0; i < count; ++i) {
        const EventDefinition& event = EntryOf(events, i);
        if (event.declaration == nullptr) Tell("Error: The event %s.%lld has nil declaration.", className, i);
        ValidateMemberAttributes("Error: The event %s.%s has the wrong attributeCount value: %lld", className,
                                 event.declaration, event);
    }
}

/// What the host reads and writes by itself: no 64-bit float, and nothing at an odd place.
void ValidateAccess(const char* className, const PropertyDefinition& property) {
    const bool direct = property.getter == DirectAccess() || property.setter == DirectAccess();
    if (IsDouble(property.type)) {
        if (property.getter == DirectAccess())
            Tell("Error: The property %s.%s needs custom getter.", className, property.name);
        if (property.setter == DirectAccess())
            Tell("Error: The property %s.%s needs custom setter.", className, property.name);
    } else if (direct && property.parameter % kFieldAlignment != 0) {
        Tell("Error: The property %s.%s has unaligned offset %lld.", className, property.name,
             property.parameter);
    }
}

void ValidateEnum(const char* className, const PropertyDefinition& property) {
    const int64_t count = property.enumCount;
    if (OutOfRange(count))
        Tell("Error: property enum count out of range for %s.%s: %lld.", className, property.name, count);
    if (property.enumEntries == nullptr && count != 0)
        Tell("Error: property enum is nil for %s.%s: %lld.", className, property.name, count);
    if (property.enumEntries == nullptr || OutOfRange(count)) return;
    for (int64_t i = 0; i < count; ++i) {
        const char* const value = property.enumEntries[i];
        if (value == nullptr)
            Tell("Error: The enum value %lld in property %s.%s has nil value.", i, className, property.name);
        else if (value[0] == ' ')
            Tell("Error: The enum value %lld in property %s.%s has extra space in value.", i, className,
                 property.name);
    }
}

void ValidateProperties(const char* className, const PropertyDefinition* properties, int64_t count) {
    count = CountInRange("Error: property count out of range for %s: %lld.", className, count);
    for (int64_t i = 0; i < count; ++i) {
        const PropertyDefinition& property = EntryOf(properties, i);
        if (property.name == nullptr) Tell("Error: The property %s.%lld has nil name.", className, i);
        if (property.getter == nullptr)
            Tell("Error: The property %s.%s has nil getter.", className, property.name);
        if (property.type == nullptr) Tell("Error: The property %s.%lld has nil type.", className, i);
        ValidateAccess(className, property);
        if (property.editor != nullptr)
            Tell("Error: The property %s.%s has editor.", className, property.name);
        if (IsWrongTable(property.enumEntries, property.enumCount))
            Tell("Error: The property %s.%s has wrong enumCount: %lld", className, property.name,
                 property.enumCount);
        ValidateMemberAttributes("Error: The property %s.%s has attributes: %lld", className, property.name,
                                 property);
        ValidateEnum(className, property);
    }
}

}  // namespace

void ValidateClass(const ClassDefinition& definition, const DelegateDefinition* delegates,
                   int64_t delegateCount) {
    const char* const name = definition.name;
    // The class's own attributes stand where those of a member would.
    ValidateAttributes(name, "(class)", definition.attributes, definition.attributeCount);
    ValidateConstants(name, definition.constants, definition.constantCount);
    ValidateMethods(name, definition.methods, definition.methodCount);
    ValidateMethods(name, definition.sharedMethods, definition.sharedMethodCount);
    ValidateDelegates(name, delegates, delegateCount);
    ValidateEvents(name, definition.events, definition.eventCount);
    ValidateProperties(name, definition.properties, definition.propertyCount);
    ValidateProperties(name, definition.sharedProperties, definition.sharedPropertyCount);
}

}  // namespace trv
