#pragma once

// What tests of mapped images stand on.

#include <optional>

#include "plugin_test.h"
#include "scratch_folder.h"

namespace trvtest {

/// A test with a folder for the files of mapped images, which must be empty at its end.
class MappedTest : public PluginTest {
  protected:
    explicit MappedTest(trvhost::Options options = {}) : PluginTest(std::move(options)) {}

    void TearDown() override {
        EXPECT_EQ(folder_.Count(), 0) << "a file was left behind";
        PluginTest::TearDown();
    }

    /// A mapped image, over a file of that name in the folder or in paging space.
    [[nodiscard]] Ref NewMapped(int64_t width, int64_t height, std::string_view format, int64_t blockSize,
                                const std::optional<std::filesystem::path>& name) const {
        const trvhost::FolderItem item =
            name ? TheHost().NewFolderItem(folder_ / *name) : trvhost::FolderItem();
        return TheHost().Construct("PictureTRV", width, height, Constant(format), blockSize, item);
    }

    /// A number of an image's properties.
    [[nodiscard]] int64_t Number(const Ref& image, std::string_view property) const {
        return TheHost().Get<int64_t>(image, property);
    }
    [[nodiscard]] bool Flag(const Ref& image, std::string_view property) const {
        return TheHost().Get<bool>(image, property);
    }

    /// Has row `y` fetched, by a write to its first pixel.
    void Touch(const Ref& image, int64_t y, int64_t value = 1) const {
        TheHost().Call(image, "FillRect", 0, y, 1, 1, value);
    }

    /// The bytes of all rows of a whole mapped image, which is mapped in for it.
    [[nodiscard]] std::vector<uint8_t> StoreOf(const Ref& image) const {
        EXPECT_TRUE(TheHost().Call(image, "MapInRows", 0, -1).ToBool());
        const auto memory = TheHost().Get<trvhost::MemoryBlock>(image, "Memory");
        const auto* data = reinterpret_cast<const uint8_t*>(memory.Data());
        if (data == nullptr || Number(image, "MappingFirstRow") != 0) {
            ADD_FAILURE() << "the rows are not mapped";
            return {};
        }
        return {data, data + Number(image, "Height") * Number(image, "RowSize")};
    }

    /// First rows of the windows that were mapped while `action` ran.
    template <class Action>
    std::vector<int64_t> WindowsOf(Action&& action) const {
        std::vector<int64_t> starts;
        for (const std::string& line : LogOf(std::forward<Action>(action))) {
            if (line.starts_with("SelectRow ")) starts.push_back(std::stoll(line.substr(10)));
        }
        return starts;
    }

    ScratchFolder folder_;
};

}  // namespace trvtest
