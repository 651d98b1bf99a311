#include <algorithm>
#include <fstream>

#include "host_test.h"

namespace hosttest {
namespace {

constexpr PictureStorage kStorages[] = {
    PictureStorage::GdTrueColor,     PictureStorage::GdPalette,    PictureStorage::Packed32,
    PictureStorage::Vector,          PictureStorage::VectorMac,    PictureStorage::HiDpi,
    PictureStorage::GdiPlusArgb,     PictureStorage::GdiPlusPargb, PictureStorage::GdiPlusRgb24,
    PictureStorage::GdiPlusIndexed8, PictureStorage::Dib32,        PictureStorage::Dib24,
    PictureStorage::Dib16,           PictureStorage::Dib8,         PictureStorage::DeviceBitmap};

/// What opaque colours become in a storage.
uint32_t Kept(PictureStorage storage, uint32_t argb) {
    switch (storage) {
        case PictureStorage::GdPalette:
        case PictureStorage::GdiPlusIndexed8:
        case PictureStorage::Dib8: {
            const uint32_t gray =
                (77 * (argb >> 16 & 255) + 151 * (argb >> 8 & 255) + 28 * (argb & 255)) >> 8;
            return 0xFF000000 | gray * 0x010101;
        }
        case PictureStorage::Dib16: {
            const uint32_t top = argb & 0xF8F8F8;
            return 0xFF000000 | top | (top >> 5 & 0x070707);
        }
        default:
            return argb;
    }
}

class Pictures : public HostTest {
  protected:
    /// A picture of the storage, or nil where this platform lacks it.
    Picture Make(PictureStorage storage, int64_t width, int64_t height, bool alpha = false) {
        try {
            return host.NewPicture(width, height, storage, alpha);
        } catch (const std::invalid_argument&) {
            return {};
        }
    }
    uint8_t Lock(const Picture& picture, uint32_t type, PictureDescription& out) {
        return Call<uint8_t(Handle, PictureDescription*, uint32_t)>("REALLockPictureDescription",
                                                                    picture.Handle(), &out, type);
    }
    void Unlock(const Picture& picture) { Call<void(Handle)>("unlockPictureDescription", picture.Handle()); }
    std::filesystem::path TempFile(const std::string& name) {
        return std::filesystem::temp_directory_path() /
               ("trvhost-test-" + std::to_string(std::rand()) + "-" + name);
    }
};

TEST_F(Pictures, StartWhiteAndKeepPixels) {
    int made = 0;
    for (const PictureStorage storage : kStorages) {
        const Picture picture = Make(storage, 5, 3);
        if (!picture) continue;
        ++made;
        EXPECT_EQ(picture.Storage(), storage);
        EXPECT_EQ(picture.Width(), 5);
        EXPECT_EQ(picture.Height(), 3);
        EXPECT_FALSE(picture.HasAlpha());
        for (const uint32_t pixel : picture.Pixels())
            EXPECT_EQ(pixel, 0xFFFFFFFF) << static_cast<int>(storage);
        uint32_t color = 0xFF102030;
        for (int64_t y = 0; y < 3; ++y) {
            for (int64_t x = 0; x < 5; ++x) {
                picture.SetPixel(x, y, color);
                EXPECT_EQ(picture.Pixel(x, y), Kept(storage, color))
                    << static_cast<int>(storage) << " at " << x << y;
                color = 0xFF000000 | ((color * 1103515245 + 12345) & 0xFFFFFF);
            }
        }
        picture.Fill(0xFF000000);
        for (const uint32_t pixel : picture.Pixels())
            EXPECT_EQ(pixel, 0xFF000000);
        EXPECT_THROW(picture.Pixel(5, 0), std::out_of_range);
        EXPECT_THROW(picture.SetPixel(0, -1, 0), std::out_of_range);
    }
    EXPECT_GE(made, 6);
    EXPECT_THROW(host.NewPicture(0, 5), std::invalid_argument);
}

TEST_F(Pictures, AlphaIsKeptWhereStorageHasIt) {
    for (const PictureStorage storage :
         {PictureStorage::Packed32, PictureStorage::GdTrueColor, PictureStorage::GdiPlusArgb,
          PictureStorage::GdiPlusPargb, PictureStorage::Dib32}) {
        const Picture picture = Make(storage, 2, 2, true);
        if (!picture) continue;
        EXPECT_TRUE(picture.HasAlpha());
        EXPECT_TRUE(host.Get<bool>(picture, "HasAlphaChannel"));
        EXPECT_EQ(picture.Pixel(1, 1) >> 24, 0u) << static_cast<int>(storage);
        picture.SetPixel(0, 1, 0x81ABCDEF);
        EXPECT_EQ(picture.Pixel(0, 1), 0x81ABCDEF) << static_cast<int>(storage);
    }
    EXPECT_THROW(host.NewPicture(2, 2, PictureStorage::GdPalette, true), std::invalid_argument);
}

TEST_F(Pictures, GdAlphaHasSevenBitsWithZeroOpaque) {
    const Picture picture = host.NewPicture(1, 1, PictureStorage::GdTrueColor, true);
    struct Row {
        uint32_t written, raw, read;
    };
    for (const Row row : {Row{0xFF010203, 0x00010203, 0xFF010203}, Row{0x00010203, 0x7F010203, 0x00010203},
                          Row{0x80010203, 0x3F010203, 0x81010203}, Row{0x7F010203, 0x40010203, 0x7E010203}}) {
        picture.SetPixel(0, 0, row.written);
        EXPECT_EQ(picture.RawPixel(0, 0), row.raw);
        EXPECT_EQ(picture.Pixel(0, 0), row.read);
    }
    for (uint32_t alpha = 0; alpha < 128; ++alpha) {
        auto* image = static_cast<char*>(picture.NativeData());
        uint32_t** rows = nullptr;
        std::memcpy(&rows, image + 7256, sizeof rows);
        rows[0][0] = alpha << 24;
        picture.SetPixel(0, 0, picture.Pixel(0, 0));
        EXPECT_EQ(picture.RawPixel(0, 0), alpha << 24);
    }
}

TEST_F(Pictures, GdImagesHaveTheLayoutOfTheLibrary) {
    const auto field = [](const Picture& picture, int offset, auto value) {
        std::memcpy(&value, static_cast<char*>(picture.NativeData()) + offset, sizeof value);
        return value;
    };
    const Picture color = host.NewPicture(7, 4, PictureStorage::GdTrueColor);
    EXPECT_EQ(field(color, 0, static_cast<void*>(nullptr)), nullptr);
    EXPECT_EQ(field(color, 8, 0), 7);
    EXPECT_EQ(field(color, 12, 0), 4);
    EXPECT_EQ(field(color, 7248, 0), 1);
    EXPECT_NE(field(color, 7256, static_cast<void*>(nullptr)), nullptr);
    const Picture palette = host.NewPicture(7, 4, PictureStorage::GdPalette);
    EXPECT_NE(field(palette, 0, static_cast<void*>(nullptr)), nullptr);
    EXPECT_EQ(field(palette, 7248, 0), 0);
    EXPECT_EQ(field(palette, 7256, static_cast<void*>(nullptr)), nullptr);
}

TEST_F(Pictures, LockAsTheirStorageOnly) {
    for (const PictureStorage storage : kStorages) {
        const Picture picture = Make(storage, 3, 2);
        if (!picture) continue;
        uint32_t served = 0;
        for (uint32_t type = 0; type < 20; ++type) {
            PictureDescription description{};
            if (Lock(picture, type, description) == 0) continue;
            EXPECT_EQ(served, 0u);
            served = type;
            EXPECT_EQ(description.pictureType, static_cast<int32_t>(type));
            EXPECT_EQ(description.data, picture.NativeData());
            EXPECT_EQ(description.width, 3);
            EXPECT_EQ(description.height, 2);
            EXPECT_EQ(picture.DescriptionLocks(), 1);
            EXPECT_EQ(host.Live().pictureLocks, 1);
            Unlock(picture);
        }
        const uint32_t expected = storage <= PictureStorage::GdPalette && storage != PictureStorage::Default
                                      ? 10
                                  : storage == PictureStorage::Packed32        ? 14
                                  : storage <= PictureStorage::HiDpi           ? 0
                                  : storage <= PictureStorage::GdiPlusIndexed8 ? 11
                                                                               : 7;
        EXPECT_EQ(served, expected) << static_cast<int>(storage);
        EXPECT_EQ(picture.DescriptionLocks(), 0);
    }
}

TEST_F(Pictures, PackedDataIsThePixels) {
    const Picture picture = host.NewPicture(3, 2, PictureStorage::Packed32, true);
    picture.SetPixel(2, 1, 0x01020304);
    EXPECT_EQ(static_cast<uint32_t*>(picture.NativeData())[5], 0x01020304u);
    static_cast<uint32_t*>(picture.NativeData())[0] = 0xAA000001;
    EXPECT_EQ(picture.Pixel(0, 0), 0xAA000001);
}

TEST_F(Pictures, UnlockTooManyIsNoticed) {
    const Picture picture = host.NewPicture(1, 1);
    Unlock(picture);
    expectedMisuse = "unlockPictureDescription: the picture's description is not locked";
}

TEST_F(Pictures, DyingLockedIsNoticed) {
    PictureDescription description{};
    Lock(host.NewPicture(1, 1, PictureStorage::Packed32), 14, description);
    expectedMisuse = "REALLockPictureDescription: a picture dies with 1 description locks";
    EXPECT_NE(host.FirstMisuse(), "");
    expectedMisuse = host.FirstMisuse();
    EXPECT_NE(expectedMisuse.find("a picture dies with 1 description locks"), std::string::npos);
}

TEST_F(Pictures, NativeDescription) {
    const Picture picture = host.NewPicture(1, 1, PictureStorage::Packed32);
    PictureDescription description{};
    Call<void(Handle, PictureDescription*)>("lockPictureDescription", picture.Handle(), &description);
    EXPECT_EQ(description.pictureType, 14);
    Unlock(picture);
    const Picture vector = host.NewPicture(1, 1, PictureStorage::Vector);
    Call<void(Handle, PictureDescription*)>("lockPictureDescription", vector.Handle(), &description);
    EXPECT_EQ(description.data, nullptr);
}

TEST_F(Pictures, TypeCodes) {
    const auto code = [&](const Picture& picture) {
        return Call<int32_t(Handle)>("PluginPictureGetType", picture.Handle());
    };
    EXPECT_EQ(code(host.NewPicture(1, 1, PictureStorage::HiDpi)), 0);
    EXPECT_EQ(code(host.NewPicture(1, 1, PictureStorage::Vector)), 1);
    EXPECT_EQ(code(host.NewPicture(1, 1, PictureStorage::VectorMac)), 3);
    const Picture plain = host.NewPicture(1, 1);
    EXPECT_EQ(code(plain), 2);
    plain.SetTypeCode(77);
    EXPECT_EQ(code(plain), 77);
}

TEST_F(Pictures, DefaultStorageFollowsTheKind) {
    Options options;
    options.kind = HostKind::Console;
    const Host console(options);
    EXPECT_EQ(console.NewPicture(1, 1).Storage(), PictureStorage::GdTrueColor);
    EXPECT_NE(host.NewPicture(1, 1).Storage(), PictureStorage::GdTrueColor);
    host.Settings().pictureStorage = PictureStorage::Vector;
    EXPECT_EQ(host.NewPicture(1, 1).Storage(), PictureStorage::Vector);
}

TEST_F(Pictures, MadeByThePlugin) {
    const Picture plain(
        Ref::Adopt(host, Call<Handle(int64_t, int64_t, int32_t)>("newPicture", int64_t{4}, int64_t{3}, 32)));
    EXPECT_EQ(plain.Width() * 10 + plain.Height(), 43);
    EXPECT_FALSE(plain.HasAlpha());
    EXPECT_EQ(Call<Handle(int64_t, int64_t, int32_t)>("newPicture", int64_t{0}, int64_t{3}, 32), nullptr);
    host.FailNewPicture(1);
    EXPECT_EQ(Call<Handle(int64_t, int64_t, int32_t)>("newPicture", int64_t{4}, int64_t{3}, 32), nullptr);

    const Picture made(Ref::Adopt(host, Call<Handle(const char*)>("PluginNewInstance", "Picture")));
    EXPECT_EQ(made.Width(), 0);
    const auto load = [&](const char* declaration) {
        return Call<void*(Handle, const char*)>("REALLoadObjectMethod", made.Handle(), declaration);
    };
    reinterpret_cast<void (*)(Handle, int64_t, int64_t)>(
        load("Constructor(width as integer, height as integer)"))(made.Handle(), 6, 2);
    EXPECT_EQ(made.Width(), 6);
    EXPECT_TRUE(made.HasAlpha());
    reinterpret_cast<void (*)(Handle, int64_t, int64_t, int64_t)>(
        load("Constructor(width as integer, height as integer, depth as integer)"))(made.Handle(), 3, 9, 32);
    EXPECT_EQ(made.Height(), 9);
    EXPECT_FALSE(made.HasAlpha());
    reinterpret_cast<void (*)(Handle, int64_t, int64_t)>(
        load("Constructor(width as integer, height as integer)"))(made.Handle(), -6, 2);
    EXPECT_EQ(Exception(), "OutOfMemoryException: No such picture.");
}

TEST_F(Pictures, MadeByThePluginLackAlphaWhereTheStorageDoes) {
    host.Settings().pictureStorage = PictureStorage::GdPalette;
    const Picture picture(host.Construct("Picture", 2, 2));
    EXPECT_EQ(picture.Storage(), PictureStorage::GdPalette);
    EXPECT_FALSE(picture.HasAlpha());
    host.Settings().missingClasses = {"Picture"};
    EXPECT_EQ(Call<Handle(int64_t, int64_t, int32_t)>("newPicture", int64_t{4}, int64_t{3}, 32), nullptr);
}

TEST_F(Pictures, BuiltFromBuffers) {
    const uint8_t buffer[] = {1, 2, 3, 4, 5, 6, 7, 8, 99, 99, 11, 12, 13, 14, 15, 16, 17, 18};
    const auto build = [&](int32_t type) {
        return Picture(Ref::Adopt(host, Call<Handle(int64_t, int64_t, int32_t, const void*, int64_t)>(
                                            "REALBuildPictureFromBuffer", int64_t{2}, int64_t{2}, type,
                                            static_cast<const void*>(buffer), int64_t{10})));
    };
    EXPECT_EQ(build(1).Pixels(), (std::vector<uint32_t>{0xFF010203, 0xFF040506, 0xFF0B0C0D, 0xFF0E0F10}));
    EXPECT_EQ(build(2).Pixels(), (std::vector<uint32_t>{0xFF030201, 0xFF060504, 0xFF0D0C0B, 0xFF100F0E}));
    EXPECT_EQ(build(3).Pixels(), (std::vector<uint32_t>{0xFF020304, 0xFF060708, 0xFF0C0D0E, 0xFF101112}));
    EXPECT_EQ(build(4).Pixels(), (std::vector<uint32_t>{0xFF030201, 0xFF070605, 0xFF0D0C0B, 0xFF11100F}));
    EXPECT_FALSE(build(0));
    EXPECT_FALSE(build(5));
}

TEST_F(Pictures, Masks) {
    const Picture picture = host.NewPicture(3, 2);
    EXPECT_FALSE(picture.Mask());
    EXPECT_EQ(Call<Handle(Handle, uint8_t)>("REALGetPictureMask", picture.Handle(), 0), nullptr);
    const Picture mask(
        Ref::Adopt(host, Call<Handle(Handle, uint8_t)>("REALGetPictureMask", picture.Handle(), 1)));
    EXPECT_EQ(mask, picture.Mask());
    EXPECT_EQ(mask.Width(), 3);
    EXPECT_EQ(mask.Pixel(2, 1), 0xFFFFFFFF);
    mask.SetPixel(1, 1, 0xFF808080);
    const auto load = [&](const char* declaration) {
        return Call<void*(Handle, const char*)>("REALLoadObjectMethod", picture.Handle(), declaration);
    };
    auto* copyMask = reinterpret_cast<Handle (*)(Handle)>(load("CopyMask as Picture"));
    const Picture copy(Ref::Adopt(host, copyMask(picture.Handle())));
    EXPECT_FALSE(copy == mask);
    EXPECT_EQ(copy.Pixels(), mask.Pixels());
    auto* setMask = reinterpret_cast<void (*)(Handle, Handle)>(load("Mask(assigns newMask As Picture)"));
    setMask(picture.Handle(), nullptr);
    EXPECT_FALSE(picture.Mask());
    EXPECT_EQ(mask.References(), 1);
    setMask(picture.Handle(), copy.Handle());
    EXPECT_EQ(picture.Mask(), copy);
    auto* getMask =
        reinterpret_cast<Handle (*)(Handle, uint8_t)>(load("Mask(create As Boolean = True) As Picture"));
    EXPECT_EQ(Ref::Adopt(host, getMask(picture.Handle(), 1)), copy);
    picture.SetMask(Picture());
    const Picture alpha = host.NewPicture(1, 1, PictureStorage::Packed32, true);
    alpha.SetPixel(0, 0, 0x40FFFFFF);
    EXPECT_EQ(Picture(Ref::Adopt(host, copyMask(alpha.Handle()))).Pixel(0, 0), 0xFFBFBFBF);
}

TEST_F(Pictures, BestRepresentation) {
    const Picture set = host.NewPicture(2, 2, PictureStorage::HiDpi), best = host.NewPicture(8, 8);
    auto* find =
        reinterpret_cast<Handle (*)(Handle, int64_t, int64_t, double)>(Call<void*(Handle, const char*)>(
            "REALLoadObjectMethod", set.Handle(),
            "BestRepresentation(width As Integer, height As Integer, scale As Double) As Picture"));
    EXPECT_EQ(find(set.Handle(), 2, 2, 4.0), nullptr);
    set.SetBestRepresentation(best);
    EXPECT_EQ(Ref::Adopt(host, find(set.Handle(), 2, 2, 4.0)), best);
    set.SetBestRepresentation(Picture());
    EXPECT_EQ(best.References(), 1);
}

TEST_F(Pictures, ResolutionAndCache) {
    const Picture picture = host.NewPicture(1, 1);
    EXPECT_EQ(host.Get<int64_t>(picture, "HorizontalResolution"), 72);
    host.Set(picture, "HorizontalResolution", 300);
    host.Set(picture, "VerticalResolution", 150);
    EXPECT_EQ(picture.HorizontalResolution(), 300);
    EXPECT_EQ(picture.VerticalResolution(), 150);
    EXPECT_THROW(host.Set(picture, "Width", 4), std::invalid_argument);
    Call<void(Handle)>("REALPictureClearCache", picture.Handle());
    EXPECT_EQ(picture.CacheClears(), 1);
}

class PictureFiles : public Pictures {
  protected:
    Picture Sample(bool alpha) {
        const Picture picture = host.NewPicture(9, 5, PictureStorage::Packed32, alpha);
        for (int64_t y = 0; y < 5; ++y) {
            for (int64_t x = 0; x < 9; ++x) {
                const auto level = static_cast<uint32_t>(20 * x + 10 * y);
                picture.SetPixel(
                    x, y, (alpha && x == 4 ? 0x00000000 : 0xFF000000) | level << 16 | (255 - level) << 8 | 7);
            }
        }
        return picture;
    }
};

TEST_F(PictureFiles, RoundTrip) {
    for (const std::string& format : Picture::FileFormats()) {
        const std::filesystem::path file = TempFile("picture." + format);
        const Picture saved = Sample(false);
        saved.Save(file, 100);
        const Picture loaded = host.LoadPicture(file);
        std::filesystem::remove(file);
        ASSERT_EQ(loaded.Width(), 9) << format;
        ASSERT_EQ(loaded.Height(), 5) << format;
        EXPECT_FALSE(loaded.HasAlpha()) << format;
        const bool lossless = format == "png" || format == "bmp" || format == "tif" || format == "tiff" ||
                              format == "webp" || format == "gif";
        const std::vector<uint32_t> a = saved.Pixels(), b = loaded.Pixels();
        for (size_t i = 0; i < a.size(); ++i) {
            for (const int shift : {0, 8, 16}) {
                const int difference =
                    static_cast<int>(a[i] >> shift & 255) - static_cast<int>(b[i] >> shift & 255);
                EXPECT_LE(std::abs(difference), lossless ? 0 : 40) << format << " pixel " << i;
            }
        }
    }
}

TEST_F(PictureFiles, GifOfManyColors) {
    const std::filesystem::path file = TempFile("many.gif");
    const Picture saved = host.NewPicture(32, 32, PictureStorage::Packed32);
    for (int64_t y = 0; y < 32; ++y) {
        for (int64_t x = 0; x < 32; ++x)
            saved.SetPixel(x, y, 0xFF000000 | static_cast<uint32_t>(x << 19 | y << 11));
    }
    saved.Save(file);
    const Picture loaded = host.LoadPicture(file);
    std::filesystem::remove(file);
    // Dithering may move single pixels, so the picture as a whole is compared.
    int64_t difference = 0;
    for (int64_t y = 0; y < 32; ++y) {
        for (int64_t x = 0; x < 32; ++x) {
            for (const int shift : {0, 8, 16}) {
                difference += std::abs(static_cast<int>(saved.Pixel(x, y) >> shift & 255) -
                                       static_cast<int>(loaded.Pixel(x, y) >> shift & 255));
            }
        }
    }
    EXPECT_GT(difference, 0);
    EXPECT_LT(difference / (32 * 32 * 3), 16);
}

TEST_F(PictureFiles, AlphaOfPng) {
    const std::filesystem::path file = TempFile("alpha.png");
    const Picture saved = Sample(true);
    saved.Save(file);
    const Picture loaded = host.LoadPicture(file);
    std::filesystem::remove(file);
    EXPECT_TRUE(loaded.HasAlpha());
    EXPECT_EQ(loaded.Pixel(4, 2) >> 24, 0u);
    EXPECT_EQ(loaded.Pixel(3, 2), saved.Pixel(3, 2));
}

TEST_F(PictureFiles, IntoEachStorage) {
    const std::filesystem::path file = TempFile("storage.png");
    const Picture saved = Sample(false);
    saved.Save(file);
    for (const PictureStorage storage : kStorages) {
        if (!Make(storage, 1, 1)) continue;
        const Picture loaded = host.LoadPicture(file, storage);
        EXPECT_EQ(loaded.Storage(), storage);
        EXPECT_EQ(loaded.Pixel(8, 4), Kept(storage, saved.Pixel(8, 4))) << static_cast<int>(storage);
    }
    std::filesystem::remove(file);
}

std::string Failure(const std::function<void()>& action) {
    try {
        action();
    } catch (const std::runtime_error& e) {
        return e.what();
    }
    return "";
}

TEST_F(PictureFiles, FailuresAreOneLine) {
    const std::filesystem::path missing = TempFile("none.png");
    const std::string absent = Failure([&] { host.LoadPicture(missing); });
    EXPECT_EQ(absent.rfind("cannot load ", 0), 0u) << absent;
    EXPECT_NE(absent.find("none.png: "), std::string::npos) << absent;

    const std::filesystem::path text = TempFile("text.png");
    std::ofstream(text) << "this is no image";
    EXPECT_NE(Failure([&] { host.LoadPicture(text); }), "");
    std::ofstream(text, std::ios::binary) << std::string("\x89PNG\r\n\x1A\n damaged", 16);
    const std::string damaged = Failure([&] { host.LoadPicture(text); });
    EXPECT_EQ(damaged.rfind("cannot load ", 0), 0u) << damaged;
    EXPECT_EQ(damaged.find('\n'), std::string::npos) << damaged;
    std::filesystem::remove(text);

    const Picture picture = host.NewPicture(1, 1);
    const std::string format = Failure([&] { picture.Save(TempFile("x.xyz")); });
    EXPECT_NE(format.find("unknown format \"xyz\""), std::string::npos) << format;
    const std::string folder = Failure([&] { picture.Save(missing / "x.png"); });
    EXPECT_EQ(folder.rfind("cannot save ", 0), 0u) << folder;
}

}  // namespace
}  // namespace hosttest
