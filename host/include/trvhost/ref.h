// Ref: a counted reference on anything that the host owns (object, string, text or array).
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>

namespace trvhost {

class Host;

/// Holds one reference of a thing of the host. Copying takes another reference, moving hands it on,
/// destruction releases it: the last one runs the class's destructor. An empty Ref is nil. A Ref may outlive
/// its Host; it then does nothing. Used on the host's thread only.
class Ref {
  public:
    Ref() noexcept = default;
    Ref(std::nullptr_t) noexcept {}
    Ref(const Ref& other) noexcept;
    Ref(Ref&& other) noexcept
        : handle_(std::exchange(other.handle_, nullptr)), hostId_(std::exchange(other.hostId_, 0)) {}
    Ref& operator=(Ref other) noexcept {
        std::swap(handle_, other.handle_);
        std::swap(hostId_, other.hostId_);
        return *this;
    }
    ~Ref() { Reset(); }

    /// Takes over the one reference that came with a result. Null gives nil.
    static Ref Adopt(const Host& host, void* handle) noexcept;
    /// Takes a further reference on a borrowed handle. Null gives nil.
    static Ref Share(const Host& host, void* handle) noexcept;

    explicit operator bool() const noexcept { return handle_ != nullptr; }
    /// The pointer that crosses the boundary; borrowed. Null for nil.
    void* Handle() const noexcept { return handle_; }
    /// Gives up the reference without releasing it: the receiver of the handle owns it now.
    void* Release() noexcept {
        hostId_ = 0;
        return std::exchange(handle_, nullptr);
    }
    void Reset() noexcept;

    /// The host that owns the thing, or null for nil or when that host has ended.
    Host* Owner() const noexcept;
    /// References held by anyone; 0 for nil and for a thing that is dead.
    int64_t References() const noexcept;
    /// The class's name ("String", "Text" and "Array" for those); empty for nil.
    std::string ClassName() const;

    /// Same thing, not same value.
    friend bool operator==(const Ref& a, const Ref& b) noexcept { return a.handle_ == b.handle_; }
    friend bool operator==(const Ref& a, std::nullptr_t) noexcept { return a.handle_ == nullptr; }

  private:
    void* handle_ = nullptr;
    uint64_t hostId_ = 0;
};

}  // namespace trvhost
