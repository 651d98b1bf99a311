#include "frame/instruction_set.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "unit/frame/fresh_process.h"
#include "unit/frame/log_capture.h"

namespace trv {
namespace {

void SetEnvironment(const char* value) {
#ifdef _WIN32
    _putenv_s("TRV_INSTRUCTION_SET", value);
#else
    setenv("TRV_INSTRUCTION_SET", value, 1);
#endif
}

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

TEST(InstructionSets, TheEnvironmentForcesOneByName) {
    for (const char* name : {"plain", "baseline"}) {
        TRV_IN_FRESH_PROCESS({
            SetEnvironment(name);
            EXPECT_STREQ(NameOf(ChosenInstructionSet()), name);
        });
    }
}

TEST(InstructionSets, AnUnknownNameLeavesTheBestOneAndSaysSo) {
    TRV_IN_FRESH_PROCESS({
        SetEnvironment("sse9");
        const test::LogCapture log;
        const InstructionSet chosen = ChosenInstructionSet();
        EXPECT_EQ(log.Lines(),
                  std::vector<std::string>{"TRV_INSTRUCTION_SET is unknown or not supported here sse9"});
        ASSERT_TRUE(ForceInstructionSet(""));
        EXPECT_EQ(ChosenInstructionSet(), chosen);
    });
}

TEST(InstructionSets, NoOtherOneHasAName) {
    EXPECT_STREQ(NameOf(static_cast<InstructionSet>(77)), "");
}

}  // namespace
}  // namespace trv
