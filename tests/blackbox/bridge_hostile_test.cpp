// Hosts that say odd things about their pictures: nil where pixels should be, sizes that disagree, codes that
// nobody knows. Nothing may be read or written outside, and every lock must go back.

#include <functional>
#include <gmock/gmock.h>

#include "bridge_pictures.h"

namespace trvtest {
namespace {

using ::testing::Each;
using trvhost::PictureDescription;

/// A gd image of the test's own, of which the plug-in may look at the fields up to the row pointers. The rows
/// lie in blocks of their own, between guards.
class OwnGdImage {
  public:
    OwnGdImage(int width, int height) {
        fields_.sx = width;
        fields_.sy = height;
        fields_.trueColor = 1;
        for (int y = 0; y < height; ++y) {
            rows_.emplace_back(static_cast<size_t>(width + 2 * kGuard), kGuardWord);
            for (int x = 0; x < width; ++x)
                rows_.back()[static_cast<size_t>(kGuard + x)] = y << 8 | x;
        }
        for (auto& row : rows_)
            table_.push_back(row.data() + kGuard);
        fields_.tpixels = table_.data();
    }

    struct Fields {
        void* pixels = nullptr;
        int32_t sx = 0;
        int32_t sy = 0;
        uint8_t others[7248 - 16] = {};
        int32_t trueColor = 0;
        int32_t** tpixels = nullptr;
    };
    static_assert(offsetof(Fields, trueColor) == 7248 && offsetof(Fields, tpixels) == 7256);

    Fields& operator*() { return fields_; }
    Fields* operator->() { return &fields_; }
    int32_t& At(int x, int y) { return rows_[static_cast<size_t>(y)][static_cast<size_t>(kGuard + x)]; }
    void LoseRow(int y) { table_[static_cast<size_t>(y)] = nullptr; }

    [[nodiscard]] bool GuardsIntact() const {
        return std::ranges::all_of(rows_, [](const std::vector<int32_t>& row) {
            const auto isGuard = [](int32_t word) { return word == kGuardWord; };
            return std::all_of(row.begin(), row.begin() + kGuard, isGuard) &&
                   std::all_of(row.end() - kGuard, row.end(), isGuard);
        });
    }

  private:
    static constexpr int kGuard = 16;
    static constexpr int32_t kGuardWord = 0x5EED5EED;

    Fields fields_;
    std::vector<std::vector<int32_t>> rows_;
    std::vector<int32_t*> table_;
};

/// What the host answers in place of its own entries.
struct Script {
    trvhost::Host* host = nullptr;
    std::function<bool(void* picture, PictureDescription* out, uint32_t type)> lock;
    std::function<void*(int64_t width, int64_t height)> newPicture;
    int64_t locks = 0;
    int64_t unlocks = 0;
};
Script script;

uint8_t ScriptedLock(void* picture, PictureDescription* out, uint32_t type) {
    if (!script.lock || !script.lock(picture, out, type)) return 0;
    ++script.locks;
    return 1;
}

void ScriptedUnlock(void* /*picture*/) {
    ++script.unlocks;
}

void* ScriptedNewPicture(int64_t width, int64_t height, int32_t /*depth*/) {
    return script.newPicture ? script.newPicture(width, height) : nullptr;
}

void* ScriptedResolver(const char* name) {
    const std::string_view entry(name);
    if (entry == "REALLockPictureDescription") return reinterpret_cast<void*>(ScriptedLock);
    if (entry == "unlockPictureDescription") return reinterpret_cast<void*>(ScriptedUnlock);
    if (entry == "newPicture") return reinterpret_cast<void*>(ScriptedNewPicture);
    return script.host->Resolve(name);
}

/// A host whose answers about pictures are the test's.
class HostileHostTest : public PluginTest {
  protected:
    HostileHostTest() { LoadHostile(HostOf(HostKind::Console, 2024.01)); }

    /// Loads the plug-in into a host some of whose entries are replaced by the script.
    void LoadHostile(Options options) {
        picture_ = Picture();
        options.start = trvhost::Start::Later;
        Load(std::move(options));
        script = Script();
        script.host = &TheHost();
        reinterpret_cast<trvhost::PluginMain>(TheHost().Symbol("REALPluginMain"))(ScriptedResolver);
        picture_ = TheHost().NewPicture(6, 5);
    }

    void TearDown() override {
        picture_ = Picture();
        EXPECT_EQ(script.locks, script.unlocks);
        script = Script();
        PluginTest::TearDown();
    }

    /// Answers every lock of the type with the description, whatever the picture.
    static void Describe(uint32_t type, const PictureDescription& description) {
        script.lock = [=](void*, PictureDescription* out, uint32_t wanted) {
            if (wanted != type) return false;
            *out = description;
            return true;
        };
    }
    static void DescribeGd(OwnGdImage& image, int width, int height) {
        Describe(trvhost::kPictureGdImage, {trvhost::kPictureGdImage, &*image, width, height});
    }

    /// An image over whatever the host describes; checks that it is valid, or refused with its exception.
    [[nodiscard]] Ref Construct(bool valid) const {
        const Ref image = TheHost().Construct("PictureTRV", picture_, true);
        EXPECT_EQ(TheHost().Get<bool>(image, "Valid"), valid);
        const auto exception = TheHost().TakeException();
        EXPECT_EQ(exception ? exception->message : "",
                  valid ? "" : "Failed to access picture. Not a bitmap?");
        return image;
    }

    /// What an import makes of the picture on an image of 6 by 5 with three bytes a pixel of value 9.
    [[nodiscard]] std::vector<uint8_t> Imported() const {
        const MemoryImage image(TheHost(), 6, 5, Constant("ImageFormatBGR"));
        image.SetBytes(std::vector<uint8_t>(6 * 5 * 3, 9));
        TheHost().Call(image, "DrawPictureRGB", picture_, 0, 0, 6, 5);
        EXPECT_TRUE(image.GuardIntact());
        return image.Bytes();
    }

    /// The picture that is asked about; its own pixels are never looked at.
    Picture picture_;
};

TEST_F(HostileHostTest, AGdImageSmallerThanItsDescription) {
    OwnGdImage gd(3, 2);
    DescribeGd(gd, 6, 5);
    {
        const Ref image = Construct(true);
        EXPECT_EQ(TheHost().Get<int64_t>(image, "Width"), 3);
        EXPECT_EQ(TheHost().Get<int64_t>(image, "Height"), 2);
        EXPECT_EQ(TheHost().Get<int64_t>(image, "RowSize"), 12);
        TheHost().Call(image, "FillRect", 0x77);
    }
    EXPECT_EQ(gd.At(2, 1), 0x77777777);
    gd.At(2, 1) = 0x00112233;
    const std::vector<uint8_t> bytes = Imported();
    EXPECT_EQ(bytes[(1 * 6 + 2) * 3], 0x33);
    EXPECT_EQ(bytes[(1 * 6 + 3) * 3], 9) << "right of the pixels";
    EXPECT_EQ(bytes[(2 * 6 + 0) * 3], 9) << "below the pixels";
    EXPECT_TRUE(gd.GuardsIntact());
}

TEST_F(HostileHostTest, AGdImageLargerThanItsDescription) {
    OwnGdImage gd(8, 7);
    DescribeGd(gd, 4, 3);
    const Ref image = Construct(true);
    EXPECT_EQ(TheHost().Get<int64_t>(image, "Width"), 4);
    EXPECT_EQ(TheHost().Get<int64_t>(image, "Height"), 3);
}

TEST_F(HostileHostTest, SizesBelowOne) {
    OwnGdImage gd(3, 2);
    for (const auto& [width, height] : {std::pair{0, 5}, {6, 0}, {-6, 5}, {6, -5}, {INT32_MIN, INT32_MIN}}) {
        DescribeGd(gd, width, height);
        const auto lines = LogOf([&] {
            const Ref image = Construct(true);
            TheHost().Call(image, "FillRect", 0x77);
            TheHost().Call(image, "CopyPicture as picture");
        });
        EXPECT_THAT(lines, ::testing::Contains(width < 1 ? "Width not set!" : "Height not set!"));
        EXPECT_THAT(Imported(), Each(9));
    }
    int32_t** const table = gd->tpixels;
    for (const auto& [width, height] : {std::pair{0, 2}, {3, 0}, {-3, 2}, {3, -2}}) {
        gd->sx = width;
        gd->sy = height;
        gd->tpixels = height < 1 ? reinterpret_cast<int32_t**>(8) : table;  // nobody may look there
        DescribeGd(gd, 6, 5);
        TheHost().Call(Construct(true), "FillRect", 0x77);
        EXPECT_THAT(Imported(), Each(9));
    }
    EXPECT_EQ(gd.At(0, 1), 0x100) << "nothing was filled";
}

TEST_F(HostileHostTest, RowsThatAreMissing) {
    OwnGdImage gd(6, 5);
    gd.LoseRow(0);
    gd.LoseRow(3);
    DescribeGd(gd, 6, 5);
    {
        const Ref image = Construct(true);
        TheHost().Call(image, "FillRectRGB", 1, 2, 3);
        // The picture that is made for the copy has the same rows.
        EXPECT_TRUE(TheHost().Call(image, "CopyPictureWithAlpha as picture").ToThing());
        TheHost().Call(image, "Clone");
        TheHost().Call(image, "DrawPictureRGB", picture_);
        TheHost().Call(image, "DrawMaskedPictureRGB", picture_);
    }
    EXPECT_EQ(gd.At(5, 4) & 0xFFFFFF, 0x010203);
    const std::vector<uint8_t> bytes = Imported();
    EXPECT_EQ(bytes[0], 9) << "a missing row leaves the image's row alone";
    EXPECT_EQ(bytes[3 * 18], 9);
    EXPECT_EQ(bytes[4 * 18], 3);
}

TEST_F(HostileHostTest, GdImagesThatAreNone) {
    OwnGdImage gd(6, 5);
    const auto refused = [&](bool byConstructor) {
        static_cast<void>(Construct(!byConstructor));
        EXPECT_THAT(Imported(), Each(9));
    };
    Describe(trvhost::kPictureGdImage, {trvhost::kPictureGdImage, nullptr, 6, 5});
    refused(true);
    Describe(trvhost::kPictureGdImage, {7, &*gd, 6, 5});
    refused(true);
    DescribeGd(gd, 6, 5);
    gd->trueColor = 0;
    refused(true);
    gd->trueColor = 1;
    int32_t** const rows = std::exchange(gd->tpixels, nullptr);
    refused(true);
    gd->tpixels = rows;
    gd->pixels = rows;
    refused(false);  // the constructor looks at the rows of words only
    gd->pixels = nullptr;
    EXPECT_NE(Imported()[3], 9) << "now it is one";
}

TEST_F(HostileHostTest, AMaskWhoseRowsAreMissing) {
    OwnGdImage picturePixels(6, 5);
    OwnGdImage maskPixels(6, 5);
    maskPixels.LoseRow(2);
    const Picture mask = TheHost().NewPicture(6, 5);
    picture_.SetMask(mask);
    script.lock = [&](void* picture, PictureDescription* out, uint32_t type) {
        if (type != trvhost::kPictureGdImage) return false;
        *out = {trvhost::kPictureGdImage, picture == mask.Handle() ? &*maskPixels : &*picturePixels, 6, 5};
        return true;
    };
    const MemoryImage image(TheHost(), 6, 5, Constant("ImageFormatBGRA"));
    image.SetBytes(std::vector<uint8_t>(6 * 5 * 4, 9));
    TheHost().Call(image, "DrawMaskedPictureRGB", picture_);
    EXPECT_EQ(image.At(4, 1, 0), 4);
    EXPECT_EQ(image.At(4, 2, 0), 9);
    EXPECT_EQ(image.At(4, 3, 0), 4);
    picture_.SetMask(Picture());
}

TEST_F(HostileHostTest, AWriterSmallerThanWasAskedFor) {
    OwnGdImage gd(2, 2);
    DescribeGd(gd, 6, 5);
    script.newPicture = [&](int64_t, int64_t) { return TheHost().NewPicture(6, 5).Release(); };
    const MemoryImage image(TheHost(), 6, 5, Constant("ImageFormatG"));
    for (const char* method : {"CopyPicture as picture", "CopyPictureWithAlpha as picture"}) {
        EXPECT_TRUE(TheHost().Call(image, method).ToThing());
        EXPECT_EQ(gd.At(1, 1) & 0xFFFFFF, image.At(1, 1) * 0x010101);
    }
    EXPECT_TRUE(gd.GuardsIntact());
    gd.LoseRow(0);
    EXPECT_TRUE(TheHost().Call(image, "CopyPicture as picture").ToThing());
}

TEST_F(HostileHostTest, AWriterThatIsTheImagesOwnPicture) {
    // The host answers the request for a new picture with the one that the image lies over.
    OwnGdImage gd(6, 5);
    DescribeGd(gd, 6, 5);
    script.newPicture = [&](int64_t, int64_t) { return Picture(picture_).Release(); };
    const Ref image = Construct(true);
    EXPECT_TRUE(TheHost().Call(image, "CopyPicture", 1, 1, 4, 3).ToThing() == picture_);
    EXPECT_TRUE(gd.GuardsIntact());
}

TEST_F(HostileHostTest, Direct2DDescriptionsWithoutPixels) {
    LoadHostile(HostOf(HostKind::Desktop, 2024.01));
    std::vector<uint32_t> words(30, 0x00445566);
    Describe(trvhost::kPictureDirect2D, {trvhost::kPictureDirect2D, nullptr, 6, 5});
    EXPECT_THAT(LogOf([&] { static_cast<void>(Construct(false)); }),
                ::testing::Contains("picture pointer is nil"));
    EXPECT_THAT(LogOf([&] { EXPECT_THAT(Imported(), Each(9)); }), ::testing::Contains("g is nil"));
    Describe(trvhost::kPictureDirect2D, {10, words.data(), 6, 5});
    EXPECT_THAT(LogOf([&] { static_cast<void>(Construct(false)); }),
                ::testing::Contains("picture is no pictureD2DPBGRAPtr"));
    EXPECT_THAT(LogOf([&] { EXPECT_THAT(Imported(), Each(9)); }),
                ::testing::Contains("Bitmap is not a DrawableD2D"));
    Describe(trvhost::kPictureDirect2D, {trvhost::kPictureDirect2D, words.data(), -6, -5});
    EXPECT_THAT(LogOf([&] { static_cast<void>(Construct(true)); }), ::testing::Contains("Width not set!"));
    EXPECT_THAT(Imported(), Each(9));
    Describe(trvhost::kPictureDirect2D, {trvhost::kPictureDirect2D, words.data(), 6, 5});
    EXPECT_EQ(Imported()[0], 0x66);
}

TEST_F(HostileHostTest, WindowSystemPicturesThatAreNone) {
    LoadHostile(HostOf(HostKind::Desktop, 2016.0));
    int32_t nothing[64] = {};
    for (const uint32_t type : {trvhost::kPictureWin32Bitmap, trvhost::kPictureGdiPlusBitmap}) {
        Describe(type, {static_cast<int32_t>(type), nullptr, 6, 5});
        static_cast<void>(Construct(false));
        EXPECT_THAT(Imported(), Each(9));
        Describe(type, {99, nothing, 6, 5});
        static_cast<void>(Construct(false));
        EXPECT_THAT(Imported(), Each(9));
    }
    // An address that is no bitmap's is a handle that the system does not know.
    Describe(trvhost::kPictureWin32Bitmap, {trvhost::kPictureWin32Bitmap, nothing, 6, 5});
    static_cast<void>(Construct(false));
    EXPECT_THAT(LogOf([&] { EXPECT_THAT(Imported(), Each(9)); }), ::testing::Contains("GetObject failed"));
}

TEST_F(HostileHostTest, UnknownTypeCodesAreTreatedAsMutable) {
    OwnGdImage gd(6, 5);
    DescribeGd(gd, 6, 5);
    for (const int32_t code : {4, 99, -1, INT32_MAX}) {
        picture_.SetTypeCode(code);
        EXPECT_EQ(Imported()[3], 1) << code;
    }
}

TEST_F(HostileHostTest, ARepresentationOfAnotherSize) {
    const Picture best = TheHost().NewPicture(2, 3);
    OwnGdImage gd(2, 3);
    DescribeGd(gd, 2, 3);
    picture_.SetTypeCode(0);
    picture_.SetBestRepresentation(best);
    const std::vector<uint8_t> bytes = Imported();
    EXPECT_EQ(bytes[3], 1);
    EXPECT_EQ(bytes[6], 9) << "right of the representation";
    EXPECT_TRUE(gd.GuardsIntact());
    picture_.SetBestRepresentation(Picture());
}

}  // namespace
}  // namespace trvtest
