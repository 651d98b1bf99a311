// Classes: the host's own, those that the plug-in registers, and subclasses that a test makes of these.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "thing.h"
#include "trvhost/boundary.h"
#include "trvhost/declaration.h"

namespace trvhost {

/// An event of a registered class; its address is the word that `GetEventInstance` gets.
struct EventInfo {
    const EventDefinition* definition = nullptr;
    /// What the event definition points to at table version 9; the word stands second, as it does in the
    /// definition.
    struct {
        const void* declaration;
        EventInfo* word;
    } indirect{};
};

/// A member of a class with its declaration taken apart.
struct Member {
    const MethodDefinition* method = nullptr;  ///< null for a method of the host's own
    void* function = nullptr;
    void* setter = nullptr;
    Declaration declaration;
};

/// A class. Its address is the class handle that crosses the boundary.
struct ClassInfo {
    std::string name;
    ClassInfo* super = nullptr;
    ThingKind kind = ThingKind::Object;
    const ClassDefinition* definition = nullptr;  ///< of classes that the plug-in registered
    int64_t dataSize = 0;
    const void* record = nullptr;  ///< what the first word of new objects' class data points to
    std::map<const EventInfo*, void*> implemented;  ///< events with their functions
    /// Members of a registered class, taken apart when first asked for: instance members, then shared ones.
    mutable std::optional<std::vector<Member>> members[2];
};

class ClassRegistry {
  public:
    explicit ClassRegistry(Core& core);

    /// The class of a name, unless the options say that it is missing; or null.
    ClassInfo* Find(std::string_view name) const;
    /// The class of a handle; a handle that is none is a misuse and gives null.
    ClassInfo* FromHandle(void* handle) const;
    void Register(ClassDefinition* definition);
    ClassInfo& AddSubclass(std::string name, ClassInfo& super);
    /// A class as another plug-in has it, whose objects' data is one pointer.
    ClassInfo& AddRecordClass(std::string name, const void* record);

    static bool IsA(const ClassInfo* info, const ClassInfo& ancestor);
    /// An object of the class with one reference, without constructor.
    Thing& Make(ClassInfo& info);
    /// The end of an object: destructors, from the object's class up, then the fields that the host wrote.
    void Destroy(Thing& thing);

    const std::vector<const ClassDefinition*>& Definitions() const { return definitions_; }
    EventInfo* FindEvent(const ClassInfo& info, std::string_view name) const;
    bool IsEvent(const void* word) const { return events_.count(word) != 0; }

  private:
    /// Releases what the host itself put into fields of direct access, which destructors leave alone.
    void ReleaseFields(Thing& thing, const ClassDefinition& definition);
    ClassInfo& Add(std::string name, ThingKind kind, ClassInfo* super = nullptr);

    Core& core_;
    std::map<std::string, std::unique_ptr<ClassInfo>, std::less<>> classes_;
    std::set<const void*> handles_;
    std::vector<const ClassDefinition*> definitions_;
    std::vector<std::unique_ptr<EventInfo>> eventStore_;
    std::set<const void*> events_;
};

/// The method or shared method of a definition with this declaration; null if there is none.
const MethodDefinition* FindByDeclaration(const MethodDefinition* methods, int64_t count,
                                          std::string_view declaration);

}  // namespace trvhost
