// The host with the plug-in itself: loading, fresh statics, the first steps of a program.

#include <cstdlib>
#include <fstream>

#include "host_test.h"
#include "trvhost/debug_capture.h"

namespace hosttest {
namespace {

std::filesystem::path PluginPath() {
    const char* chosen = std::getenv("TRV_PLUGIN");
    return chosen != nullptr ? chosen : TRV_PLUGIN_PATH;
}

TEST(Loading, RegistersBothClasses) {
    const Host host(PluginPath());
    ASSERT_EQ(host.Classes().size(), 2u);
    EXPECT_STREQ(host.Classes()[0]->name, "PictureTRV");
    EXPECT_STREQ(host.Classes()[1]->name, "PictureFactoryTRV");
    EXPECT_EQ(host.SdkVersion(), 13);
    EXPECT_EQ(host.FirstMisuse(), "");
    EXPECT_NE(host.Symbol("REALPluginMain"), nullptr);
    EXPECT_EQ(host.Symbol("NoSuchSymbol"), nullptr);
}

TEST(Loading, GivesEveryHostFreshStatics) {
    for (const double version : {2011.0, 2012.99, 2013.0, 2013.03, 2013.04, 2024.01}) {
        Options options;
        options.version = version;
        const Host host(PluginPath(), options);
        const int32_t sdk = version >= 2013.04   ? 13
                            : version >= 2013.03 ? 12
                            : version >= 2013.0  ? 11
                            : version >= 2012.0  ? 10
                                                 : 9;
        EXPECT_EQ(host.SdkVersion(), sdk) << version;
        EXPECT_FALSE(host.GetShared<bool>("PictureTRV", "Debugging"));
        const DebugCapture quiet;
        host.SetShared("PictureTRV", "Debugging", true);
    }
}

TEST(Loading, MayTakeManyHosts) {
    for (int i = 0; i < 30; ++i) {
        const Host host(PluginPath());
        const Ref image = host.Construct("PictureTRV", 4, 4, 2);
        EXPECT_TRUE(host.Get<bool>(image, "Valid"));
    }
}

TEST(Loading, NullResolverRegistersNothing) {
    Options options;
    options.start = Start::NullResolver;
    const Host host(PluginPath(), options);
    EXPECT_TRUE(host.Classes().empty());
    EXPECT_EQ(host.SdkVersion(), std::nullopt);
    EXPECT_EQ(host.Lookups("REALGetRBVersion"), 0);
}

TEST(Loading, MayWaitForTheCall) {
    Options options;
    options.start = Start::Later;
    Host host(PluginPath(), options);
    EXPECT_TRUE(host.Classes().empty());
    host.Connect();
    EXPECT_EQ(host.Classes().size(), 2u);
    Host without;
    EXPECT_THROW(without.Connect(), std::logic_error);
}

TEST(Loading, TwoHostsLiveSideBySide) {
    const Host first(PluginPath());
    Options old;
    old.version = 2011.0;
    const Host second(PluginPath(), old);
    Ref image = first.Construct("PictureTRV", 4, 4, 2);
    Ref other = second.Construct("PictureTRV", 5, 5, 2);
    EXPECT_EQ(first.Get<int64_t>(image, "Width"), 4);
    EXPECT_EQ(second.Get<int64_t>(other, "Width"), 5);
    EXPECT_EQ(first.Live().objects.at("PictureTRV"), 1);
    EXPECT_EQ(second.Live().objects.at("PictureTRV"), 1);
    image = Ref();
    other = Ref();
    EXPECT_EQ(first.Live(), LiveCounts());
    EXPECT_EQ(second.Live(), LiveCounts());
    EXPECT_EQ(first.FirstMisuse() + second.FirstMisuse(), "");
}

TEST(Loading, FailuresAreOneLine) {
    const auto failure = [](const std::filesystem::path& file) -> std::string {
        try {
            const Host host(file);
        } catch (const std::runtime_error& e) {
            return e.what();
        }
        return "";
    };
    const std::string absent = failure("no/such/library.so");
    EXPECT_EQ(absent.rfind("cannot load no", 0), 0u) << absent;
    const std::filesystem::path text = std::filesystem::temp_directory_path() / "trvhost-test-no-library.so";
    std::ofstream(text) << "no library";
    const std::string damaged = failure(text);
    std::filesystem::remove(text);
    EXPECT_EQ(damaged.rfind("cannot load ", 0), 0u) << damaged;
    EXPECT_EQ(damaged.find('\n'), std::string::npos);
}

TEST(Loading, FactoriesSupplyImages) {
    const Host host(PluginPath());
    {
        int asked = 0;
        const Ref factory = host.NewFactory([&](int64_t width, int64_t height, int64_t format) {
            ++asked;
            return host.Construct("PictureTRV", width + 1, height, format);
        });
        const Ref image = host.Construct("PictureTRV", 4, 4, 2);
        host.Set(image, "Factory", factory);
        const Ref made = host.Call(image, "CreatePictureTRV", 6, 7, 2).ToThing();
        EXPECT_EQ(asked, 1);
        EXPECT_EQ(host.Get<int64_t>(made, "Width"), 7);
    }
    EXPECT_EQ(host.Live(), LiveCounts());
    EXPECT_EQ(host.FirstMisuse(), "");
}

}  // namespace
}  // namespace hosttest
