#pragma once

// Methods of the host's own classes, found by the text of their declaration.

#include <atomic>

#include "frame/host_calls.h"

namespace trv {

template <class Signature>
class ObjectMethod;

/// A method that is looked up on the first object that has it and then kept for the process, since all
/// objects of a class share it. The function takes the object, then the declared arguments as they cross the
/// boundary.
template <class R, class... A>
class ObjectMethod<R(A...)> {
  public:
    using Function = typename host::Entry<R(A...)>::Function;

    constexpr explicit ObjectMethod(const char* declaration) : declaration_(declaration) {}

    /// The method, or null if `object` is nil or has no such method.
    [[nodiscard]] Function Find(HostObject object) {
        if (object == nullptr) return nullptr;
        void* found = slot_.load(std::memory_order_relaxed);
        if (found == nullptr) {
            found = host::REALLoadObjectMethod(object, declaration_);
            slot_.store(found, std::memory_order_relaxed);
        }
        return reinterpret_cast<Function>(found);
    }

  private:
    const char* declaration_;
    std::atomic<void*> slot_{nullptr};
};

}  // namespace trv
