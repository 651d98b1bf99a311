// The thunk around every function that the plug-in can call: finds the current host, counts, keeps C++
// exceptions in.
#pragma once

#include <cstdint>
#include <exception>
#include <span>
#include <string>
#include <type_traits>

#include "core.h"

namespace trvhost {

/// A text as a template argument.
template <size_t kSize>
struct FixedText {
    char text[kSize];
    constexpr FixedText(const char (&source)[kSize]) {
        for (size_t i = 0; i < kSize; ++i)
            text[i] = source[i];
    }
};

/// One function as the plug-in sees it. Of a method of the host's own classes the name is
/// "Class.declaration".
struct EntryRow {
    const char* name;
    void* address;
    size_t* index;  ///< where its calls are counted; set when the table of all entries is made
};

/// A Boolean crosses as a byte, everything else as it is.
template <class T>
using Crossing = std::conditional_t<std::is_same_v<T, bool>, uint8_t, T>;

/// The current host while one of its entries runs; none when no host lives or the thread is not the host's.
class EntryScope {
  public:
    EntryScope(const char* name, size_t index) : core_(Core::Current()) {
        if (core_ == nullptr) return;
        if (!core_->IsHostThread()) {
            core_->Misuse(std::string(name) + " is called");
            core_ = nullptr;
            return;
        }
        previous_ = core_->Enter(name, index);
    }
    ~EntryScope() {
        if (core_ != nullptr) core_->Leave(previous_);
    }
    EntryScope(const EntryScope&) = delete;
    EntryScope& operator=(const EntryScope&) = delete;

    Core* Get() const { return core_; }

  private:
    Core* core_;
    const char* previous_ = nullptr;
};

template <FixedText kName, auto kFunction>
struct Thunk;

template <FixedText kName, class R, class... Args, R (*kFunction)(Core&, Args...)>
struct Thunk<kName, kFunction> {
    static inline size_t index = 0;

    static Crossing<R> Call(Crossing<Args>... args) noexcept {
        const EntryScope scope(kName.text, index);
        if (Core* core = scope.Get()) {
            try {
                return static_cast<Crossing<R>>(kFunction(*core, static_cast<Args>(args)...));
            } catch (const std::exception& e) {
                core->Misuse(e.what());
            }
        }
        return Crossing<R>();
    }
};

/// The row of an entry, or of a method of the host's own classes.
template <FixedText kName, auto kFunction>
EntryRow Row() {
    using T = Thunk<kName, kFunction>;
    static constexpr FixedText name = kName;
    return {name.text, reinterpret_cast<void*>(&T::Call), &T::index};
}

// One list for each subject.
std::span<const EntryRow> ArrayEntries();
std::span<const EntryRow> ClassEntries();
std::span<const EntryRow> GraphicsEntries();
std::span<const EntryRow> MemoryBlockEntries();
std::span<const EntryRow> ObjectEntries();
std::span<const EntryRow> OtherEntries();
std::span<const EntryRow> PictureEntries();
std::span<const EntryRow> PropertyEntries();
std::span<const EntryRow> StringEntries();
std::span<const EntryRow> VariantEntries();

/// All entries, and apart from them those of the second resolver.
const std::vector<EntryRow>& AllEntries();
/// The entry of a name, or null.
const EntryRow* FindEntry(std::string_view name);
/// The resolvers that plug-ins get.
void* ResolveForPlugin(const char* name) noexcept;
void* ResolveScript(const char* name) noexcept;

/// A method of one of the host's own classes, and the versions that have it: from `since` on, below `until`.
struct MemberRow {
    EntryRow entry;
    double since = 0;
    double until = 1e9;
};
/// Entries that are another function below a version.
std::span<const MemberRow> VersionedEntries();
std::span<const MemberRow> MemoryBlockMembers();
std::span<const MemberRow> PictureMembers();
std::span<const MemberRow> GraphicsMembers();
std::span<const MemberRow> GlobalMembers();
/// The methods of one of the host's own classes that this host has.
std::vector<const MemberRow*> MembersOf(const Core& core, std::string_view className);
/// What stands behind "Class." in a row's name.
std::string_view DeclarationOf(const MemberRow& row);
/// Address of a method of the host's own, "Class.declaration" ("" for the global ones), that this host has;
/// or null.
void* FindMember(const Core& core, std::string_view className, std::string_view declaration);

}  // namespace trvhost
