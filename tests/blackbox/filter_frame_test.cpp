// The frame that all filters have in common: which tests come when, what the log tells, what becomes of the
// destination, and when the host has its time.

#include <functional>

#include "plugin_test.h"

namespace trvtest {
namespace {

using Lines = std::vector<std::string>;

/// The test that comes first of an image that fails both.
enum class First { Valid, Bits, ValidOnly };

struct FilterCall {
    std::string name;
    std::string line;    // with the arguments
    std::string worker;  // for RGBA
    First first;
    bool namesDest;
    std::function<Ref(trvhost::Host&, const Ref&, const Ref&)> run;
};

/// A call of a filter by its name, with arguments behind the destination.
template <class... Args>
auto Calling(const char* name, Args... args) {
    return [=](trvhost::Host& host, const Ref& image, const Ref& dest) {
        return host.Call(image, name, dest, args...).ToThing();
    };
}

/// The same with the array 0, 1 and so on to 255 so many times.
auto CallingTransfer(int arrays) {
    return [=](trvhost::Host& host, const Ref& image, const Ref& dest) {
        std::vector<int64_t> values(256);
        for (size_t i = 0; i < 256; ++i)
            values[i] = static_cast<int64_t>(i);
        const trvhost::Array a = host.NewIntegers(values);
        switch (arrays) {
            case 1:
                return host.Call(image, "TransferFilter", dest, a).ToThing();
            case 2:
                return host.Call(image, "TransferFilter", dest, a, a).ToThing();
            case 3:
                return host.Call(image, "TransferFilter", dest, a, a, a).ToThing();
            default:
                return host.Call(image, "TransferFilter", dest, a, a, a, a).ToThing();
        }
    };
}

auto CallingMatrix(int arguments) {
    return [=](trvhost::Host& host, const Ref& image, const Ref& dest) {
        const trvhost::Array matrix = host.NewIntegers({0, -1, 0, -1, 5, -1, 0, -1, 0});
        if (arguments == 3) return host.Call(image, "ApplyMatrix", dest, 3, matrix).ToThing();
        if (arguments == 4) return host.Call(image, "ApplyMatrix", dest, 3, matrix, 1).ToThing();
        return host.Call(image, "ApplyMatrix", dest, 3, matrix, 1, 0.5).ToThing();
    };
}

const std::vector<FilterCall> kFilters = {
    {"GammaFilter", "GammaFilterG 2.000000", "rbGammaFilterRGB", First::Valid, true,
     Calling("GammaFilter", 2.0)},
    {"GammaFilter", "GammaFilterGA 2.000000, 0.500000", "rbGammaFilterRGBA", First::ValidOnly, true,
     Calling("GammaFilter", 2.0, 0.5)},
    {"GammaFilter", "GammaFilterRGB 2.000000, 1.500000, 0.500000", "rbGammaFilterRGB", First::ValidOnly, true,
     Calling("GammaFilter", 2.0, 1.5, 0.5)},
    {"GammaFilter", "GammaFilterRGBA 2.000000, 1.500000, 0.500000, 3.000000", "rbGammaFilterRGBA",
     First::ValidOnly, true, Calling("GammaFilter", 2.0, 1.5, 0.5, 3.0)},
    {"GainFilter", "GainFilter 0.700000, 0.300000", "GainFilterRGBA", First::Valid, true,
     Calling("GainFilter", 0.7, 0.3)},
    {"TransferFilter", "TransferFilterG", "rbTransferFilterRGB", First::Bits, true, CallingTransfer(1)},
    {"TransferFilter", "TransferFilterGA", "rbTransferFilterRGBA", First::ValidOnly, true,
     CallingTransfer(2)},
    {"TransferFilter", "TransferFilterRGB", "rbTransferFilterRGB", First::ValidOnly, true,
     CallingTransfer(3)},
    {"TransferFilter", "TransferFilterRGBA", "rbTransferFilterRGBA", First::ValidOnly, true,
     CallingTransfer(4)},
    {"SolarizeFilter", "SolarizeFilter", "SolarizeFilterRGBA", First::Valid, true, Calling("SolarizeFilter")},
    {"BoxBlurFilter", "BoxBlurFilter 2.000000", "BoxBlurFilterRGBA", First::Valid, true,
     Calling("BoxBlurFilter", 2.0, true, true)},
    {"BoxBlurFractionalFilter", "BoxBlurFractionalFilter 0.300000", "BoxBlurFractionalFilterRGBA",
     First::Valid, true, Calling("BoxBlurFractionalFilter", 0.3)},
    {"ApplyMatrix", "PictureMatrix5", "PictureMatrixRGBA", First::Valid, false, CallingMatrix(3)},
    {"ApplyMatrix", "PictureMatrix5", "PictureMatrixRGBA", First::Valid, false, CallingMatrix(4)},
    {"ApplyMatrix", "PictureMatrix5", "PictureMatrixRGBAs", First::Valid, false, CallingMatrix(5)},
    {"OilFilter", "OilFilter 20, 3", "OilFilterRGBA", First::Valid, false, Calling("OilFilter", 20, 3)},
    {"DiffuseFilter", "DifuseFilter 2", "DifuseFilterRGBA", First::Valid, false, Calling("DiffuseFilter", 2)},
    {"EngraveFilter", "EngraveFilter 2", "EngraveFilterRGBA", First::Valid, false,
     Calling("EngraveFilter", 2)},
    {"NeonFilter", "NeonFilter", "NeonFilterRGBA", First::Valid, false, Calling("NeonFilter")},
    {"DitherFilter", "DitherFilter 2, 4", "DitherFilterRGBA", First::Valid, true,
     Calling("DitherFilter", 2, 4)},
};

/// The lines with what is told of an object left out.
Lines WithoutObjects(Lines lines) {
    for (std::string& line : lines) {
        if (line.starts_with("dest ")) line = "dest";
    }
    return lines;
}

class FilterFrame : public PluginTest {
  protected:
    Ref Run(const FilterCall& filter, const Ref& image, const Ref& dest) const {
        return filter.run(TheHost(), image, dest);
    }

    /// An image of 16 bits that is not valid, since it got no memory.
    Ref InvalidWideImage() const {
        TheHost().FailMemoryBlock(1);
        Ref image = NewImage(3, 4, "ImageFormatGray16");
        TheHost().FailMemoryBlock(0);
        EXPECT_TRUE(TheHost().TakeException());
        EXPECT_FALSE(TheHost().Get<bool>(image, "Valid"));
        EXPECT_EQ(TheHost().Get<int64_t>(image, "BitsPerComponent"), 16);
        return image;
    }

    /// The lines of a call that gives nil.
    Lines RefusalOf(const FilterCall& filter, const Ref& image, const Ref& dest) const {
        return WithoutObjects(LogOf([&] { EXPECT_FALSE(Run(filter, image, dest)) << filter.line; }));
    }
};

TEST_F(FilterFrame, TheStepsOfASuccessfulRun) {
    const Ref image = NewImage(5, 4, "ImageFormatRGBA"), dest = NewImage(5, 4, "ImageFormatRGBA");
    for (const FilterCall& filter : kFilters) {
        Lines lines = WithoutObjects(LogOf([&] { EXPECT_EQ(Run(filter, image, dest), dest); }));
        Lines expected = {filter.line, "StartImage ok", "dest", "StartImage ok", filter.worker};
        if (!filter.namesDest) expected.erase(expected.begin() + 2);
        ASSERT_GE(lines.size(), expected.size()) << filter.line;
        lines.resize(expected.size());
        EXPECT_EQ(lines, expected);
    }
    EXPECT_EQ(dest.References(), 1);
}

TEST_F(FilterFrame, OfTwoFaultsTheFirstOneTestedIsTold) {
    const Ref both = InvalidWideImage();
    const Ref wide = NewImage(3, 4, "ImageFormatGray16");
    const std::string invalid = "Picture not valid.", bits = "BitsPerComponent > 8 not supported. 16";
    for (const FilterCall& filter : kFilters) {
        EXPECT_EQ(RefusalOf(filter, both, both),
                  (Lines{filter.line, filter.first == First::Bits ? bits : invalid}));
        if (filter.first == First::ValidOnly) {
            EXPECT_EQ(Run(filter, wide, wide), wide) << filter.line;
        } else {
            EXPECT_EQ(RefusalOf(filter, wide, wide), (Lines{filter.line, bits}));
        }
    }
    EXPECT_EQ(both.References(), 1);
}

TEST_F(FilterFrame, ClosedImagesEndItBeforeAndBehindTheDestination) {
    const Ref open = NewImage(5, 4, "ImageFormatRGBA"), closed = NewImage(5, 4, "ImageFormatRGBA");
    TheHost().Call(closed, "Close");
    for (const FilterCall& filter : kFilters) {
        EXPECT_EQ(RefusalOf(filter, closed, open), (Lines{filter.line, "GetRow is nil"}));
        Lines expected = {filter.line, "StartImage ok", "dest", "GetRow is nil"};
        if (!filter.namesDest) expected.erase(expected.begin() + 2);
        EXPECT_EQ(RefusalOf(filter, open, closed), expected);
        EXPECT_EQ(closed.References(), 1) << filter.line;
        EXPECT_EQ(open.References(), 1) << filter.line;
    }
}

TEST_F(FilterFrame, WithoutAnImageFromTheFactoryThereIsNil) {
    const Ref image = NewImage(5, 4, "ImageFormatRGBA");
    for (const FilterCall& filter : kFilters) {
        TheHost().FailNewInstance(1);
        const Lines lines = RefusalOf(filter, image, nullptr);
        TheHost().FailNewInstance(0);
        const bool told = lines.back() == "dest";
        EXPECT_EQ(told, filter.namesDest) << filter.line << ": " << lines.back();
        EXPECT_EQ(std::count(lines.begin(), lines.end(), "StartImage ok"), 1) << filter.line;
    }
}

TEST_F(FilterFrame, ANewImageIsAskedOfTheFactoryBySizeAndFormat) {
    std::vector<int64_t> asked;
    const Ref factory = TheHost().NewFactory([&](int64_t width, int64_t height, int64_t format) {
        asked = {width, height, format};
        return TheHost().Construct("PictureTRV", width + 1, height + 2, Constant("ImageFormatBGRA"));
    });
    TheHost().CallShared("PictureFactoryTRV", "SetFactory", factory);
    const Ref image = NewImage(5, 4, "ImageFormatRGBA");
    for (const FilterCall& filter : kFilters) {
        const Ref made = Run(filter, image, nullptr);
        // The matrix filter exchanges the sides.
        const bool turned = filter.name == "ApplyMatrix";
        EXPECT_EQ(asked, (std::vector<int64_t>{turned ? 4 : 5, turned ? 5 : 4, Constant("ImageFormatRGBA")}))
            << filter.line;
        ASSERT_TRUE(made) << filter.line;
        EXPECT_EQ(TheHost().Get<int64_t>(made, "Width"), turned ? 5 : 6);
        EXPECT_EQ(made.References(), 1) << filter.line;
    }
    TheHost().CallShared("PictureFactoryTRV", "SetFactory", Ref());
}

TEST_F(FilterFrame, TheHostHasItsTimeAtTheStartOnly) {
    // Large enough to last longer than a tick of the shortest interval; rows would give the host many.
    const Ref image = NewImage(900, 700, "ImageFormatRGBA"), dest = NewImage(900, 700, "ImageFormatRGBA");
    int yields = 0;
    TheHost().OnYield([&] { ++yields; });
    for (const FilterCall& filter : kFilters) {
        for (const Ref& one : {image, dest}) {
            TheHost().Set(one, "YieldTicks", -1);
            yields = 0;
            EXPECT_EQ(Run(filter, image, dest), dest);
            EXPECT_LE(yields, 1) << filter.line;
            TheHost().Set(one, "YieldTicks", 0);
        }
    }
    TheHost().OnYield({});
}

TEST_F(FilterFrame, ImagesOutsideTheFamiliesComeBackUnwritten) {
    const Ref buffer = NewImage(5, 4, "ImageFormatBuffer");
    for (const FilterCall& filter : kFilters) {
        const MemoryImage dest(TheHost(), 5, 4, Constant("ImageFormatRGBA"));
        const auto before = dest.Bytes();
        // One of them gives nil instead, with the destination let go.
        const bool refused = filter.name == "BoxBlurFractionalFilter";
        EXPECT_EQ(Run(filter, buffer, dest), refused ? Ref() : dest.Object()) << filter.line;
        EXPECT_EQ(dest.Bytes(), before) << filter.line;
        EXPECT_EQ(dest.Object().References(), 1) << filter.line;
    }
}

TEST_F(FilterFrame, TheStagesOfAStamp) {
    const Ref image = NewImage(5, 4, "ImageFormatRGBA"), dest = NewImage(5, 4, "ImageFormatRGBA");
    const auto press = [&](const Ref& from, const Ref& to) {
        return TheHost()
            .Call(from, "StampFilter", to, 9.0, 0.5, 0.25, trvhost::Color{0x102030}, trvhost::Color{0xE0D0C0})
            .ToThing();
    };
    const Lines lines = WithoutObjects(LogOf([&] { EXPECT_TRUE(press(image, dest)); }));
    EXPECT_EQ(lines.front(), "BoxBlurFilter2 3, 3");
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "BoxBlurFilter 3.000000"), 3);
    const auto inner = std::find(lines.begin(), lines.end(), "StampFilter2 9.000000, 0.500000, 0.250000");
    ASSERT_NE(inner, lines.end());
    EXPECT_EQ(*(inner + 1), "StartImage ok");
    // Behind the factory's lines.
    EXPECT_EQ(Lines(lines.end() - 3, lines.end()), (Lines{"dest", "StartImage ok", "StampFilterRGB"}));
    const Ref both = InvalidWideImage();
    EXPECT_EQ(LogOf([&] { EXPECT_FALSE(press(both, dest)); }),
              (Lines{"BoxBlurFilter2 3, 3", "BoxBlurFilter 3.000000", "Picture not valid."}));
    // Each of the images and blocks of memory that the four stages make, refused.
    for (int64_t n = 1; n <= 8; ++n) {
        TheHost().FailNewInstance(n);
        EXPECT_FALSE(press(image, nullptr)) << n;
        (void)TheHost().TakeException();
    }
    TheHost().FailNewInstance(0);
}

TEST_F(FilterFrame, TheTestsOfUnsharpMasking) {
    const Ref image = NewImage(5, 4, "ImageFormatRGBA"), other = NewImage(5, 4, "ImageFormatRGBA");
    const Ref wide = NewImage(5, 4, "ImageFormatGray16"), invalid = NewImage(0, 4, "ImageFormatG");
    const Ref both = InvalidWideImage();
    const auto lines = [&](const Ref& me, const Ref& original, bool done) {
        Lines all =
            LogOf([&] { EXPECT_EQ(TheHost().Call(me, "UnsharpFilter", original, 0.5, 3).ToBool(), done); });
        const Lines head = {"unsharpFilter", "pAmount 0.500000", "pThreshold 3"};
        EXPECT_EQ(Lines(all.begin(), all.begin() + 3), head);
        all.erase(all.begin(), all.begin() + 3);
        return all;
    };
    EXPECT_EQ(lines(image, other, true), (Lines{"StartImage ok", "StartImage ok", "unsharpFilterRGBA"}));
    const std::string bits = "BitsPerComponent > 8 not supported. 16";
    EXPECT_EQ(lines(both, image, false), Lines{bits});
    EXPECT_EQ(lines(invalid, wide, false), Lines{bits}) << "the bits of both before what is valid";
    EXPECT_EQ(lines(invalid, image, false), Lines{"Picture not valid."});
    EXPECT_EQ(lines(image, invalid, false), Lines{"Picture not valid."});
    EXPECT_EQ(lines(image, Ref(), false), Lines{});
    TheHost().Call(other, "Close");
    EXPECT_EQ(lines(image, other, false), (Lines{"StartImage ok", "GetRow is nil"}));
    EXPECT_EQ(lines(other, image, false), Lines{"GetRow is nil"});
}

}  // namespace
}  // namespace trvtest
