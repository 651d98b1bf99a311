// Gamma, gain, transfer and solarize, from outside, against references that go sample by sample.

#include <array>
#include <cmath>
#include <map>

#include "filter_cases.h"
#include "mapped_test.h"

namespace trvtest {
namespace {

using Table = std::array<int64_t, 256>;

Table GammaTable(double gamma) {
    Table table{};
    for (int i = 0; i < 256; ++i) {
        const double value = std::pow(i / 255.0, 1.0 / gamma) * 255.0 + 0.5;
        if (value >= 256.0) {
            table[static_cast<size_t>(i)] = 255;
        } else if (value >= 0.0) {
            table[static_cast<size_t>(i)] = static_cast<int64_t>(value);
        }
    }
    return table;
}

Table GainTable(double gain, double bias) {
    Table table{};
    const double p = std::log(1.0 - gain) / std::log(0.5);
    for (int i = 0; i < 256; ++i) {
        const double x = i / 255.0, m = 1.0 - x;
        double y = 1.0 - std::pow(m + m, p) * 0.5;
        if (x < 0.5) y = std::pow(x + x, p) * 0.5;
        if (x < 0.001) y = 0.0;
        if (x > 0.999) y = 1.0;
        y = y / ((1.0 - y) * (1.0 / bias - 2.0) + 1.0) * 255.0;
        if (y > 255.0) y = 255.0;
        table[static_cast<size_t>(i)] = y >= 0.0 ? static_cast<int64_t>(y) : 0;
    }
    return table;
}

using Tables = std::map<std::string, Table>;

class PointFilters : public FilterCaseTest {
  protected:
    /// A filter with tables by channel: gray and RGB, alpha where there is a table for it.
    auto ByTables(const Tables& tables) {
        return [tables](const Shown& from, const Shown& to) {
            const auto channels = from.Channels(tables.contains("Alpha"), false);
            ChangeSamples(from, to, channels, [&](uint8_t v, const std::string& channel, int64_t, int64_t) {
                return tables.at(channel)[v];
            });
        };
    }

    trvhost::Array DrawArray(Table& table) {
        const int64_t count = Draw(0, 3) == 0 ? Draw(0, 300) : 256;
        std::vector<int64_t> values;
        for (int64_t i = 0; i < count; ++i)
            values.push_back(Draw(-300, 600));
        table = {};
        for (size_t i = 0; i < std::min<size_t>(values.size(), 256); ++i)
            table[i] = values[i];
        return TheHost().NewIntegers(values);
    }

    /// Gray pixels of 0 to 255 in their order.
    MemoryImage Ramp(std::string_view format = "ImageFormatG") {
        MemoryImage ramp(TheHost(), 256, 1, Constant(format));
        for (int64_t x = 0; x < 256; ++x) {
            for (int64_t i = 0; i < ramp.PixelSize(); ++i)
                ramp.At(x, 0, i) = static_cast<uint8_t>(x);
        }
        return ramp;
    }
};

TEST_F(PointFilters, GammaInAllFormatsMatchesTheReference) {
    for (const int64_t format : Formats()) {
        for (const DestKind kind : kDestKinds) {
            for (int overload = 0; overload < 4; ++overload) {
                Case made = DrawCase(format, kind);
                const double r = static_cast<double>(Draw(1, 40)) / 10.0,
                             g = static_cast<double>(Draw(1, 40)) / 10.0,
                             b = static_cast<double>(Draw(1, 40)) / 10.0,
                             a = static_cast<double>(Draw(1, 40)) / 10.0;
                const auto derived = static_cast<double>(
                    (static_cast<int>(g) * 151 + static_cast<int>(r) * 77 + static_cast<int>(b) * 28) / 256);
                Tables tables{{"Gray", GammaTable(overload < 2 ? r : derived)}, {"Red", GammaTable(r)}};
                tables["Green"] = GammaTable(overload < 2 ? r : g);
                tables["Blue"] = GammaTable(overload < 2 ? r : b);
                if (overload % 2 == 1) tables["Alpha"] = GammaTable(a);
                Check(
                    made,
                    [&](const Ref& image, const Ref& dest) {
                        switch (overload) {
                            case 0:
                                return Filter(image, "GammaFilter", dest, r);
                            case 1:
                                return Filter(image, "GammaFilter", dest, r, a);
                            case 2:
                                return Filter(image, "GammaFilter", dest, r, g, b);
                            default:
                                return Filter(image, "GammaFilter", dest, r, g, b, a);
                        }
                    },
                    ByTables(tables), overload == 0 && made.from->side.wide);
                ASSERT_FALSE(HasFatalFailure()) << format << " " << static_cast<int>(kind) << " " << overload;
            }
        }
    }
}

TEST_F(PointFilters, TransferInAllFormatsMatchesTheReference) {
    for (const int64_t format : Formats()) {
        for (const DestKind kind : kDestKinds) {
            for (int overload = 0; overload < 4; ++overload) {
                Case made = DrawCase(format, kind);
                Table r, g, b, a;
                const trvhost::Array red = DrawArray(r), green = DrawArray(g), blue = DrawArray(b),
                                     alpha = DrawArray(a);
                Tables tables{{"Gray", g}, {"Red", r}, {"Green", g}, {"Blue", b}};
                if (overload < 2) tables["Red"] = tables["Blue"] = g;
                if (overload % 2 == 1) tables["Alpha"] = a;
                Check(
                    made,
                    [&](const Ref& image, const Ref& dest) {
                        switch (overload) {
                            case 0:
                                return Filter(image, "TransferFilter", dest, green);
                            case 1:
                                return Filter(image, "TransferFilter", dest, green, alpha);
                            case 2:
                                return Filter(image, "TransferFilter", dest, red, green, blue);
                            default:
                                return Filter(image, "TransferFilter", dest, red, green, blue, alpha);
                        }
                    },
                    ByTables(tables), overload == 0 && made.from->side.wide);
                ASSERT_FALSE(HasFatalFailure()) << format << " " << static_cast<int>(kind) << " " << overload;
            }
        }
    }
}

TEST_F(PointFilters, GainInAllFormatsMatchesTheReference) {
    for (const int64_t format : Formats()) {
        for (const DestKind kind : kDestKinds) {
            Case made = DrawCase(format, kind);
            const double gain = static_cast<double>(Draw(0, 100)) / 100.0,
                         bias = static_cast<double>(Draw(0, 100)) / 100.0;
            const Table table = GainTable(gain, bias);
            Check(
                made,
                [&](const Ref& image, const Ref& dest) {
                    return Filter(image, "GainFilter", dest, gain, bias);
                },
                ByTables(
                    {{"Gray", table}, {"Red", table}, {"Green", table}, {"Blue", table}, {"Alpha", table}}),
                made.from->side.wide);
            ASSERT_FALSE(HasFatalFailure())
                << format << " " << static_cast<int>(kind) << " " << gain << " " << bias;
        }
    }
}

/// What solarizing makes of a ramp: read off once, and held to its known places below.
std::array<uint8_t, 256> SolarizedRamp(const trvhost::Host& host, const Ref& ramp, const MemoryImage& dest) {
    host.Call(ramp, "SolarizeFilter", dest.Object());
    std::array<uint8_t, 256> table{};
    for (int64_t x = 0; x < 256; ++x)
        table[static_cast<size_t>(x)] = dest.At(x, 0);
    return table;
}

TEST_F(PointFilters, SolarizeIsAVWithUnevenSteps) {
    const MemoryImage ramp = Ramp(), dest(TheHost(), 256, 1, Constant("ImageFormatG"));
    const auto table = SolarizedRamp(TheHost(), ramp, dest);
    const std::map<size_t, int> known = {
        {0, 255},   {15, 225},  {16, 223},  {37, 180},  {44, 167},  {45, 164},  {63, 129},  {66, 122},
        {85, 85},   {96, 63},   {106, 42},  {110, 34},  {112, 31},  {113, 29},  {114, 26},  {126, 2},
        {127, 0},   {128, 0},   {129, 2},   {132, 9},   {144, 32},  {149, 43},  {160, 65},  {171, 86},
        {192, 129}, {196, 137}, {213, 171}, {224, 193}, {240, 225}, {242, 228}, {250, 244}, {255, 255}};
    for (const auto& [sample, value] : known)
        EXPECT_EQ(table[sample], value) << sample;
    int64_t sum = 0, weighted = 0;
    for (size_t i = 0; i < 256; ++i) {
        sum += table[i];
        weighted += table[i] * static_cast<int64_t>(i);
        if (i == 0) continue;
        EXPECT_EQ(table[i] < table[i - 1] || i == 128, i <= 128) << i;
    }
    EXPECT_EQ(sum, 32696);
    EXPECT_EQ(weighted, 4167372);
}

TEST_F(PointFilters, SolarizeInAllFormatsMatchesTheReference) {
    const MemoryImage ramp = Ramp(), values(TheHost(), 256, 1, Constant("ImageFormatG"));
    const auto table = SolarizedRamp(TheHost(), ramp, values);
    for (const int64_t format : Formats()) {
        for (const DestKind kind : kDestKinds) {
            Case made = DrawCase(format, kind);
            Check(
                made,
                [&](const Ref& image, const Ref& dest) { return Filter(image, "SolarizeFilter", dest); },
                [&](const Shown& from, const Shown& to) {
                    ChangeSamples(from, to, from.Channels(true, true),
                                  [&](uint8_t v, const std::string&, int64_t, int64_t) { return table[v]; });
                },
                made.from->side.wide);
            ASSERT_FALSE(HasFatalFailure()) << format << " " << static_cast<int>(kind);
        }
    }
}

TEST_F(PointFilters, SolarizeKeepsOpaqueAndClearsTheMiddle) {
    const MemoryImage image(TheHost(), 3, 1, Constant("ImageFormatRGBA"));
    image.At(0, 0, 3) = 255;
    image.At(1, 0, 3) = 127;
    image.At(2, 0, 3) = 128;
    EXPECT_EQ(Filter(image, "SolarizeFilter", image.Object()).Handle(), image.Object().Handle());
    EXPECT_EQ(image.At(0, 0, 3), 255);
    EXPECT_EQ(image.At(1, 0, 3), 0);
    EXPECT_EQ(image.At(2, 0, 3), 0);
}

TEST_F(PointFilters, GammaOfOneAndOfNothing) {
    const MemoryImage ramp = Ramp(), dest(TheHost(), 256, 1, Constant("ImageFormatG"));
    Filter(ramp, "GammaFilter", dest.Object(), 1.0);
    EXPECT_EQ(dest.Bytes(), ramp.Bytes());
    Filter(ramp, "GammaFilter", dest.Object(), 0.0);
    for (int64_t x = 0; x < 256; ++x)
        EXPECT_EQ(dest.At(x, 0), x == 255 ? 255 : 0);
    // Whatever else: a table, and no fault.
    for (const double gamma : {-1.0, -0.0, -1e-9, 1e-300, 1e300, HUGE_VAL, -HUGE_VAL, std::nan("")})
        EXPECT_TRUE(Filter(ramp, "GammaFilter", dest.Object(), gamma)) << gamma;
    Filter(ramp, "GammaFilter", dest.Object(), -1.0);
    EXPECT_EQ(dest.At(0, 0), 255);  // infinite is more than 255
    EXPECT_EQ(dest.At(255, 0), 255);
    Filter(ramp, "GammaFilter", dest.Object(), std::nan(""));
    EXPECT_EQ(dest.At(0, 0), 0);
    EXPECT_EQ(dest.At(128, 0), 0);
}

TEST_F(PointFilters, GrayGammaIsMadeOfWholeParts) {
    const MemoryImage ramp = Ramp(), dest(TheHost(), 256, 1, Constant("ImageFormatG"));
    Filter(ramp, "GammaFilter", dest.Object(), 2.2, 2.2, 2.2);
    EXPECT_EQ(dest.At(64, 0), static_cast<int>(std::pow(64 / 255.0, 0.5) * 255.0 + 0.5));
    Filter(ramp, "GammaFilter", dest.Object(), 0.5, 0.5, 0.5);
    EXPECT_EQ(dest.At(254, 0), 0);
    EXPECT_EQ(dest.At(255, 0), 255);
    Filter(ramp, "GammaFilter", dest.Object(), 3.0, 1.0, 0.0);  // (151 + 231) / 256
    EXPECT_EQ(dest.Bytes(), ramp.Bytes());
    for (const double far : {1e18, -1e18, HUGE_VAL, std::nan("")})
        EXPECT_TRUE(Filter(ramp, "GammaFilter", dest.Object(), far, far, far, far)) << far;
}

TEST_F(PointFilters, GainAtItsEnds) {
    const MemoryImage ramp = Ramp(), dest(TheHost(), 256, 1, Constant("ImageFormatG"));
    Filter(ramp, "GainFilter", dest.Object(), 0.5, 0.5);
    for (int64_t x = 0; x < 256; ++x)
        EXPECT_EQ(dest.At(x, 0), x);
    Filter(ramp, "GainFilter", dest.Object(), 0.3, 0.0);
    EXPECT_EQ(dest.Bytes(), std::vector<uint8_t>(256, 0));
    Filter(ramp, "GainFilter", dest.Object(), 1.0, 0.5);  // a step in the middle
    EXPECT_EQ(dest.At(127, 0), 0);
    EXPECT_EQ(dest.At(128, 0), 255);
    for (const double gain : {1.0, 1.5, 2.0, -1.0, HUGE_VAL, -HUGE_VAL, std::nan("")}) {
        for (const double bias : {0.5, 0.25, 1.0, 2.0, -1.0, HUGE_VAL, std::nan("")}) {
            Filter(ramp, "GainFilter", dest.Object(), gain, bias);
            for (int64_t x = 0; x < 256; ++x)
                EXPECT_EQ(dest.At(x, 0), GainTable(gain, bias)[static_cast<size_t>(x)])
                    << gain << " " << bias;
        }
    }
    Filter(ramp, "GainFilter", dest.Object(), 2.0, 0.5);  // the logarithm of -1 is no number
    EXPECT_EQ(dest.At(100, 0), 0);
}

TEST_F(PointFilters, TransferWithFewManyAndNoElements) {
    const MemoryImage ramp = Ramp(), dest(TheHost(), 256, 1, Constant("ImageFormatG"));
    Filter(ramp, "TransferFilter", dest.Object(), TheHost().NewIntegers({256, 300, -1, 3, 4, 5, 6, 7, 8, 9}));
    EXPECT_EQ(dest.At(0, 0), 0);
    EXPECT_EQ(dest.At(1, 0), 44);
    EXPECT_EQ(dest.At(2, 0), 255);
    EXPECT_EQ(dest.At(9, 0), 9);
    for (int64_t x = 10; x < 256; ++x)
        EXPECT_EQ(dest.At(x, 0), 0);
    const std::vector<uint8_t> zeros(256, 0);
    for (const Ref& nothing : {Ref(), Ref(TheHost().NewIntegers({}))}) {
        dest.SetBytes(std::vector<uint8_t>(256, 9));
        Filter(ramp, "TransferFilter", dest.Object(), nothing);
        EXPECT_EQ(dest.Bytes(), zeros);
    }
    std::vector<int64_t> many(1000, 5);
    Filter(ramp, "TransferFilter", dest.Object(), TheHost().NewIntegers(many));
    EXPECT_EQ(dest.Bytes(), std::vector<uint8_t>(256, 5));
}

TEST_F(PointFilters, OfSixteenBitsOneByteIsMapped) {
    const MemoryImage image = Ramp("ImageFormatGray16"),
                      dest(TheHost(), 256, 1, Constant("ImageFormatGray16"));
    const std::vector<uint8_t> before = dest.Bytes();
    EXPECT_FALSE(Filter(image, "GammaFilter", dest.Object(), 2.0));
    EXPECT_EQ(dest.Bytes(), before);
    EXPECT_TRUE(Filter(image, "GammaFilter", dest.Object(), 1.0, 1.0));
    for (int64_t x = 0; x < 256; ++x) {
        EXPECT_EQ(dest.At(x, 0, 0), x);
        EXPECT_EQ(dest.At(x, 0, 1), before[static_cast<size_t>(2 * x + 1)]);
    }
}

TEST_F(PointFilters, InksAreHandedBackUnwritten) {
    const Ref image = NewImage(5, 4, "ImageFormatCMYKA");
    TheHost().Call(image, "FillRect", 99);
    const auto expectFresh = [&](const Ref& made) {
        ASSERT_TRUE(made);
        EXPECT_NE(made.Handle(), image.Handle());
        const auto bytes = StoreOf(made);
        EXPECT_EQ(bytes, std::vector<uint8_t>(bytes.size(), 0));
    };
    expectFresh(Filter(image, "GammaFilter", nullptr, 2.0));
    expectFresh(Filter(image, "GainFilter", nullptr, 0.7, 0.5));
    expectFresh(Filter(image, "TransferFilter", nullptr, TheHost().NewIntegers({7})));
}

// The frame, the same for all filters ---

TEST_F(PointFilters, TestsComeInTheirUnevenOrders) {
    const Ref closed = NewImage(4, 4, "ImageFormatGray16");
    const Ref unmade = TheHost().Construct("PictureTRV", 0, 0, Constant("ImageFormatG"));
    const Ref wide = NewImage(4, 4, "ImageFormatGray16");
    const trvhost::Array array = TheHost().NewIntegers({1, 2});
    const auto linesOf = [&](const Ref& image, std::string_view name, auto... args) {
        return LogOf([&] { EXPECT_FALSE(Filter(image, name, nullptr, args...)); });
    };
    using Lines = std::vector<std::string>;
    EXPECT_EQ(linesOf(unmade, "GammaFilter", 2.0), (Lines{"GammaFilterG 2.000000", "Picture not valid."}));
    EXPECT_EQ(linesOf(wide, "GammaFilter", 2.0),
              (Lines{"GammaFilterG 2.000000", "BitsPerComponent > 8 not supported. 16"}));
    EXPECT_EQ(linesOf(unmade, "GammaFilter", 1.0, 2.0),
              (Lines{"GammaFilterGA 1.000000, 2.000000", "Picture not valid."}));
    EXPECT_EQ(linesOf(unmade, "GainFilter", 0.5, 0.25),
              (Lines{"GainFilter 0.500000, 0.250000", "Picture not valid."}));
    EXPECT_EQ(linesOf(wide, "GainFilter", 0.5, 0.25),
              (Lines{"GainFilter 0.500000, 0.250000", "BitsPerComponent > 8 not supported. 16"}));
    EXPECT_EQ(linesOf(unmade, "TransferFilter", array), (Lines{"TransferFilterG", "Picture not valid."}));
    EXPECT_EQ(linesOf(wide, "TransferFilter", array),
              (Lines{"TransferFilterG", "BitsPerComponent > 8 not supported. 16"}));
    EXPECT_EQ(linesOf(unmade, "TransferFilter", array, array),
              (Lines{"TransferFilterGA", "Picture not valid."}));
    EXPECT_EQ(linesOf(unmade, "TransferFilter", array, array, array),
              (Lines{"TransferFilterRGB", "Picture not valid."}));
    EXPECT_EQ(linesOf(unmade, "TransferFilter", array, array, array, array),
              (Lines{"TransferFilterRGBA", "Picture not valid."}));
    EXPECT_EQ(linesOf(unmade, "GammaFilter", 1.0, 2.0, 3.0),
              (Lines{"GammaFilterRGB 1.000000, 2.000000, 3.000000", "Picture not valid."}));
    EXPECT_EQ(linesOf(unmade, "GammaFilter", 1.0, 2.0, 3.0, 4.0),
              (Lines{"GammaFilterRGBA 1.000000, 2.000000, 3.000000, 4.000000", "Picture not valid."}));
    EXPECT_EQ(linesOf(unmade, "SolarizeFilter"), (Lines{"SolarizeFilter", "Picture not valid."}));
    EXPECT_EQ(linesOf(wide, "SolarizeFilter"),
              (Lines{"SolarizeFilter", "BitsPerComponent > 8 not supported. 16"}));
    TheHost().Call(closed, "Close");
    EXPECT_EQ(linesOf(closed, "TransferFilter", array, array), (Lines{"TransferFilterGA", "GetRow is nil"}));
}

TEST_F(PointFilters, WorkersAndDestinationsAreNamed) {
    const auto contains = [](const std::vector<std::string>& lines, const std::string& line) {
        return std::find(lines.begin(), lines.end(), line) != lines.end();
    };
    const Ref image = NewImage(4, 4, "ImageFormatRGBA"), plain = NewImage(4, 4, "ImageFormatRGB"),
              gray = NewImage(4, 4, "ImageFormatGA"), inks = NewImage(4, 4, "ImageFormatCMYK");
    auto lines = LogOf([&] { Filter(image, "GammaFilter", image, 2.0, 2.0); });
    EXPECT_TRUE(contains(lines, "rbGammaFilterRGBA"));
    EXPECT_TRUE(
        std::any_of(lines.begin(), lines.end(), [](const auto& l) { return l.starts_with("dest "); }));
    EXPECT_TRUE(contains(LogOf([&] { Filter(image, "GammaFilter", image, 2.0); }), "rbGammaFilterRGB"));
    EXPECT_TRUE(contains(LogOf([&] { Filter(plain, "GammaFilter", plain, 2.0, 2.0); }), "rbGammaFilterRGB"));
    EXPECT_TRUE(contains(LogOf([&] { Filter(gray, "TransferFilter", gray, nullptr); }), "rbTransferFilterG"));
    EXPECT_TRUE(contains(LogOf([&] { Filter(gray, "GainFilter", gray, 0.5, 0.5); }), "GainFilterGA"));
    EXPECT_TRUE(contains(LogOf([&] { Filter(inks, "SolarizeFilter", inks); }), "SolarizeFilterCMYK"));
}

TEST_F(PointFilters, ADestinationThatCannotBeWorkedOnIsGivenBack) {
    const Ref image = NewImage(4, 4, "ImageFormatRGBA"), closed = NewImage(4, 4, "ImageFormatRGBA");
    TheHost().Call(closed, "Close");
    const int64_t references = closed.References();
    EXPECT_FALSE(Filter(image, "GammaFilter", closed, 2.0));
    EXPECT_EQ(closed.References(), references);
    const Ref done = NewImage(4, 4, "ImageFormatRGBA");
    {
        const Ref result = Filter(image, "GammaFilter", done, 2.0);
        EXPECT_EQ(done.References(), 2);
    }
    EXPECT_EQ(done.References(), 1);
}

class MappedPointFilters : public MappedTest {};

TEST_F(MappedPointFilters, MappedImagesAreFilteredLikeOthers) {
    // 20 MB in a window of 16: the window moves.
    constexpr int64_t kWidth = 1024, kHeight = 5000;
    const Ref mapped = NewMapped(kWidth, kHeight, "ImageFormatRGBA", 0, std::nullopt);
    ASSERT_LT(Number(mapped, "MappingRows"), kHeight);
    for (int64_t y = 0; y < kHeight; y += 499)
        TheHost().Call(mapped, "FillRectRGB", 0, y, kWidth, 499, y % 256, 64, 200, y % 251);
    const Ref dest = NewImage(kWidth, kHeight, "ImageFormatBGRA");
    TheHost().Call(mapped, "GammaFilter", dest, 2.0, 2.0);
    const Ref inPlace = TheHost().Call(mapped, "GammaFilter", mapped, 2.0, 2.0).ToThing();
    EXPECT_EQ(inPlace.Handle(), mapped.Handle());
    const Ref copy = NewImage(kWidth, kHeight, "ImageFormatBGRA");
    TheHost().Call(copy, "CopyPixels", mapped);
    const auto bytesOf = [&](const Ref& image) {
        const auto memory = TheHost().Get<trvhost::MemoryBlock>(image, "Memory");
        return std::vector<uint8_t>(memory.Bytes().begin(), memory.Bytes().end());
    };
    EXPECT_TRUE(bytesOf(copy) == bytesOf(dest));
    EXPECT_EQ(bytesOf(copy)[1], 128);  // 64 of 255 by the square root
}

}  // namespace
}  // namespace trvtest
