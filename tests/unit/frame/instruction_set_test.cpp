#include "frame/instruction_set.h"

#include <gtest/gtest.h>

namespace trv {
namespace {

TEST(InstructionSets, OneThatIsForcedStaysUntilTheNext) {
    ASSERT_TRUE(ForceInstructionSet("plain"));
    EXPECT_EQ(ChosenInstructionSet(), InstructionSet::Plain);
    ASSERT_TRUE(ForceInstructionSet("baseline"));
    EXPECT_STREQ(NameOf(ChosenInstructionSet()), "baseline");
    EXPECT_FALSE(ForceInstructionSet("sse9"));
    EXPECT_EQ(ChosenInstructionSet(), InstructionSet::Baseline);
    ASSERT_TRUE(ForceInstructionSet(""));
    EXPECT_NE(ChosenInstructionSet(), InstructionSet::Plain);
}

}  // namespace
}  // namespace trv
