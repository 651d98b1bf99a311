// Objects of PictureFactoryTRV and of the subclasses that stand for a program's own.
#pragma once

#include "core.h"

namespace trvhost {

class FactoryThing : public Thing {
  public:
    static constexpr ThingKind kKind = ThingKind::Factory;
    explicit FactoryThing(ClassInfo* info) : Thing(kKind, info, info->dataSize) {}

    FactoryHandler handler;
};

/// What the plug-in calls when the event fires.
void* FactoryEventFunction();

}  // namespace trvhost
