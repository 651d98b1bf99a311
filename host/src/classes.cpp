#include "classes.h"

#include <algorithm>
#include <cstring>

#include "core.h"
#include "entry.h"
#include "exceptions.h"
#include "factories.h"
#include "folder_items.h"
#include "graphics.h"
#include "memory_blocks.h"
#include "pictures.h"
#include "variants.h"

namespace trvhost {

namespace {

// No plug-in has more class data or members than this; what claims so is garbage.
constexpr int64_t kLargestClassData = int64_t{1} << 24;
constexpr int64_t kMostMembers = 100000;
// Tables below this version reach an event's word through one more level.
constexpr uint32_t kDirectEventVersion = 10;

const char* ApplicationClass(HostKind kind) {
    switch (kind) {
        case HostKind::Desktop:
            return "Application";
        case HostKind::Console:
            return "ConsoleApplication";
        case HostKind::Web:
            return "WebApplication";
        case HostKind::Unknown:
            return nullptr;
    }
    return nullptr;
}

}  // namespace

ClassRegistry::ClassRegistry(Core& core) : core_(core) {
    Add("MemoryBlock", ThingKind::MemoryBlock);
    Add("Picture", ThingKind::Picture);
    Add("Graphics", ThingKind::Graphics);
    Add("FolderItem", ThingKind::FolderItem);
    Add("Variant", ThingKind::Variant);
    ClassInfo& exception = Add("RuntimeException", ThingKind::Exception);
    for (const char* name : {"NilObjectException", "OutOfMemoryException", "OutOfBoundsException",
                             "IllegalCastException", "UnsupportedOperationException"}) {
        Add(name, ThingKind::Exception, &exception);
    }
    if (const char* application = ApplicationClass(core.options.kind)) Add(application, ThingKind::Object);
}

ClassInfo& ClassRegistry::Add(std::string name, ThingKind kind, ClassInfo* super) {
    auto info = std::make_unique<ClassInfo>();
    info->name = name;
    info->kind = kind;
    info->super = super;
    if (super != nullptr) info->dataSize = super->dataSize;
    handles_.insert(info.get());
    return *(classes_[std::move(name)] = std::move(info));
}

ClassInfo* ClassRegistry::Find(std::string_view name) const {
    if (core_.options.missingClasses.count(name) != 0) return nullptr;
    const auto found = classes_.find(name);
    return found == classes_.end() ? nullptr : found->second.get();
}

ClassInfo* ClassRegistry::FromHandle(void* handle) const {
    if (handle == nullptr) return nullptr;
    if (handles_.count(handle) != 0) return static_cast<ClassInfo*>(handle);
    core_.Misuse("what should be a class is none");
    return nullptr;
}

void ClassRegistry::Register(ClassDefinition* definition) {
    if (definition == nullptr || definition->name == nullptr) {
        core_.Misuse("a class without definition or name");
        return;
    }
    const std::string name = definition->name;
    if (classes_.count(name) != 0) {
        core_.Misuse("the class " + name + " is registered twice");
        return;
    }
    ClassInfo* super = nullptr;
    if (definition->superName != nullptr && *definition->superName != '\0') {
        super = Find(definition->superName);
        if (super == nullptr) core_.Misuse("the class " + name + " has an unknown super class");
    }
    const bool countsOk = [&] {
        for (const int64_t count :
             {definition->propertyCount, definition->methodCount, definition->eventCount,
              definition->constantCount, definition->sharedPropertyCount, definition->sharedMethodCount}) {
            if (count < 0 || count > kMostMembers) return false;
        }
        return definition->dataSize >= 0 && definition->dataSize <= kLargestClassData;
    }();
    if (!countsOk) {
        core_.Misuse("the class " + name + " has a size or count out of range");
        return;
    }
    ClassInfo& info = Add(name, super == nullptr ? ThingKind::Object : super->kind, super);
    // Objects of this class and its subclasses may carry a handler of the one event that this host can fire.
    if (name == "PictureFactoryTRV") info.kind = ThingKind::Factory;
    info.definition = definition;
    info.dataSize += definition->dataSize;
    definition->forSystemUse = kObjectHeaderSize + (super == nullptr ? 0 : super->dataSize);
    for (int64_t i = 0; i < definition->eventCount; ++i) {
        EventDefinition& event = definition->events[i];
        auto stored = std::make_unique<EventInfo>();
        stored->definition = &event;
        stored->indirect = {event.declaration, stored.get()};
        const bool direct = static_cast<uint32_t>(definition->version) >= kDirectEventVersion;
        event.forSystemUse = direct ? static_cast<void*>(stored.get()) : &stored->indirect;
        events_.insert(stored.get());
        eventStore_.push_back(std::move(stored));
    }
    definitions_.push_back(definition);
    core_.Log("class " + name + ": " + std::to_string(definition->methodCount) + " methods, " +
              std::to_string(definition->propertyCount) + " properties, " +
              std::to_string(definition->dataSize) + " bytes");
}

ClassInfo& ClassRegistry::AddSubclass(std::string name, ClassInfo& super) {
    return Add(std::move(name), super.kind, &super);
}

ClassInfo& ClassRegistry::AddRecordClass(std::string name, const void* record) {
    ClassInfo& info = Add(std::move(name), ThingKind::Object);
    info.dataSize = sizeof record;
    info.record = record;
    return info;
}

bool ClassRegistry::IsA(const ClassInfo* info, const ClassInfo& ancestor) {
    while (info != nullptr && info != &ancestor)
        info = info->super;
    return info != nullptr;
}

Thing& ClassRegistry::Make(ClassInfo& info) {
    switch (info.kind) {
        case ThingKind::MemoryBlock:
            return core_.Make<MemoryBlockThing>(&info);
        case ThingKind::Picture:
            return core_.Make<PictureThing>(&info);
        case ThingKind::Graphics:
            return core_.Make<GraphicsThing>(&info);
        case ThingKind::FolderItem:
            return core_.Make<FolderItemThing>(&info);
        case ThingKind::Exception:
            return core_.Make<ExceptionThing>(&info);
        case ThingKind::Variant:
            return core_.Make<VariantThing>(&info);
        case ThingKind::Factory:
            return core_.Make<FactoryThing>(&info);
        default: {
            auto& object = core_.Make<PlainObject>(&info, info.dataSize);
            if (info.record != nullptr) std::memcpy(object.ClassData(), &info.record, sizeof info.record);
            return object;
        }
    }
}

void ClassRegistry::Destroy(Thing& thing) {
    for (const ClassInfo* info = thing.classInfo; info != nullptr; info = info->super) {
        if (info->definition == nullptr || info->definition->destructor == nullptr) continue;
        const detail::CurrentScope scope(core_.host);
        reinterpret_cast<void (*)(Handle)>(info->definition->destructor)(thing.Address());
    }
    for (const ClassInfo* info = thing.classInfo; info != nullptr; info = info->super) {
        if (info->definition != nullptr) ReleaseFields(thing, *info->definition);
    }
}

void ClassRegistry::ReleaseFields(Thing& thing, const ClassDefinition& definition) {
    for (int64_t i = 0; i < definition.propertyCount; ++i) {
        const PropertyDefinition& property = definition.properties[i];
        if (property.setter != kDirectAccess || property.type == nullptr) continue;
        const WireType type = WireTypeOf(property.type);
        if (type != WireType::Object && type != WireType::String) continue;
        const int64_t offset = definition.forSystemUse - kObjectHeaderSize + property.parameter;
        if (offset < 0 || offset + int64_t{sizeof(Handle)} > thing.ClassDataSize()) continue;
        Handle held = nullptr;
        std::memcpy(&held, thing.ClassData() + offset, sizeof held);
        std::memset(thing.ClassData() + offset, 0, sizeof held);
        core_.Unlock(held);
    }
}

EventInfo* ClassRegistry::FindEvent(const ClassInfo& info, std::string_view name) const {
    for (const auto& event : eventStore_) {
        for (const ClassInfo* owner = &info; owner != nullptr; owner = owner->super) {
            const ClassDefinition* definition = owner->definition;
            if (definition == nullptr || definition->eventCount == 0) continue;
            if (event->definition < definition->events ||
                event->definition >= definition->events + definition->eventCount)
                continue;
            if (event->definition->declaration != nullptr &&
                Declaration::Parse(event->definition->declaration).name == name) {
                return event.get();
            }
        }
    }
    return nullptr;
}

const MethodDefinition* FindByDeclaration(const MethodDefinition* methods, int64_t count,
                                          std::string_view declaration) {
    const auto found =
        std::find_if(methods, methods + (methods == nullptr ? 0 : count), [&](const auto& method) {
            return method.declaration != nullptr && declaration == method.declaration;
        });
    return methods == nullptr || found == methods + count ? nullptr : found;
}

namespace {

void RegisterPluginVersion(Core& core, int32_t version) {
    core.sdkVersion = version;
}

template <FixedText kName>
void RegisterOther(Core& core, void* definition) {
    core.definitions[kName.text].push_back(definition);
}

void RegisterClass(Core& core, void* definition) {
    RegisterOther<"PluginRegisterClass">(core, definition);
    core.classes.Register(static_cast<ClassDefinition*>(definition));
}

Handle NewInstance(Core& core, const char* name) {
    if (core.failNewInstance.Hit() || name == nullptr) return nullptr;
    ClassInfo* info = core.classes.Find(name);
    return info == nullptr ? nullptr : core.classes.Make(*info).Address();
}

void* ObjectType(Core& core, const char* name) {
    return name == nullptr ? nullptr : core.classes.Find(name);
}

Handle NewInstanceOfClass(Core& core, void* classHandle) {
    ClassInfo* info = core.classes.FromHandle(classHandle);
    return info == nullptr ? nullptr : core.classes.Make(*info).Address();
}

void* ClassOf(Core& core, Handle object) {
    const Thing* thing = core.Find(object);
    return thing == nullptr ? nullptr : thing->classInfo;
}

bool ObjectIsa(Core& core, Handle object, void* classHandle) {
    const Thing* thing = core.Find(object);
    const ClassInfo* info = core.classes.FromHandle(classHandle);
    return thing != nullptr && info != nullptr && ClassRegistry::IsA(thing->classInfo, *info);
}

void* LoadObjectMethod(Core& core, Handle object, const char* declaration) {
    const Thing* thing = core.Find(object);
    if (thing == nullptr || declaration == nullptr) return nullptr;
    for (const ClassInfo* info = thing->classInfo; info != nullptr; info = info->super) {
        if (info->definition != nullptr) {
            const MethodDefinition* method =
                FindByDeclaration(info->definition->methods, info->definition->methodCount, declaration);
            if (method != nullptr) return method->function != nullptr ? method->function : method->setter;
        } else if (void* function = FindMember(core, info->name, declaration)) {
            return function;
        }
    }
    return nullptr;
}

void* LoadGlobalMethod(Core& core, Handle module, const char* declaration) {
    return module != nullptr || declaration == nullptr ? nullptr : FindMember(core, "", declaration);
}

void* LoadSharedMethod(Core& core, void* classHandle, const char* declaration) {
    const ClassInfo* info = core.classes.FromHandle(classHandle);
    if (info == nullptr || info->definition == nullptr || declaration == nullptr) return nullptr;
    const MethodDefinition* method =
        FindByDeclaration(info->definition->sharedMethods, info->definition->sharedMethodCount, declaration);
    return method == nullptr ? nullptr : method->function;
}

void* EventInstance(Core& core, Handle object, void* word) {
    const Thing* thing = core.Find(object);
    if (thing == nullptr) return nullptr;
    if (!core.classes.IsEvent(word)) {
        core.Misuse("what should be an event is none");
        return nullptr;
    }
    for (const ClassInfo* info = thing->classInfo; info != nullptr; info = info->super) {
        const auto found = info->implemented.find(static_cast<const EventInfo*>(word));
        if (found != info->implemented.end()) return found->second;
    }
    return nullptr;
}

}  // namespace

std::span<const EntryRow> ClassEntries() {
    static const EntryRow rows[] = {
        Row<"RegisterPluginVersion", RegisterPluginVersion>(),
        Row<"PluginRegisterClass", RegisterClass>(),
        Row<"PluginRegisterClassExtension", RegisterOther<"PluginRegisterClassExtension">>(),
        Row<"PluginRegisterControl", RegisterOther<"PluginRegisterControl">>(),
        Row<"PluginRegisterMobileControl", RegisterOther<"PluginRegisterMobileControl">>(),
        Row<"PluginRegisterModule", RegisterOther<"PluginRegisterModule">>(),
        Row<"PluginRegisterMethod", RegisterOther<"PluginRegisterMethod">>(),
        Row<"PluginRegisterInterface", RegisterOther<"PluginRegisterInterface">>(),
        Row<"PluginRegisterDBCursor", RegisterOther<"PluginRegisterDBCursor">>(),
        Row<"PluginRegisterDBEngine", RegisterOther<"PluginRegisterDBEngine">>(),
        Row<"PluginRegisterDBTable", RegisterOther<"PluginRegisterDBTable">>(),
        Row<"PluginNewInstance", NewInstance>(),
        Row<"PluginNewInstanceOfClass", NewInstanceOfClass>(),
        Row<"CreateInstance", NewInstanceOfClass>(),
        Row<"pluginObjectType", ObjectType>(),
        Row<"RuntimeClassOf", ClassOf>(),
        Row<"RuntimeObjectIsa", ObjectIsa>(),
        Row<"REALLoadObjectMethod", LoadObjectMethod>(),
        Row<"REALLoadGlobalMethod", LoadGlobalMethod>(),
        Row<"PluginLoadSharedMethod", LoadSharedMethod>(),
        Row<"GetEventInstance", EventInstance>(),
    };
    return rows;
}

}  // namespace trvhost
