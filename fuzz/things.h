#pragma once

// What a program holds while it runs: a few images, pictures, blocks and so on, of every kind and state.

#include <filesystem>
#include <string>
#include <vector>

#include "choices.h"
#include "trvhost/host.h"

namespace trvfuzz {

/// A handful of things of one kind; a new one takes the place of an old one when there are too many.
class Pool {
  public:
    explicit Pool(std::string name, size_t limit) : name_(std::move(name)), limit_(limit) {}

    void Add(trvhost::Ref thing, Choices& choices) {
        if (!thing) return;
        if (things_.size() < limit_) {
            things_.push_back(std::move(thing));
        } else {
            // Out of the pool first: the end of a thing runs the plug-in's code.
            const trvhost::Ref gone = std::exchange(things_[choices.Below(limit_)], std::move(thing));
        }
    }
    [[nodiscard]] trvhost::Ref Pick(Choices& choices) const {
        return things_.empty() ? trvhost::Ref() : things_[choices.Below(things_.size())];
    }
    void Drop(Choices& choices) {
        if (things_.empty()) return;
        const size_t index = choices.Below(things_.size());
        const trvhost::Ref gone = std::move(things_[index]);
        things_.erase(things_.begin() + static_cast<std::ptrdiff_t>(index));
    }
    void Clear() { const std::vector<trvhost::Ref> gone = std::exchange(things_, {}); }
    template <class Work>
    void ForEach(Work&& work) const {
        for (const trvhost::Ref& thing : things_)
            work(thing);
    }
    [[nodiscard]] bool Empty() const { return things_.empty(); }
    /// How a thing is told in the text of a program.
    [[nodiscard]] std::string NameOf(const trvhost::Ref& thing) const {
        for (size_t i = 0; i < things_.size(); ++i) {
            if (things_[i] == thing) return name_ + std::to_string(i);
        }
        return thing ? name_ + "?" : "nil";
    }

  private:
    std::string name_;
    size_t limit_;
    std::vector<trvhost::Ref> things_;
};

struct Things {
    Pool images{"image", 12};
    Pool pictures{"picture", 6};
    Pool blocks{"block", 4};
    Pool strings{"string", 4};
    Pool arrays{"array", 6};
    Pool folderItems{"item", 4};
    Pool factories{"factory", 4};

    /// Keeps what a call gave, by its class.
    void Keep(const trvhost::Ref& thing, Choices& choices);
    /// Lets go of everything.
    void Clear();
    /// The pool for a class's name, or null.
    Pool* PoolOf(const std::string& className);
    [[nodiscard]] std::string NameOf(const trvhost::Ref& thing);
};

}  // namespace trvfuzz
