#pragma once

// Counted references to the host's things, released when their holder ends. From a host that cannot lock
// objects nothing is shared, so that nothing is let go that was never held; what comes as a result is owned
// all the same.

#include <utility>

#include "frame/host_calls.h"

namespace trv {

/// Takes a reference, if there is an object and the host can; what comes back is the object if so, else nil.
[[nodiscard]] inline HostObject LockedObject(HostObject object) {
    if (object == nullptr || !host::REALLockObject.Available()) return nullptr;
    host::REALLockObject(object);
    return object;
}

/// Releases a reference.
inline void ReleaseObject(HostObject object) {
    if (object != nullptr) host::REALUnlockObject(object);
}

/// Holds one reference to an object of the host's, or nil.
class ObjectReference {
  public:
    ObjectReference() = default;
    /// Takes over a reference that the caller owns.
    explicit ObjectReference(HostObject owned) : object_(owned) {}
    ObjectReference(ObjectReference&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {}
    ObjectReference& operator=(ObjectReference&& other) noexcept {
        std::swap(object_, other.object_);
        return *this;
    }
    ~ObjectReference() { ReleaseObject(object_); }

    /// A further reference to an object that somebody else holds; nil if the host cannot lock it.
    [[nodiscard]] static ObjectReference Share(HostObject object) {
        return ObjectReference(LockedObject(object));
    }

    [[nodiscard]] HostObject Get() const { return object_; }
    /// Hands the reference to the caller.
    [[nodiscard]] HostObject Release() { return std::exchange(object_, nullptr); }
    explicit operator bool() const { return object_ != nullptr; }

  private:
    HostObject object_ = nullptr;
};

/// Holds one reference to a string of the host's, or nil.
class StringReference {
  public:
    StringReference() = default;
    /// Takes over a reference that the caller owns.
    explicit StringReference(HostString owned) : string_(owned) {}
    StringReference(StringReference&& other) noexcept : string_(std::exchange(other.string_, nullptr)) {}
    StringReference& operator=(StringReference&& other) noexcept {
        std::swap(string_, other.string_);
        return *this;
    }
    ~StringReference() {
        if (string_ != nullptr) host::REALUnlockString(string_);
    }

    /// A further reference to a string that somebody else holds; nil if the host cannot lock it.
    [[nodiscard]] static StringReference Share(HostString string) {
        if (string == nullptr || !host::REALLockString.Available()) return {};
        host::REALLockString(string);
        return StringReference(string);
    }

    [[nodiscard]] HostString Get() const { return string_; }
    [[nodiscard]] HostString Release() { return std::exchange(string_, nullptr); }

  private:
    HostString string_ = nullptr;
};

/// Stores `object` in a slot that holds one reference: the new one is taken before the old one is released,
/// so that a slot can be given what it already holds. The slot is nil if the host cannot lock the object.
inline void AssignReference(HostObject& slot, HostObject object) {
    const HostObject held = LockedObject(object);
    ReleaseObject(std::exchange(slot, held));
}

/// Releases what a slot holds and clears it.
inline void ClearReference(HostObject& slot) {
    ReleaseObject(std::exchange(slot, nullptr));
}
inline void ClearReference(HostString& slot) {
    if (const HostString old = std::exchange(slot, nullptr)) host::REALUnlockString(old);
}

}  // namespace trv
