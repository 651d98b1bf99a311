#include "host_test.h"

namespace hosttest {
namespace {

class FolderItems : public HostTest {};

TEST_F(FolderItems, KnowTheirPath) {
    const std::filesystem::path path = std::filesystem::temp_directory_path() / u8"f\u00E4lle.txt";
    const FolderItem item = host.NewFolderItem(path);
    EXPECT_EQ(item.Path(), path);
    const std::u8string utf8 = std::filesystem::path(path).make_preferred().u8string();
    const std::string text(utf8.begin(), utf8.end());
    EXPECT_EQ(host.Get<std::string>(item, "NativePath"), text);
    EXPECT_EQ(String(Ref::Adopt(host, Call<Handle(Handle)>("REALpathFromFolderItem", item.Handle()))).Bytes(),
              text);
    EXPECT_EQ(Call<Handle(Handle)>("REALpathFromFolderItem", nullptr), nullptr);
    EXPECT_THROW(host.Set(item, "NativePath", "x"), std::invalid_argument);
}

TEST_F(FolderItems, PathMayBeMissing) {
    host.Settings().missingMembers = {"NativePath"};
    EXPECT_THROW(host.Get(host.NewFolderItem("x"), "NativePath"), std::invalid_argument);
}

}  // namespace
}  // namespace hosttest
