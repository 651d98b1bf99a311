#include "frame/validate_class.h"

#include <gtest/gtest.h>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include "frame/debug_log.h"
#include "frame/host_types.h"
#include "unit/frame/log_capture.h"

namespace trv {
namespace {

using Lines = std::vector<std::string>;

void Function() {}

constexpr AttributeDefinition kOneAttribute[] = {{.name = "Hidden", .value = ""}};

/// What the tool says of a class, with tracing off.
Lines FaultsOfClass(const ClassDefinition& definition, const DelegateDefinition* delegates = nullptr,
                    int64_t delegateCount = 0) {
    const test::LogCapture log;
    const uint8_t before = std::exchange(debugFlag, 0);
    ValidateClass(definition, delegates, delegateCount);
    debugFlag = before;
    return log.Messages();
}

Lines FaultsOf(const ConstantDefinition& constant) {
    ConstantDefinition constants[] = {constant};
    return FaultsOfClass({.name = "Broken", .constants = constants, .constantCount = 1});
}

Lines FaultsOf(const MethodDefinition& method) {
    MethodDefinition methods[] = {method};
    const Lines faults = FaultsOfClass({.name = "Broken", .methods = methods, .methodCount = 1});
    EXPECT_EQ(FaultsOfClass({.name = "Broken", .sharedMethods = methods, .sharedMethodCount = 1}), faults);
    return faults;
}

Lines FaultsOf(const EventDefinition& event) {
    EventDefinition events[] = {event};
    return FaultsOfClass({.name = "Broken", .events = events, .eventCount = 1});
}

Lines FaultsOf(const DelegateDefinition& delegate) {
    return FaultsOfClass({.name = "Broken"}, &delegate, 1);
}

Lines FaultsOf(const PropertyDefinition& property) {
    PropertyDefinition properties[] = {property};
    const Lines faults = FaultsOfClass({.name = "Broken", .properties = properties, .propertyCount = 1});
    EXPECT_EQ(FaultsOfClass({.name = "Broken", .sharedProperties = properties, .sharedPropertyCount = 1}),
              faults);
    return faults;
}

/// A property with code, without fault.
PropertyDefinition GoodProperty() {
    return {.name = "P", .type = "Integer", .getter = TableFunction(Function)};
}

// Tables without fault ---

TEST(ValidateClass, SaysNothingOfGoodTables) {
    EXPECT_EQ(FaultsOfClass({.name = "Empty"}), Lines{});
    EXPECT_EQ(FaultsOfClass({}), Lines{});
    const AttributeDefinition attributes[] = {{.name = "A", .value = "B"}, {.name = "", .value = ""}};
    ConstantDefinition constants[] = {{.declaration = "A = 1", .attributeCount = 2, .attributes = attributes},
                                      {.declaration = ""}};
    MethodDefinition methods[] = {{.function = TableFunction(Function), .declaration = "M"}};
    EventDefinition events[] = {{.declaration = "E"}};
    const char* const entries[] = {"One", "Two", ""};
    PropertyDefinition properties[] = {
        GoodProperty(),
        {.name = "Direct",
         .type = "Single",
         .getter = DirectAccess(),
         .setter = DirectAccess(),
         .parameter = 12,
         .enumCount = 3,
         .enumEntries = entries,
         .attributeCount = 1,
         .attributes = kOneAttribute},
        // With code the parameter may be anything, and so may the type.
        {.name = "Code",
         .type = "Double",
         .getter = TableFunction(Function),
         .setter = TableFunction(Function),
         .parameter = 3},
    };
    const DelegateDefinition delegates[] = {{.declaration = "D", .flags = 4}};
    const ClassDefinition good = {.name = "Good",
                                  .properties = properties,
                                  .propertyCount = 3,
                                  .methods = methods,
                                  .methodCount = 1,
                                  .events = events,
                                  .eventCount = 1,
                                  .attributes = attributes,
                                  .attributeCount = 2,
                                  .constants = constants,
                                  .constantCount = 2,
                                  .sharedProperties = properties,
                                  .sharedPropertyCount = 3,
                                  .sharedMethods = methods,
                                  .sharedMethodCount = 1};
    EXPECT_EQ(FaultsOfClass(good, delegates, 1), Lines{});
}

// Counts ---

TEST(ValidateClass, CountsAbove10000AreOutOfRange) {
    for (const int64_t count : {int64_t{10001}, int64_t{-1}, INT64_MAX, INT64_MIN, int64_t{1} << 32}) {
        const std::string number = std::to_string(count);
        const ClassDefinition definition = {.name = "Broken",
                                            .propertyCount = count,
                                            .methodCount = count,
                                            .eventCount = count,
                                            .attributeCount = count,
                                            .constantCount = count,
                                            .sharedPropertyCount = count,
                                            .sharedMethodCount = count};
        EXPECT_EQ(FaultsOfClass(definition, nullptr, count),
                  (Lines{"Error: attribute count out of range for Broken.(class): " + number + ".",
                         "Error: constant count out of range for Broken: " + number + ".",
                         "Error: method count out of range for Broken: " + number + ".",
                         "Error: method count out of range for Broken: " + number + ".",
                         "Error: delegate count out of range for Broken: " + number + ".",
                         "Error: event count out of range for Broken: " + number + ".",
                         "Error: property count out of range for Broken: " + number + ".",
                         "Error: property count out of range for Broken: " + number + "."}));
    }
}

TEST(ValidateClass, CountsOf10000AreGoneThrough) {
    std::vector<MethodDefinition> methods(10000, {.function = TableFunction(Function), .declaration = "M"});
    std::vector<PropertyDefinition> properties(10000, GoodProperty());
    std::vector<EventDefinition> events(10000, {.declaration = "E"});
    std::vector<ConstantDefinition> constants(10000, {.declaration = "C"});
    std::vector<DelegateDefinition> delegates(10000, {.declaration = "D", .flags = 1});
    methods.back().declaration = properties.back().name = events.back().declaration =
        constants.back().declaration = delegates.back().declaration = nullptr;
    const ClassDefinition definition = {.name = "Large",
                                        .properties = properties.data(),
                                        .propertyCount = 10000,
                                        .methods = methods.data(),
                                        .methodCount = 10000,
                                        .events = events.data(),
                                        .eventCount = 10000,
                                        .constants = constants.data(),
                                        .constantCount = 10000};
    EXPECT_EQ(FaultsOfClass(definition, delegates.data(), 10000),
              (Lines{"Error: The constant Large.9999 has nil declaration.",
                     "Error: The method Large.9999 has nil declaration.",
                     "Error: The delegate Large.9999 has nil declaration.",
                     "Error: The event Large.9999 has nil declaration.",
                     "Error: The property Large.9999 has nil name."}));
}

// Attributes ---

TEST(ValidateClass, AttributesNeedNamesAndValues) {
    const AttributeDefinition attributes[] = {
        {.name = "A", .value = "a"}, {.value = "b"}, {.name = "C"}, {}, {.name = "E", .value = ""}};
    const Lines faults = {"Error: Broken.M has an attribute without name! Index: 1",
                          "Error: Broken.M has an attribute without value! Name: C Index: 2",
                          "Error: Broken.M has an attribute without name! Index: 3",
                          "Error: Broken.M has an attribute without value! Name:  Index: 3"};
    EXPECT_EQ(FaultsOf(ConstantDefinition{.declaration = "M", .attributeCount = 5, .attributes = attributes}),
              faults);
    EXPECT_EQ(FaultsOf(MethodDefinition{.function = TableFunction(Function),
                                        .declaration = "M",
                                        .attributeCount = 5,
                                        .attributes = attributes}),
              faults);
    EXPECT_EQ(FaultsOf(DelegateDefinition{
                  .declaration = "M", .flags = 1, .attributeCount = 5, .attributes = attributes}),
              faults);
    EXPECT_EQ(FaultsOf(EventDefinition{.declaration = "M", .attributeCount = 5, .attributes = attributes}),
              faults);
    PropertyDefinition property = GoodProperty();
    property.name = "M";
    property.attributeCount = 5;
    property.attributes = attributes;
    EXPECT_EQ(FaultsOf(property), faults);
    EXPECT_EQ(FaultsOfClass({.name = "Broken", .attributes = attributes, .attributeCount = 3}),
              (Lines{"Error: Broken.(class) has an attribute without name! Index: 1",
                     "Error: Broken.(class) has an attribute without value! Name: C Index: 2"}));
}

/// A wrong number of attributes, at a member of each kind: what each line begins with, and the count.
TEST(ValidateClass, TheNumberOfAttributesIsTested) {
    const std::vector<AttributeDefinition> many(10000, kOneAttribute[0]);
    const struct {
        int64_t count;
        const AttributeDefinition* attributes;
        bool wrong;
        bool outOfRange;
    } cases[] = {{0, nullptr, false, false},        {1, many.data(), false, false},
                 {1000, many.data(), false, false}, {1001, many.data(), true, false},
                 {10000, many.data(), true, false}, {10001, many.data(), true, true},
                 {3, nullptr, true, false},         {0, many.data(), true, false},
                 {-1, many.data(), true, true},     {10001, nullptr, true, true}};
    for (const auto& [count, attributes, wrong, outOfRange] : cases) {
        const std::string number = std::to_string(count);
        const auto expect = [&, isWrong = wrong, isOut = outOfRange](const std::string& line) {
            Lines lines;
            if (isWrong) lines.push_back(line + number);
            if (isOut) lines.push_back("Error: attribute count out of range for Broken.M: " + number + ".");
            return lines;
        };
        EXPECT_EQ(FaultsOf(ConstantDefinition{
                      .declaration = "M", .attributeCount = count, .attributes = attributes}),
                  expect("Error: The constant Broken.M has the wrong attributeCount value: "));
        EXPECT_EQ(FaultsOf(MethodDefinition{.function = TableFunction(Function),
                                            .declaration = "M",
                                            .attributeCount = count,
                                            .attributes = attributes}),
                  expect("Error: The method Broken.M has the wrong attributeCount value: "));
        EXPECT_EQ(FaultsOf(DelegateDefinition{
                      .declaration = "M", .flags = 1, .attributeCount = count, .attributes = attributes}),
                  expect("Error: The delegate Broken.M has the wrong attributeCount value: "));
        EXPECT_EQ(
            FaultsOf(EventDefinition{.declaration = "M", .attributeCount = count, .attributes = attributes}),
            expect("Error: The event Broken.M has the wrong attributeCount value: "));
        PropertyDefinition property = GoodProperty();
        property.name = "M";
        property.attributeCount = count;
        property.attributes = attributes;
        EXPECT_EQ(FaultsOf(property), expect("Error: The property Broken.M has attributes: "));
    }
}

// Constants, methods, delegates, events ---

TEST(ValidateClass, AConstantNeedsADeclaration) {
    EXPECT_EQ(FaultsOf(ConstantDefinition{.value = 5}),
              Lines{"Error: The constant Broken.0 has nil declaration."});
    EXPECT_EQ(FaultsOf(ConstantDefinition{.attributeCount = 1}),
              (Lines{"Error: The constant Broken.0 has nil declaration.",
                     "Error: The constant Broken. has the wrong attributeCount value: 1"}));
}

TEST(ValidateClass, AMethodNeedsADeclarationAndAFunction) {
    EXPECT_EQ(FaultsOf(MethodDefinition{.function = TableFunction(Function)}),
              Lines{"Error: The method Broken.0 has nil declaration."});
    EXPECT_EQ(
        FaultsOf(MethodDefinition{.setter = TableFunction(Function), .declaration = "Do(a as integer)"}),
        Lines{"Error: The method Broken.Do(a as integer) has nil function."});
    EXPECT_EQ(FaultsOf(MethodDefinition{}), (Lines{"Error: The method Broken.0 has nil declaration.",
                                                   "Error: The method Broken. has nil function."}));
}

TEST(ValidateClass, ADelegateNeedsADeclarationAndFlags) {
    EXPECT_EQ(FaultsOf(DelegateDefinition{.flags = 4}),
              Lines{"Error: The delegate Broken.0 has nil declaration."});
    EXPECT_EQ(FaultsOf(DelegateDefinition{.declaration = "Do"}),
              Lines{"Warning: The delegate Broken.Do has 0 for flags."});
}

TEST(ValidateClass, AnEventNeedsADeclaration) {
    EXPECT_EQ(FaultsOf(EventDefinition{}), Lines{"Error: The event Broken.0 has nil declaration."});
}

TEST(ValidateClass, MissingArraysHaveNoEntries) {
    EXPECT_EQ(FaultsOfClass({.name = "Broken", .constantCount = 2}),
              (Lines{"Error: Constant Broken.0 is NULL.", "Error: Constant Broken.1 is NULL."}));
    EXPECT_EQ(FaultsOfClass({.name = "Broken", .methodCount = 2}),
              (Lines{"Error: method Broken.0 is NULL.", "Error: method Broken.1 is NULL."}));
    EXPECT_EQ(FaultsOfClass({.name = "Broken", .sharedMethodCount = 1}),
              Lines{"Error: method Broken.0 is NULL."});
    EXPECT_EQ(FaultsOfClass({.name = "Broken", .eventCount = 2}),
              (Lines{"Error: The event Broken.0 has nil declaration.",
                     "Error: The event Broken.1 has nil declaration."}));
    EXPECT_EQ(FaultsOfClass({.name = "Broken"}, nullptr, 1),
              (Lines{"Error: The delegate Broken.0 has nil declaration.",
                     "Warning: The delegate Broken. has 0 for flags."}));
    EXPECT_EQ(
        FaultsOfClass({.name = "Broken", .propertyCount = 1}),
        (Lines{"Error: The property Broken.0 has nil name.", "Error: The property Broken. has nil getter.",
               "Error: The property Broken.0 has nil type."}));
    EXPECT_EQ(FaultsOfClass({.name = "Broken", .attributeCount = 3}), Lines{});
}

TEST(ValidateClass, GoesOnBehindAFault) {
    MethodDefinition methods[] = {{.function = TableFunction(Function)},
                                  {.function = TableFunction(Function), .declaration = "Good"},
                                  {.declaration = "Bad"}};
    PropertyDefinition properties[] = {GoodProperty(), GoodProperty()};
    properties[1].editor = "color";
    EXPECT_EQ(
        FaultsOfClass({.properties = properties, .propertyCount = 2, .methods = methods, .methodCount = 3}),
        (Lines{"Error: The method .0 has nil declaration.", "Error: The method .Bad has nil function.",
               "Error: The property .P has editor."}));
}

// Properties ---

TEST(ValidateClass, APropertyNeedsNameTypeAndGetter) {
    PropertyDefinition property = GoodProperty();
    property.name = nullptr;
    EXPECT_EQ(FaultsOf(property), Lines{"Error: The property Broken.0 has nil name."});
    property = GoodProperty();
    property.type = nullptr;
    EXPECT_EQ(FaultsOf(property), Lines{"Error: The property Broken.0 has nil type."});
    property = GoodProperty();
    property.getter = nullptr;
    EXPECT_EQ(FaultsOf(property), Lines{"Error: The property Broken.P has nil getter."});
    property = GoodProperty();
    property.editor = "";
    EXPECT_EQ(FaultsOf(property), Lines{"Error: The property Broken.P has editor."});
}

TEST(ValidateClass, ADoubleIsNoField) {
    for (const char* type : {"double", "Double", "DOUBLE", "dOuBlE"}) {
        PropertyDefinition property = GoodProperty();
        property.type = type;
        property.parameter = 3;  // which is the code's own affair
        EXPECT_EQ(FaultsOf(property), Lines{});
        property.getter = DirectAccess();
        EXPECT_EQ(FaultsOf(property), Lines{"Error: The property Broken.P needs custom getter."}) << type;
        property.setter = DirectAccess();
        EXPECT_EQ(FaultsOf(property), (Lines{"Error: The property Broken.P needs custom getter.",
                                             "Error: The property Broken.P needs custom setter."}));
        property.getter = TableFunction(Function);
        EXPECT_EQ(FaultsOf(property), Lines{"Error: The property Broken.P needs custom setter."});
    }
}

TEST(ValidateClass, AFieldLiesAtAMultipleOfFour) {
    for (const char* type :
         {"Integer", "doubles", "doubl", "eouble", "", static_cast<const char*>(nullptr)}) {
        for (const int64_t offset : {0, 1, 2, 3, 4, 6, 8, -4, -3}) {
            PropertyDefinition property = GoodProperty();
            property.type = type;
            property.parameter = offset;
            Lines faults;
            if (type == nullptr) faults.emplace_back("Error: The property Broken.0 has nil type.");
            EXPECT_EQ(FaultsOf(property), faults);
            if (offset % 4 != 0) {
                faults.push_back("Error: The property Broken.P has unaligned offset " +
                                 std::to_string(offset) + ".");
            }
            property.setter = DirectAccess();
            EXPECT_EQ(FaultsOf(property), faults) << offset;
            property.getter = DirectAccess();
            EXPECT_EQ(FaultsOf(property), faults) << offset;
            property.setter = nullptr;
            EXPECT_EQ(FaultsOf(property), faults) << offset;
        }
    }
}

TEST(ValidateClass, EnumerationsAreTested) {
    const std::vector<const char*> many(10000, "Value");
    const struct {
        int64_t count;
        const char* const* entries;
        Lines faults;
    } cases[] = {
        {0, nullptr, {}},
        {1, many.data(), {}},
        {1000, many.data(), {}},
        {1001, many.data(), {"Error: The property Broken.P has wrong enumCount: 1001"}},
        {10000, many.data(), {"Error: The property Broken.P has wrong enumCount: 10000"}},
        {10001,
         many.data(),
         {"Error: The property Broken.P has wrong enumCount: 10001",
          "Error: property enum count out of range for Broken.P: 10001."}},
        {-1,
         many.data(),
         {"Error: The property Broken.P has wrong enumCount: -1",
          "Error: property enum count out of range for Broken.P: -1."}},
        {0, many.data(), {"Error: The property Broken.P has wrong enumCount: 0"}},
        {2,
         nullptr,
         {"Error: The property Broken.P has wrong enumCount: 2",
          "Error: property enum is nil for Broken.P: 2."}},
        {10001,
         nullptr,
         {"Error: The property Broken.P has wrong enumCount: 10001",
          "Error: property enum count out of range for Broken.P: 10001.",
          "Error: property enum is nil for Broken.P: 10001."}},
    };
    for (const auto& [count, entries, faults] : cases) {
        PropertyDefinition property = GoodProperty();
        property.enumCount = count;
        property.enumEntries = entries;
        EXPECT_EQ(FaultsOf(property), faults) << count;
    }
}

TEST(ValidateClass, EnumerationsHaveValuesWithoutBlanksInFront) {
    const char* const entries[] = {"One", nullptr, " Two", "Thr ee", "", " "};
    PropertyDefinition property = GoodProperty();
    property.enumCount = std::size(entries);
    property.enumEntries = entries;
    EXPECT_EQ(FaultsOf(property),
              (Lines{"Error: The enum value 1 in property Broken.P has nil value.",
                     "Error: The enum value 2 in property Broken.P has extra space in value.",
                     "Error: The enum value 5 in property Broken.P has extra space in value."}));
}

TEST(ValidateClass, TheFaultsOfAPropertyComeInTheirOrder) {
    const char* const entries[] = {nullptr};
    const PropertyDefinition property = {.type = "Integer",
                                         .setter = DirectAccess(),
                                         .parameter = 5,
                                         .editor = "e",
                                         .enumCount = 0,
                                         .enumEntries = entries,
                                         .attributeCount = 7};
    EXPECT_EQ(FaultsOf(property), (Lines{"Error: The property Broken.0 has nil name.",
                                         "Error: The property Broken. has nil getter.",
                                         "Error: The property Broken. has unaligned offset 5.",
                                         "Error: The property Broken. has editor.",
                                         "Error: The property Broken. has wrong enumCount: 0",
                                         "Error: The property Broken. has attributes: 7"}));
}

TEST(ValidateClass, ALongLineIsCut) {
    const std::string longName(5000, 'n');
    const MethodDefinition method = {.function = nullptr, .declaration = longName.c_str()};
    EXPECT_EQ(FaultsOf(method), Lines{("Error: The method Broken." + longName).substr(0, 4095)});
}

}  // namespace
}  // namespace trv
