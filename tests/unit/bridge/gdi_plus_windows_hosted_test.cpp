// GDI+ bitmaps that cannot be locked as they are asked for at first.

#include "bridge/picture_editor.h"
#include "platform/graphics.h"
#include "plugin/class_definitions.h"
#include "unit/bridge/bridge_hosted_test.h"

namespace trv::test {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::Not;

class GdiPlusLockTest : public BridgeHostedTest {
  protected:
    void SetUp() override {
        Load(HostOf(HostKind::Desktop, 2024.01, PictureStorage::GdiPlusPargb));
        picture_ = NewPicture(7, 5, PictureStorage::GdiPlusPargb, true);
        FillWithNumbers(picture_);
        RegisterPicture();
    }
    void TearDown() override {
        EXPECT_EQ(gdiPlusFaults.refusedLocks, 0) << "every refusal was met";
        gdiPlusFaults = {};
        picture_ = {};
        BridgeHostedTest::TearDown();
    }

    /// The lines of the log about locks, of an image over the picture; checks the image if there is one.
    [[nodiscard]] std::vector<std::string> LocksOfImage(int refusals, bool isImage) const {
        gdiPlusFaults.refusedLocks = refusals;
        std::vector<std::string> lines = LogOf([&] {
            const Ref image = TheHost().Construct("PictureTRV", picture_, true);
            EXPECT_EQ(TheHost().Get<bool>(image, "Valid"), isImage);
            EXPECT_EQ(TheHost().Live().bitmapLocks, isImage ? 1 : 0);
            if (!isImage) return;
            EXPECT_EQ(TheHost().Get<int64_t>(image, "Width"), 7);
            const auto* row = static_cast<const uint8_t*>(TheHost().Call(image, "RawRowPtr", 2).ToPointer());
            ASSERT_NE(row, nullptr);
            EXPECT_EQ(row[0], picture_.Pixel(0, 2) & 255);
        });
        EXPECT_EQ(TheHost().Live().bitmapLocks, 0);
        std::erase_if(lines, [](const std::string& line) {
            return !line.starts_with("lock ") && line != "Lockbits failed";
        });
        return lines;
    }

    Picture picture_;
};

TEST_F(GdiPlusLockTest, AnImageTakesTheFirstWayThatIsAccepted) {
    EXPECT_THAT(LocksOfImage(0, true), ElementsAre("lock PARGB"));
    EXPECT_THAT(LocksOfImage(1, true), ElementsAre("lock PARGB", "lock ARGB"));
    EXPECT_THAT(LocksOfImage(2, true), ElementsAre("lock PARGB", "lock ARGB", "lock with ImageLockModeRead"));
}

TEST_F(GdiPlusLockTest, AnImageIsNotMadeWhereAllAreRefused) {
    EXPECT_THAT(LocksOfImage(3, false),
                ElementsAre("lock PARGB", "lock ARGB", "lock with ImageLockModeRead", "Lockbits failed"));
    EXPECT_EQ(Raised().className, "UnsupportedOperationException");
}

TEST_F(GdiPlusLockTest, AReaderTakesTheFirstWayThatIsAccepted) {
    for (int refusals = 0; refusals <= 2; ++refusals) {
        gdiPlusFaults.refusedLocks = refusals;
        const auto lines = LogOf([&] {
            PictureReader reader;
            ASSERT_TRUE(reader.GetPictureReader(ObjectOf(picture_))) << refusals;
            EXPECT_EQ(TheHost().Live().bitmapLocks, 1);
            EXPECT_EQ(reader.Width, 7);
        });
        if (refusals == 2) {
            EXPECT_THAT(lines, Contains("Try ARGB read and write"));
        } else {
            EXPECT_THAT(lines, Not(Contains("Try ARGB read and write")));
        }
        EXPECT_EQ(TheHost().Live().bitmapLocks, 0);
    }
}

TEST_F(GdiPlusLockTest, AReaderTriesACopyWhereAllAreRefused) {
    gdiPlusFaults.refusedLocks = 3;
    const auto lines = LogOf([&] {
        PictureReader reader;
        EXPECT_TRUE(reader.GetPictureReader(ObjectOf(picture_)));
    });
    EXPECT_THAT(lines, Contains("Trying clone...."));
    EXPECT_EQ(TheHost().Live().bitmapLocks, 0);
}

TEST_F(GdiPlusLockTest, AReaderFailsWhereTheCopyIsRefusedAsWell) {
    gdiPlusFaults.refusedLocks = 6;
    {
        PictureReader reader;
        EXPECT_FALSE(reader.GetPictureReader(ObjectOf(picture_)));
    }
    EXPECT_EQ(TheHost().Live().bitmapLocks, 0);
}

}  // namespace
}  // namespace trv::test
