#include "host_test.h"

namespace hosttest {
namespace {

constexpr uint32_t kWhite = 0xFFFFFFFF;
constexpr uint32_t kInk = 0xFF102030;

class Drawing : public HostTest {
  protected:
    Picture picture = host.NewPicture(8, 6, PictureStorage::Packed32);
    Graphics graphics = host.GraphicsOf(picture);

    void TearDown() override {
        graphics = Graphics();
        picture = Picture();
        HostTest::TearDown();
    }
    void* Find(const char* declaration) {
        return Call<void*(Handle, const char*)>("REALLoadObjectMethod", graphics.Handle(), declaration);
    }
    template <class... Numbers>
    void Draw(const char* declaration, Numbers... numbers) {
        void* function = Find(declaration);
        ASSERT_NE(function, nullptr) << declaration;
        reinterpret_cast<void (*)(Handle, Numbers...)>(function)(graphics.Handle(), numbers...);
    }
    void DrawPicture(const Picture& image, double x, double y, double w, double h, double sx, double sy,
                     double sw, double sh) {
        void* function = Find(
            "DrawPicture(Image as Picture, x as Double, y as Double, w as Double, h as Double, sx as Double "
            "= 0, sy as "
            "Double = 0, sw as Double = -10000, sh as Double = -10000)");
        ASSERT_NE(function, nullptr);
        using Function =
            void (*)(Handle, Handle, double, double, double, double, double, double, double, double);
        reinterpret_cast<Function>(function)(graphics.Handle(), image.Handle(), x, y, w, h, sx, sy, sw, sh);
    }
    /// The picture as rows of '.' (white), '#' (ink) and '?' (else).
    std::string Show() const {
        std::string text;
        for (int64_t y = 0; y < picture.Height(); ++y) {
            for (int64_t x = 0; x < picture.Width(); ++x) {
                const uint32_t pixel = picture.Pixel(x, y);
                text += pixel == kWhite ? '.' : pixel == kInk ? '#' : '?';
            }
            text += '\n';
        }
        return text;
    }
};

TEST_F(Drawing, Rectangles) {
    host.Set(graphics, "ForeColor", Color{0x102030});
    Draw("FillRectangle( x as Double, y as Double, width as Double, height as Double )", 1.0, 1.0, 4.0, 3.0);
    EXPECT_EQ(Show(), "........\n.####...\n.####...\n.####...\n........\n........\n");
    Draw("ClearRect( x as Double, y as Double, width as Double, height as Double )", 2.0, 2.0, 1.0, 100.0);
    EXPECT_EQ(Show(), "........\n.####...\n.#.##...\n.#.##...\n........\n........\n");
    Draw("ClearRectangle( x as Double, y as Double, width as Double, height as Double )", -5.0, -5.0, 100.0,
         100.0);
    Draw("DrawRect( x as Double, y as Double, width as Double, height as Double )", 0.0, 1.0, 5.0, 4.0);
    EXPECT_EQ(Show(), "........\n#####...\n#...#...\n#...#...\n#####...\n........\n");
    Draw("FillRect( x as Double, y as Double, width as Double, height as Double )", 1e300, 1.0, -1e300, 4.0);
    EXPECT_EQ(Show(), "........\n#####...\n#...#...\n#...#...\n#####...\n........\n");
}

TEST_F(Drawing, LinesAndOvals) {
    host.Set(graphics, "ForeColor", Color{0x102030});
    Draw("DrawLine( x1 as Double, y1 as Double, x2 as Double, y2 as Double )", 0.0, 0.0, 5.0, 5.0);
    EXPECT_EQ(Show(), "#.......\n.#......\n..#.....\n...#....\n....#...\n.....#..\n");
    picture.Fill(kWhite);
    Draw("DrawLine( x1 as Double, y1 as Double, x2 as Double, y2 as Double )", 7.0, 2.0, -1e8, 2.0);
    EXPECT_EQ(Show(), "........\n........\n########\n........\n........\n........\n");
    picture.Fill(kWhite);
    Draw("FillOval( x as Double, y as Double, width as Double, height as Double )", 0.0, 0.0, 6.0, 6.0);
    EXPECT_EQ(Show(), ".####...\n######..\n######..\n######..\n######..\n.####...\n");
    picture.Fill(kWhite);
    Draw("DrawOval( x as Double, y as Double, width as Double, height as Double )", 0.0, 0.0, 6.0, 6.0);
    EXPECT_EQ(Show().substr(0, 9), ".####...\n");
    EXPECT_EQ(picture.Pixel(3, 3), kWhite);
}

TEST_F(Drawing, DeclarationsFollowTheVersion) {
    struct Row {
        const char* declaration;
        double first, last;
    };
    for (const Row row : {
             Row{"ClearRectangle( x as Double, y as Double, width as Double, height as Double )", 2020.0,
                 9999},
             Row{"ClearRect( x as Double, y as Double, width as Double, height as Double )", 2018.02, 9999},
             Row{"ClearRect( x as Integer, y as Integer, width as Integer, height as Integer )", 0, 2018.01},
             Row{"FillRoundRect( x as Integer, y as Integer, width as Integer, height as Integer, ArcWidth "
                 "as integer, "
                 "ArcHeight as integer )",
                 0, 2018.01},
             Row{"DrawRoundRectangle(x As Double, y As Double, width As Double, height As Double, "
                 "cornerWidth As Double, "
                 "cornerHeight As Double)",
                 2020.0, 9999},
             Row{"DrawLine( x1 as Integer, y1 as Integer, x2 as Integer, y2 as Integer )", 0, 2018.01},
             Row{"TextWidth(Text As String) as Double", 2020.0, 9999},
             Row{"StringWidth(Text As String) as Double", 2018.02, 9999},
         }) {
        for (const double version : {2010.0, 2018.01, 2018.02, 2019.03, 2020.0, 2024.01}) {
            host.Settings().version = version;
            EXPECT_EQ(Find(row.declaration) != nullptr, version >= row.first && version <= row.last)
                << row.declaration << " at " << version;
        }
    }
}

TEST_F(Drawing, OldDeclarationsTakeIntegers) {
    host.Settings().version = 2016.0;
    Draw("FillRect( x as Integer, y as Integer, width as Integer, height as Integer )", int64_t{7},
         int64_t{5}, int64_t{1}, int64_t{1});
    EXPECT_EQ(picture.Pixel(7, 5), 0xFF000000);
    const Picture image = host.NewPicture(1, 1, PictureStorage::Packed32);
    image.Fill(kInk);
    void* function = Find(
        "DrawPicture(Image as Picture, x as Integer, y as Integer, w as Integer, h as Integer, sx as Integer "
        "= 0, sy as "
        "Integer = 0, sw as Integer = -10000, sh as Integer = -10000)");
    ASSERT_NE(function, nullptr);
    using Function =
        void (*)(Handle, Handle, int64_t, int64_t, int64_t, int64_t, int64_t, int64_t, int64_t, int64_t);
    reinterpret_cast<Function>(function)(graphics.Handle(), image.Handle(), 2, 3, 2, 2, 0, 0, 1, 1);
    EXPECT_EQ(picture.Pixel(2, 3), kInk);
    EXPECT_EQ(picture.Pixel(3, 4), kInk);
    EXPECT_EQ(picture.Pixel(4, 4), kWhite);
}

TEST_F(Drawing, PicturesAreCopiedAndScaled) {
    const Picture image = host.NewPicture(4, 3, PictureStorage::Packed32);
    for (int64_t y = 0; y < 3; ++y) {
        for (int64_t x = 0; x < 4; ++x)
            image.SetPixel(x, y, 0xFF000000 | static_cast<uint32_t>(y * 16 + x));
    }
    DrawPicture(image, 2, 1, 4, 3, 0, 0, 4, 3);
    for (int64_t y = 0; y < 3; ++y) {
        for (int64_t x = 0; x < 4; ++x)
            EXPECT_EQ(picture.Pixel(2 + x, 1 + y), image.Pixel(x, y));
    }
    EXPECT_EQ(picture.Pixel(1, 1), kWhite);
    EXPECT_EQ(picture.Pixel(6, 3), kWhite);
    DrawPicture(image, -1, -1, 8, 6, 0, 0, 4, 3);
    for (int64_t y = 0; y < 5; ++y) {
        for (int64_t x = 0; x < 7; ++x)
            EXPECT_EQ(picture.Pixel(x, y), image.Pixel((x + 1) / 2, (y + 1) / 2));
    }
    picture.Fill(kWhite);
    DrawPicture(image, 0, 0, 2, 2, 3, 2, 2, 2);
    EXPECT_EQ(picture.Pixel(0, 0), image.Pixel(3, 2));
    EXPECT_EQ(picture.Pixel(1, 0), kWhite);
    EXPECT_EQ(picture.Pixel(0, 1), kWhite);
    picture.Fill(kWhite);
    DrawPicture(image, 0, 0, -10000, -10000, 0, 0, -10000, -10000);
    EXPECT_EQ(picture.Pixel(3, 2), image.Pixel(3, 2));
    EXPECT_EQ(picture.Pixel(4, 2), kWhite);
    DrawPicture(picture, 1, 0, 8, 6, 0, 0, 8, 6);
    EXPECT_EQ(picture.Pixel(4, 2), image.Pixel(3, 2));
}

TEST_F(Drawing, MasksAndAlphaCount) {
    const Picture image = host.NewPicture(3, 1, PictureStorage::Packed32);
    image.Fill(0xFF000000);
    const Picture mask = image.Mask(true);
    mask.SetPixel(0, 0, 0xFF000000);
    mask.SetPixel(1, 0, 0xFF808080);
    DrawPicture(image, 0, 0, 3, 1, 0, 0, 3, 1);
    EXPECT_EQ(picture.Pixel(0, 0), 0xFF000000);
    EXPECT_EQ(picture.Pixel(1, 0), 0xFF808080);
    EXPECT_EQ(picture.Pixel(2, 0), kWhite);
    const Picture alpha = host.NewPicture(3, 1, PictureStorage::Packed32, true);
    alpha.SetPixel(0, 0, 0xFF0000FF);
    alpha.SetPixel(1, 0, 0x330000FF);
    alpha.SetPixel(2, 0, 0x00123456);
    DrawPicture(alpha, 0, 1, 3, 1, 0, 0, 3, 1);
    EXPECT_EQ(picture.Pixel(0, 1), 0xFF0000FF);
    EXPECT_EQ(picture.Pixel(1, 1), 0xFFCCCCFF);
    EXPECT_EQ(picture.Pixel(2, 1), kWhite);
    // A copy into a transparent picture is exact.
    const Picture copy = host.NewPicture(3, 1, PictureStorage::Packed32, true);
    graphics = host.GraphicsOf(copy);
    DrawPicture(alpha, 0, 0, 3, 1, 0, 0, 3, 1);
    EXPECT_EQ(copy.Pixels(), alpha.Pixels());
}

TEST_F(Drawing, TextLeavesBoxes) {
    const Ref text = host.NewString("a b");
    Call<void(Handle, Handle, double, double, double)>("RuntimeGraphicsDrawString", graphics.Handle(),
                                                       text.Handle(), 0.0, 6.0, 0.0);
    EXPECT_EQ(graphics.Texts(), (std::vector<DrawnText>{{"a b", 0, 6, 0}}));
    EXPECT_EQ(picture.Pixel(2, 3), 0xFF000000);
    EXPECT_EQ(Call<double(Handle, Handle)>("RuntimeGraphicsStringWidth", graphics.Handle(), text.Handle()),
              12 * 0.6 * 3);
    host.Settings().version = 2006.0;
    EXPECT_EQ(Call<int64_t(Handle, Handle)>("RuntimeGraphicsStringWidth", graphics.Handle(), text.Handle()),
              21);
    Call<void(Handle, Handle, int64_t, int64_t, int64_t)>("RuntimeGraphicsDrawString", graphics.Handle(),
                                                          text.Handle(), int64_t{3}, int64_t{4}, int64_t{5});
    EXPECT_EQ(graphics.Texts().back(), (DrawnText{"a b", 3, 4, 5}));
}

TEST_F(Drawing, PropertiesFollowTheVersion) {
    double size = 0;
    int64_t whole = 0;
    const auto real = [&](const char* name) {
        return Call<uint8_t(Handle, const char*, double*)>("REALGetPropValueDouble", graphics.Handle(), name,
                                                           &size) != 0;
    };
    const auto integer = [&](const char* name) {
        return Call<uint8_t(Handle, const char*, int64_t*)>("REALGetPropValueInteger", graphics.Handle(),
                                                            name, &whole) != 0;
    };
    EXPECT_TRUE(real("FontSize"));
    EXPECT_EQ(size, 12);
    host.Settings().version = 2019.0;
    EXPECT_FALSE(real("FontSize"));
    EXPECT_TRUE(real("TextSize"));
    EXPECT_FALSE(integer("TextSize"));
    EXPECT_TRUE(real("PenSize"));
    host.Settings().version = 2016.0;
    EXPECT_FALSE(real("TextSize"));
    EXPECT_TRUE(integer("TextSize"));
    EXPECT_TRUE(integer("PenWidth"));
    EXPECT_EQ(whole, 1);
    EXPECT_FALSE(real("PenSize"));
    host.Set(graphics, "TextFont", "Mono");
    EXPECT_EQ(host.Get<std::string>(graphics, "TextFont"), "Mono");
}

TEST_F(Drawing, GraphicsHoldTheirPicture) {
    EXPECT_EQ(picture.References(), 2);
    {
        const Ref another =
            Ref::Adopt(host, Call<Handle(Handle)>("pluginPictureGraphicsGetter", picture.Handle()));
        const Ref third = host.Get<Ref>(picture, "Graphics");
        EXPECT_EQ(picture.References(), 4);
    }
    EXPECT_EQ(picture.References(), 2);
    EXPECT_EQ(Call<Handle(Handle)>("pluginPictureGraphicsGetter", nullptr), nullptr);
}

}  // namespace
}  // namespace hosttest
