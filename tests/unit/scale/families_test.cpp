// The selection of pixel families over all pairs of formats.

#include "scale/families.h"

#include <gtest/gtest.h>

#include "unit/scale/record_image.h"

namespace trv {
namespace {

TEST(ScaleFamilies, AllPairsOfFormatsChooseWhatTheRulesSay) {
    int refused = 0;
    int served = 0;
    for (int64_t from = 1; from <= kHighestFormatCode; ++from) {
        for (int64_t to = 1; to <= kHighestFormatCode; ++to) {
            if (FindFormat(from) == nullptr || FindFormat(to) == nullptr) continue;
            test::RecordImage source(1, 1, from, 1);
            test::RecordImage dest(1, 1, to, 2);
            const ScaleFamily* family = SelectFamily(source.Record(), dest.Record());
            const auto expected = trvtest::reference::Family(source.Model(), dest.Model());
            ASSERT_EQ(family != nullptr, expected.has_value()) << from << ">" << to;
            (family != nullptr ? served : refused) += 1;
            if (family == nullptr) continue;
            ASSERT_EQ(family->name, *expected) << from << ">" << to;
            ASSERT_EQ(family->pixelBytes, trvtest::reference::TempPixel(*expected));
            ASSERT_EQ(family->tempFormat, ImageFormatScaling1 + family->pixelBytes - 1);
        }
    }
    EXPECT_GT(served, 900);
    EXPECT_GT(refused, 500);
}

TEST(ScaleFamilies, CmykIsAskedBeforeRgbBeforeGray) {
    test::RecordImage source(1, 1, ImageFormatRGB, 1);
    test::RecordImage dest(1, 1, ImageFormatRGB, 2);
    source.Record().IsGray = 1;
    EXPECT_STREQ(SelectFamily(source.Record(), dest.Record())->name, "RGB_to_RGB");
    source.Record().IsCMYK = 1;
    EXPECT_EQ(SelectFamily(source.Record(), dest.Record()), nullptr);
    dest.Record().IsCMYK = 1;
    EXPECT_STREQ(SelectFamily(source.Record(), dest.Record())->name, "CMYK_to_CMYK");
}

}  // namespace
}  // namespace trv
