// What is measured: the lines of the table, and the contenders that do the same work for a line.
//
// A contender is made outside the clock, with its images allocated and filled, and then runs as often as the
// clock wants. All contenders work on one thread, unless a line says otherwise, and start from the same
// bytes.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace trvbench {

enum class Layout { Gray, Rgb, Rgba };

struct Size {
    int width;
    int height;
};

inline constexpr Size kLarge = {4000, 3000};

constexpr int ChannelsOf(Layout layout) {
    return layout == Layout::Gray ? 1 : layout == Layout::Rgb ? 3 : 4;
}

constexpr size_t BytesOf(Layout layout, Size size) {
    return static_cast<size_t>(size.width) * static_cast<size_t>(size.height) *
           static_cast<size_t>(ChannelsOf(layout));
}

constexpr const char* NameOf(Layout layout) {
    return layout == Layout::Gray ? "gray" : layout == Layout::Rgb ? "RGB" : "RGBA";
}

inline std::string TextOf(Size size) {
    return std::to_string(size.width) + "x" + std::to_string(size.height);
}

/// At least `count` pseudo-random bytes, the same for everybody.
std::span<const uint8_t> SourceBytes(size_t count);

/// One run of the work, and for work that spoils its own input what goes before each run, outside the clock.
struct Work {
    std::function<void()> run;
    std::function<void()> before;

    template <class Run>
    Work(Run&& work) : run(std::forward<Run>(work)) {}  // NOLINT(google-explicit-constructor): it is the work
    Work(std::function<void()> work, std::function<void()> restore)
        : run(std::move(work)), before(std::move(restore)) {}
};

/// Makes the work of one contender; called once for each measurement, outside the clock.
using MakeWork = std::function<Work()>;

/// A library that does the same, by the name that the table shows.
struct Peer {
    std::string name;
    MakeWork make;
};

/// Enters a line of the table: the plug-in's work, a memcpy of so many bytes, the libraries' work. The lines
/// come in the order of entering.
void EnterLine(const std::string& operation, size_t copiedBytes, const MakeWork& own,
               const std::vector<Peer>& peers);

/// The sections of the table, each in a source of its name.
void EnterScaling();
void EnterFills();
void EnterPictures();
void EnterRows();
void EnterGeometry();
void EnterNeighbourhoods();
void EnterTones();
void EnterEffects();
void EnterCompositing();

}  // namespace trvbench
