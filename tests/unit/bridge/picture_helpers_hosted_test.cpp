// What the bridge does to host pictures as objects: properties, new pictures, masks, duplicates, drawing.

#include "bridge/gd_image.h"
#include "bridge/picture_drawing.h"
#include "bridge/picture_duplicates.h"
#include "bridge/picture_helpers.h"
#include "unit/bridge/bridge_hosted_test.h"
#include "unit/frame/fresh_process.h"

namespace trv {
namespace {

using test::BridgeHostedTest;
using test::FillWithNumbers;
using test::HostKind;
using test::HostOf;
using test::Picture;
using test::PictureStorage;
using test::Ref;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;

// Properties ----------------------------------------------------------------------------------------------

class PicturePropertiesTest : public BridgeHostedTest {};

TEST_F(PicturePropertiesTest, AreReadAndSet) {
    const Picture picture = NewPicture(7, 5);
    EXPECT_EQ(PictureWidth(ObjectOf(picture)), 7);
    EXPECT_EQ(PictureHeight(ObjectOf(picture)), 5);
    EXPECT_EQ(PictureHorizontalResolution(ObjectOf(picture)), 72);
    SetPictureHorizontalResolution(ObjectOf(picture), 300);
    SetPictureVerticalResolution(ObjectOf(picture), 301);
    EXPECT_EQ(PictureHorizontalResolution(ObjectOf(picture)), 300);
    EXPECT_EQ(PictureVerticalResolution(ObjectOf(picture)), 301);
    EXPECT_FALSE(PictureHasAlphaChannel(ObjectOf(picture)));
    EXPECT_TRUE(PictureHasAlphaChannel(ObjectOf(NewPicture(2, 2, PictureStorage::GdTrueColor, true))));
}

TEST_F(PicturePropertiesTest, OfNilAreZero) {
    EXPECT_EQ(PictureWidth(nullptr), 0);
    EXPECT_EQ(PictureHeight(nullptr), 0);
    EXPECT_EQ(PictureHorizontalResolution(nullptr), 0);
    EXPECT_EQ(PictureVerticalResolution(nullptr), 0);
    SetPictureHorizontalResolution(nullptr, 1);
    SetPictureVerticalResolution(nullptr, 1);
    EXPECT_THAT(LogOf([&] { EXPECT_FALSE(PictureHasAlphaChannel(nullptr)); }),
                ElementsAre("HasAlphaChannel property not found."));
    EXPECT_EQ(GraphicsOfPicture(nullptr), nullptr);
}

TEST_F(PicturePropertiesTest, ThatTheObjectLacksAreZero) {
    const Ref block = TheHost().NewMemoryBlock(10);
    EXPECT_EQ(PictureWidth(ObjectOf(block)), 0);
    EXPECT_FALSE(PictureHasAlphaChannel(ObjectOf(block)));
}

TEST_F(PicturePropertiesTest, AResolutionIsCopiedWhole) {
    const Picture source = NewPicture(2, 2);
    const Picture target = NewPicture(2, 2);
    source.SetResolution(100, 200);
    EXPECT_THAT(LogOf([&] { CopyPictureResolution(ObjectOf(source), ObjectOf(target)); }),
                ElementsAre("set resoluton to 100, 200"));
    EXPECT_EQ(target.HorizontalResolution(), 100);
    EXPECT_EQ(target.VerticalResolution(), 200);
    for (const auto& [horizontal, vertical] : {std::pair{0, 50}, {50, 0}, {-1, 50}}) {
        source.SetResolution(horizontal, vertical);
        EXPECT_THAT(LogOf([&] { CopyPictureResolution(ObjectOf(source), ObjectOf(target)); }), IsEmpty());
        EXPECT_EQ(target.HorizontalResolution(), 100);
    }
    CopyPictureResolution(nullptr, ObjectOf(target));
    CopyPictureResolution(ObjectOf(source), nullptr);
}

TEST_F(PicturePropertiesTest, GraphicsByMethodAndByProperty) {
    const Picture picture = NewPicture(2, 2);
    EXPECT_EQ(Adopt(GraphicsOfPicture(ObjectOf(picture))).ClassName(), "Graphics");
    EXPECT_EQ(Adopt(GraphicsPropertyOfPicture(ObjectOf(picture))).ClassName(), "Graphics");
    EXPECT_EQ(Adopt(GraphicsPropertyOfControl(ObjectOf(picture))).ClassName(), "Graphics")
        << "any object that has it";
    const Ref block = TheHost().NewMemoryBlock(10);
    EXPECT_THAT(LogOf([&] { EXPECT_EQ(GraphicsPropertyOfPicture(ObjectOf(block)), nullptr); }),
                ElementsAre("Failed to get graphics for picture!"));
    EXPECT_THAT(LogOf([&] { EXPECT_EQ(GraphicsPropertyOfControl(nullptr), nullptr); }),
                ElementsAre("Failed to get graphics for control!"));
}

// New pictures --------------------------------------------------------------------------------------------

class NewPictureTest : public BridgeHostedTest {};

TEST_F(NewPictureTest, OfTheOldStyle) {
    const Picture picture = Take(MyREALNewPicture(4, 3, 32));
    EXPECT_EQ(picture.Width(), 4);
    EXPECT_EQ(picture.Height(), 3);
    EXPECT_EQ(picture.References(), 1);
    EXPECT_THAT(LogOf([&] {
                    EXPECT_EQ(MyREALNewPicture(0, 3, 32), nullptr);
                    EXPECT_EQ(MyREALNewPicture(4, -1, 32), nullptr);
                }),
                ElementsAre("MyREALNewPicture 0, 3, 32", "MyREALNewPicture 4, -1, 32"));
    TheHost().FailNewPicture(1);
    EXPECT_EQ(MyREALNewPicture(4, 3, 32), nullptr);
}

TEST_F(NewPictureTest, WithAlphaNeedsAHostOf2011Point04) {
    EXPECT_TRUE(Take(NewPictureWithAlphaChannel(4, 3)).HasAlpha());
    EXPECT_EQ(NewPictureWithAlphaChannel(0, 3), nullptr);
    EXPECT_EQ(NewPictureWithAlphaChannel(4, 0), nullptr);
    Load(HostOf(HostKind::Console, 2011.04));
    EXPECT_TRUE(Take(NewPictureWithAlphaChannel(4, 3)).HasAlpha());
    Load(HostOf(HostKind::Console, 2011.03));
    EXPECT_EQ(NewPictureWithAlphaChannel(4, 3), nullptr);
    EXPECT_EQ(TheHost().Calls("PluginNewInstance"), 0);
}

TEST_F(NewPictureTest, WithAlphaWhereTheHostMakesNoObject) {
    TheHost().FailNewInstance(1);
    EXPECT_THAT(LogOf([&] { EXPECT_EQ(NewPictureWithAlphaChannel(4, 3), nullptr); }),
                ElementsAre("Failed to allocate picture."));
}

TEST_F(NewPictureTest, WithAlphaIfAskedForAndPossible) {
    const auto lines = [&](int64_t width, int64_t height, Boolean alpha, bool made, bool hasAlpha) {
        return LogOf([&, width, height, alpha, made, hasAlpha] {
            const Picture picture = Take(NewPictureWithAlphaChannel(width, height, alpha));
            EXPECT_EQ(static_cast<bool>(picture), made);
            EXPECT_EQ(picture && picture.HasAlpha(), hasAlpha);
        });
    };
    EXPECT_THAT(lines(4, 3, 1, true, true), ElementsAre("Alpha Channel picture created."));
    EXPECT_THAT(lines(4, 3, 0, true, false),
                ElementsAre("MyREALNewPicture 4, 3, 32", "Old picture created."));
    EXPECT_THAT(
        lines(4, 3, 2, true, false),
        ElementsAre("AlphaChannel is not boolean!", "MyREALNewPicture 4, 3, 32", "Old picture created."));
    EXPECT_THAT(lines(0, 3, 1, false, false), ElementsAre("width < 1"));
    EXPECT_THAT(lines(4, 0, 1, false, false), ElementsAre("height < 1"));
    EXPECT_THAT(lines(32768, 3, 1, false, false), ElementsAre("width > 32767"));
    EXPECT_THAT(lines(4, 32768, 1, false, false), ElementsAre("height > 32767"));
    Load(HostOf(HostKind::Console, 2011.03));
    EXPECT_THAT(lines(4, 3, 1, true, false),
                ElementsAre("MyREALNewPicture 4, 3, 32", "Old picture created."));
}

TEST_F(NewPictureTest, WithADepth) {
    EXPECT_EQ(Take(NewPictureWithDepth(4, 3, 32)).Width(), 4);
    TheHost().FailNewInstance(1);
    EXPECT_THAT(LogOf([&] { EXPECT_EQ(NewPictureWithDepth(4, 3, 32), nullptr); }),
                ElementsAre("Failed to allocate picture."));
}

// Masks ---------------------------------------------------------------------------------------------------

class PictureMasksTest : public BridgeHostedTest {
  protected:
    /// A picture of 5 by 4 with a mask of other numbers.
    [[nodiscard]] Picture Masked() const {
        const Picture picture = NewPicture(5, 4);
        FillWithNumbers(picture);
        FillWithNumbers(picture.Mask(true), 0xFF405060);
        return picture;
    }
};

TEST_F(PictureMasksTest, AreMadeOnRequest) {
    for (const double version : {2019.02, 2020.0, 2020.01, 2024.01}) {
        Load(HostOf(HostKind::Console, version));
        const Picture picture = NewPicture(5, 4);
        EXPECT_EQ(MyREALGetPictureMask(ObjectOf(picture), false), nullptr);
        const Picture made = Take(MyREALGetPictureMask(ObjectOf(picture), true));
        EXPECT_EQ(made, picture.Mask());
        EXPECT_EQ(TheHost().Calls("REALGetPictureMask"), version > 2020.0 ? 0 : 2) << version;
    }
    EXPECT_EQ(MyREALGetPictureMask(nullptr, true), nullptr);
}

TEST_F(PictureMasksTest, AreSetAndTakenOff) {
    const Picture picture = Masked();
    const Picture mask = NewPicture(5, 4);
    EXPECT_TRUE(SetPictureMask(ObjectOf(picture), ObjectOf(mask)));
    EXPECT_EQ(picture.Mask(), mask);
    EXPECT_TRUE(SetPictureMask(ObjectOf(picture), nullptr));
    EXPECT_FALSE(picture.Mask());
    EXPECT_FALSE(SetPictureMask(nullptr, ObjectOf(mask)));
    EXPECT_EQ(mask.References(), 1);
}

TEST_F(PictureMasksTest, AreCopied) {
    const Picture picture = Masked();
    const Picture copy = Take(CopyPictureMask(ObjectOf(picture)));
    EXPECT_EQ(copy.Pixels(), picture.Mask().Pixels());
    EXPECT_FALSE(copy == picture.Mask());
    EXPECT_EQ(CopyPictureMask(nullptr), nullptr);
    EXPECT_EQ(CopyPictureMask(ObjectOf(NewPicture(2, 2))), nullptr);
}

TEST_F(PictureMasksTest, AreAddedByDrawing) {
    const Picture picture = NewPicture(5, 4);
    const Picture mask = NewPicture(5, 4);
    FillWithNumbers(mask);
    EXPECT_TRUE(AddPictureMask(ObjectOf(picture), ObjectOf(mask)));
    EXPECT_EQ(picture.Mask().Pixels(), mask.Pixels());
    EXPECT_FALSE(picture.Mask() == mask);
    EXPECT_EQ(mask.References(), 1);
    const Picture cut = NewPicture(5, 4);
    EXPECT_TRUE(AddPictureMask(ObjectOf(cut), ObjectOf(mask), 2, 3));
    EXPECT_EQ(cut.Mask().Pixel(1, 2), mask.Pixel(1, 2));
    EXPECT_EQ(cut.Mask().Pixel(2, 2), 0xFFFFFFFFU);
}

TEST_F(PictureMasksTest, WhatCannotBeAdded) {
    const Picture picture = NewPicture(5, 4);
    const auto lines = [&](HostObject to, HostObject mask, int64_t width, int64_t height, bool added) {
        return LogOf([&, to, mask, width, height, added] {
            EXPECT_EQ(AddPictureMask(to, mask, width, height), added);
        });
    };
    const HostObject object = ObjectOf(picture);
    EXPECT_THAT(lines(nullptr, nullptr, 0, 0, false), ElementsAre("invalid width"));
    EXPECT_THAT(lines(nullptr, nullptr, 1, 0, false), ElementsAre("invalid height"));
    EXPECT_THAT(lines(nullptr, nullptr, 1, 1, false), ElementsAre("picture is nil"));
    EXPECT_THAT(lines(object, nullptr, 1, 1, true), ElementsAre("no mask to add"));
    EXPECT_THAT(lines(object, nullptr, -1, 1, false), ElementsAre("invalid width"));
    EXPECT_FALSE(AddPictureMask(nullptr, object));
    EXPECT_FALSE(picture.Mask());
}

TEST_F(PictureMasksTest, APictureIsTurnedIntoOneWithAMask) {
    const Picture picture = Masked();
    picture.SetResolution(90, 91);
    const Picture result = Take(ConvertToPictureWithMask(ObjectOf(picture), 5, 4));
    ASSERT_TRUE(result.Mask());
    EXPECT_EQ(result.Mask().Pixels(), picture.Mask().Pixels());
    EXPECT_EQ(result.HorizontalResolution(), 90);
    EXPECT_EQ(result.References(), 1);
    EXPECT_EQ(ConvertToPictureWithMask(nullptr, 5, 4), nullptr);
    EXPECT_EQ(ConvertToPictureWithMask(ObjectOf(picture), 0, 4), nullptr);
    const Picture maskless = NewPicture(3, 3);
    EXPECT_FALSE(Take(ConvertToPictureWithMask(ObjectOf(maskless), 3, 3)).Mask());
}

TEST_F(PictureMasksTest, APictureAndAMaskAreJoined) {
    const Picture picture = NewPicture(5, 4);
    const Picture mask = NewPicture(5, 4);
    FillWithNumbers(picture);
    FillWithNumbers(mask, 0xFF778899);
    picture.SetResolution(90, 91);
    EXPECT_THAT(LogOf([&] { EXPECT_EQ(CreatePictureWithMask(nullptr, ObjectOf(mask), true), nullptr); }),
                ElementsAre("Picture is nil."));
    EXPECT_THAT(
        LogOf([&] { EXPECT_EQ(Take(CreatePictureWithMask(ObjectOf(picture), nullptr, true)), picture); }),
        ElementsAre("mask is nil so return picture"));
    const Picture copy = Take(CreatePictureWithMask(ObjectOf(picture), ObjectOf(mask), true));
    EXPECT_EQ(copy.Pixels(), picture.Pixels());
    EXPECT_EQ(copy.Mask().Pixels(), mask.Pixels());
    EXPECT_EQ(copy.HorizontalResolution(), 90);
    EXPECT_FALSE(picture.Mask());
    TheHost().FailNewPicture(1);
    EXPECT_EQ(CreatePictureWithMask(ObjectOf(picture), ObjectOf(mask), true), nullptr);
    EXPECT_THAT(LogOf([&] {
                    EXPECT_EQ(Take(CreatePictureWithMask(ObjectOf(picture), ObjectOf(mask), false)), picture);
                }),
                Contains("Add mask to picture"));
    EXPECT_EQ(picture.Mask().Pixels(), mask.Pixels());
}

TEST_F(PictureMasksTest, AHostThatMakesNoMasks) {
    TRV_IN_FRESH_PROCESS({
        trvhost::Options options = HostOf(HostKind::Console, 2019.02);
        options.missingEntries = {"REALGetPictureMask"};
        Load(options);
        const Picture picture = NewPicture(5, 4);
        const Picture mask = NewPicture(5, 4);
        EXPECT_FALSE(AddPictureMask(ObjectOf(picture), ObjectOf(mask)));
        EXPECT_EQ(CreatePictureWithMask(ObjectOf(picture), ObjectOf(mask), true), nullptr);
        EXPECT_EQ(CreatePictureWithMask(ObjectOf(picture), ObjectOf(mask), false), nullptr);
        EXPECT_EQ(TheHost().Live().objects["Picture"], 2);
        EXPECT_EQ(picture.References(), 1);
    });
}

// Duplicates ----------------------------------------------------------------------------------------------

class DuplicatesTest : public PictureMasksTest {};

TEST_F(DuplicatesTest, OfAPlainPicture) {
    const Picture picture = NewPicture(5, 4);
    FillWithNumbers(picture);
    picture.SetResolution(90, 91);
    for (HostObject (*duplicate)(HostObject) :
         {static_cast<HostObject (*)(HostObject)>(DuplicatePicture),
          static_cast<HostObject (*)(HostObject)>(DuplicatePictureWithoutMaskOrAlpha)}) {
        const Picture copy = Take(duplicate(ObjectOf(picture)));
        EXPECT_FALSE(copy == picture);
        EXPECT_EQ(copy.Pixels(), picture.Pixels());
        EXPECT_EQ(copy.HorizontalResolution(), 90);
        EXPECT_EQ(copy.VerticalResolution(), 91);
        EXPECT_FALSE(copy.Mask());
        EXPECT_FALSE(copy.HasAlpha());
        EXPECT_EQ(copy.References(), 1);
    }
}

TEST_F(DuplicatesTest, OfAMaskedPictureKeepTheMaskOfBoth) {
    const Picture picture = Masked();
    const Picture mask = picture.Mask();
    const Picture copy = Take(DuplicatePicture(ObjectOf(picture)));
    EXPECT_EQ(picture.Mask(), mask) << "it was put back";
    EXPECT_EQ(copy.Pixels(), picture.Pixels()) << "drawn without the mask";
    ASSERT_TRUE(copy.Mask());
    EXPECT_EQ(copy.Mask().Pixels(), mask.Pixels());
    EXPECT_EQ(mask.References(), 2) << "the picture's and the test's";
    const Picture bare = Take(DuplicatePictureWithoutMaskOrAlpha(ObjectOf(picture)));
    EXPECT_EQ(picture.Mask(), mask);
    EXPECT_EQ(bare.Pixels(), picture.Pixels());
    EXPECT_FALSE(bare.Mask());
}

TEST_F(DuplicatesTest, OfAPictureWithAlphaHaveAlpha) {
    const Picture picture = NewPicture(5, 4, PictureStorage::GdTrueColor, true);
    FillWithNumbers(picture, 0x80102030);
    picture.SetResolution(90, 91);
    const Picture copy = Take(DuplicatePicture(ObjectOf(picture)));
    EXPECT_TRUE(copy.HasAlpha());
    EXPECT_EQ(copy.Pixels(), picture.Pixels());
    EXPECT_EQ(copy.HorizontalResolution(), 90);
    EXPECT_TRUE(Take(DuplicatePictureWithoutMaskOrAlpha(ObjectOf(picture))).HasAlpha())
        << "in spite of the name";
}

TEST_F(DuplicatesTest, WithANewMask) {
    const Picture picture = Masked();
    const Picture old = picture.Mask();
    const Picture fresh = NewPicture(5, 4);
    FillWithNumbers(fresh, 0xFFAABBCC);
    const auto lines = LogOf([&] {
        const Picture copy = Take(DuplicatePicture(ObjectOf(picture), ObjectOf(fresh)));
        EXPECT_EQ(copy.Pixels(), picture.Pixels());
        EXPECT_EQ(copy.Mask().Pixels(), fresh.Pixels());
    });
    EXPECT_THAT(lines, Contains("duplicate with new mask"));
    EXPECT_THAT(lines, Contains("set source mask to nil"));
    EXPECT_THAT(lines, Contains(::testing::StartsWith("resultMask")));
    EXPECT_THAT(lines, Contains("set source mask to old one"));
    EXPECT_EQ(picture.Mask(), old);
    const Picture without = Take(DuplicatePicture(ObjectOf(picture), HostObject{}));
    EXPECT_EQ(without.Mask().Pixels(), old.Pixels()) << "as without a new mask";
}

TEST_F(DuplicatesTest, InAnotherSize) {
    const Picture picture = Masked();
    const Picture small = Take(DuplicatePicture(ObjectOf(picture), 3, 2));
    EXPECT_EQ(small.Width(), 3);
    EXPECT_EQ(small.Height(), 2);
    EXPECT_EQ(small.Pixel(2, 1), picture.Pixel(2, 1));
    EXPECT_EQ(Take(DuplicatePictureWithoutMaskOrAlpha(ObjectOf(picture), 9, 2)).Width(), 9);
    EXPECT_EQ(Take(DuplicatePicture(ObjectOf(picture), ObjectOf(picture.Mask()), 4, 4)).Width(), 4);
}

TEST_F(DuplicatesTest, ThatCannotBeMade) {
    const Picture picture = Masked();
    const Picture mask = picture.Mask();
    const HostObject object = ObjectOf(picture);
    for (const auto& [width, height] : {std::pair{0, 4}, {5, 0}, {-5, -4}}) {
        EXPECT_EQ(DuplicatePicture(object, width, height), nullptr);
        EXPECT_EQ(DuplicatePicture(object, ObjectOf(mask), width, height), nullptr);
        EXPECT_EQ(DuplicatePictureWithoutMaskOrAlpha(object, width, height), nullptr);
    }
    EXPECT_EQ(DuplicatePicture(nullptr, 5, 4), nullptr);
    EXPECT_EQ(DuplicatePicture(nullptr), nullptr);
    EXPECT_EQ(DuplicatePictureWithoutMaskOrAlpha(nullptr, 5, 4), nullptr);
    EXPECT_EQ(DuplicatePictureWithoutMaskOrAlpha(nullptr), nullptr);
    EXPECT_EQ(DuplicatePicture(nullptr, ObjectOf(mask)), nullptr);
    for (int n : {1, 2}) {
        TheHost().FailNewPicture(n);
        const Picture copy = Take(DuplicatePicture(object));
        EXPECT_EQ(static_cast<bool>(copy), n == 2);
        EXPECT_EQ(picture.Mask(), mask) << "put back whatever happened";
    }
}

// Drawing -------------------------------------------------------------------------------------------------

class DrawingTest : public BridgeHostedTest {};

TEST_F(DrawingTest, GoesThroughTheHostsGraphics) {
    for (const double version : {2010.03, 2018.01, 2018.02, 2024.01}) {
        Load(HostOf(HostKind::Console, version));
        TheHost().Settings().trace = true;
        const Picture from = NewPicture(5, 4);
        const Picture to = NewPicture(6, 6);
        FillWithNumbers(from);
        EXPECT_TRUE(GraphicsDrawPicture(ObjectOf(to), ObjectOf(from), {2, 1, 3, 2, 1, 1, 3, 2}));
        EXPECT_EQ(to.Pixel(2, 1), from.Pixel(1, 1));
        EXPECT_EQ(to.Pixel(4, 2), from.Pixel(3, 2));
        EXPECT_EQ(to.Pixel(5, 2), 0xFFFFFFFFU);
        EXPECT_THAT(TheHost().Trace(),
                    Contains(::testing::StartsWith(
                        version < 2018.02 ? "Graphics.DrawPicture(Image as Picture, x as Integer"
                                          : "Graphics.DrawPicture(Image as Picture, x as Double")));
        EXPECT_TRUE(GraphicsDrawPicture(ObjectOf(to), ObjectOf(from), {0, 0, 6, 6, 0, 0, 3, 3}))
            << "enlarged";
    }
}

TEST_F(DrawingTest, OfNothingFails) {
    const Picture picture = NewPicture(5, 4);
    EXPECT_THAT(LogOf([&] { EXPECT_FALSE(GraphicsDrawPicture(nullptr, ObjectOf(picture), 5, 4)); }),
                ElementsAre("Failed to get graphics."));
    EXPECT_THAT(LogOf([&] { EXPECT_FALSE(GraphicsDrawPicture(ObjectOf(picture), nullptr, 5, 4)); }),
                ElementsAre("drawpicture failes?"));
    EXPECT_FALSE(DrawPictureWith(nullptr, ObjectOf(picture), {}));
}

TEST_F(DrawingTest, TheMaskIsPutBackWhenNothingCanDraw) {
    TRV_IN_FRESH_PROCESS({
        trvhost::Options options = HostOf(HostKind::Desktop, 2019.02);
        options.missingMembers = {
            "DrawPicture(Image as Picture, x as Double, y as Double, w as Double, h as Double, sx as Double "
            "= 0, sy as "
            "Double = 0, sw as Double = -10000, sh as Double = -10000)"};
        Load(options);
        const Picture picture = NewPicture(5, 4);
        const Picture mask = picture.Mask(true);
        EXPECT_FALSE(GraphicsDrawPicture(ObjectOf(mask), ObjectOf(picture), 5, 4));
        EXPECT_TRUE(Take(DuplicatePicture(ObjectOf(picture))));
        EXPECT_EQ(picture.Mask(), mask);
        EXPECT_TRUE(Take(DuplicatePictureWithoutMaskOrAlpha(ObjectOf(picture))));
        EXPECT_EQ(picture.Mask(), mask);
        EXPECT_EQ(mask.References(), 2);
    });
}

TEST_F(DrawingTest, TheLastResortCopiesRowsOnAConsole) {
    TRV_IN_FRESH_PROCESS({
        trvhost::Options options = HostOf(HostKind::Console, 2018.01);
        options.missingMembers = {
            "DrawPicture(Image as Picture, x as Integer, y as Integer, w as Integer, h as Integer, sx as "
            "Integer = 0, "
            "sy as Integer = 0, sw as Integer = -10000, sh as Integer = -10000)"};
        Load(options);
        const Picture from = NewPicture(5, 4);
        const Picture to = NewPicture(5, 4);
        FillWithNumbers(from);
        const DrawnRectangles scaled = {0, 0, 5, 4, 0, 0, 4, 4};
        EXPECT_FALSE(GraphicsDrawPicture(ObjectOf(to), ObjectOf(from), scaled));
        EXPECT_EQ(to.Pixel(2, 2), 0xFFFFFFFFU);
        EXPECT_TRUE(GraphicsDrawPicture(ObjectOf(to), ObjectOf(from), 5, 4));
        EXPECT_EQ(to.Pixels(), from.Pixels());
    });
}

class OwnCopyTest : public BridgeHostedTest {
  protected:
    OwnCopyTest() { FillWithNumbers(from_); }
    void TearDown() override {
        from_ = to_ = Picture();
        BridgeHostedTest::TearDown();
    }

    Picture from_ = NewPicture(5, 4);
    Picture to_ = NewPicture(5, 4);
    DrawnRectangles whole_ = {0, 0, 5, 4, 0, 0, 5, 4};
};

TEST_F(OwnCopyTest, CopiesAllRows) {
    EXPECT_THAT(LogOf([&] { EXPECT_TRUE(OwnCopy(ObjectOf(to_), ObjectOf(from_), whole_)); }),
                ElementsAre("copied"));
    EXPECT_EQ(to_.Pixels(), from_.Pixels());
    EXPECT_EQ(to_.CacheClears(), 1);
    EXPECT_EQ(to_.DescriptionLocks() + from_.DescriptionLocks(), 0);
    EXPECT_TRUE(OwnCopy(ObjectOf(to_), ObjectOf(from_), {0, 0, 2, 2, 0, 0, 2, 2}))
        << "whatever the rectangle's size";
    EXPECT_TRUE(OwnCopy(ObjectOf(to_), ObjectOf(to_), whole_));
}

TEST_F(OwnCopyTest, RefusesOtherRectangles) {
    EXPECT_FALSE(OwnCopy(nullptr, ObjectOf(from_), whole_));
    EXPECT_FALSE(OwnCopy(ObjectOf(to_), nullptr, whole_));
    for (int64_t DrawnRectangles::*field :
         {&DrawnRectangles::x, &DrawnRectangles::y, &DrawnRectangles::width, &DrawnRectangles::height,
          &DrawnRectangles::sourceX, &DrawnRectangles::sourceY, &DrawnRectangles::sourceWidth,
          &DrawnRectangles::sourceHeight}) {
        DrawnRectangles odd = whole_;
        ++(odd.*field);
        EXPECT_FALSE(OwnCopy(ObjectOf(to_), ObjectOf(from_), odd));
    }
    EXPECT_EQ(TheHost().Calls("REALLockPictureDescription"), 0);
}

TEST_F(OwnCopyTest, RefusesOtherPictures) {
    const Picture larger = NewPicture(6, 4);
    const Picture palette = NewPicture(5, 4, PictureStorage::GdPalette);
    const Picture packed = NewPicture(5, 4, PictureStorage::Packed32);
    for (const Picture& other : {larger, palette, packed}) {
        const std::vector<uint32_t> before = to_.Pixels();
        EXPECT_FALSE(OwnCopy(ObjectOf(to_), ObjectOf(other), whole_));
        EXPECT_FALSE(OwnCopy(ObjectOf(other), ObjectOf(from_), whole_));
        EXPECT_EQ(to_.Pixels(), before);
        EXPECT_EQ(other.DescriptionLocks() + to_.DescriptionLocks() + from_.DescriptionLocks(), 0);
    }
    EXPECT_THAT(LogOf([&] { OwnCopy(ObjectOf(to_), ObjectOf(packed), whole_); }),
                ElementsAre("REALLockPictureDescription failed for source picture."));
    EXPECT_THAT(LogOf([&] { OwnCopy(ObjectOf(packed), ObjectOf(from_), whole_); }),
                ElementsAre("REALLockPictureDescription failed for destinatiom picture."));
}

TEST_F(OwnCopyTest, LeavesOutRowsThatAreMissing) {
    auto* image = static_cast<GdImage*>(from_.NativeData());
    int32_t* const row = std::exchange(image->tpixels[1], nullptr);
    EXPECT_TRUE(OwnCopy(ObjectOf(to_), ObjectOf(from_), whole_));
    image->tpixels[1] = row;
    EXPECT_EQ(to_.Pixel(0, 0), from_.Pixel(0, 0));
    EXPECT_EQ(to_.Pixel(0, 1), 0xFFFFFFFFU);
    EXPECT_EQ(to_.Pixel(0, 2), from_.Pixel(0, 2));
}

}  // namespace
}  // namespace trv
