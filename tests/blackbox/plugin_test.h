#pragma once

// What every test of the plug-in from outside stands on: a host that has loaded the library, images whose
// bytes the test can see, and the proof at the end that nothing leaked and nothing was misused.

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <gtest/gtest.h>
#include <memory>
#include <random>
#include <span>
#include <string>
#include <vector>

#include "trvhost/debug_capture.h"
#include "trvhost/host.h"

namespace trvtest {

using trvhost::Ref;

/// The library under test: the one built beside the tests unless TRV_PLUGIN names another.
inline std::filesystem::path PluginPath() {
    const char* chosen = std::getenv("TRV_PLUGIN");
    return chosen != nullptr ? chosen : TRV_PLUGIN_PATH;
}

/// An image over a memory block of the test's, so that every byte of its store can be seen, and a write
/// behind the last row as well: guard bytes lie there.
class MemoryImage {
  public:
    MemoryImage() = default;

    /// Rows of `rowSize` bytes; 0 takes width * pixelSize. The store starts out filled with pseudo-random
    /// bytes.
    MemoryImage(trvhost::Host& host, int64_t width, int64_t height, int64_t format, int64_t rowSize = 0,
                unsigned seed = 1) {
        // A format's pixel size is known to a record only, so a small image is asked.
        const Ref probe = host.Construct("PictureTRV", 1, 1, format);
        pixelSize_ = host.Get<int64_t>(probe, "PixelSize");
        rowSize_ = rowSize != 0 ? rowSize : width * pixelSize_;
        height_ = height;
        block_ = host.NewMemoryBlock(rowSize_ * height + kGuard);
        std::mt19937 random(seed);
        for (uint8_t& byte : block_.Bytes())
            byte = static_cast<uint8_t>(random());
        guard_.assign(block_.Bytes().end() - kGuard, block_.Bytes().end());
        object_ = host.Construct("PictureTRV", block_, width, height, format, rowSize_);
    }

    [[nodiscard]] const Ref& Object() const { return object_; }
    operator const Ref&() const { return object_; }  // NOLINT(google-explicit-constructor): it is the image
    /// What the image lies over; the guard is its end.
    [[nodiscard]] const trvhost::MemoryBlock& Block() const { return block_; }
    [[nodiscard]] int64_t PixelSize() const { return pixelSize_; }
    [[nodiscard]] int64_t RowSize() const { return rowSize_; }
    [[nodiscard]] uint8_t* Row(int64_t y) const { return block_.Bytes().data() + y * rowSize_; }
    /// The byte at `offset` of a pixel.
    [[nodiscard]] uint8_t& At(int64_t x, int64_t y, int64_t offset = 0) const {
        return Row(y)[x * pixelSize_ + offset];
    }
    /// All rows, padding included.
    [[nodiscard]] std::vector<uint8_t> Bytes() const {
        const auto bytes = block_.Bytes();
        return {bytes.begin(), bytes.end() - kGuard};
    }
    void SetBytes(const std::vector<uint8_t>& bytes) const {
        std::copy(bytes.begin(), bytes.end(), block_.Bytes().begin());
    }
    /// Whether the bytes behind the last row are as they were.
    [[nodiscard]] bool GuardIntact() const {
        return std::equal(guard_.begin(), guard_.end(), block_.Bytes().end() - kGuard);
    }

  private:
    static constexpr int64_t kGuard = 64;

    int64_t pixelSize_ = 0;
    int64_t rowSize_ = 0;
    int64_t height_ = 0;
    trvhost::MemoryBlock block_;
    std::vector<uint8_t> guard_;
    Ref object_;
};

/// A test with one host. At the end no object, string or lock may be left, no exception pending, no misuse
/// noted.
class PluginTest : public ::testing::Test {
  protected:
    explicit PluginTest(trvhost::Options options = {}) { Load(std::move(options)); }

    /// Replaces the host by a fresh one of other options; what belongs to the old one must be gone.
    void Load(trvhost::Options options) {
        Finish();
        host_ = std::make_unique<trvhost::Host>(PluginPath(), std::move(options));
        start_ = host_->Live();
    }

    void TearDown() override { Finish(); }

    [[nodiscard]] trvhost::Host& TheHost() const { return *host_; }

    /// The value of a constant of PictureTRV.
    [[nodiscard]] int64_t Constant(std::string_view name) const {
        return host_->Constant("PictureTRV", name);
    }

    /// An image that allocates its own store.
    [[nodiscard]] Ref NewImage(int64_t width, int64_t height, std::string_view format) const {
        return host_->Construct("PictureTRV", width, height, Constant(format));
    }

    /// The lines of the debug log that `action` writes, without their prefix.
    template <class Action>
    std::vector<std::string> LogOf(Action&& action) const {
        std::vector<std::string> lines;
        {
            trvhost::DebugCapture capture;
            host_->SetShared("PictureTRV", "Debugging", true);
            capture.Clear();  // the switch announces itself
            action();
            lines = capture.Lines();
        }
        host_->SetShared("PictureTRV", "Debugging", false);
        constexpr std::string_view kPrefix = "TRV Debug: ";
        for (std::string& line : lines) {
            if (line.starts_with(kPrefix)) line.erase(0, kPrefix.size());
        }
        return lines;
    }

  private:
    void Finish() {
        if (host_ == nullptr) return;
        EXPECT_EQ(host_->FirstMisuse(), "");
        EXPECT_FALSE(host_->HasException()) << *host_->TakeException();
        EXPECT_EQ(host_->Live(), start_);
        host_.reset();
    }

    std::unique_ptr<trvhost::Host> host_;
    trvhost::LiveCounts start_;
};

}  // namespace trvtest
