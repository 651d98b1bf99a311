#pragma once

// Small objects on the heap: made without exceptions, and strung together so that all of them can be freed
// at once. A chained class has a public `next`.

#include <new>
#include <utility>

#include "frame/debug_log.h"

namespace trv {

/// A new object for the caller to delete; nil, and the label in the log, if there is no memory for it.
template <class T, class... Arguments>
[[nodiscard]] T* NewObject(const char* failureLabel, Arguments&&... arguments) {
    T* const object = new (std::nothrow) T(std::forward<Arguments>(arguments)...);
    if (object == nullptr) TRV_LOG(failureLabel);
    return object;
}

/// Makes `object` the head of the chain. One that has a `next` already keeps it, with a warning; one that is
/// in the chain already stays where it is, as the chain would have no end otherwise. Nil is left out.
template <class T>
void AddToChain(T*& head, T* object) {
    if (object == nullptr) return;
    for (const T* member = head; member != nullptr; member = member->next) {
        if (member == object) return;
    }
    if (object->next == nullptr) {
        object->next = head;
    } else {
        TRV_LOG("Warning: Next already set!");
    }
    head = object;
}

/// Deletes all objects of the chain and leaves it empty.
template <class T>
void FreeChain(T*& head) {
    while (head != nullptr)
        delete std::exchange(head, head->next);
}

}  // namespace trv
