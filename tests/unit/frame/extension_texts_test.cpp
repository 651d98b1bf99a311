#include "frame/extension_texts.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "unit/failing_memory.h"
#include "unit/frame/log_capture.h"

namespace trv {
namespace {

using test::FailingMemory;
using test::LogCapture;

using Lines = std::vector<std::string>;

std::string TextOf(const OwnedText& text) {
    return text == nullptr ? "(null)" : text.get();
}

std::string Extended(const std::string& declaration, const char* className = "Picture") {
    return TextOf(AddExtendsRef(declaration.c_str(), className));
}

std::string Assigned(const std::string& declaration, const char* className = "Picture") {
    return TextOf(AddAssignsValue(declaration.c_str(), className));
}

TEST(ExtensionTexts, TheObjectStandsBeforeTheOtherParameters) {
    EXPECT_EQ(Extended("Sum(a as integer) as integer"),
              "Sum(extends ref as Picture, a as integer) as integer");
    EXPECT_EQ(Extended("Fill(red as integer, green as integer = 0)", "Canvas"),
              "Fill(extends ref as Canvas, red as integer, green as integer = 0)");
    EXPECT_EQ(Extended("Take(values() as integer)"), "Take(extends ref as Picture, values() as integer)");
    EXPECT_EQ(Extended("(a as integer)"), "(extends ref as Picture, a as integer)");
}

TEST(ExtensionTexts, AParenthesisIsPutBeforeTheResult) {
    EXPECT_EQ(Extended("Size as integer"), "Size(extends ref as Picture) as integer");
    // The parentheses of the result's type are not those of the method.
    EXPECT_EQ(Extended("Values as integer()"), "Values(extends ref as Picture) as integer()");
    EXPECT_EQ(Extended("Size (a as integer)"), "Size(extends ref as Picture) (a as integer)");
}

TEST(ExtensionTexts, ABareNameGetsAParenthesis) {
    EXPECT_EQ(Extended("Close"), "Close(extends ref as Picture)");
    EXPECT_EQ(Extended("Close", "C"), "Close(extends ref as C)");
    EXPECT_EQ(Extended(""), "(extends ref as Picture)");
}

TEST(ExtensionTexts, EmptyParenthesesAreTakenAsTheyStand) {
    EXPECT_EQ(Extended("Close()"), "Close(extends ref as Picture, )");
}

TEST(ExtensionTexts, TheAssignedValueIsTheLastParameter) {
    EXPECT_EQ(Assigned("Size as integer"), "Size(extends ref as Picture, assigns value as integer)");
    EXPECT_EQ(Assigned("Item(index as integer) as double"),
              "Item(extends ref as Picture, index as integer, assigns value as double)");
    EXPECT_EQ(Assigned("Close"), "Close(extends ref as Picture, assigns value)");
    EXPECT_EQ(Assigned("Values as integer()"), "Values(extends ref as Picture, assigns value as integer())");
}

TEST(ExtensionTexts, TheSecondStepTakesOtherTextsToo) {
    EXPECT_EQ(TextOf(AddAssigns("Size(a) as integer")), "Size(a, assigns value as integer)");
    EXPECT_EQ(TextOf(AddAssigns("Size as integer")), "Size(assigns value as integer)");
    EXPECT_EQ(TextOf(AddAssigns(" ")), "(assigns value )");
    EXPECT_EQ(TextOf(AddAssigns(")")), ", assigns value)");
    const LogCapture log;
    EXPECT_EQ(AddAssigns("Size"), nullptr);
    EXPECT_EQ(AddAssigns(""), nullptr);
    EXPECT_EQ(log.Lines(), (Lines{"Error: Keine Klammer in der Deklaration Size",
                                  "Error: Keine Klammer in der Deklaration "}));
}

TEST(ExtensionTexts, AnUnclosedParenthesisIsPutUpWith) {
    EXPECT_EQ(Extended("Size("), "Size(extends ref as Picture, ");
    EXPECT_EQ(Assigned("Size("), "Size(extends(assigns value ref as Picture, )");
}

TEST(ExtensionTexts, NothingComesOfNothing) {
    EXPECT_EQ(AddExtendsRef(nullptr, "Picture"), nullptr);
    EXPECT_EQ(AddExtendsRef("Close", nullptr), nullptr);
    EXPECT_EQ(AddAssignsValue(nullptr, "Picture"), nullptr);
    EXPECT_EQ(AddAssignsValue("Close", nullptr), nullptr);
}

TEST(ExtensionTexts, TheLongestTextHas999Characters) {
    const std::string around = "(extends ref as Picture)";
    const std::string longest(999 - around.size(), 'n');
    const LogCapture log;
    EXPECT_EQ(Extended(longest), longest + around);
    EXPECT_EQ(log.Lines(), Lines{});
    EXPECT_EQ(Extended(longest + "n"), "(null)");
    ASSERT_EQ(log.Lines().size(), 1U);
    EXPECT_EQ(log.Lines()[0].find("Error: The declaration is too long: nnn"), 0U);
    // The value's parameter is what makes this one too long.
    EXPECT_EQ(Assigned(longest), "(null)");
    const std::string shorter = longest.substr(std::string(", assigns value").size());
    EXPECT_EQ(Assigned(shorter), shorter + "(extends ref as Picture, assigns value)");
    EXPECT_EQ(Assigned(shorter + "n"), "(null)");
}

TEST(ExtensionTexts, WithoutMemoryThereIsNoText) {
    const FailingMemory failing;
    EXPECT_EQ(AddExtendsRef("Close", "Picture"), nullptr);
    EXPECT_EQ(AddAssignsValue("Close", "Picture"), nullptr);
    EXPECT_EQ(AddAssigns("Close as integer"), nullptr);
    EXPECT_EQ(failing.Failures(), 3);
}

}  // namespace
}  // namespace trv
