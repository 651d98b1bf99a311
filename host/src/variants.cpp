#include "variants.h"

#include "entry.h"
#include "string_things.h"

namespace trvhost {

namespace {

Handle Box(Core& core, Value value) {
    ClassInfo* info = core.classes.Find("Variant");
    if (info == nullptr) return nullptr;
    auto& variant = static_cast<VariantThing&>(core.classes.Make(*info));
    variant.value = std::move(value);
    return variant.Address();
}

template <class T>
Handle BoxPlain(Core& core, T value) {
    return Box(core, value);
}

Handle BoxThing(Core& core, Handle thing) {
    if (thing != nullptr && core.Find(thing) == nullptr) return nullptr;
    return Box(core, Ref::Share(core.host, thing));
}

}  // namespace

std::span<const EntryRow> VariantEntries() {
    static const EntryRow rows[] = {
        Row<"BooleanToVariant", BoxPlain<bool>>(),    Row<"DoubleToVariant", BoxPlain<double>>(),
        Row<"Int32ToVariant", BoxPlain<int32_t>>(),   Row<"Int64ToVariant", BoxPlain<int64_t>>(),
        Row<"IntegerToVariant", BoxPlain<int64_t>>(), Row<"PtrToVariant", BoxPlain<void*>>(),
        Row<"SingleToVariant", BoxPlain<float>>(),    Row<"StringToVariant", BoxThing>(),
        Row<"PluginNewVariantText", BoxThing>(),      Row<"UInt32ToVariant", BoxPlain<uint32_t>>(),
        Row<"UInt64ToVariant", BoxPlain<uint64_t>>(),
    };
    return rows;
}

}  // namespace trvhost
