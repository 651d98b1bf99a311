// How the plug-in starts on hosts of all kinds: old and new, complete, lacking one entry or all of them.

#include <algorithm>
#include <functional>
#include <iterator>

#include "plugin_test.h"
#include "unit/frame/entry_names.h"

namespace trvtest {
namespace {

using trvhost::Host;
using trvhost::LiveCounts;
using trvhost::Options;
using trvhost::Value;

class Startup : public PluginTest {};

Options OfVersion(double version) {
    Options options;
    options.version = version;
    return options;
}

Options Lacking(std::initializer_list<std::string> entries) {
    Options options;
    options.missingEntries.insert(entries.begin(), entries.end());
    return options;
}

std::vector<std::string> ClassNames(const Host& host) {
    std::vector<std::string> names;
    for (const trvhost::ClassDefinition* definition : host.Classes())
        names.emplace_back(definition->name);
    return names;
}

const std::vector<std::string> kBothClasses = {"PictureTRV", "PictureFactoryTRV"};

// Versions ---

TEST_F(Startup, TheTableVersionFollowsTheHosts) {
    const struct {
        double version;
        int32_t expected;
    } cases[] = {{2013.04, 13}, {2013.03, 12},  {2013.0, 11},  {2012.0, 10}, {2012.99, 10}, {2011.04, 9},
                 {2024.01, 13}, {2013.035, 12}, {2013.02, 11}, {2011.99, 9}, {0.0, 9}};
    for (const auto& [version, expected] : cases) {
        Load(OfVersion(version));
        EXPECT_EQ(TheHost().SdkVersion(), expected) << version;
        EXPECT_EQ(TheHost().Calls("RegisterPluginVersion"), 1);
        EXPECT_EQ(ClassNames(TheHost()), kBothClasses) << version;
        for (const trvhost::ClassDefinition* definition : TheHost().Classes())
            EXPECT_EQ(definition->version, static_cast<uint64_t>(expected))
                << definition->name << " " << version;
    }
}

TEST_F(Startup, AHostThatDoesNotTellItsVersionIsAnOldOne) {
    Load(Lacking({"REALGetRBVersion"}));
    EXPECT_EQ(TheHost().SdkVersion(), 9);
    EXPECT_EQ(ClassNames(TheHost()), kBothClasses);
    EXPECT_EQ(TheHost().FindMethod("PictureTRV", "Clone as PictureTRV")->flags, 4U);
    EXPECT_EQ(TheHost().FindProperty("PictureTRV", "Target")->flags, 2U) << "not for hosts before 2010.029";
}

// The order of things ---

TEST_F(Startup, ConnectsThenSpeaksThenRegisters) {
    Options options;
    options.trace = true;
    Load(options);
    EXPECT_EQ(TheHost().Trace(),
              (std::vector<std::string>{"REALGetRBVersion", "RegisterPluginVersion", "REALinRuntime",
                                        "PluginRegisterClass", "PluginRegisterClass"}));
    EXPECT_EQ(ClassNames(TheHost()), kBothClasses);
}

TEST_F(Startup, RegistersInTheIdeAsInAProgram) {
    for (const bool inRuntime : {true, false}) {
        Options options;
        options.inRuntime = inRuntime;
        Load(options);
        EXPECT_EQ(TheHost().Calls("REALinRuntime"), 1);
        EXPECT_EQ(ClassNames(TheHost()), kBothClasses);
        const Ref image = NewImage(10, 10, "ImageFormatRGB");
        EXPECT_TRUE(TheHost().Get<bool>(image, "Valid"));
        // In the IDE the granularity keeps its initial value, in a program it is the page size; here both are
        // 4096.
        const auto lines = LogOf([&] { TheHost().Set(image, "MappingBlockSize", int64_t{0}); });
        EXPECT_EQ(std::count(lines.begin(), lines.end(), "AllocationGranularity 4096"), 1);
    }
}

TEST_F(Startup, ExportsItsOneFunction) {
    EXPECT_NE(TheHost().Symbol("REALPluginMain"), nullptr);
}

TEST_F(Startup, ANullResolverRegistersNothing) {
    Options options;
    options.start = trvhost::Start::NullResolver;
    options.trace = true;
    Load(options);
    EXPECT_TRUE(TheHost().Classes().empty());
    EXPECT_TRUE(TheHost().Trace().empty());
    EXPECT_EQ(TheHost().SdkVersion(), std::nullopt);
    // The tables were not touched, so a later start finds them as new.
    TheHost().Connect();
    EXPECT_EQ(ClassNames(TheHost()), kBothClasses);
    EXPECT_EQ(TheHost().Constant("PictureTRV", "ScaleCubic"), 7);
    const auto& constants = TheHost().Class("PictureTRV");
    for (int64_t i = 0; i < constants.constantCount; ++i)
        EXPECT_EQ(std::string(constants.constants[i].declaration).find('='),
                  std::string(constants.constants[i].declaration).rfind('='));
}

// Missing entries ---

/// Every property that the host can read.
void ReadProperties(const Host& host, const Ref& image) {
    const trvhost::ClassDefinition& definition = host.Class("PictureTRV");
    for (int64_t i = 0; i < definition.propertyCount; ++i)
        static_cast<void>(host.GetProperty(image, definition.properties[i].name));
}

/// What a program does with images, whatever of it this host allows for. Nothing may crash.
void UseImages(const Host& host) {
    if (ClassNames(host) != kBothClasses) return;
    const auto format = [&](const char* name) { return host.Constant("PictureTRV", name); };
    const auto call = [&](const Ref& image, const char* name, auto... arguments) {
        return image ? host.Call(image, name, arguments...) : Value();
    };
    const Ref image = host.Construct("PictureTRV", 16, 9, format("ImageFormatRGBA"));
    ReadProperties(host, image);
    call(image, "FillRectRGB", 10, 20, 30, 40);
    call(image, "FillRect(Value as integer)", 7);
    call(image, "FillRectRandom");
    call(image, "ClearRect", 1, 1, 3, 3);
    const Ref scaled = host.Construct("PictureTRV", 8, 5, format("ImageFormatRGBA"));
    if (host.FindMethod("PictureTRV", "Scale") != nullptr)
        call(scaled, "Scale", image, nullptr, format("ScaleBox"), 8, 5);
    const Ref clone = call(image, "Clone").ToThing();
    ReadProperties(host, clone ? clone : image);
    const Ref made = call(image, "CreatePictureTRV", 5, 5, format("ImageFormatG")).ToThing();
    const Ref global =
        host.CallShared("PictureTRV", "CreatePictureTRV", 5, 5, format("ImageFormatCMYK")).ToThing();
    call(global ? global : image, "FillRect(Value as integer)", 9);
    static_cast<void>(host.CallShared("PictureTRV", "CalculateMemory", 5, 5, 1));
    static_cast<void>(host.CallShared("PictureTRV", "CanAllocateImage", 5, 5, 1));
    const Ref factory = host.NewFactory([&](int64_t, int64_t, int64_t) { return Ref(); });
    if (factory) {
        host.CallShared("PictureFactoryTRV", "SetFactory", factory);
        static_cast<void>(host.CallShared("PictureFactoryTRV", "NewPictureTRV", 4, 4, 1));
        static_cast<void>(host.GetSharedProperty("PictureFactoryTRV", "currentFactory"));
        host.CallShared("PictureFactoryTRV", "SetFactory", nullptr);
    }
    const trvhost::MemoryBlock block = host.NewMemoryBlock(1000);
    const Ref overMemory = host.Construct("PictureTRV", block, 10, 10, format("ImageFormatG"), 100);
    call(overMemory, "FillRect(Value as integer)", 3);
    const Ref refused = host.Construct("PictureTRV", nullptr, 10, 10, format("ImageFormatG"), 100);
    host.Set(image, "RedOffset", 1);
    host.Set(image, "RedOffset", 17);
    host.Set(image, "MappingBlockSize", int64_t{5});
    host.SetShared("PictureTRV", "Debugging", false);
    call(image, "ClearCache");
    call(image, "Close");
    ReadProperties(host, image);
    call(image, "FillRect(Value as integer)", 7);
}

/// Runs the scenario on a host of its own; checks that everything was given back, where the host counts at
/// all.
void UseImagesWith(const Options& options, bool countsReferences = true) {
    Host host(PluginPath(), options);
    const LiveCounts start = host.Live();
    UseImages(host);
    static_cast<void>(host.TakeException());
    EXPECT_EQ(host.FirstMisuse(), "");
    if (countsReferences) {
        EXPECT_EQ(host.Live(), start);
    }
}

TEST_F(Startup, ACompleteHostRunsTheScenarioWithTheExceptionsItAsksFor) {
    Host host(PluginPath());
    const LiveCounts start = host.Live();
    UseImages(host);
    EXPECT_EQ(host.ExceptionsRaised(), 2) << "the nil block and the offset out of range";
    static_cast<void>(host.TakeException());
    EXPECT_EQ(host.FirstMisuse(), "");
    EXPECT_EQ(host.Live(), start);
}

class OneEntryMissing : public testing::TestWithParam<const char*> {};

TEST_P(OneEntryMissing, NothingCrashes) {
    // A host that cannot take or release references has its objects leaked, which is its own doing.
    const std::string entry = GetParam();
    UseImagesWith(Lacking({entry}),
                  entry != "REALLockObject" && entry != "REALUnlockObject" && entry != "REALUnlockString");
    Host host(PluginPath(), Lacking({entry}));
    EXPECT_EQ(ClassNames(host), entry == "PluginRegisterClass" ? std::vector<std::string>() : kBothClasses);
}

INSTANTIATE_TEST_SUITE_P(OfAllEntries, OneEntryMissing, testing::ValuesIn(trv::test::kEntryNames),
                         [](const auto& parameter) { return std::string(parameter.param); });
INSTANTIATE_TEST_SUITE_P(OfTheOthers, OneEntryMissing,
                         testing::Values("RegisterPluginVersion", "GetRBScriptResolver"),
                         [](const auto& parameter) { return std::string(parameter.param); });

TEST_F(Startup, AHostWithNothingButRegistrationIsEnoughToLoad) {
    Options options;
    options.missingEntries.insert(std::begin(trv::test::kEntryNames), std::end(trv::test::kEntryNames));
    {
        const Host host(PluginPath(), options);
        EXPECT_TRUE(ClassNames(host).empty());
        EXPECT_EQ(host.SdkVersion(), 9) << "the version is spoken all the same";
    }
    options.missingEntries.erase("PluginRegisterClass");
    {
        const Host host(PluginPath(), options);
        EXPECT_EQ(ClassNames(host), kBothClasses);
    }
    UseImagesWith(options, false);
    options.missingEntries.insert("RegisterPluginVersion");
    UseImagesWith(options, false);
}

TEST_F(Startup, OldHostsRunTheScenario) {
    for (const double version : trvhost::kVersionThresholds) {
        UseImagesWith(OfVersion(version));
        UseImagesWith(OfVersion(version - 0.001));
    }
}

TEST_F(Startup, EveryKindOfHostRunsTheScenario) {
    for (const auto kind : {trvhost::HostKind::Desktop, trvhost::HostKind::Console, trvhost::HostKind::Web,
                            trvhost::HostKind::Unknown}) {
        Options options;
        options.kind = kind;
        UseImagesWith(options);
    }
}

TEST_F(Startup, AnEntryThatAppearsLaterIsFound) {
    Load(Lacking({"PluginNewInstance"}));
    const int64_t rgb = Constant("ImageFormatRGB");
    EXPECT_FALSE(TheHost().CallShared("PictureTRV", "CreatePictureTRV", 5, 5, rgb).ToThing());
    EXPECT_FALSE(TheHost().CallShared("PictureTRV", "CreatePictureTRV", 5, 5, rgb).ToThing());
    const int64_t failed = TheHost().Lookups("PluginNewInstance");
    EXPECT_EQ(failed, 2) << "each call asks again";
    TheHost().Settings().missingEntries.clear();
    const Ref image = TheHost().CallShared("PictureTRV", "CreatePictureTRV", 5, 5, rgb).ToThing();
    ASSERT_TRUE(image);
    EXPECT_TRUE(TheHost().Get<bool>(image, "Valid"));
    EXPECT_EQ(TheHost().Lookups("PluginNewInstance"), 3) << "what was found is kept";
}

}  // namespace
}  // namespace trvtest
