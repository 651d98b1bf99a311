// What the host can refuse is refused, one thing at a time, while every member is called: nothing crashes,
// nothing is left over, and what is raised is an exception that the plug-in knows.

#include <algorithm>
#include <gtest/gtest.h>
#include <iterator>
#include <map>
#include <set>
#include <string>
#include <tuple>

#include "configurations.h"
#include "plugin_test.h"
#include "quiet.h"
#include "scenario.h"
#include "scratch_folder.h"
#include "unit/frame/entry_names.h"

namespace trvtest {

namespace {

using trvfuzz::Scenario;
using trvhost::Host;

/// What a sanitizer reports is seen, even while the log is caught.
const bool reportsKept = (trvfuzz::KeepReports(false, nullptr), true);

const std::set<std::string> kExceptions = {"OutOfMemoryException",          "NilObjectException",
                                           "UnsupportedOperationException", "OutOfBoundsException",
                                           "InvalidArgumentException",      "RuntimeException"};

/// A refusal, and the entries whose calls bound how often it can happen.
struct Refusal {
    const char* name;
    void (Host::*arm)(int64_t);
    std::vector<std::string> entries;
};

const Refusal kRefusals[] = {
    {"memory block", &Host::FailMemoryBlock, {"newMemoryBlock", "PluginNewInstance"}},
    {"object", &Host::FailNewInstance, {"PluginNewInstance"}},
    {"picture", &Host::FailNewPicture, {"newPicture", "PluginNewInstance", "REALBuildPictureFromBuffer"}},
    {"string",
     &Host::FailString,
     {"REALBuildString", "REALBuildStringWithEncoding", "REALConvertString", "RuntimeAddString"}},
};

int64_t CallsOf(const Host& host, const Refusal& refusal) {
    int64_t sum = 0;
    for (const std::string& entry : refusal.entries)
        sum += host.Calls(entry);
    return sum;
}

class FaultInjectionTest : public PluginTest {
  protected:
    void RefuseEach(const Refusal& refusal) {
        for (const Scenario::Log log : {Scenario::Log::Off, Scenario::Log::On})
            RefuseEach(refusal, log);
    }

  private:
    void RefuseEach(const Refusal& refusal, Scenario::Log log) {
        Host& host = TheHost();
        const trvhost::DebugCapture quiet;
        const ScratchFolder scratch;
        const Scenario scenario(host, scratch.Path(), log);
        int64_t injected = 0;
        for (const Scenario::Call& call : scenario.Calls()) {
            int64_t attempts = 0;
            scenario.Run(
                call, [&] { attempts = -CallsOf(host, refusal); },
                [&] { attempts += CallsOf(host, refusal); });
            (void)host.TakeException();
            const trvhost::LiveCounts before = host.Live();
            for (int64_t n = 1; n <= attempts; ++n) {
                scenario.Run(
                    call, [&] { (host.*refusal.arm)(n); }, [&] { (host.*refusal.arm)(0); });
                ++injected;
                if (const auto exception = host.TakeException()) {
                    EXPECT_TRUE(kExceptions.contains(exception->className))
                        << call.Name() << ": " << *exception;
                }
                ASSERT_EQ(host.FirstMisuse(), "") << refusal.name << " " << n << " in " << call.Name();
                ASSERT_EQ(host.Live(), before) << refusal.name << " " << n << " in " << call.Name();
            }
        }
        EXPECT_GT(injected, 10) << refusal.name;
        RecordProperty("injected", std::to_string(injected));
    }
};

TEST_F(FaultInjectionTest, AnyMemoryBlock) {
    RefuseEach(kRefusals[0]);
}

TEST_F(FaultInjectionTest, AnyObject) {
    RefuseEach(kRefusals[1]);
}

TEST_F(FaultInjectionTest, AnyPicture) {
    RefuseEach(kRefusals[2]);
}

TEST_F(FaultInjectionTest, AnyString) {
    RefuseEach(kRefusals[3]);
}

/// What a scenario has called: the class, the kind of member and its declaration.
using MemberKey = std::tuple<std::string, trvfuzz::MemberKind, std::string>;

TEST_F(FaultInjectionTest, TheScenarioReachesEveryMember) {
    const trvhost::Host& host = TheHost();
    const trvhost::DebugCapture quiet;
    const ScratchFolder scratch;
    const Scenario scenario(host, scratch.Path());
    std::set<MemberKey> called;
    for (const Scenario::Call& call : scenario.Calls()) {
        scenario.Run(
            call, [] {},
            [&] {
                called.insert({call.member->className, call.member->kind, call.member->declaration});
            });
        (void)host.TakeException();
    }
    // Counted in the tables themselves.
    size_t wanted = 0;
    int64_t methods = 0;
    int64_t properties = 0;
    for (const trvhost::ClassDefinition* owner : host.Classes()) {
        const auto countMethods = [&](const trvhost::MethodDefinition* first, int64_t count) {
            for (int64_t i = 0; i < count; ++i) {
                EXPECT_TRUE(first[i].function != nullptr || first[i].setter != nullptr);
                wanted += (first[i].function != nullptr ? 1U : 0U) + (first[i].setter != nullptr ? 1U : 0U);
            }
        };
        const auto countProperties = [&](const trvhost::PropertyDefinition* first, int64_t count) {
            for (int64_t i = 0; i < count; ++i)
                wanted += (first[i].getter != nullptr ? 1U : 0U) + (first[i].setter != nullptr ? 1U : 0U);
        };
        countMethods(owner->methods, owner->methodCount);
        countMethods(owner->sharedMethods, owner->sharedMethodCount);
        countProperties(owner->properties, owner->propertyCount);
        countProperties(owner->sharedProperties, owner->sharedPropertyCount);
        methods += owner->methodCount + owner->sharedMethodCount;
        properties += owner->propertyCount + owner->sharedPropertyCount;
    }
    EXPECT_EQ(called.size(), wanted);
    EXPECT_GE(methods, 138);
    EXPECT_GE(properties, 48);
    const trvhost::ClassDefinition& images = host.Class("PictureTRV");
    EXPECT_EQ(images.methodCount, 138);
    // A constant runs no code of the plug-in's: its text is all there is.
    std::set<std::string> constants;
    for (const std::string& name : trvfuzz::ReadConstants(host, "PictureTRV")) {
        (void)host.Constant("PictureTRV", name);
        constants.insert(name);
    }
    EXPECT_EQ(constants.size(), static_cast<size_t>(images.constantCount));
}

TEST_F(FaultInjectionTest, TheStoreOfANewImageIsTold) {
    TheHost().FailMemoryBlock(1);
    const Ref image = TheHost().Construct("PictureTRV", 9, 7, Constant("ImageFormatRGBA"));
    const auto exception = TheHost().TakeException();
    ASSERT_TRUE(exception.has_value());
    EXPECT_EQ(exception->className, "OutOfMemoryException");
    EXPECT_FALSE(TheHost().Get<bool>(image, "Valid"));
}

// Missing entries ---

/// What takes references or gives them back: without it they are not even.
const std::set<std::string> kReferenceEntries = {
    "REALUnlockObject",         "REALUnlockString", "PluginDisposeStringData", "PluginDisposeTextData",
    "unlockPictureDescription", "REALLockObject",   "REALLockString"};

/// How often each entry was called, but for the one that is called as often as threads have time.
using CallCounts = std::map<std::string, int64_t>;

enum class Kinds { All, Two };

/// Calls every member, on images of all kinds or of two, and says what that took.
CallCounts CallEveryMember(Host& host, Kinds kinds, const std::string& without = "") {
    const ScratchFolder scratch;
    const Scenario scenario(host, scratch.Path());
    for (const Scenario::Call& call : scenario.Calls()) {
        const bool amongTwo = call.kind == Scenario::Kind::Rgba || call.kind == Scenario::Kind::OverPicture;
        if (kinds == Kinds::Two && !amongTwo) continue;
        scenario.Run(
            call, [] {}, [] {});
        (void)host.TakeException();
        if (!kReferenceEntries.contains(without)) {
            EXPECT_EQ(host.FirstMisuse(), "") << call.Name();
            if (host.Misuses() > 0) break;
        }
    }
    CallCounts counts;
    for (const std::string& entry : Host::EntryNames())
        counts[entry] = host.Calls(entry);
    counts.erase("REALYieldToRB");
    return counts;
}

/// A host that has everything: what calling every member takes of it.
struct CompleteHost {
    trvhost::Options options;
    CallCounts counts;             ///< with images of two kinds
    std::set<std::string> wanted;  ///< what it is asked for, with images of any kind
};

/// By name; each is tried once.
const CompleteHost& TriedHost(const std::string& name) {
    static std::map<std::string, CompleteHost> tried;
    const auto [found, isNew] = tried.try_emplace(name);
    CompleteHost& complete = found->second;
    if (!isNew) return complete;
    for (const trvfuzz::Configuration& configuration : trvfuzz::Configurations()) {
        if (configuration.name == name) complete.options = configuration.options;
    }
    {
        Host host(PluginPath(), complete.options);
        CallEveryMember(host, Kinds::All);
        for (const char* entry : trv::test::kEntryNames) {
            if (host.Lookups(entry) > 0) complete.wanted.insert(entry);
        }
    }
    // Counted in a second host: what knows the contracts asks the first one about the formats.
    Host host(PluginPath(), complete.options);
    complete.counts = CallEveryMember(host, Kinds::Two);
    return complete;
}

const char* const kHostNames[] = {"desktop", "console-2009"};

class OneEntryOf198 : public testing::TestWithParam<std::tuple<const char*, const char*>> {};

TEST_P(OneEntryOf198, IsMissingWhileEveryMemberIsCalled) {
    const trvhost::DebugCapture quiet;
    const std::string entry = std::get<1>(GetParam());
    const CompleteHost& complete = TriedHost(std::get<0>(GetParam()));
    trvhost::Options options = complete.options;
    options.missingEntries = {entry};
    Host host(PluginPath(), options);
    if (entry == "PluginRegisterClass") {
        EXPECT_TRUE(host.Classes().empty());
        return;
    }
    ASSERT_EQ(host.Classes().size(), 2U);
    const trvhost::LiveCounts before = host.Live();
    const bool isWanted = complete.wanted.contains(entry);
    const CallCounts counts = CallEveryMember(host, isWanted ? Kinds::All : Kinds::Two, entry);
    if (!kReferenceEntries.contains(entry)) {
        EXPECT_EQ(host.Live(), before);
    }
    // One that nobody asks a complete host for is not missed: all calls are the same.
    if (!isWanted) {
        EXPECT_EQ(host.Lookups(entry), 0);
        EXPECT_EQ(counts, complete.counts);
    }
}

INSTANTIATE_TEST_SUITE_P(FaultInjection, OneEntryOf198,
                         testing::Combine(testing::ValuesIn(kHostNames),
                                          testing::ValuesIn(trv::test::kEntryNames)),
                         [](const auto& parameter) {
                             std::string host = std::get<0>(parameter.param);
                             std::replace(host.begin(), host.end(), '-', '_');
                             return host + "_" + std::get<1>(parameter.param);
                         });

TEST(MissingEntriesTest, MostMembersAskForSome) {
    const trvhost::DebugCapture quiet;
    EXPECT_EQ(std::size(trv::test::kEntryNames), 198U);
    for (const char* name : kHostNames) {
        EXPECT_GE(TriedHost(name).wanted.size(), 30U) << name;
        RecordProperty(name, static_cast<int>(TriedHost(name).wanted.size()));
    }
}

}  // namespace

}  // namespace trvtest
