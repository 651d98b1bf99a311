#include "frame/class_tables.h"

#include <cstdint>
#include <cstdlib>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "frame/host_calls.h"
#include "unit/frame/fake_host.h"

namespace trv {
namespace {

using test::FakeHost;

// Flags ---

TEST(MemberFlags, FollowTheHostsVersion) {
    const struct {
        double version;
        int32_t flags;
        int32_t expected;
    } cases[] = {
        // Ordinary but only from 2010.029 on.
        {2010.02, 0x40000, 0},
        {2010.0289, 0x40000, 0},
        {2010.029, 0x40000, 4},
        {2010.03, 0x40000, 4},
        {2024.01, 0x40000, 4},
        {2010.02, 0x40002, 2},
        {2010.029, 0x40002, 6},
        {0.0, 0x40002, 2},
        // The pair 0x308 becomes 4 below 2020.02.
        {2020.01, 0x308, 4},
        {2020.0199, 0x308, 4},
        {2020.02, 0x308, 0x308},
        {2024.01, 0x308, 0x308},
        {2020.01, 0x308 | 2, 6},
        {2020.01, 0x308 | 0x1000, 0x1004},
        // 0x400 is part of what is compared, and not what is cleared.
        {2020.01, 0x708, 0x708},
        {2020.01, 0x208, 0x208},
        {2020.01, 0x108, 0x108},
        {2020.01, 0x300, 0x300},
        {2020.01, 8, 8},
        // Both rules, one after the other.
        {2020.01, 0x40308, 4},
        {2010.02, 0x40308, 4},
        {2020.02, 0x40308, 0x30C},
        // What no rule is about.
        {2005.0, 4, 4},
        {2005.0, 6, 6},
        {2024.01, 38, 38},
        {2005.0, 0, 0},
        {2005.0, static_cast<int32_t>(0x80000000), static_cast<int32_t>(0x80000000)},
    };
    FakeHost host;
    for (const auto& [version, flags, expected] : cases) {
        host.Reconnect(version);
        EXPECT_EQ(FixFlags(flags), expected) << version << " " << std::hex << flags;
    }
}

// Constants ---

/// The text of a constant, which the table keeps for good; here it is freed.
std::string TakeText(ConstantDefinition& constant) {
    std::string text = constant.declaration;
    std::free(const_cast<char*>(constant.declaration));
    constant.declaration = nullptr;
    return text;
}

std::string Formatted(const char* name, int64_t value, bool prefixed = false, bool decimalOnly = false) {
    ConstantDefinition constant{.declaration = name, .value = value};
    FormatConstants(&constant, 1, 0, prefixed, decimalOnly);
    EXPECT_EQ(constant.value, 0);
    EXPECT_NE(constant.declaration, name);
    return TakeText(constant);
}

TEST(ConstantTexts, SmallValuesAreDecimal) {
    EXPECT_EQ(Formatted("ScaleBox", 2), "ScaleBox = 2");
    EXPECT_EQ(Formatted("Zero", 0), "Zero = 0");
    EXPECT_EQ(Formatted("N", 99), "N = 99");
    EXPECT_EQ(Formatted("Negative", -5), "Negative = -5");
    EXPECT_EQ(Formatted("Least", INT64_MIN), "Least = -9223372036854775808");
}

TEST(ConstantTexts, ValuesFrom100OnAreHexadecimal) {
    EXPECT_EQ(Formatted("N", 100), "N = &h00000064");
    EXPECT_EQ(Formatted("N", 0xABCDEF), "N = &h00ABCDEF");
    EXPECT_EQ(Formatted("N", 0xFFFFFFFF), "N = &hFFFFFFFF");
}

TEST(ConstantTexts, DecimalOnRequest) {
    EXPECT_EQ(Formatted("N", 100, false, true), "N = 100");
    EXPECT_EQ(Formatted("N", INT64_MAX, false, true), "N = 9223372036854775807");
}

TEST(ConstantTexts, APrefixStandsBeforeTheName) {
    EXPECT_EQ(Formatted("Box", 2, true), "kBox = 2");
    EXPECT_EQ(Formatted("Box", 100, true), "kBox = &h00000064");
    EXPECT_EQ(Formatted("Box", 100, true, true), "kBox = 100");
    const std::string longName(3000, 'n');
    EXPECT_EQ(Formatted(longName.c_str(), 0x12345678, true), "k" + longName + " = &h12345678");
}

TEST(ConstantTexts, ADeclarationWithAValueStays) {
    const char* const declaration = "Ready as Integer = 7";
    ConstantDefinition constant{.declaration = declaration, .value = 200};
    FormatConstants(&constant, 1);
    EXPECT_EQ(constant.declaration, declaration);
    EXPECT_EQ(constant.value, 200);
}

TEST(ConstantTexts, StartAtTheFirstIndex) {
    ConstantDefinition constants[] = {{.declaration = "A", .value = 1},
                                      {.declaration = "B = 5", .value = 2},
                                      {.declaration = "C", .value = 3},
                                      {.declaration = "D", .value = 4}};
    FormatConstants(constants, 3, 1);
    EXPECT_STREQ(constants[0].declaration, "A");
    EXPECT_EQ(constants[0].value, 1);
    EXPECT_STREQ(constants[1].declaration, "B = 5");
    EXPECT_EQ(constants[1].value, 2);
    EXPECT_EQ(TakeText(constants[2]), "C = 3");
    EXPECT_EQ(constants[2].value, 0);
    EXPECT_STREQ(constants[3].declaration, "D");
    FormatConstants(constants, 0);
    FormatConstants(constants, 1, 5);
    EXPECT_STREQ(constants[0].declaration, "A");
}

// Registration ---

TEST(Registration, FixesTheDefinitionAndHandsItOver) {
    FakeHost host(2010.03);
    MethodDefinition methods[] = {{.declaration = "A", .flags = 0x40000}, {.declaration = "B", .flags = 4}};
    MethodDefinition sharedMethods[] = {{.declaration = "C", .flags = 0x308}};
    PropertyDefinition properties[] = {{.name = "D", .flags = 0x40002}, {.name = "E", .flags = 6}};
    PropertyDefinition sharedProperties[] = {{.name = "F", .flags = 38}, {.name = "G", .flags = 0x40000}};
    ClassDefinition definition = {.version = kUnregisteredTableVersion,
                                  .name = "Test",
                                  .dataSize = 20,
                                  .properties = properties,
                                  .propertyCount = 2,
                                  .methods = methods,
                                  .methodCount = 2,
                                  .flags = 0x40000,
                                  .sharedProperties = sharedProperties,
                                  .sharedPropertyCount = 2,
                                  .sharedMethods = sharedMethods,
                                  .sharedMethodCount = 1};
    RegisterClass(definition);
    ASSERT_EQ(host.registered.size(), 1U);
    EXPECT_EQ(host.registered[0], &definition);
    EXPECT_EQ(definition.version, 9);
    EXPECT_EQ(definition.dataSize, 32);
    EXPECT_EQ(definition.forSystemUse, 0);
    EXPECT_EQ(definition.flags, 4);
    EXPECT_EQ(methods[0].flags, 4);
    EXPECT_EQ(methods[1].flags, 4);
    EXPECT_EQ(sharedMethods[0].flags, 4);
    EXPECT_EQ(properties[0].flags, 6);
    EXPECT_EQ(properties[1].flags, 6);
    EXPECT_EQ(sharedProperties[0].flags, 38);
    EXPECT_EQ(sharedProperties[1].flags, 4);
}

TEST(Registration, RaisesTheDataSizeToSixteens) {
    FakeHost host;
    for (const auto& [size, expected] :
         {std::pair<int64_t, int64_t>{0, 0}, {1, 16}, {15, 16}, {16, 16}, {17, 32}, {20, 32}, {608, 608}}) {
        ClassDefinition definition = {.name = "Test", .dataSize = size};
        RegisterClass(definition);
        EXPECT_EQ(definition.dataSize, expected) << size;
        EXPECT_EQ(definition.version, 13);
    }
}

}  // namespace
}  // namespace trv
