// Host pictures opened as rows: what an open editor says, and how it closes.

#include "bridge/gd_image.h"
#include "bridge/picture_editor.h"
#include "unit/bridge/bridge_hosted_test.h"
#include "unit/failing_memory.h"

namespace trv {
namespace {

using test::BridgeHostedTest;
using test::HostKind;
using test::HostOf;
using test::Picture;
using test::PictureStorage;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;

class PictureEditorTest : public BridgeHostedTest {};

TEST_F(PictureEditorTest, AFreshEditorIsAllZero) {
    const PictureEditor editor;
    EXPECT_EQ(editor.RowBytes, 0);
    EXPECT_EQ(editor.Width, 0);
    EXPECT_EQ(editor.Height, 0);
    EXPECT_EQ(editor.PixelSize, 0);
    EXPECT_EQ(editor.ErrorCount, 0);
    EXPECT_EQ(editor.PixelKind, 0U);
    EXPECT_EQ(editor.CurrentRow, nullptr);
    EXPECT_EQ(editor.picture, nullptr);
    EXPECT_EQ(editor.Pixelbase, nullptr);
    EXPECT_FALSE(editor.NeedPictureUnlock || editor.NeedGdipBitmapUnlock || editor.reading || editor.writing);
}

TEST_F(PictureEditorTest, AGdPicture) {
    const Picture picture = NewPicture(5, 4);
    picture.SetResolution(150, 300);
    {
        PictureEditor editor;
        ASSERT_TRUE(editor.GetPictureEditor(ObjectOf(picture)));
        const auto* image = static_cast<const GdImage*>(picture.NativeData());
        EXPECT_EQ(editor.PixelKind, 8U);
        EXPECT_EQ(editor.PixelSize, 4);
        EXPECT_EQ(editor.RowBytes, 20);
        EXPECT_EQ(editor.Width, 5);
        EXPECT_EQ(editor.Height, 4);
        EXPECT_EQ(editor.HorizontalResolution, 150);
        EXPECT_EQ(editor.VerticalResolution, 300);
        EXPECT_EQ(editor.RowTable, image->tpixels);
        EXPECT_EQ(editor.Pixelbase, reinterpret_cast<uint8_t*>(image->tpixels[0]));
        EXPECT_EQ(editor.CurrentRow, editor.Pixelbase);
        EXPECT_EQ(editor.Description.pictureType, 10);
        EXPECT_TRUE(editor.reading);
        EXPECT_TRUE(editor.writing);
        EXPECT_TRUE(editor.NeedPictureUnlock);
        EXPECT_EQ(editor.picture, ObjectOf(picture));
        EXPECT_EQ(picture.DescriptionLocks(), 1);
        EXPECT_EQ(picture.References(), 2);
        EXPECT_EQ(editor.GetRow(2), reinterpret_cast<uint8_t*>(image->tpixels[2]));
        EXPECT_EQ(editor.CurrentY, 2);
        EXPECT_EQ(editor.CurrentX, 0);
        editor.NextRow();
        EXPECT_EQ(editor.CurrentY, 3);
        EXPECT_EQ(editor.CurrentRow, reinterpret_cast<uint8_t*>(image->tpixels[3]));
    }
    EXPECT_EQ(picture.DescriptionLocks(), 0);
    EXPECT_EQ(picture.References(), 1);
    EXPECT_EQ(picture.CacheClears(), 1) << "it was open for writing";
}

TEST_F(PictureEditorTest, ADirect2DPicture) {
    Load(HostOf(HostKind::Desktop, 2024.01));
    const Picture picture = NewPicture(5, 4, PictureStorage::Packed32);
    PictureReader reader;
    ASSERT_TRUE(reader.GetPictureReader(ObjectOf(picture)));
    EXPECT_EQ(reader.PixelKind, 17U);
    EXPECT_EQ(reader.RowBytes, 20);
    EXPECT_EQ(reader.Pixelbase, picture.NativeData());
    EXPECT_EQ(reader.RowTable, nullptr);
    EXPECT_FALSE(reader.HasAlphaChannel);
    EXPECT_FALSE(reader.writing);
    EXPECT_EQ(reader.GetRow(3), reader.Pixelbase + 60);
    EXPECT_TRUE(IsDesktop);
    EXPECT_FALSE(IsConsole);
    reader.clear();
    EXPECT_EQ(picture.CacheClears(), 0) << "it was open for reading only";
}

TEST_F(PictureEditorTest, RowsOutsideThePicture) {
    Load(HostOf(HostKind::Desktop, 2024.01));
    const Picture packed = NewPicture(5, 4);
    PictureReader reader;
    ASSERT_TRUE(reader.GetPictureReader(ObjectOf(packed)));
    EXPECT_THAT(LogOf([&] { EXPECT_EQ(reader.GetRow(4), reader.Pixelbase); }),
                ElementsAre("y too big: 4 of 4 in PictureEditor::GetRow"));
    EXPECT_THAT(LogOf([&] { EXPECT_EQ(reader.GetRow(INT64_MAX), reader.Pixelbase); }),
                ElementsAre("y too big: 9223372036854775807 of 4 in PictureEditor::GetRow"));
    EXPECT_THAT(LogOf([&] {
                    EXPECT_EQ(reinterpret_cast<uintptr_t>(reader.GetRow(-1)),
                              reinterpret_cast<uintptr_t>(reader.Pixelbase) - 20);
                }),
                ElementsAre("y is too small"));
    EXPECT_EQ(reader.ErrorCount, 3);
}

TEST_F(PictureEditorTest, NothingLiesAboveAGdPicture) {
    const Picture picture = NewPicture(5, 4);
    PictureReader reader;
    ASSERT_TRUE(reader.GetPictureReader(ObjectOf(picture)));
    for (const int64_t y : {int64_t{-1}, INT64_MIN})
        EXPECT_THAT(LogOf([&] { EXPECT_EQ(reader.GetRow(y), nullptr); }), Contains("y is too small"));
    EXPECT_EQ(reader.GetRow(4), reader.Pixelbase);
}

TEST_F(PictureEditorTest, AMissingRowOfAGdPicture) {
    const Picture picture = NewPicture(5, 4);
    auto* image = static_cast<GdImage*>(picture.NativeData());
    int32_t* const row = std::exchange(image->tpixels[2], nullptr);
    PictureReader reader;
    ASSERT_TRUE(reader.GetPictureReader(ObjectOf(picture)));
    EXPECT_THAT(LogOf([&] { EXPECT_EQ(reader.GetRow(2), nullptr); }), ElementsAre("r is nil!"));
    EXPECT_EQ(reader.ErrorCount, 1);
    image->tpixels[2] = row;
}

TEST_F(PictureEditorTest, TheTenthComplaintIsNotLogged) {
    const Picture picture = NewPicture(5, 4);
    PictureReader reader;
    ASSERT_TRUE(reader.GetPictureReader(ObjectOf(picture)));
    const auto complain = [&](int times) {
        return LogOf([&] {
            for (int i = 0; i < times; ++i)
                reader.GetRow(4);
        });
    };
    EXPECT_EQ(complain(12).size(), 9U);
    EXPECT_EQ(reader.ErrorCount, 12);
    ASSERT_TRUE(reader.GetPictureReader(ObjectOf(picture)));
    EXPECT_EQ(reader.ErrorCount, 0) << "counted anew for each picture";
    EXPECT_EQ(complain(1).size(), 1U);
}

TEST_F(PictureEditorTest, AClosedEditorHasNoRows) {
    const Picture picture = NewPicture(5, 4);
    PictureReader reader;
    ASSERT_TRUE(reader.GetPictureReader(ObjectOf(picture)));
    EXPECT_THAT(LogOf([&] { reader.clear(); }), ElementsAre("ClosePictureReader done"));
    EXPECT_EQ(reader.picture, nullptr);
    EXPECT_TRUE(reader.reading) << "the rights asked for are kept";
    for (const int64_t y : {-1, 0, 1, 4})
        EXPECT_THAT(LogOf([&] { EXPECT_EQ(reader.GetRow(y), nullptr) << y; }),
                    Contains("Warning: Pixelbase is nil!"));
    reader.clear();
    EXPECT_EQ(picture.DescriptionLocks(), 0);
    PictureEditor neverOpen;
    EXPECT_EQ(neverOpen.GetRow(0), nullptr);
    EXPECT_EQ(neverOpen.GetRow(-1), nullptr);
}

TEST_F(PictureEditorTest, OpeningClosesWhatWasOpen) {
    const Picture first = NewPicture(5, 4);
    const Picture second = NewPicture(6, 3);
    PictureReader reader;
    ASSERT_TRUE(reader.GetPictureReader(ObjectOf(first)));
    ASSERT_TRUE(reader.GetPictureReader(ObjectOf(second)));
    EXPECT_EQ(first.DescriptionLocks(), 0);
    EXPECT_EQ(reader.Width, 6);
    ASSERT_TRUE(reader.GetPictureReader(ObjectOf(second))) << "over itself";
    EXPECT_EQ(second.DescriptionLocks(), 1);
    EXPECT_FALSE(reader.GetPictureReader(nullptr));
    EXPECT_EQ(second.DescriptionLocks(), 0);
    EXPECT_EQ(reader.picture, nullptr);
}

TEST_F(PictureEditorTest, APictureIsSetOverItself) {
    Picture picture = NewPicture(5, 4);
    PictureEditor editor;
    editor.setPicture(ObjectOf(picture));
    const HostObject handle = ObjectOf(picture);
    picture = Picture();  // the editor's is the last reference
    editor.setPicture(handle);
    EXPECT_EQ(editor.picture, handle);
    editor.setPicture(nullptr);
    EXPECT_EQ(editor.picture, nullptr);
}

TEST_F(PictureEditorTest, OnlyMutablePicturesAreWritten) {
    const Picture picture = NewPicture(5, 4);
    PictureEditor editor;
    const struct {
        int32_t code;
        bool canWrite;
        const char* line;
    } codes[] = {{0, false, "HiDPI Image, return false"}, {1, false, "Vector image, return false"},
                 {2, true, "Mutable Image, ok"},          {3, false, "Vector image, return false"},
                 {4, true, "ClosePictureReader done"},    {-1, true, "ClosePictureReader done"}};
    for (const auto& [code, canWrite, line] : codes) {
        picture.SetTypeCode(code);
        bool opened = false;
        EXPECT_THAT(LogOf([&, number = code] {
                        opened = editor.GetPictureEditor(ObjectOf(picture), false, true);
                        EXPECT_TRUE(number < 5);
                    }),
                    Contains(line));
        EXPECT_EQ(opened, canWrite) << code;
        EXPECT_EQ(editor.picture != nullptr, canWrite);
        EXPECT_TRUE(editor.GetPictureEditor(ObjectOf(picture), true, false)) << code;
    }
    editor.clear();
    picture.SetTypeCode(2);
}

TEST_F(PictureEditorTest, AWriterIsNeverACopy) {
    Load(HostOf(HostKind::Desktop, 2024.01));
    const Picture gd = NewPicture(5, 4, PictureStorage::GdTrueColor);
    {
        PictureEditor editor;
        EXPECT_FALSE(editor.GetPictureEditor(ObjectOf(gd), true, true));
        EXPECT_FALSE(editor.GetPictureEditor(ObjectOf(gd), false, true));
        EXPECT_FALSE(editor.GetPictureEditor(ObjectOf(gd), false, false));
        EXPECT_TRUE(editor.GetPictureEditor(ObjectOf(gd), true, false));
        EXPECT_NE(editor.picture, ObjectOf(gd));
        EXPECT_EQ(gd.References(), 1);
    }
    EXPECT_EQ(gd.CacheClears(), 0);
}

TEST_F(PictureEditorTest, ThePictureOutlivesItsOwner) {
    Picture picture = NewPicture(5, 4);
    picture.SetPixel(4, 3, 0xFF123456);
    PictureReader reader;
    ASSERT_TRUE(reader.GetPictureReader(ObjectOf(picture)));
    picture = Picture();
    EXPECT_EQ(LoadWord(reader.GetRow(3) + 16), 0x00123456U);
}

TEST_F(PictureEditorTest, EditorsOnTheHeap) {
    EXPECT_NE(PictureEditor::Allocate(), nullptr);
    EXPECT_NE(PictureReader::Allocate(), nullptr);
    EXPECT_NE(PictureWriter::Allocate(), nullptr);
    const test::FailingMemory failing;
    const test::LogCapture log;
    EXPECT_EQ(PictureEditor::Allocate(), nullptr);
    EXPECT_EQ(PictureReader::Allocate(), nullptr);
    EXPECT_EQ(PictureWriter::Allocate(), nullptr);
    EXPECT_THAT(log.Lines(), ElementsAre("Failed to allocate PictureEditor object.",
                                         "Failed to allocate PictureReader object.",
                                         "Failed to allocate PictureWriter object."));
}

TEST_F(PictureEditorTest, BackendsOfOtherSystems) {
    PictureWriter writer;
    const test::LogCapture log;
    EXPECT_FALSE(writer.GetPictureEditorCGBitmapContext(nullptr));
    EXPECT_FALSE(writer.GetPictureEditorCairoContext(nullptr));
    EXPECT_FALSE(writer.GetPictureEditorGdkPixmap(nullptr));
    EXPECT_FALSE(writer.GetPictureEditorIOS(nullptr));
    EXPECT_FALSE(writer.NewPictureWriterLinux(1, 1));
    EXPECT_THAT(
        log.Lines(),
        ElementsAre("PictureEditor::GetPictureEditorCGBitmapContext",
                    "PictureEditor::GetPictureEditorCairoContext", "PictureEditor::GetPictureEditorGdkPixmap",
                    "PictureEditor::GetPictureEditorIOS", "PictureEditor::NewPictureWriterLinux"));
}

// What kind of host it is ---------------------------------------------------------------------------------

class HostKindTest : public BridgeHostedTest {
  protected:
    void ExpectKind(bool console, bool desktop) {
        EXPECT_EQ(IsConsole, console);
        EXPECT_EQ(IsDesktop, desktop);
    }
};

TEST_F(HostKindTest, ComesFromTheApplicationClasses) {
    const struct {
        HostKind kind;
        bool console;
        bool desktop;
    } kinds[] = {{HostKind::Desktop, false, true},
                 {HostKind::Console, true, false},
                 {HostKind::Web, true, false},
                 {HostKind::Unknown, false, false}};
    for (const auto& [kind, console, desktop] : kinds) {
        Load(HostOf(kind, 2024.01));
        ExpectKind(false, false);
        DetermineHostKind();
        ExpectKind(console, desktop);
        const int64_t lookups = TheHost().Calls("pluginObjectType");
        DetermineHostKind();
        EXPECT_EQ(TheHost().Calls("pluginObjectType"), lookups) << "once in a process";
    }
}

TEST_F(HostKindTest, ComesFromThePicturesThatCouldBeLocked) {
    for (const PictureType type : {pictureWin32Bitmap, pictureGDIPlusBitmap, pictureD2DPBGRAPtr}) {
        ForgetHostKind();
        LearnHostKind(type);
        ExpectKind(false, true);
    }
    ForgetHostKind();
    LearnHostKind(pictureGDImagePtr);
    ExpectKind(true, false);
    LearnHostKind(pictureWin32Bitmap);
    ExpectKind(true, true);
}

TEST_F(HostKindTest, IsLearnedByOpening) {
    Load(HostOf(HostKind::Unknown, 2024.01));
    const Picture packed = NewPicture(3, 3, PictureStorage::Packed32);
    PictureReader reader;
    ASSERT_TRUE(reader.GetPictureReader(ObjectOf(packed)));
    ExpectKind(false, true);
    reader.clear();
    ForgetHostKind();
    const Picture gd = NewPicture(3, 3, PictureStorage::GdTrueColor);
    ASSERT_TRUE(reader.GetPictureReader(ObjectOf(gd)));
    ExpectKind(true, false);
}

}  // namespace
}  // namespace trv
