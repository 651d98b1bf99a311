#include "platform/long_path.h"

#include <gtest/gtest.h>
#include <string>

namespace trv {
namespace {

std::u16string PathOf(size_t units, const std::u16string& start = u"C:\\") {
    return start + std::u16string(units - start.size(), u'x');
}

bool Needs(const std::u16string& path) {
    return NeedsLongPathPrefix(std::u16string_view(path));
}

TEST(LongPath, PathsOfMoreThan260UnitsAreMarked) {
    EXPECT_FALSE(Needs(u""));
    EXPECT_FALSE(Needs(PathOf(259)));
    EXPECT_FALSE(Needs(PathOf(260)));
    EXPECT_TRUE(Needs(PathOf(261)));
    EXPECT_TRUE(Needs(PathOf(30000)));
}

TEST(LongPath, MarkedPathsAreNotMarkedAgain) {
    EXPECT_FALSE(Needs(PathOf(261, u"\\\\?\\C:\\")));
    EXPECT_FALSE(Needs(PathOf(3000, u"\\\\?\\")));
    // What only looks like a mark.
    EXPECT_TRUE(Needs(PathOf(261, u"\\\\?/C:\\")));
    EXPECT_TRUE(Needs(PathOf(261, u"\\\\.\\C:\\")));
    EXPECT_TRUE(Needs(PathOf(261, u"\\?\\C:\\")));
    EXPECT_TRUE(Needs(PathOf(261, u"\\\\server\\share\\")));
}

TEST(LongPath, TheMarkIsFourUnits) {
    EXPECT_EQ(kLongPathPrefix, u"\\\\?\\");
    EXPECT_EQ(kLongPathPrefix.size(), 4U);
}

}  // namespace
}  // namespace trv
