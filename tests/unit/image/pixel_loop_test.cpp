#include "image/pixel_loop.h"

#include <array>
#include <gtest/gtest.h>
#include <limits>
#include <string>
#include <vector>

#include "unit/frame/fake_host.h"
#include "unit/frame/log_capture.h"

namespace trv {
namespace {

using test::FakeHost;
using test::LogCapture;
using Lines = std::vector<std::string>;

constexpr int64_t kForever = std::numeric_limits<int64_t>::max();

/// A record of a format, as an image in memory has it.
PictureTRV RecordOfFormat(int64_t format) {
    PictureTRV record{};
    EXPECT_TRUE(InitImageClassData(&record, 4, 3, format));
    record.Valid = 1;
    record.GetRow = GetRowLinear;
    return record;
}

bool IsFormat(int64_t code) {
    return code >= 1 && code <= 48 && code != 14;
}

// The precondition ---

TEST(Start, RefusesInItsOrder) {
    FakeHost host;
    const LogCapture log;
    EXPECT_FALSE(StartImage(nullptr));
    PictureTRV record{};
    record.Width = -1;
    EXPECT_FALSE(StartImage(&record));
    record.GetRow = GetRowLinear;
    EXPECT_FALSE(StartImage(&record));
    record.Valid = 1;
    EXPECT_FALSE(StartImage(&record));
    record.Width = 5;
    EXPECT_FALSE(StartImage(&record));
    record.Height = -1;
    EXPECT_FALSE(StartImage(&record));
    record.Height = 1;
    EXPECT_TRUE(StartImage(&record));
    EXPECT_EQ(log.Lines(), (Lines{"GetRow is nil", "GetRow is nil", "Picture not valid.", "Width is 0",
                                  "Height is 0", "Height is 0", "StartImage ok"}));
}

TEST(Start, AWidthOfZeroPasses) {
    PictureTRV record = RecordOfFormat(ImageFormatRGB);
    record.Width = 0;
    EXPECT_TRUE(StartImage(&record));
}

TEST(Start, YieldsIfAskedTo) {
    FakeHost host;
    PictureTRV record = RecordOfFormat(ImageFormatRGB);
    EXPECT_TRUE(StartImage(&record));
    EXPECT_EQ(host.yields, 0);
    record.YieldTicks = -1;
    record.LastYieldTime = -kForever;
    EXPECT_TRUE(StartImage(&record));
    EXPECT_EQ(host.yields, 1);
    record.Valid = 0;
    record.LastYieldTime = -kForever;
    EXPECT_FALSE(StartImage(&record));
    EXPECT_EQ(host.yields, 1) << "a refused image does not yield";
}

// Yield ---

TEST(Yielding, HappensWhenTheIntervalHasPassed) {
    FakeHost host;
    PictureTRV record{};
    // The clock is an unsigned 32-bit number, so it is further than this from a time before its start.
    for (const int64_t interval : {int64_t{1}, int64_t{-1}, int64_t{6}, int64_t{-100}, int64_t{1} << 40}) {
        record.YieldTicks = interval;
        record.LastYieldTime = -(int64_t{1} << 41);
        host.yields = 0;
        Yield(&record);
        EXPECT_EQ(host.yields, 1) << interval;
        EXPECT_GE(record.LastYieldTime, 0);
        EXPECT_LE(record.LastYieldTime, interval > 0 ? 0x0FFFFFFF : 0xFFFFFFFF)
            << "units of 16 ms take 28 bits, milliseconds 32";
    }
}

TEST(Yielding, DoesNotHappenBefore) {
    FakeHost host;
    PictureTRV record{};
    for (const int64_t interval :
         {kForever, -kForever, std::numeric_limits<int64_t>::min(), int64_t{1} << 40, -(int64_t{1} << 40)}) {
        record.YieldTicks = interval;
        record.LastYieldTime = 0;
        host.yields = 0;
        for (int i = 0; i < 100; ++i)
            Yield(&record);
        EXPECT_EQ(host.yields, 0) << interval;
        EXPECT_EQ(record.LastYieldTime, 0);
    }
}

TEST(Yielding, MeasuresEitherWay) {
    // A last time ahead of the clock, as after a wrap-around, is one early yield.
    FakeHost host;
    PictureTRV record{};
    record.YieldTicks = -1000;
    record.LastYieldTime = int64_t{1} << 33;
    Yield(&record);
    EXPECT_EQ(host.yields, 1);
    record.LastYieldTime = kForever;
    Yield(&record);
    EXPECT_EQ(host.yields, 2);
    record.LastYieldTime = std::numeric_limits<int64_t>::min();
    Yield(&record);
    EXPECT_EQ(host.yields, 3);
}

TEST(Yielding, ASecondCallWaitsForTheInterval) {
    FakeHost host;
    PictureTRV record{};
    record.YieldTicks = -(int64_t{1} << 33);  // longer than the clock can count
    record.LastYieldTime = -(int64_t{1} << 34);
    Yield(&record);
    EXPECT_EQ(host.yields, 1);
    Yield(&record);
    Yield(&record);
    EXPECT_EQ(host.yields, 1);
}

TEST(Yielding, LetsTheHostChangeTheInterval) {
    FakeHost host;
    PictureTRV record{};
    record.YieldTicks = 1;
    record.LastYieldTime = -(int64_t{1} << 34);
    host.onYield = [&] { record.YieldTicks = 0; };
    YieldIfWanted(record);
    YieldIfWanted(record);
    EXPECT_EQ(host.yields, 1);
}

// Layout tests ---

TEST(Packed, AreTheLayoutsWhoseEveryByteIsAColourChannel) {
    const std::array packed = {ImageFormatRGB, ImageFormatRGBA, ImageFormatARGB,
                               ImageFormatBGR, ImageFormatBGRA, ImageFormatABGR,
                               ImageFormatG,   ImageFormatGA,   ImageFormatAG};
    for (int64_t code = 1; code <= 48; ++code) {
        if (!IsFormat(code)) continue;
        PictureTRV record = RecordOfFormat(code);
        const bool expected = std::find(packed.begin(), packed.end(), code) != packed.end();
        EXPECT_EQ(IsPacked(record), expected) << code;
        record.IsMapping = 1;
        EXPECT_FALSE(IsPacked(record)) << code;
    }
}

TEST(Packed, IsDecidedByFlagsNotByTheFormat) {
    PictureTRV record = RecordOfFormat(ImageFormatRGBA);
    record.HasAlpha = 0;
    EXPECT_FALSE(IsPacked(record));
    record.PixelSize = 3;
    EXPECT_TRUE(IsPacked(record));
    record.HasGreen = 255;  // any byte but 0 is true
    EXPECT_TRUE(IsPacked(record));
}

TEST(LowestOffset, IsTheSmallestAmongTheColourChannels) {
    EXPECT_EQ(LowestChannelOffset(RecordOfFormat(ImageFormatRGB)), 0);
    EXPECT_EQ(LowestChannelOffset(RecordOfFormat(ImageFormatABGR)), 0);
    EXPECT_EQ(LowestChannelOffset(RecordOfFormat(ImageFormatXRGB)), 1);
    EXPECT_EQ(LowestChannelOffset(RecordOfFormat(ImageFormatXBGR)), 1);
    EXPECT_EQ(LowestChannelOffset(RecordOfFormat(ImageFormat3of3)), 2);
    EXPECT_EQ(LowestChannelOffset(RecordOfFormat(ImageFormat4of4)), 3);
    EXPECT_EQ(LowestChannelOffset(RecordOfFormat(ImageFormatG5)), 0);
    EXPECT_EQ(LowestChannelOffset(RecordOfFormat(ImageFormatACMYK)), 0) << "alpha counts, ink does not";
    EXPECT_EQ(LowestChannelOffset(RecordOfFormat(ImageFormatCMYKA)), 4);
    EXPECT_EQ(LowestChannelOffset(RecordOfFormat(ImageFormatCMYK)), -1);
    EXPECT_EQ(LowestChannelOffset(RecordOfFormat(ImageFormatBuffer)), -1);
    EXPECT_EQ(LowestChannelOffset(RecordOfFormat(ImageFormatScaling4)), -1);
}

TEST(LowestOffset, HoldsTheColumnOfAView) {
    PictureTRV record = RecordOfFormat(ImageFormatBGRA);
    for (const Channel channel : {Channel::Red, Channel::Green, Channel::Blue, Channel::Alpha})
        record.*FieldOf(channel).offset += 40;
    EXPECT_EQ(LowestChannelOffset(record), 40);
}

/// Whether two layouts are the same, by the list of what is compared.
bool SameByTheList(const PictureTRV& a, const PictureTRV& b) {
    return a.HasRed == b.HasRed && a.HasGreen == b.HasGreen && a.HasBlue == b.HasBlue &&
           a.HasGray == b.HasGray && a.HasAlpha == b.HasAlpha && a.PixelSize == b.PixelSize &&
           a.BitsPerComponent == b.BitsPerComponent && a.RedOffset == b.RedOffset &&
           a.GreenOffset == b.GreenOffset && a.BlueOffset == b.BlueOffset &&
           (a.AlphaOffset == b.AlphaOffset || (a.HasAlpha == 0 && b.HasAlpha == 0));
}

TEST(SameLayouts, OfAllPairsOfFormats) {
    int same = 0;
    for (int64_t a = 1; a <= 48; ++a) {
        for (int64_t b = 1; b <= 48; ++b) {
            if (!IsFormat(a) || !IsFormat(b)) continue;
            const PictureTRV first = RecordOfFormat(a);
            const PictureTRV second = RecordOfFormat(b);
            EXPECT_EQ(SameLayout(first, second), SameByTheList(first, second)) << a << " " << b;
            same += SameLayout(first, second) ? 1 : 0;
        }
    }
    EXPECT_GT(same, 47) << "some pairs differ in nothing that is compared";
}

TEST(SameLayouts, SomeThatAreKnown) {
    const auto same = [](int64_t a, int64_t b) { return SameLayout(RecordOfFormat(a), RecordOfFormat(b)); };
    EXPECT_FALSE(same(ImageFormatRGB, ImageFormatBGR));
    EXPECT_FALSE(same(ImageFormatRGBA, ImageFormatRGBX));
    EXPECT_FALSE(same(ImageFormatG, ImageFormatGA));
    EXPECT_FALSE(same(ImageFormatG2, ImageFormatGray16)) << "bits differ";
    EXPECT_TRUE(same(ImageFormat1of3, ImageFormat3of3)) << "gray offsets are not compared";
    EXPECT_TRUE(same(ImageFormatCMYK, ImageFormatKYMC)) << "nor is ink";
    EXPECT_TRUE(same(ImageFormatCMYK, ImageFormatScaling4));
    EXPECT_FALSE(same(ImageFormatGA, ImageFormatAG));
}

TEST(SameLayouts, AnAlphaThatIsNotThereIsNotCompared) {
    PictureTRV a = RecordOfFormat(ImageFormatRGB);
    const PictureTRV b = RecordOfFormat(ImageFormatRGB);
    a.AlphaOffset = 3;
    EXPECT_TRUE(SameLayout(a, b));
    a.BlueOffset = 1;
    EXPECT_FALSE(SameLayout(a, b));
}

// Dispatch ---

TEST(FamilyDispatch, FindsTheFamilyOfEachFormat) {
    for (int64_t code = 1; code <= 48; ++code) {
        if (!IsFormat(code)) continue;
        const PictureTRV record = RecordOfFormat(code);
        std::string letters;
        const bool found = DispatchFamily(record, [&](auto family) { letters = family.letters; });
        const std::string expected = code == 22 || (code >= 33 && code <= 40)                 ? ""
                                     : code == 12 || code == 13                               ? "GA"
                                     : code >= 41 || code == 11 || (code >= 15 && code <= 21) ? "G"
                                     : code == 2 || code == 4 || code == 7 || code == 9       ? "RGBA"
                                     : code <= 10                                             ? "RGB"
                                     : code == 24 || code == 25 || code == 29 || code == 30   ? "CMYKA"
                                                                                              : "CMYK";
        EXPECT_EQ(letters, expected) << code;
        EXPECT_EQ(found, !expected.empty()) << code;
    }
}

TEST(FamilyDispatch, GivesTheOffsetsInTheOrderOfTheLetters) {
    const PictureTRV record = RecordOfFormat(ImageFormatAKYMC);
    std::vector<int64_t> offsets;
    EXPECT_TRUE(DispatchFamily(record, [&](auto family) {
        const auto found = family.Offsets(record);
        offsets.assign(found.begin(), found.end());
    }));
    EXPECT_EQ(offsets, (std::vector<int64_t>{4, 3, 2, 1, 0}));
}

// The walk over rows ---

TEST(RowWalk, VisitsEachRowAndYieldsBehindIt) {
    FakeHost host;
    PictureTRV record = RecordOfFormat(ImageFormatG);
    std::array<uint8_t, 64> store{};
    record.RowBuffer = store.data();
    record.RowSize = 8;
    record.Height = 8;
    record.YieldTicks = -1;
    Lines visits;
    host.onYield = [&] {
        visits.emplace_back("yield");
        record.LastYieldTime = -kForever;
    };
    record.LastYieldTime = -kForever;
    ForEachRow(record, 2, 3, [&](uint8_t* row) {
        visits.push_back(std::to_string(row - store.data()));
        record.LastYieldTime = -kForever;
    });
    EXPECT_EQ(visits, (Lines{"16", "yield", "24", "yield", "32", "yield"}));
    visits.clear();
    ForEachRow(record, 2, 0, [&](uint8_t*) { visits.emplace_back("row"); });
    ForEachRow(record, 2, -3, [&](uint8_t*) { visits.emplace_back("row"); });
    EXPECT_TRUE(visits.empty());
}

TEST(RowWalk, LeavesOutRowsOfAnImageThatTheHostClosedMeanwhile) {
    FakeHost host;
    PictureTRV record = RecordOfFormat(ImageFormatG);
    std::array<uint8_t, 64> store{};
    record.RowBuffer = store.data();
    record.RowSize = 8;
    record.YieldTicks = -1;
    record.LastYieldTime = -kForever;
    host.onYield = [&] { record.GetRow = nullptr; };
    int rows = 0;
    ForEachRow(record, 0, 5, [&](uint8_t*) { ++rows; });
    EXPECT_EQ(rows, 1);
}

}  // namespace
}  // namespace trv
