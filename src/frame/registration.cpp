#include "frame/registration.h"

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <memory>
#include <new>
#include <string_view>
#include <utility>

#include "frame/debug_log.h"
#include "frame/debugging_property.h"
#include "frame/extension_texts.h"
#include "frame/heap_objects.h"
#include "frame/host_calls.h"

namespace trv {

namespace {

/// Whether the host wants class extensions and global methods as modules.
bool WantsModules() {
    return HostVersion() >= 2013.0 && HostVersion() < 3000.0;
}

/// A module made here, with what its definition points to but for the methods.
struct Module {
    ModuleDefinition definition;
    PropertyDefinition debugging;
    char name[99];
};

using OwnedModule = std::unique_ptr<Module>;
using OwnedMethods = std::unique_ptr<MethodDefinition[]>;

OwnedModule NewModule() {
    return OwnedModule(NewObject<Module>("Warning: Failed to allocate memory for module definition."));
}

OwnedMethods NewMethods(int64_t count) {
    OwnedMethods methods(new (std::nothrow) MethodDefinition[static_cast<size_t>(count)]);
    if (methods == nullptr) TRV_LOG("Warning: Failed to allocate memory for method definitions.");
    return methods;
}

/// Hands a made module with its methods over to the host, which keeps both.
void RegisterMadeModule(OwnedModule module, OwnedMethods methods, int64_t count) {
    module->debugging = DebuggingProperty();
    module->definition = {.version = SdkVersion(),
                          .name = module->name,
                          .methods = methods.release(),
                          .methodCount = count,
                          .properties = &module->debugging,
                          .propertyCount = 1,
                          .flags = kOrdinary};
    RegisterModule(module.release()->definition);
}

/// The methods of an extension while they are made; the texts that were made for them go with it.
class ExtensionMethods {
  public:
    explicit ExtensionMethods(int64_t capacity) : methods_(NewMethods(capacity)) {}
    ~ExtensionMethods() {
        for (int64_t i = 0; methods_ != nullptr && i < count_; ++i)
            OwnedText(const_cast<char*>(methods_[static_cast<size_t>(i)].declaration)).reset();
    }
    ExtensionMethods(const ExtensionMethods&) = delete;
    ExtensionMethods& operator=(const ExtensionMethods&) = delete;

    [[nodiscard]] explicit operator bool() const { return methods_ != nullptr; }

    /// An entry for one function of `method`; true if there is none, false if its declaration failed.
    using Rewrite = OwnedText (*)(const char* declaration, const char* className);
    [[nodiscard]] bool Add(const MethodDefinition& method, void* function, Rewrite rewrite,
                           const char* className) {
        if (function == nullptr) return true;
        OwnedText declaration = rewrite(method.declaration, className);
        if (declaration == nullptr) return false;
        methods_[static_cast<size_t>(count_++)] = {.function = function,
                                                   .declaration = declaration.release(),
                                                   .flags = method.flags | kGlobalMember,
                                                   .attributeCount = method.attributeCount,
                                                   .attributes = method.attributes};
        return true;
    }

    /// Gives the methods away, texts and all.
    [[nodiscard]] OwnedMethods Take() { return std::move(methods_); }

  private:
    OwnedMethods methods_;
    int64_t count_ = 0;
};

int64_t CountFunctions(const MethodDefinition* methods, int64_t count) {
    int64_t functions = 0;
    for (int64_t i = 0; i < count; ++i)
        functions += (methods[i].setter != nullptr ? 1 : 0) + (methods[i].function != nullptr ? 1 : 0);
    return functions;
}

void RegisterExtensionModule(const ClassDefinition& definition) {
    const int64_t count =
        definition.methods == nullptr ? 0 : CountFunctions(definition.methods, definition.methodCount);
    if (count == 0) return;
    OwnedModule module = NewModule();
    if (module == nullptr) return;
    const char* const className = definition.name;
    std::snprintf(module->name, sizeof module->name, "%s%s%s", className == nullptr ? "" : className,
                  kPartName, "ExtensionTRV");
    ExtensionMethods methods(count);
    if (!methods) return;
    for (int64_t i = 0; i < definition.methodCount; ++i) {
        const MethodDefinition& method = definition.methods[i];
        if (!methods.Add(method, method.setter, AddAssignsValue, className) ||
            !methods.Add(method, method.function, AddExtendsRef, className))
            return;
    }
    RegisterMadeModule(std::move(module), methods.Take(), count);
}

void RegisterGlobalsModule(const MethodDefinition* methods, int64_t count) {
    OwnedModule module = NewModule();
    if (module == nullptr) return;
    std::snprintf(module->name, sizeof module->name, "%s%s", kPartName, "GlobalsTRV");
    OwnedMethods copies = NewMethods(count);
    if (copies == nullptr) return;
    for (int64_t i = 0; i < count; ++i) {
        copies[static_cast<size_t>(i)] = methods[i];
        copies[static_cast<size_t>(i)].flags |= kGlobalMember;
    }
    RegisterMadeModule(std::move(module), std::move(copies), count);
}

/// Members that say nothing of how they are seen become the module's; `missing` tells of an array that is not
/// there.
template <class Definition>
void CompleteMembers(Definition* members, int64_t& count, const char* missing) {
    if (members == nullptr && count != 0) {
        TRV_LOG(missing);
        count = 0;
    }
    for (int64_t i = 0; i < count; ++i) {
        if ((members[i].flags & kModuleVisibility) == 0) members[i].flags |= kModuleMember;
    }
    FixFlags(members, count);
}

/// What an event is called in controls with new events; null where the name is the same.
const char* NewEventName(const char* declaration) {
    static constexpr std::pair<std::string_view, const char*> kNames[] = {
        {"EnableMenuItems", "MenuBarSelected"}, {"GotFocus", "FocusReceived"}, {"LostFocus", "FocusLost"}};
    const std::string_view name = declaration == nullptr ? "" : declaration;
    const auto* const found = std::find_if(std::begin(kNames), std::end(kNames),
                                           [&](const auto& names) { return names.first == name; });
    return found == std::end(kNames) ? nullptr : found->second;
}

void RenewEvents(ControlDefinition& definition) {
    const int64_t dropped = std::clamp<int64_t>(definition.eventCount, 0, 5);
    definition.eventCount -= dropped;
    if (definition.events == nullptr) return;
    definition.events += dropped;
    for (int64_t i = 0; i < definition.eventCount; ++i) {
        const char* const name = NewEventName(definition.events[i].declaration);
        if (name != nullptr) definition.events[i].declaration = name;
    }
}

}  // namespace

void RegisterClassExtension(ClassDefinition& definition) {
    FixFlags(definition);
    if (WantsModules()) {
        RegisterExtensionModule(definition);
        return;
    }
    definition.version = SdkVersion();
    host::PluginRegisterClassExtension(&definition);
}

void RegisterGlobalMethods(MethodDefinition* methods, int64_t count) {
    if (methods == nullptr || count <= 0) return;
    FixFlags(methods, count);
    if (WantsModules()) {
        RegisterGlobalsModule(methods, count);
        return;
    }
    for (int64_t i = 0; i < count; ++i)
        host::PluginRegisterMethod(&methods[i]);
}

void RegisterControl(ControlDefinition& definition) {
    definition.dataSize = RegisteredDataSize(definition.dataSize);
    if ((definition.flags & kControlWithNewEvents) != 0) RenewEvents(definition);
    definition.version = SdkVersion();
    host::PluginRegisterControl(&definition);
}

void RegisterModule(ModuleDefinition& definition) {
    CompleteMembers(definition.methods, definition.methodCount,
                    "Error: method array is nil while count is not zero!");
    CompleteMembers(definition.properties, definition.propertyCount,
                    "Error: property array is nil while count is not zero!");
    CompleteMembers(definition.enums, definition.enumCount,
                    "Error: enum array is nil while count is not zero!");
    definition.flags = FixFlags(definition.flags);
    if (definition.flags == 0) definition.flags = kOrdinary;
    definition.version = SdkVersion();
    host::PluginRegisterModule(&definition);
}

}  // namespace trv
