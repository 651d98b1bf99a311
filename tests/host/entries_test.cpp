#include <thread>

#include "entry_names.h"
#include "host_test.h"

namespace hosttest {
namespace {

class Entries : public HostTest {};

TEST_F(Entries, AreAllThere) {
    EXPECT_EQ(std::size(kEntryNames), 198u);
    const std::vector<std::string> known = Host::EntryNames();
    for (const char* name : kEntryNames) {
        EXPECT_NE(std::find(known.begin(), known.end(), name), known.end()) << name;
    }
    EXPECT_EQ(host.Resolve("NoSuchEntry"), nullptr);
    EXPECT_EQ(host.Resolve(nullptr), nullptr);
}

TEST_F(Entries, ComeFromTheFirstResolverButForTwo) {
    for (const char* name : kEntryNames) {
        const bool second =
            std::string(name) == "REALCountClassProperties" || std::string(name) == "REALGetClassProperty";
        EXPECT_EQ(host.Resolve(name) == nullptr, second) << name;
    }
    auto* script = Call<Resolver()>("GetRBScriptResolver");
    EXPECT_NE(script("REALCountClassProperties"), nullptr);
    EXPECT_NE(script("REALGetClassProperty"), nullptr);
    EXPECT_NE(script("RuntimeClassOf"), nullptr);
    EXPECT_EQ(script("REALLockObject"), nullptr);
    host.Settings().missingEntries = {"GetRBScriptResolver/RuntimeClassOf"};
    EXPECT_EQ(script("RuntimeClassOf"), nullptr);
    EXPECT_NE(host.Resolve("RuntimeClassOf"), nullptr);
}

TEST(NilArguments, AreStoodByEveryEntry) {
    const Host host;
    for (const char* name : kEntryNames) {
        void* entry = host.Resolve(name);
        if (entry == nullptr) continue;
        using Any = void* (*)(void*, void*, void*, void*, void*, void*);
        reinterpret_cast<Any>(entry)(nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
        EXPECT_EQ(host.Calls(name), 1) << name;
    }
}

TEST_F(Entries, MayBeMissingAndAppearLater) {
    host.Settings().missingEntries = {"REALYieldToRB", "REALLockObject"};
    EXPECT_EQ(host.Resolve("REALYieldToRB"), nullptr);
    EXPECT_EQ(host.Resolve("REALYieldToRB"), nullptr);
    EXPECT_NE(host.Resolve("REALUnlockObject"), nullptr);
    host.Settings().missingEntries.erase("REALYieldToRB");
    EXPECT_NE(host.Resolve("REALYieldToRB"), nullptr);
    EXPECT_EQ(host.Resolve("REALLockObject"), nullptr);
    EXPECT_EQ(host.Lookups("REALYieldToRB"), 3);
    EXPECT_EQ(host.Lookups("IsDarkMode"), 0);
}

TEST_F(Entries, AreCountedAndTraced) {
    host.Settings().trace = true;
    Call<void()>("REALYieldToRB");
    Call<void()>("REALYieldToRB");
    Call<double()>("REALGetRBVersion");
    EXPECT_EQ(host.Calls("REALYieldToRB"), 2);
    EXPECT_EQ(host.Calls("REALGetRBVersion"), 1);
    EXPECT_EQ(host.Calls("REALLockObject"), 0);
    EXPECT_THROW(host.Calls("NoSuchEntry"), std::invalid_argument);
    EXPECT_EQ(host.Trace(), (std::vector<std::string>{"REALYieldToRB", "REALYieldToRB", "REALGetRBVersion"}));
    host.ClearTrace();
    EXPECT_TRUE(host.Trace().empty());
}

TEST_F(Entries, AnswerAsTheOptionsSay) {
    EXPECT_EQ(Call<double()>("REALGetRBVersion"), 2024.01);
    host.Settings().version = 2016.03;
    EXPECT_EQ(Call<double()>("REALGetRBVersion"), 2016.03);
    EXPECT_EQ(Call<uint8_t()>("REALinRuntime"), 1);
    host.Settings().inRuntime = false;
    EXPECT_EQ(Call<uint8_t()>("REALinRuntime"), 0);
    EXPECT_EQ(Call<uint8_t()>("REALInDebugMode"), 0);
    EXPECT_EQ(host.SdkVersion(), std::nullopt);
    Call<void(int32_t)>("RegisterPluginVersion", 13);
    EXPECT_EQ(host.SdkVersion(), 13);
}

TEST_F(Entries, YieldRunsTheAction) {
    int runs = 0;
    host.OnYield([&] { ++runs; });
    Call<void()>("REALYieldToRB");
    EXPECT_EQ(runs, 1);
}

TEST_F(Entries, RefuseAnotherThread) {
    const Ref block = host.NewMemoryBlock(8);
    auto* lock = host.Entry<void(Handle)>("REALLockObject");
    std::thread([&] { lock(block.Handle()); }).join();
    EXPECT_EQ(block.References(), 1);
    expectedMisuse = "another thread: REALLockObject is called";
}

TEST_F(Entries, AnswerTheInnermostHost) {
    {
        Options options;
        options.version = 2011.01;
        const Host inner(options);
        EXPECT_EQ(inner.Entry<double()>("REALGetRBVersion")(), 2011.01);
        const detail::CurrentScope scope(host);
        EXPECT_EQ(host.Entry<double()>("REALGetRBVersion")(), 2024.01);
    }
    EXPECT_EQ(Call<double()>("REALGetRBVersion"), 2024.01);
}

TEST(HostKinds, KnowTheirApplicationClass) {
    struct Row {
        HostKind kind;
        const char* known;
    };
    for (const Row row : {Row{HostKind::Desktop, "Application"}, Row{HostKind::Console, "ConsoleApplication"},
                          Row{HostKind::Web, "WebApplication"}, Row{HostKind::Unknown, ""}}) {
        Options options;
        options.kind = row.kind;
        const Host host(options);
        auto* type = host.Entry<void*(const char*)>("pluginObjectType");
        for (const char* name : {"Application", "ConsoleApplication", "WebApplication"}) {
            EXPECT_EQ(type(name) != nullptr, std::string(name) == row.known) << name;
        }
    }
}

TEST(NoHost, EntriesAnswerNothing) {
    double (*version)() = nullptr;
    {
        const Host host;
        version = host.Entry<double()>("REALGetRBVersion");
        EXPECT_EQ(version(), 2024.01);
    }
    EXPECT_EQ(version(), 0.0);
}

}  // namespace
}  // namespace hosttest
