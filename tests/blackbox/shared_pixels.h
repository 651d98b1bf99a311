#pragma once

// What tests of operations on several pictures stand on: pictures that may share a store, a copy of every
// store for a reference that goes pixel by pixel, and the plug-in in each of its instruction sets.

#include <cstdlib>
#include <map>

#include "filter_images.h"

namespace trvtest {

/// Copies of the stores under some pictures.
class Stores {
  public:
    void Add(const TestImage& image) { copies_.try_emplace(image.root.Row(0), image.root); }

    /// The address of a pixel in the copy.
    [[nodiscard]] uint8_t* Pixel(const TestImage& image, int64_t x, int64_t y) {
        return copies_.at(image.root.Row(0)).bytes.data() + image.Index(x, y, 0);
    }

    /// Whether the stores hold what the copies hold, and nothing was written behind them.
    void ExpectSame(const std::string& story) const {
        for (const auto& [row, copy] : copies_) {
            const auto bytes = copy.root.Bytes();
            const auto [is, expected] = std::mismatch(bytes.begin(), bytes.end(), copy.bytes.begin());
            ASSERT_TRUE(is == bytes.end()) << story << ": byte " << is - bytes.begin() << " is " << int{*is}
                                           << " and not " << int{*expected};
            ASSERT_TRUE(copy.root.GuardIntact()) << story;
        }
    }

  private:
    struct Copy {
        explicit Copy(MemoryImage image) : root(std::move(image)), bytes(root.Bytes()) {}
        MemoryImage root;
        std::vector<uint8_t> bytes;
    };
    std::map<const uint8_t*, Copy> copies_;
};

/// One pixel of a picture, by the names of its channels.
struct PixelOf {
    const Side& side;
    uint8_t* address;

    [[nodiscard]] int operator()(const char* channel) const { return address[side.at.at(channel)]; }
    void Set(const char* channel, int value) const {
        address[side.at.at(channel)] = static_cast<uint8_t>(value);
    }
    [[nodiscard]] int GrayOfColours() const {
        return Luma((*this)("Red"), (*this)("Green"), (*this)("Blue"));
    }
    /// What the pixel has for a channel of a picture that is written.
    [[nodiscard]] int For(const std::string& channel) const {
        if (side.family == 'G') return (*this)("Gray");
        return channel == "Gray" ? GrayOfColours() : (*this)(channel.c_str());
    }
    [[nodiscard]] int AlphaOr255() const { return side.alpha ? (*this)("Alpha") : 255; }
};

/// The colour channels of a gray or RGB picture.
inline std::vector<std::string> ColourNames(const Side& side) {
    if (side.family == 'G') return {"Gray"};
    if (side.family == 'R') return {"Red", "Green", "Blue"};
    return {};
}

inline void ForceInstructionSet(const char* name) {
#ifdef _WIN32
    _putenv_s("TRV_INSTRUCTION_SET", name);
#else
    setenv("TRV_INSTRUCTION_SET", name, 1);
#endif
}

class SharedPixelsTest : public FilterTest, public testing::WithParamInterface<const char*> {
  protected:
    void SetUp() override { UseInstructionSet(GetParam()); }
    void TearDown() override {
        ForceInstructionSet("");
        FilterTest::TearDown();
    }

    /// A fresh library with that instruction set; one that this machine lacks is left out.
    void UseInstructionSet(const char* name) {
        ForceInstructionSet(name);
        Load({});
        // The choice is made where it is first needed.
        const Ref a = NewImage(2, 2, "ImageFormatRGB"), b = NewImage(2, 2, "ImageFormatBGR");
        for (const std::string& line : LogOf([&] { TheHost().Call(a, "CopyPixels", b); })) {
            if (line.starts_with("TRV_INSTRUCTION_SET")) GTEST_SKIP() << "this machine has no " << name;
        }
    }

    [[nodiscard]] int64_t Format(std::string_view letters) const {
        return Constant("ImageFormat" + std::string(letters));
    }

    /// A picture over the store of another one, or of its own.
    TestImage SomeOver(const TestImage& other, int64_t width, int64_t height) {
        if (other.width < width || other.height < height)
            return Some(width, height, TheHost().Get<int64_t>(other.image, "ImageFormat"));
        TestImage image = other;
        const int64_t x = Draw(0, other.width - width), y = Draw(0, other.height - height);
        image.image = TheHost().Call(other.image, "ClipImage", x, y, width, height).ToThing();
        image.firstRow += y;  // in a mirrored view too
        image.width = width;
        image.height = height;
        image.story = "a part of it";
        if (Draw(0, 3) == 0) {
            image.image = TheHost().Call(image.image, "MirroredView").ToThing();
            image.mirrored = !image.mirrored;
            image.story += ", mirrored";
        }
        image.side = Side(TheHost(), image.image);
        if (Draw(0, 2) == 0) OneChannel(image);
        return image;
    }

    /// The one line of the log that starts so.
    template <class Action>
    std::string LineOf(const char* start, Action&& action) {
        for (const std::string& line : LogOf(std::forward<Action>(action))) {
            if (line.starts_with(start)) return line;
        }
        return {};
    }
};

inline const auto kInstructionSets = testing::Values("plain", "baseline", "avx2", "avx512");
inline std::string InstructionSetName(const testing::TestParamInfo<const char*>& info) {
    return info.param;
}

}  // namespace trvtest
