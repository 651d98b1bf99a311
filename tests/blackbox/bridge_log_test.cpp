// What the picture bridge says in the debug log, and the ways that it goes between its backends, which the
// log makes visible.

#include <gmock/gmock.h>

#include "bridge_pictures.h"

namespace trvtest {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::Not;
using ::testing::StartsWith;
using Lines = std::vector<std::string>;

const std::string kDirect2DFailed = "REALLockPictureDescription with pictureD2DPBGRAPtr failed.";
const std::string kGdiPlusFailed = "REALLockPictureDescription with pictureGDIPlusBitmap failed.";
const std::string kGdFailed = "REALLockPictureDescription with pictureGDImagePtr failed.";
const std::string kWin32Failed = "REALLockPictureDescription with pictureWin32Bitmap failed.";
const std::string kClosed = "ClosePictureReader done";

class BridgeLogTest : public PluginTest {
  protected:
    /// The lines of a drawing of the picture into an image of its size; whether it drew tells `drew`.
    [[nodiscard]] Lines LinesOfDrawing(const Picture& picture, bool& drew) const {
        const MemoryImage image(TheHost(), picture.Width(), picture.Height(), Constant("ImageFormatRGBA"));
        const std::vector<uint8_t> before = image.Bytes();
        Lines lines = LogOf([&] { TheHost().Call(image, "DrawPictureRGB", picture); });
        drew = image.Bytes() != before;
        return lines;
    }

    /// Which backends were asked, in order, by what they said when they failed, and the other steps of an
    /// opening.
    [[nodiscard]] Lines StepsOfDrawing(const Picture& picture, bool mustDraw) const {
        bool drew = false;
        Lines steps;
        for (const std::string& line : LinesOfDrawing(picture, drew)) {
            if (line == kDirect2DFailed) steps.emplace_back("Direct2D");
            if (line == kGdiPlusFailed) steps.emplace_back("GDI+");
            if (line == kWin32Failed) steps.emplace_back("Win32");
            if (line == kGdFailed) steps.emplace_back("gd");
            if (line == "Trying clone....") steps.emplace_back("clone");
            if (line == "BestRepresentation missing") steps.emplace_back("no representation");
            if (line == "GetPictureEditor failed") steps.emplace_back("failed");
            if (line == "Mutable Image, ok") steps.emplace_back("mutable");
        }
        EXPECT_EQ(drew, mustDraw);
        return steps;
    }
};

TEST_F(BridgeLogTest, ADrawingFromBeginningToEnd) {
    Load(HostOf(HostKind::Desktop, 2024.01));
    bool drew = false;
    EXPECT_THAT(LinesOfDrawing(TheHost().NewPicture(4, 3, PictureStorage::Packed32), drew),
                ElementsAre("StartImage ok", kClosed, "Mutable Image, ok",
                            "y too big: 3 of 3 in PictureEditor::GetRow", kClosed));
    EXPECT_TRUE(drew);
}

TEST_F(BridgeLogTest, DesktopHostsTryDirect2DThenTheWindowSystemThenACopy) {
    Load(HostOf(HostKind::Desktop, 2024.01, PictureStorage::Packed32));
    const Picture gd = TheHost().NewPicture(4, 3, PictureStorage::GdTrueColor);
    EXPECT_THAT(StepsOfDrawing(gd, true), ElementsAre("mutable", "Direct2D", "Win32", "clone"));
    const Picture gdWithAlpha = TheHost().NewPicture(4, 3, PictureStorage::GdTrueColor, true);
    EXPECT_THAT(StepsOfDrawing(gdWithAlpha, true), ElementsAre("mutable", "Direct2D", "GDI+", "clone"));
    EXPECT_EQ(gd.References(), 1);
}

TEST_F(BridgeLogTest, ACopyIsNotCopiedAgain) {
    Load(HostOf(HostKind::Desktop, 2024.01, PictureStorage::GdTrueColor));
    const Picture gd = TheHost().NewPicture(4, 3);
    EXPECT_THAT(StepsOfDrawing(gd, false),
                ElementsAre("mutable", "Direct2D", "Win32", "clone", "Direct2D", "Win32", "failed"));
}

TEST_F(BridgeLogTest, ConsoleHostsTryGdAlone) {
    Load(HostOf(HostKind::Console, 2024.01));
    EXPECT_THAT(StepsOfDrawing(TheHost().NewPicture(4, 3, PictureStorage::Vector), false),
                ElementsAre("Direct2D", "gd", "failed"));
    Load(HostOf(HostKind::Web, 2016.03));
    EXPECT_THAT(StepsOfDrawing(TheHost().NewPicture(4, 3, PictureStorage::GdPalette), false),
                ElementsAre("mutable", "failed"))
        << "a palette is refused without a line of its own";
}

TEST_F(BridgeLogTest, HostsOfNoKnownKindTryEverything) {
    Load(HostOf(HostKind::Unknown, 2024.01, PictureStorage::Packed32));
    const Picture vector = TheHost().NewPicture(4, 3, PictureStorage::Vector);
    EXPECT_THAT(StepsOfDrawing(vector, true), ElementsAre("Direct2D", "Win32", "gd", "clone"));
}

TEST_F(BridgeLogTest, Direct2DIsForHostsAbove2016Point03) {
    for (const auto& [version, hasDirect2D] :
         {std::pair{2016.0, false}, {2016.03, false}, {2016.031, true}}) {
        Load(HostOf(HostKind::Desktop, version, PictureStorage::Packed32));
        const Picture packed = TheHost().NewPicture(4, 3, PictureStorage::Packed32);
        EXPECT_EQ(StepsOfDrawing(packed, hasDirect2D).size(), hasDirect2D ? 1U : 5U) << version;
    }
}

TEST_F(BridgeLogTest, RepresentationsAreForHostsFrom2016On) {
    for (const int32_t code : {0, 1, 2, 3}) {
        for (const double version : {2015.99, 2016.0, 2024.01}) {
            Load(HostOf(HostKind::Console, version));
            const Picture picture = TheHost().NewPicture(4, 3);
            const Picture best = TheHost().NewPicture(4, 3);
            picture.Fill(0xFF000000);
            best.Fill(0xFFFFFFFF);
            picture.SetTypeCode(code);
            picture.SetBestRepresentation(best);
            const MemoryImage image(TheHost(), 4, 3, Constant("ImageFormatRGB"));
            TheHost().Call(image, "DrawPictureRGB", picture);
            const bool isBest = version >= 2016.0 && (code == 0 || code == 3);
            EXPECT_EQ(image.At(0, 0), isBest ? 255 : 0) << code << " " << version;
            picture.SetBestRepresentation(Picture());
            EXPECT_EQ(best.References(), 1);
        }
    }
}

TEST_F(BridgeLogTest, WithoutARepresentationThePictureItselfIsOpened) {
    const auto stepsOf = [&](const Options& options, int32_t typeCode) {
        Load(options);
        const Picture picture = TheHost().NewPicture(4, 3);
        picture.SetTypeCode(typeCode);
        return StepsOfDrawing(picture, true);
    };
    Options options = HostOf(HostKind::Console, 2024.01);
    EXPECT_THAT(stepsOf(options, 0), ElementsAre("Direct2D"));
    options.missingMembers = {
        "BestRepresentation(width As Integer, height As Integer, scale As Double) As Picture"};
    EXPECT_THAT(stepsOf(options, 3), ElementsAre("no representation", "Direct2D"));
}

TEST_F(BridgeLogTest, ARepresentationThatDoesNotOpenIsTheEnd) {
    Load(HostOf(HostKind::Console, 2024.01));
    const Picture picture = TheHost().NewPicture(4, 3);
    const Picture palette = TheHost().NewPicture(4, 3, PictureStorage::GdPalette);
    picture.SetTypeCode(0);
    picture.SetBestRepresentation(palette);
    EXPECT_THAT(StepsOfDrawing(picture, false), ElementsAre("Direct2D", "failed"));
    picture.SetBestRepresentation(Picture());
}

TEST_F(BridgeLogTest, AHostThatCannotTellAPicturesTypeHasMutableOnes) {
    Options options = HostOf(HostKind::Console, 2024.01);
    options.missingEntries = {"PluginPictureGetType"};
    Load(options);
    const Picture picture = TheHost().NewPicture(4, 3);
    picture.SetTypeCode(0);
    EXPECT_THAT(StepsOfDrawing(picture, true), ElementsAre("mutable", "Direct2D"));
}

TEST_F(BridgeLogTest, AHostWithoutTheAlphaProperty) {
    Options options = HostOf(HostKind::Desktop, 2024.01);
    options.missingMembers = {"Picture.HasAlphaChannel"};
    Load(options);
    bool drew = false;
    EXPECT_THAT(LinesOfDrawing(TheHost().NewPicture(4, 3), drew),
                Contains("HasAlphaChannel property not found."));
    EXPECT_TRUE(drew);
}

TEST_F(BridgeLogTest, ACopyOfTheWholeImageWithItsMask) {
    Load(HostOf(HostKind::Console, 2016.0));
    const Ref image = NewImage(4, 3, "ImageFormatRGBA");
    const Lines lines = LogOf([&] { TheHost().Call(image, "CopyPictureWithMask as picture"); });
    const Lines writer = {"MyREALNewPicture 4, 3, 32",
                          kClosed,
                          "Mutable Image, ok",
                          "result 1",
                          "y too big: 3 of 3 in PictureEditor::GetRow",
                          "RenderPictureWriter done",
                          kClosed};
    Lines expected = {"rbCopyPictureWithMaskAll",
                      "rbCopyPictureAlpha 0, 0, 4, 3, 0",
                      "Fix 0, 0, 4, 3",
                      "Fixed 0, 0, 4, 3",
                      "StartImage ok",
                      "have RGB image",
                      "no alpha channel requested, so make a normal picture..."};
    expected.insert(expected.end(), writer.begin(), writer.end());
    const Lines then = {kClosed, "result", "Fix 0, 0, 4, 3", "Fixed 0, 0, 4, 3", "StartImage ok"};
    expected.insert(expected.end(), then.begin(), then.end());
    expected.insert(expected.end(), writer.begin(), writer.end());
    const Lines end = {kClosed, "result", "MyREALGetPictureMask 1", "draw mask into mask",
                       "CopyPictureWithMaskAll returns"};
    expected.insert(expected.end(), end.begin(), end.end());
    ASSERT_EQ(lines.size(), expected.size());
    for (size_t i = 0; i < lines.size(); ++i) {
        // Results end in an address.
        if (expected[i] == "result" || expected[i].ends_with(" returns")) {
            EXPECT_THAT(lines[i], StartsWith(expected[i] + " "));
        } else {
            EXPECT_EQ(lines[i], expected[i]) << i;
        }
    }
}

TEST_F(BridgeLogTest, TheOtherWholeImagesAnnounceThemselves) {
    Load(HostOf(HostKind::Console, 2024.01));
    const struct {
        const char* format;
        const char* family;
    } formats[] = {{"ImageFormatGA", "have Gray image"}, {"ImageFormatAKYMC", "have CMYK image"}};
    for (const auto& [format, family] : formats) {
        const Ref image = NewImage(4, 3, format);
        const Lines picture = LogOf([&] { TheHost().Call(image, "CopyPicture as picture"); });
        EXPECT_EQ(picture.front(), "rbCopyPictureAll");
        EXPECT_THAT(picture, Contains(family));
        EXPECT_THAT(picture.back(), StartsWith("CopyPictureAll returns "));
        const Lines withAlpha = LogOf([&] { TheHost().Call(image, "CopyPictureWithAlpha as picture"); });
        EXPECT_EQ(withAlpha.front(), "rbCopyPictureWithAlphaAll");
        EXPECT_THAT(withAlpha, Not(Contains("no alpha channel requested, so make a normal picture...")));
        EXPECT_THAT(withAlpha.back(), StartsWith("CopyPictureWithAlphaAll returns "));
        const Lines mask = LogOf([&] { TheHost().Call(image, "CopyMask as picture"); });
        EXPECT_EQ(mask.front(), "rbCopyMaskAll");
        EXPECT_THAT(mask.back(), StartsWith("CopyMaskAll returns "));
    }
}

TEST_F(BridgeLogTest, RefusalsOfMasks) {
    Load(HostOf(HostKind::Console, 2024.01));
    const Ref opaque = NewImage(4, 3, "ImageFormatRGB");
    const Ref image = NewImage(4, 3, "ImageFormatRGBA");
    const auto linesOf = [&](const Ref& of, int64_t x, int64_t width, int64_t height) {
        return LogOf([&] { TheHost().Call(of, "CopyPictureWithMask", x, 0, width, height); });
    };
    EXPECT_THAT(linesOf(opaque, 0, 4, 3), Contains("no mask to add"));
    EXPECT_THAT(linesOf(image, 4, -2, 3), Contains("invalid width"));
    EXPECT_THAT(linesOf(image, 0, 4, -3), Not(Contains("draw mask into mask")));
    EXPECT_THAT(linesOf(image, 9, 4, 3), Contains("picture is nil"));
    EXPECT_THAT(linesOf(image, 0, 2, 3), Contains("draw mask into mask"));
}

TEST_F(BridgeLogTest, MasksComeFromAMethodAbove2020) {
    const auto linesOfCopy = [&](const Options& options, int64_t calls) {
        Load(options);
        const Ref image = NewImage(4, 3, "ImageFormatRGBA");
        const Lines lines = LogOf([&] { TheHost().Call(image, "CopyPictureWithMask as picture"); });
        EXPECT_EQ(TheHost().Calls("REALGetPictureMask"), calls) << options.version;
        return lines;
    };
    EXPECT_THAT(linesOfCopy(HostOf(HostKind::Console, 2020.0), 1), Not(Contains("No Mask function!?")));
    EXPECT_THAT(linesOfCopy(HostOf(HostKind::Console, 2020.01), 0), Not(Contains("No Mask function!?")));
    Options options = HostOf(HostKind::Console, 2020.01);
    options.missingMembers = {"Mask(create As Boolean = True) As Picture"};
    EXPECT_THAT(linesOfCopy(options, 1), Contains("No Mask function!?"));
}

TEST_F(BridgeLogTest, MissingDrawPictureFunctions) {
    const auto linesOfCopy = [&](const Options& options) {
        Load(options);
        const Ref image = NewImage(4, 3, "ImageFormatRGBA");
        return LogOf([&] { TheHost().Call(image, "CopyPictureWithMask as picture"); });
    };
    Options options = HostOf(HostKind::Console, 2018.01);
    options.missingMembers = {
        "DrawPicture(Image as Picture, x as Integer, y as Integer, w as Integer, h as Integer, sx as Integer "
        "= 0, sy "
        "as Integer = 0, sw as Integer = -10000, sh as Integer = -10000)"};
    const Lines lines = linesOfCopy(options);
    EXPECT_THAT(lines, Contains("Failed to get DrawPicture function."));
    EXPECT_THAT(lines, Contains("drawpicture failes?"));
    EXPECT_THAT(lines, Contains("copied"));
    options.missingEntries = {"pluginPictureGraphicsGetter"};
    EXPECT_THAT(linesOfCopy(options), Contains("Failed to get graphics."));
}

TEST_F(BridgeLogTest, SizesThatNoPictureHas) {
    Load(HostOf(HostKind::Console, 2024.01));
    const Ref wide = NewImage(32768, 1, "ImageFormatG");
    EXPECT_THAT(LogOf([&] { TheHost().Call(wide, "CopyPicture as picture"); }), Contains("width > 32767"));
    const Ref high = NewImage(1, 32768, "ImageFormatG");
    EXPECT_THAT(LogOf([&] { TheHost().Call(high, "CopyPicture as picture"); }), Contains("height > 32767"));
}

TEST_F(BridgeLogTest, TheConstructorSaysWhatIsNotSet) {
    const auto linesOfConstruction = [&](HostKind kind, PictureStorage storage) {
        Load(HostOf(kind, 2024.01));
        const Picture picture = TheHost().NewPicture(4, 3, storage);
        const Lines lines = LogOf([&] { TheHost().Construct("PictureTRV", picture); });
        TheHost().TakeException();
        return lines;
    };
    EXPECT_THAT(linesOfConstruction(HostKind::Desktop, PictureStorage::Vector),
                ElementsAre("pictureWin32Bitmap", "ChannelCount not set!", "PixelSize not set!",
                            "Height not set!", "Width not set!"));
    EXPECT_THAT(linesOfConstruction(HostKind::Desktop, PictureStorage::Packed32), ElementsAre());
    EXPECT_THAT(linesOfConstruction(HostKind::Console, PictureStorage::GdTrueColor),
                ElementsAre("Constructor done"));
}

}  // namespace
}  // namespace trvtest
