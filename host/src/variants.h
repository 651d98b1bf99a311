// Variants: boxed values.
#pragma once

#include "core.h"

namespace trvhost {

class VariantThing : public Thing {
  public:
    static constexpr ThingKind kKind = ThingKind::Variant;
    explicit VariantThing(ClassInfo* info) : Thing(kKind, info, info->dataSize) {}

    void DropChildren(Core&) override { value = Value(); }

    Value value;
};

}  // namespace trvhost
