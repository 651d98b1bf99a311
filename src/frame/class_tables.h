#pragma once

// The tables that show the plug-in's classes to the host, in the host's layout, and their registration.
// Counts take eight bytes, and so do a version and flags, whose upper halves are 0 and named so that they
// are; a missing text or function is null.

#include <cstddef>
#include <cstdint>

namespace trv {

/// Flags of members and classes.
enum MemberFlags : int32_t {
    kOrdinary = 4,
    kOrdinaryProperty = 6,
    kSharedProperty = 38,
    /// Stands for "ordinary, but only from host version 2010.029 on"; cleared at registration.
    kSinceHost2010 = 0x40000,
    kOrdinaryPropertySinceHost2010 = kSinceHost2010 | 2,
    /// Of a module's member: seen everywhere, and how a member that says nothing is seen.
    kGlobalMember = 16,
    kModuleMember = 64,
    /// The bits that say how a module's member is seen.
    kModuleVisibility = 240,
    /// Of a control: its first five events and the names of three others are those of an older kind.
    kControlWithNewEvents = 0x1000,
};

/// Where an object of a registered class has its class data: behind what is the host's.
inline constexpr int64_t kClassDataOffset = 48;

struct AttributeDefinition {
    const char* name = nullptr;
    const char* value = nullptr;
};

struct MethodDefinition {
    void* function = nullptr;
    void* setter = nullptr;
    const char* declaration = nullptr;
    int32_t flags = 0;
    int32_t flagsUpperHalf = 0;
    int64_t attributeCount = 0;
    const AttributeDefinition* attributes = nullptr;
};
static_assert(sizeof(MethodDefinition) == 48);

/// A getter or setter of DirectAccess() has the host read or write the class data at byte `parameter`; a
/// function is called with the parameter.
struct PropertyDefinition {
    const char* group = nullptr;
    const char* name = nullptr;
    const char* type = nullptr;
    int32_t flags = 0;
    int32_t flagsUpperHalf = 0;
    void* getter = nullptr;
    void* setter = nullptr;
    int64_t parameter = 0;
    const char* editor = nullptr;
    int64_t enumCount = 0;
    const char* const* enumEntries = nullptr;
    int64_t attributeCount = 0;
    const AttributeDefinition* attributes = nullptr;
};
static_assert(sizeof(PropertyDefinition) == 96);

struct ConstantDefinition {
    const char* declaration = nullptr;
    const char* defaultText = nullptr;
    int64_t value = 0;
    int64_t attributeCount = 0;
    const AttributeDefinition* attributes = nullptr;
};
static_assert(sizeof(ConstantDefinition) == 40);

struct EventDefinition {
    const char* declaration = nullptr;
    void* forSystemUse = nullptr;  // written by the host, read by GetEventInstance
    int64_t attributeCount = 0;
    const AttributeDefinition* attributes = nullptr;
};
static_assert(sizeof(EventDefinition) == 32);

struct DelegateDefinition {
    const char* declaration = nullptr;
    int32_t flags = 0;
    int32_t flagsUpperHalf = 0;
    int64_t attributeCount = 0;
    const AttributeDefinition* attributes = nullptr;
};
static_assert(sizeof(DelegateDefinition) == 32);

struct EnumDefinition {
    const char* name = nullptr;
    int32_t flags = 0;
    int32_t flagsUpperHalf = 0;
    int64_t entryCount = 0;
    const char* const* entries = nullptr;
    int64_t attributeCount = 0;
    const AttributeDefinition* attributes = nullptr;
};
static_assert(sizeof(EnumDefinition) == 48);

struct ClassDefinition {
    int32_t version = 0;
    int32_t versionUpperHalf = 0;
    const char* name = nullptr;
    const char* superName = nullptr;
    int64_t dataSize = 0;
    int64_t forSystemUse = 0;  // written by the host: byte offset of the class data inside an object
    void* constructor = nullptr;
    void* destructor = nullptr;
    PropertyDefinition* properties = nullptr;
    int64_t propertyCount = 0;
    MethodDefinition* methods = nullptr;
    int64_t methodCount = 0;
    EventDefinition* events = nullptr;
    int64_t eventCount = 0;
    void* eventInstances = nullptr;
    int64_t eventInstanceCount = 0;
    const char* interfaces = nullptr;
    const AttributeDefinition* attributes = nullptr;
    int64_t attributeCount = 0;
    ConstantDefinition* constants = nullptr;
    int64_t constantCount = 0;
    int32_t flags = 0;
    int32_t flagsUpperHalf = 0;
    PropertyDefinition* sharedProperties = nullptr;
    int64_t sharedPropertyCount = 0;
    MethodDefinition* sharedMethods = nullptr;
    int64_t sharedMethodCount = 0;
    void* end = nullptr;
};
static_assert(offsetof(ClassDefinition, forSystemUse) == 32 && offsetof(ClassDefinition, properties) == 56 &&
              offsetof(ClassDefinition, events) == 88 && offsetof(ClassDefinition, attributes) == 128 &&
              offsetof(ClassDefinition, constants) == 144 && offsetof(ClassDefinition, flags) == 160 &&
              offsetof(ClassDefinition, sharedMethods) == 184 && offsetof(ClassDefinition, end) == 200);

/// A control's table has the fields of a class.
using ControlDefinition = ClassDefinition;

struct ModuleDefinition {
    int32_t version = 0;
    int32_t versionUpperHalf = 0;
    const char* name = nullptr;
    MethodDefinition* methods = nullptr;
    int64_t methodCount = 0;
    PropertyDefinition* properties = nullptr;
    int64_t propertyCount = 0;
    EnumDefinition* enums = nullptr;
    int64_t enumCount = 0;
    int32_t flags = 0;
    int32_t flagsUpperHalf = 0;
};
static_assert(sizeof(ModuleDefinition) == 72 && offsetof(ModuleDefinition, flags) == 64);

/// The version that a definition carries until it is registered.
inline constexpr int32_t kUnregisteredTableVersion = 15;

/// The mark for direct access by the host, in a property's getter or setter: all bits set.
[[nodiscard]] inline void* DirectAccess() {
    return reinterpret_cast<void*>(static_cast<intptr_t>(-1));
}

/// A function as the tables hold it.
template <class R, class... A>
[[nodiscard]] void* TableFunction(R (*function)(A...)) {
    return reinterpret_cast<void*>(function);
}

/// Turns a table flag into what the connected host is to see: the pair 0x308 becomes 4 on a host below
/// 2020.02, and 0x40000 becomes 4 from 2010.029 on and nothing below.
[[nodiscard]] int32_t FixFlags(int32_t flags);

/// Fixes the flags of an array's entries, of which there are none if the array is missing.
template <class Definition>
void FixFlags(Definition* members, int64_t count) {
    for (int64_t i = 0; members != nullptr && i < count; ++i)
        members[i].flags = FixFlags(members[i].flags);
}

/// Fixes the flags of the class and of all its members.
void FixFlags(ClassDefinition& definition);

/// What `dataSize` is registered as: the next multiple of 16.
[[nodiscard]] constexpr int64_t RegisteredDataSize(int64_t dataSize) {
    return (dataSize + 15) / 16 * 16;
}

/// Fixes all flags of the definition, raises `dataSize` to a multiple of 16, sets the table version and hands
/// the definition to the host, which keeps the pointer: it must live as long as the process.
void RegisterClass(ClassDefinition& definition);

/// Gives the constants from `firstIndex` on their final text, "name = value", where a declaration has none:
/// the value in decimal below 100 or on request, else as &h and eight hexadecimal digits. With `prefixed`, a
/// "k" stands before the name. The texts are never freed, as the host keeps the table. An entry whose text
/// cannot be allocated keeps its bare name.
void FormatConstants(ConstantDefinition* constants, int64_t count, int64_t firstIndex = 0,
                     bool prefixed = false, bool decimalOnly = false);

}  // namespace trv
