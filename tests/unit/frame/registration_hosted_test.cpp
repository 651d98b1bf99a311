// What reaches the host by the further paths of registration, as a host sees it: by its own reading of the
// tables, on versions on both sides of each threshold.

#include <algorithm>
#include <gtest/gtest.h>
#include <iterator>
#include <string>
#include <vector>

#include "frame/debug_log.h"
#include "frame/host_types.h"
#include "frame/registration.h"
#include "trvhost/declaration.h"
#include "unit/failing_memory.h"
#include "unit/frame/log_capture.h"
#include "unit/hosted_test.h"

namespace trv {
namespace {

using test::FailingMemory;
using test::LogCapture;
using trvhost::Declaration;

using Lines = std::vector<std::string>;

constexpr double kClassicVersions[] = {0.0,     2007.02, 2010.02, 2010.029, 2012.0,
                                       2012.99, 3000.0,  3000.01, 4000.0};
constexpr double kModuleVersions[] = {2013.0, 2013.01, 2013.04, 2020.01, 2020.02, 2024.01, 2999.0, 2999.99};

/// Hosts on both sides of each threshold of the table's version, and what they are given.
constexpr struct {
    double version;
    int32_t table;
} kTableVersions[] = {{0.0, 9},      {2011.99, 9},  {2012.0, 10},  {2012.99, 10},
                      {2013.0, 11},  {2013.02, 11}, {2013.03, 12}, {2013.035, 12},
                      {2013.04, 13}, {2999.99, 13}, {3000.0, 13}};

/// A host keeps what is registered for good; here the test does, so that nothing of it counts as lost.
std::vector<const void*>& Kept() {
    static std::vector<const void*> kept;
    return kept;
}

class OtherRegistration : public test::HostedTest {
  protected:
    void LoadVersion(double version) {
        trvhost::Options options;
        options.version = version;
        Load(std::move(options));
    }

    [[nodiscard]] std::vector<const void*> Given(const char* entry) const {
        std::vector<const void*> given = TheHost().Definitions(entry);
        Kept().insert(Kept().end(), given.begin(), given.end());
        return given;
    }

    /// The one module that was registered.
    [[nodiscard]] const trvhost::ModuleDefinition& OnlyModule() const {
        static const trvhost::ModuleDefinition kNone{};
        const auto modules = Given("PluginRegisterModule");
        EXPECT_EQ(modules.size(), 1U);
        return modules.size() == 1 ? *static_cast<const trvhost::ModuleDefinition*>(modules[0]) : kNone;
    }

    /// Nothing was registered by any of these paths.
    void ExpectNothing() const {
        for (const char* entry : {"PluginRegisterModule", "PluginRegisterClassExtension",
                                  "PluginRegisterMethod", "PluginRegisterControl"})
            EXPECT_EQ(TheHost().Calls(entry), 0) << entry;
    }
};

// What the tables of the tests name ---

int64_t assigned = 0;

int64_t Size(HostObject /*me*/) {
    return 77;
}
void SetSize(HostObject /*me*/, int64_t value) {
    assigned = value;
}
int64_t Sum(HostObject me, int64_t a, int64_t b) {
    return a + b + (me == nullptr ? 1000 : 0);
}
int64_t Twice(int64_t a) {
    return 2 * a;
}

constexpr AttributeDefinition kAttributes[] = {{.name = "Deprecated", .value = ""}};

/// A class extension of three methods: with a setter, without, and with nothing but a setter.
struct Extension {
    MethodDefinition methods[3] = {
        {.function = TableFunction(Size),
         .setter = TableFunction(SetSize),
         .declaration = "Size as integer",
         .flags = 4,
         .attributeCount = 1,
         .attributes = kAttributes},
        {.function = TableFunction(Sum),
         .declaration = "Sum(a as integer, b as integer) as integer",
         .flags = kSinceHost2010},
        {.setter = TableFunction(SetSize), .declaration = "Target as integer", .flags = 0x308},
    };
    PropertyDefinition properties[1] = {{.name = "P", .flags = kOrdinaryPropertySinceHost2010}};
    MethodDefinition sharedMethods[1] = {{.declaration = "S", .flags = kSinceHost2010}};
    ClassDefinition definition = {.version = kUnregisteredTableVersion,
                                  .name = "Picture",
                                  .dataSize = 20,
                                  .properties = properties,
                                  .propertyCount = 1,
                                  .methods = methods,
                                  .methodCount = 3,
                                  .flags = kSinceHost2010,
                                  .sharedMethods = sharedMethods,
                                  .sharedMethodCount = 1};
};

struct ExpectedMethod {
    const char* declaration;
    void* function;
    uint64_t flags;
};

void ExpectMethods(const trvhost::ModuleDefinition& module, const std::vector<ExpectedMethod>& expected) {
    ASSERT_EQ(module.methodCount, static_cast<int64_t>(expected.size()));
    for (size_t i = 0; i < expected.size(); ++i) {
        EXPECT_STREQ(module.methods[i].declaration, expected[i].declaration);
        EXPECT_EQ(module.methods[i].function, expected[i].function) << expected[i].declaration;
        EXPECT_EQ(module.methods[i].setter, nullptr) << expected[i].declaration;
        EXPECT_EQ(module.methods[i].flags, expected[i].flags) << expected[i].declaration;
        EXPECT_NO_THROW(static_cast<void>(Declaration::Parse(module.methods[i].declaration)));
    }
}

/// What every module made here has beside its methods.
void ExpectMadeModule(const trvhost::ModuleDefinition& module, const char* name, uint64_t version) {
    EXPECT_STREQ(module.name, name);
    EXPECT_EQ(module.version, version);
    EXPECT_EQ(module.flags, 4U);
    EXPECT_EQ(module.enumCount, 0);
    ASSERT_EQ(module.propertyCount, 1);
    const trvhost::PropertyDefinition& debugging = module.properties[0];
    EXPECT_STREQ(debugging.name, "Debugging");
    EXPECT_STREQ(debugging.type, "Boolean");
    EXPECT_EQ(debugging.flags, 38U) << "shared says how it is seen, so nothing is added";
    ASSERT_EQ(debugging.attributeCount, 1);
    EXPECT_STREQ(debugging.attributes[0].name, "Hidden");
    EXPECT_STREQ(debugging.attributes[0].value, "");
    const auto get = reinterpret_cast<uint8_t (*)(int64_t)>(debugging.getter);
    const auto set = reinterpret_cast<void (*)(int64_t, uint8_t)>(debugging.setter);
    const LogCapture log;  // which turns tracing on
    EXPECT_EQ(get(0), 1);
    set(0, 0);
    EXPECT_EQ(get(0), 0);
    EXPECT_EQ(log.Lines(), Lines{});
    set(0, 5);
    EXPECT_EQ(get(0), 1);
    EXPECT_EQ(log.Lines(), Lines{"TRV debug logging enabled."});
}

// Class extensions ---

TEST_F(OtherRegistration, AClassExtensionIsGivenAsItIsOutsideTheModuleVersions) {
    for (const double version : kClassicVersions) {
        LoadVersion(version);
        Extension extension;
        RegisterClassExtension(extension.definition);
        EXPECT_EQ(Given("PluginRegisterClassExtension"), std::vector<const void*>{&extension.definition});
        EXPECT_EQ(TheHost().Calls("PluginRegisterModule"), 0);
        EXPECT_EQ(extension.definition.version, SdkVersion());
        EXPECT_NE(extension.definition.version, kUnregisteredTableVersion);
        EXPECT_EQ(extension.definition.dataSize, 20);
        const int32_t since2010 = version >= 2010.029 ? 4 : 0;
        EXPECT_EQ(extension.definition.flags, since2010);
        EXPECT_EQ(extension.methods[0].flags, 4);
        EXPECT_EQ(extension.methods[1].flags, since2010) << version;
        EXPECT_EQ(extension.methods[2].flags, version < 2020.02 ? 4 : 0x308) << version;
        EXPECT_EQ(extension.properties[0].flags, 2 | since2010);
        EXPECT_EQ(extension.sharedMethods[0].flags, since2010);
        EXPECT_STREQ(extension.methods[0].declaration, "Size as integer");
        Kept().clear();
    }
}

TEST_F(OtherRegistration, AClassExtensionBecomesAModule) {
    for (const double version : kModuleVersions) {
        LoadVersion(version);
        Extension extension;
        RegisterClassExtension(extension.definition);
        EXPECT_EQ(TheHost().Calls("PluginRegisterClassExtension"), 0);
        const trvhost::ModuleDefinition& module = OnlyModule();
        ExpectMadeModule(module, "PictureImageExtensionTRV", static_cast<uint64_t>(SdkVersion()));
        ExpectMethods(
            module,
            {{"Size(extends ref as Picture, assigns value as integer)", TableFunction(SetSize), 20},
             {"Size(extends ref as Picture) as integer", TableFunction(Size), 20},
             {"Sum(extends ref as Picture, a as integer, b as integer) as integer", TableFunction(Sum), 20},
             {"Target(extends ref as Picture, assigns value as integer)", TableFunction(SetSize),
              version < 2020.02 ? 20U : 0x318U}});
        for (int64_t i = 0; i < module.methodCount; ++i) {
            EXPECT_EQ(module.methods[i].attributeCount, i < 2 ? 1 : 0);
            EXPECT_EQ(module.methods[i].attributes,
                      i < 2 ? reinterpret_cast<const trvhost::AttributeDefinition*>(kAttributes) : nullptr);
        }
        // The table that it was made of has its flags fixed and keeps its texts.
        EXPECT_EQ(extension.definition.version, kUnregisteredTableVersion);
        EXPECT_EQ(extension.definition.flags, 4);
        EXPECT_EQ(extension.methods[1].flags, 4);
        EXPECT_STREQ(extension.methods[0].declaration, "Size as integer");
    }
}

TEST_F(OtherRegistration, EveryPathSpeaksTheHostsTableVersion) {
    for (const auto& [version, table] : kTableVersions) {
        LoadVersion(version);
        const bool asModule = version >= 2013.0 && version < 3000.0;
        Extension extension;
        RegisterClassExtension(extension.definition);
        EXPECT_EQ(asModule ? static_cast<int64_t>(OnlyModule().version) : extension.definition.version, table)
            << version;
        ModuleDefinition module = {.version = kUnregisteredTableVersion, .name = "Module"};
        RegisterModule(module);
        EXPECT_EQ(module.version, table) << version;
        ControlDefinition control = {.version = kUnregisteredTableVersion, .name = "Control"};
        RegisterControl(control);
        EXPECT_EQ(control.version, table) << version;
        if (!asModule) Kept().clear();
    }
}

TEST_F(OtherRegistration, TheHostCanCallWhatTheModuleNames) {
    Extension extension;
    RegisterClassExtension(extension.definition);
    const trvhost::ModuleDefinition& module = OnlyModule();
    ASSERT_EQ(module.methodCount, 4);
    const trvhost::Ref object = TheHost().NewMemoryBlock(16);
    assigned = 0;
    trvhost::Method<void(int64_t)>(TheHost(), module.methods[0].function)(object, 123456789012);
    EXPECT_EQ(assigned, 123456789012);
    EXPECT_EQ(trvhost::Method<int64_t()>(TheHost(), module.methods[1].function)(object), 77);
    const Declaration sum = Declaration::Parse(module.methods[2].declaration);
    ASSERT_EQ(sum.parameters.size(), 3U);
    EXPECT_EQ(sum.parameters[0].name, "ref");
    EXPECT_EQ(sum.parameters[0].type, "Picture");
    EXPECT_EQ(sum.parameters[2].name, "b");
    using Sum = trvhost::Method<int64_t(int64_t, int64_t)>;
    EXPECT_EQ(Sum(TheHost(), module.methods[2].function)(object, 3, 4), 7);
}

TEST_F(OtherRegistration, AnExtensionWithoutMethodsOrFunctionsIsNone) {
    MethodDefinition empty[] = {{.declaration = "A"}, {.declaration = "B as integer"}};
    ClassDefinition definition = {.name = "Picture", .methods = empty, .methodCount = 0};
    const LogCapture log;
    RegisterClassExtension(definition);
    definition.methodCount = -3;
    RegisterClassExtension(definition);
    definition.methodCount = 2;
    RegisterClassExtension(definition);
    definition.methods = nullptr;
    RegisterClassExtension(definition);
    ExpectNothing();
    EXPECT_EQ(log.Lines(), Lines{});
}

TEST_F(OtherRegistration, AModulesNameIsCutAt98Characters) {
    Extension extension;
    const std::string longName(90, 'N');
    extension.definition.name = longName.c_str();
    RegisterClassExtension(extension.definition);
    const trvhost::ModuleDefinition& module = OnlyModule();
    EXPECT_EQ(std::string(module.name), longName + "ImageExt");
    EXPECT_EQ(std::string(module.methods[1].declaration), "Size(extends ref as " + longName + ") as integer");
}

TEST_F(OtherRegistration, AnExtensionWhoseTextsFailIsDropped) {
    const LogCapture log;
    Extension extension;
    extension.methods[2].declaration = nullptr;
    RegisterClassExtension(extension.definition);
    ExpectNothing();
    const std::string tooLong(1000, 'n');
    extension.methods[2].declaration = tooLong.c_str();
    RegisterClassExtension(extension.definition);
    ExpectNothing();
    extension.methods[2].declaration = "Target as integer";
    extension.definition.name = nullptr;
    RegisterClassExtension(extension.definition);
    ExpectNothing();
    EXPECT_EQ(log.Lines().size(), 1U) << "the text that is too long";
}

TEST_F(OtherRegistration, AnExtensionWithoutMemoryIsDroppedWithAWarning) {
    const LogCapture log;
    Extension extension;
    {
        const FailingMemory failing;
        RegisterClassExtension(extension.definition);
    }
    ExpectNothing();
    EXPECT_EQ(log.Lines(), Lines{"Warning: Failed to allocate memory for module definition."});
    // Many methods take more than the module and its texts.
    std::vector<MethodDefinition> many(200, extension.methods[0]);
    extension.definition.methods = many.data();
    extension.definition.methodCount = 200;
    {
        const FailingMemory failing(5000);
        RegisterClassExtension(extension.definition);
    }
    ExpectNothing();
    EXPECT_EQ(log.Lines(), (Lines{"Warning: Failed to allocate memory for module definition.",
                                  "Warning: Failed to allocate memory for method definitions."}));
    RegisterClassExtension(extension.definition);
    EXPECT_EQ(OnlyModule().methodCount, 400);
}

// Global methods ---

struct Globals {
    MethodDefinition methods[2] = {
        {.function = TableFunction(Twice),
         .declaration = "Twice(a as integer) as integer",
         .flags = kSinceHost2010,
         .attributeCount = 1,
         .attributes = kAttributes},
        {.function = TableFunction(Twice), .declaration = "Double(a as integer) as integer", .flags = 0x308}};
};

TEST_F(OtherRegistration, GlobalMethodsAreGivenOneByOneOutsideTheModuleVersions) {
    for (const double version : kClassicVersions) {
        LoadVersion(version);
        Globals globals;
        RegisterGlobalMethods(globals.methods, 2);
        EXPECT_EQ(Given("PluginRegisterMethod"),
                  (std::vector<const void*>{&globals.methods[0], &globals.methods[1]}));
        EXPECT_EQ(TheHost().Calls("PluginRegisterModule"), 0);
        EXPECT_EQ(globals.methods[0].flags, version >= 2010.029 ? 4 : 0);
        EXPECT_EQ(globals.methods[1].flags, version < 2020.02 ? 4 : 0x308);
        Kept().clear();
    }
}

TEST_F(OtherRegistration, GlobalMethodsBecomeAModule) {
    for (const double version : kModuleVersions) {
        LoadVersion(version);
        Globals globals;
        RegisterGlobalMethods(globals.methods, 2);
        EXPECT_EQ(TheHost().Calls("PluginRegisterMethod"), 0);
        const trvhost::ModuleDefinition& module = OnlyModule();
        ExpectMadeModule(module, "ImageGlobalsTRV", static_cast<uint64_t>(SdkVersion()));
        ExpectMethods(module, {{"Twice(a as integer) as integer", TableFunction(Twice), 20},
                               {"Double(a as integer) as integer", TableFunction(Twice),
                                version < 2020.02 ? 20U : 0x318U}});
        EXPECT_EQ(module.methods[0].attributeCount, 1);
        EXPECT_NE(static_cast<const void*>(module.methods), static_cast<const void*>(globals.methods));
        EXPECT_EQ(globals.methods[0].flags, 4) << "the copy is what gets flag 16";
        EXPECT_EQ(trvhost::SharedMethod<int64_t(int64_t)>(TheHost(), module.methods[0].function)(21), 42);
    }
}

TEST_F(OtherRegistration, NoGlobalMethodsAreNoModule) {
    Globals globals;
    for (const double version : {2012.0, 2024.01}) {
        LoadVersion(version);
        RegisterGlobalMethods(globals.methods, 0);
        RegisterGlobalMethods(globals.methods, -1);
        RegisterGlobalMethods(nullptr, 2);
        ExpectNothing();
    }
}

TEST_F(OtherRegistration, GlobalMethodsWithoutMemoryAreDroppedWithAWarning) {
    const LogCapture log;
    Globals globals;
    {
        const FailingMemory failing;
        RegisterGlobalMethods(globals.methods, 2);
    }
    std::vector<MethodDefinition> many(200, globals.methods[0]);
    {
        const FailingMemory failing(5000);
        RegisterGlobalMethods(many.data(), 200);
    }
    ExpectNothing();
    EXPECT_EQ(log.Lines(), (Lines{"Warning: Failed to allocate memory for module definition.",
                                  "Warning: Failed to allocate memory for method definitions."}));
}

// Modules ---

TEST_F(OtherRegistration, AModulesMembersAreItsOwnUnlessTheySayOtherwise) {
    const struct {
        double version;
        int32_t flags;
        int32_t expected;
    } cases[] = {{2024.01, 0, 64},
                 {2024.01, 4, 68},
                 {2024.01, 8, 72},
                 {2024.01, 256, 320},
                 {2024.01, 16, 16},
                 {2024.01, 32, 32},
                 {2024.01, 64, 64},
                 {2024.01, 128, 128},
                 {2024.01, 38, 38},
                 {2024.01, 0x40000, 68},
                 {2010.02, 0x40000, 64},
                 {2010.029, 0x40000, 68},
                 // The flag rule comes after.
                 {2020.01, 0x308, 68},
                 {2020.02, 0x308, 0x348}};
    for (const auto& [version, flags, expected] : cases) {
        LoadVersion(version);
        MethodDefinition methods[] = {{.declaration = "A", .flags = flags},
                                      {.declaration = "B", .flags = 16}};
        PropertyDefinition properties[] = {{.name = "C", .flags = flags}, {.name = "D", .flags = 16}};
        EnumDefinition enums[] = {{.name = "E", .flags = flags}, {.name = "F", .flags = 16}};
        ModuleDefinition definition = {.version = kUnregisteredTableVersion,
                                       .name = "Module",
                                       .methods = methods,
                                       .methodCount = 2,
                                       .properties = properties,
                                       .propertyCount = 2,
                                       .enums = enums,
                                       .enumCount = 2,
                                       .flags = 7};
        RegisterModule(definition);
        const auto given = TheHost().Definitions("PluginRegisterModule");
        ASSERT_EQ(given, std::vector<const void*>{&definition});
        const auto& seen = *static_cast<const trvhost::ModuleDefinition*>(given[0]);
        EXPECT_EQ(seen.version, static_cast<uint64_t>(SdkVersion()));
        EXPECT_EQ(seen.flags, 7U);
        EXPECT_EQ(seen.methods[0].flags, static_cast<uint64_t>(expected)) << version << " " << flags;
        EXPECT_EQ(seen.properties[0].flags, static_cast<uint64_t>(expected));
        EXPECT_EQ(seen.enums[0].flags, static_cast<uint64_t>(expected));
        EXPECT_EQ(seen.methods[1].flags, 16U);
        EXPECT_EQ(seen.properties[1].flags, 16U);
        EXPECT_EQ(seen.enums[1].flags, 16U);
        EXPECT_STREQ(seen.enums[0].name, "E");
    }
}

TEST_F(OtherRegistration, AModuleWithoutFlagsIsAnOrdinaryOne) {
    const struct {
        double version;
        int32_t flags;
        int32_t expected;
    } cases[] = {{2024.01, 0, 4},       {2024.01, 4, 4},         {2024.01, 8, 8},
                 {2024.01, 0x40000, 4}, {2010.02, 0x40000, 4},   {2010.02, 0, 4},
                 {2020.01, 0x308, 4},   {2020.02, 0x308, 0x308}, {2024.01, 0x40008, 12}};
    for (const auto& [version, flags, expected] : cases) {
        LoadVersion(version);
        ModuleDefinition definition = {.name = "Module", .flags = flags};
        RegisterModule(definition);
        EXPECT_EQ(definition.flags, expected) << version << " " << flags;
        EXPECT_EQ(TheHost().Calls("PluginRegisterModule"), 1);
    }
}

TEST_F(OtherRegistration, AMissingArrayIsToldAndCountsAsEmpty) {
    const LogCapture log;
    ModuleDefinition definition = {.name = "Module", .methodCount = 1, .propertyCount = 2, .enumCount = -3};
    RegisterModule(definition);
    EXPECT_EQ(log.Lines(), (Lines{"Error: method array is nil while count is not zero!",
                                  "Error: property array is nil while count is not zero!",
                                  "Error: enum array is nil while count is not zero!"}));
    EXPECT_EQ(TheHost().Calls("PluginRegisterModule"), 1);
    EXPECT_EQ(definition.methodCount, 0);
    EXPECT_EQ(definition.propertyCount, 0);
    EXPECT_EQ(definition.enumCount, 0);
    RegisterModule(definition);
    EXPECT_EQ(log.Lines().size(), 3U) << "nothing is missing where nothing is counted";
}

// Controls ---

std::vector<std::string> EventNames(const ControlDefinition& definition) {
    std::vector<std::string> names;
    for (int64_t i = 0; i < definition.eventCount; ++i) {
        const char* const declaration = definition.events[i].declaration;
        names.emplace_back(declaration == nullptr ? "(null)" : declaration);
    }
    return names;
}

struct Control {
    EventDefinition events[9] = {
        {.declaration = "EnableMenuItems"}, {.declaration = "One"},       {.declaration = "Two"},
        {.declaration = "Three"},           {.declaration = "GotFocus"},  {.declaration = "LostFocus"},
        {.declaration = "EnableMenuItems"}, {.declaration = "Open as X"}, {.declaration = "GotFocus"}};
    ControlDefinition definition = {.version = kUnregisteredTableVersion,
                                    .name = "Control",
                                    .dataSize = 20,
                                    .events = events,
                                    .eventCount = 9,
                                    .flags = 4};
};

TEST_F(OtherRegistration, AControlKeepsItsEvents) {
    Control control;
    const std::vector<std::string> names = EventNames(control.definition);
    RegisterControl(control.definition);
    EXPECT_EQ(TheHost().Definitions("PluginRegisterControl"), std::vector<const void*>{&control.definition});
    EXPECT_EQ(control.definition.dataSize, 32);
    EXPECT_EQ(control.definition.version, 13);
    EXPECT_EQ(control.definition.events, control.events);
    EXPECT_EQ(EventNames(control.definition), names);
}

TEST_F(OtherRegistration, AControlWithNewEventsLosesFiveAndRenamesThree) {
    Control control;
    control.definition.flags = 0x1004;
    RegisterControl(control.definition);
    EXPECT_EQ(TheHost().Calls("PluginRegisterControl"), 1);
    EXPECT_EQ(control.definition.events, control.events + 5);
    EXPECT_EQ(EventNames(control.definition),
              (std::vector<std::string>{"FocusLost", "MenuBarSelected", "Open as X", "FocusReceived"}));
    EXPECT_STREQ(control.events[0].declaration, "EnableMenuItems") << "those that were dropped stay";
    EXPECT_STREQ(control.events[4].declaration, "GotFocus");
    EXPECT_EQ(control.definition.flags, 0x1004);
}

TEST_F(OtherRegistration, AControlLosesNoMoreEventsThanItHas) {
    for (const int64_t count : {-1, 0, 1, 4, 5, 6}) {
        Control control;
        control.definition.flags = 0x1000;
        control.definition.eventCount = count;
        RegisterControl(control.definition);
        EXPECT_EQ(control.definition.eventCount, count > 5 ? count - 5 : std::min<int64_t>(count, 0))
            << count;
        EXPECT_EQ(control.definition.events, control.events + std::clamp<int64_t>(count, 0, 5)) << count;
    }
    ControlDefinition none = {.name = "Control", .eventCount = 7, .flags = 0x1000};
    RegisterControl(none);
    EXPECT_EQ(none.events, nullptr);
    EXPECT_EQ(none.eventCount, 2);
    Control nameless;
    nameless.definition.flags = 0x1000;
    nameless.events[6].declaration = nullptr;
    RegisterControl(nameless.definition);
    EXPECT_EQ(EventNames(nameless.definition),
              (std::vector<std::string>{"FocusLost", "(null)", "Open as X", "FocusReceived"}));
}

TEST_F(OtherRegistration, AControlsDataIsRaisedToSixteens) {
    for (const auto& [size, expected] :
         {std::pair<int64_t, int64_t>{0, 0}, {1, 16}, {16, 16}, {17, 32}, {20, 32}}) {
        ControlDefinition definition = {.name = "Control", .dataSize = size};
        RegisterControl(definition);
        EXPECT_EQ(definition.dataSize, expected) << size;
    }
}

}  // namespace
}  // namespace trv
