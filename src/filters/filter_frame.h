#pragma once

// The frame of every filter: the tests in the order that its method makes them, the destination, the worker.
// A filter reads one image and writes another of the same size, which may be the same image.

#include <initializer_list>
#include <type_traits>
#include <utility>

#include "frame/debug_log.h"
#include "frame/references.h"
#include "image/destination.h"
#include "image/pixel_loop.h"

namespace trv {

/// A test that a method makes of its source. Which ones and in which order differs from filter to filter, on
/// purpose.
enum class FilterTest { Valid, ByteSamples };

[[nodiscard]] inline bool Passes(const PictureTRV& source, FilterTest test) {
    return test == FilterTest::Valid ? IsValid(&source) : HasByteSamples(source);
}

/// Whether a filter names its destination in the log. Most do; an empty destination is an end without a word
/// in the others.
enum class DestLine { Written, Omitted };

/// Tests the source `me`, takes `given` or a new image like the source as the destination, calls
/// `work(source, dest)` with both records and gives the destination with one reference for the caller; nil,
/// with no pixel written, if a test fails or there is no destination, and nil too if `work` answers, and its
/// answer is false. The destination can be smaller than the source and of another layout.
template <class Work>
HostObject RunFilter(HostObject me, HostObject given, std::initializer_list<FilterTest> tests, Work&& work,
                     DestLine destLine = DestLine::Written) {
    PictureTRV& source = *RecordOf(me);
    for (const FilterTest test : tests) {
        if (!Passes(source, test)) return nullptr;
    }
    if (!StartImage(&source)) return nullptr;
    ObjectReference dest = TakeDestination(source, given);
    if (destLine == DestLine::Written) TRV_LOG("dest", dest.Get());
    if (!dest || !StartImage(RecordOf(dest.Get()))) return nullptr;
    if constexpr (std::is_same_v<std::invoke_result_t<Work, PictureTRV&, PictureTRV&>, bool>) {
        if (!std::forward<Work>(work)(source, *RecordOf(dest.Get()))) return nullptr;
    } else {
        std::forward<Work>(work)(source, *RecordOf(dest.Get()));
    }
    return dest.Release();
}

}  // namespace trv
