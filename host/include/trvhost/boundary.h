// The binary interface between plug-in and host: the tables that a plug-in registers and the records that
// cross. Every offset is asserted; nothing here is C++ beyond the notation.
#pragma once

#include <cstddef>
#include <cstdint>

namespace trvhost {

using Resolver = void* (*)(const char* name);
using PluginMain = void (*)(Resolver resolver);

/// Bytes of an object that belong to the host; class data follows.
inline constexpr int64_t kObjectHeaderSize = 48;
/// A getter or setter of this value means direct access to the class data.
inline void* const kDirectAccess = reinterpret_cast<void*>(~uintptr_t{0});

struct AttributeDefinition {
    const char* name;
    const char* value;
};

struct MethodDefinition {
    void* function;
    void* setter;
    const char* declaration;
    uint64_t flags;  ///< 32 bits in an 8-byte slot
    int64_t attributeCount;
    const AttributeDefinition* attributes;
};

struct PropertyDefinition {
    const char* group;
    const char* name;
    const char* type;
    uint64_t flags;
    void* getter;
    void* setter;
    int64_t parameter;
    const char* editor;
    int64_t enumCount;
    const char** enumEntries;
    int64_t attributeCount;
    const AttributeDefinition* attributes;
};

struct ConstantDefinition {
    const char* declaration;
    const char* defaultValue;
    int64_t value;
    int64_t attributeCount;
    const AttributeDefinition* attributes;
};

struct EventDefinition {
    const char* declaration;
    void* forSystemUse;  ///< written by the host at registration
    int64_t attributeCount;
    const AttributeDefinition* attributes;
};

struct DelegateDefinition {
    const char* declaration;
    uint64_t flags;
    int64_t attributeCount;
    const AttributeDefinition* attributes;
};

struct EnumDefinition {
    const char* name;
    uint64_t flags;
    int64_t entryCount;
    const char** entries;
    int64_t attributeCount;
    const AttributeDefinition* attributes;
};

struct ModuleDefinition {
    uint64_t version;  ///< 32 bits in an 8-byte slot
    const char* name;
    MethodDefinition* methods;
    int64_t methodCount;
    PropertyDefinition* properties;
    int64_t propertyCount;
    EnumDefinition* enums;
    int64_t enumCount;
    uint64_t flags;
};

/// A class's table, and a control's.
struct ClassDefinition {
    uint64_t version;  ///< 32 bits in an 8-byte slot
    const char* name;
    const char* superName;
    int64_t dataSize;
    int64_t forSystemUse;  ///< written by the host at registration: where class data begins in an object
    void* constructor;
    void* destructor;
    PropertyDefinition* properties;
    int64_t propertyCount;
    MethodDefinition* methods;
    int64_t methodCount;
    EventDefinition* events;
    int64_t eventCount;
    void* eventInstances;
    int64_t eventInstanceCount;
    const char* interfaces;
    const AttributeDefinition* attributes;
    int64_t attributeCount;
    ConstantDefinition* constants;
    int64_t constantCount;
    uint64_t flags;
    PropertyDefinition* sharedProperties;
    int64_t sharedPropertyCount;
    MethodDefinition* sharedMethods;
    int64_t sharedMethodCount;
};

struct StringData {
    const void* data;
    int64_t size;  ///< bytes
    void* hostData;
};

struct PictureDescription {
    int32_t pictureType;
    void* data;
    int32_t width;
    int32_t height;
};

/// Description types that a picture can be locked as.
inline constexpr uint32_t kPictureWin32Bitmap = 7;
inline constexpr uint32_t kPictureGdImage = 10;
inline constexpr uint32_t kPictureGdiPlusBitmap = 11;
inline constexpr uint32_t kPictureDirect2D = 14;

/// Text encodings.
inline constexpr uint32_t kEncodingSystem = 0;
inline constexpr uint32_t kEncodingUtf16 = 256;
inline constexpr uint32_t kEncodingLatin1 = 513;
inline constexpr uint32_t kEncodingAnsi = 1280;
inline constexpr uint32_t kEncodingAscii = 1536;
inline constexpr uint32_t kEncodingUtf8 = 0x8000100;
inline constexpr uint32_t kEncodingUtf32 = 0xC000100;
inline constexpr uint32_t kEncodingNone = 65535;

/// Element kinds of arrays.
enum class ElementKind : int32_t {
    Boolean = 1,
    Int8,
    UInt8,
    Int16,
    UInt16,
    Int32,
    UInt32,
    Int64,
    UInt64,
    UInteger,
    Integer,
    Single,
    Double,
    Currency,
    Color,
    String,
    Text,
    Object
};

static_assert(sizeof(AttributeDefinition) == 16);
static_assert(sizeof(MethodDefinition) == 48);
static_assert(sizeof(PropertyDefinition) == 96);
static_assert(sizeof(ConstantDefinition) == 40);
static_assert(sizeof(EventDefinition) == 32);
static_assert(sizeof(DelegateDefinition) == 32);
static_assert(sizeof(EnumDefinition) == 48);
static_assert(sizeof(ModuleDefinition) == 72);
static_assert(sizeof(ClassDefinition) == 200);
static_assert(offsetof(ClassDefinition, forSystemUse) == 32);
static_assert(offsetof(ClassDefinition, destructor) == 48);
static_assert(offsetof(ClassDefinition, methods) == 72);
static_assert(offsetof(ClassDefinition, events) == 88);
static_assert(offsetof(ClassDefinition, interfaces) == 120);
static_assert(offsetof(ClassDefinition, constants) == 144);
static_assert(offsetof(ClassDefinition, flags) == 160);
static_assert(offsetof(ClassDefinition, sharedMethodCount) == 192);
static_assert(offsetof(PropertyDefinition, getter) == 32);
static_assert(offsetof(PropertyDefinition, parameter) == 48);
static_assert(offsetof(MethodDefinition, declaration) == 16);
static_assert(offsetof(StringData, hostData) == 16);
static_assert(offsetof(PictureDescription, data) == 8);
static_assert(offsetof(PictureDescription, width) == 16);
static_assert(offsetof(PictureDescription, height) == 20);

}  // namespace trvhost
