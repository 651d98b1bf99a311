// The host's exception objects.
#pragma once

#include "core.h"

namespace trvhost {

class ExceptionThing : public Thing {
  public:
    static constexpr ThingKind kKind = ThingKind::Exception;
    explicit ExceptionThing(ClassInfo* info) : Thing(kKind, info, info->dataSize) {}

    void DropChildren(Core& core) override { core.Unlock(message); }

    Handle message = nullptr;  ///< a string
    int64_t errorNumber = 0;
};

}  // namespace trvhost
