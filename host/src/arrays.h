// Arrays of one dimension, in the layout that the options ask for.
#pragma once

#include <vector>

#include "core.h"

namespace trvhost {

/// Bytes of an element; 0 for a kind that does not exist.
int64_t ElementSize(ElementKind kind);

class ArrayThing : public Thing {
  public:
    static constexpr ThingKind kKind = ThingKind::Array;
    /// An array of zeros (or nils). Throws std::bad_alloc.
    ArrayThing(ElementKind element, int64_t ubound, ArrayLayout arrayLayout);

    void DropChildren(Core& core) override;
    bool HoldsThings() const { return elementKind >= ElementKind::String; }
    int64_t Ubound() const { return static_cast<int64_t>(elements_.size()) / elementSize_ - 1; }
    bool Contains(int64_t index) const { return index >= 0 && index <= Ubound(); }
    std::byte* Element(int64_t index) { return elements_.data() + index * elementSize_; }
    /// Makes room for one more element, zero, before `index` (0 to Ubound() + 1).
    std::byte* Insert(int64_t index);

    const ElementKind elementKind;

  protected:
    void MirrorReferences() override { Mirror(); }

  private:
    void Mirror();

    const ArrayLayout layout_;
    const int64_t elementSize_;
    std::vector<std::byte> elements_;
};

/// A new array; null for an unknown kind or an upper bound below -1, and with OutOfMemoryException noted
/// where the memory is not to be had.
ArrayThing* NewArray(Core& core, int32_t kind, int64_t ubound);

/// An element as Value, things with a reference; and the way back. Throws std::out_of_range and
/// std::invalid_argument.
Value ReadElement(Core& core, ArrayThing& array, int64_t index);
void WriteElement(Core& core, ArrayThing& array, int64_t index, const Value& value);

}  // namespace trvhost
