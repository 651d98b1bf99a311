#pragma once

// The bytes of a host string, or of somebody else's memory.

#include <cstdint>

#include "frame/references.h"

namespace trv {

/// Bytes, and the references that keep them readable. `data` is null where there are none, and `size`, in
/// bytes, is then 0. One thread at a time.
class rbData {
  public:
    /// The string's bytes as they are, with a reference of its own on the string.
    explicit rbData(HostString string);
    /// Bytes of the caller's. With an owner, a reference on that object is held as well. A size below 0, and
    /// any size of nil bytes, becomes 0.
    rbData(const void* bytes, int64_t byteCount, HostObject owner = nullptr);
    ~rbData();
    rbData(const rbData&) = delete;
    rbData& operator=(const rbData&) = delete;

    /// One on the heap, for `delete`; nil if there is no memory.
    [[nodiscard]] static rbData* New(HostString string);

    /// Gives up all that is held without releasing it, so that the bytes outlive the rbData.
    void leak();

    const uint8_t* data = nullptr;
    int64_t size = 0;
    /// The next of a chain (heap_objects.h).
    rbData* next = nullptr;

  private:
    StringReference string_;
    ObjectReference owner_;
    StringData hostData_{};
    bool hostDataOwed_ = false;
};

/// Makes `item` the head of the chain.
void AddDataChain(rbData*& head, rbData* item);

}  // namespace trv
