// Turns whose images come from a factory: right ones, of another format, larger, and such as are refused.

#include <cmath>
#include <functional>
#include <gmock/gmock.h>

#include "geometry_images.h"

namespace trvtest {
namespace {

using testing::ElementsAre;

struct Request {
    int64_t width;
    int64_t height;
    int64_t format;
    friend bool operator==(const Request&, const Request&) = default;
    friend std::ostream& operator<<(std::ostream& out, const Request& request) {
        return out << request.width << " x " << request.height << " of " << request.format;
    }
};

struct TurnMethod {
    const char* declaration;
    int degrees;
};
constexpr TurnMethod kTurns[] = {
    {"Rotate180(dest as PictureTRV=nil) as PictureTRV", 180},
    {"Rotate90(dest as PictureTRV=nil) as PictureTRV", 90},
    {"Rotate270(dest as PictureTRV=nil) as PictureTRV", 270},
    {"Rotate90slow(dest as PictureTRV=nil) as PictureTRV", 90},
    {"Rotate270slow(dest as PictureTRV=nil) as PictureTRV", 270},
};

class GeometryFactory : public GeometryTest {
  protected:
    using Maker = std::function<Ref(const Request&)>;

    /// While `action` runs, `make` supplies the images that are asked for on behalf of `image`.
    template <class Action>
    auto WithFactory(const Ref& image, const Maker& make, Action&& action) {
        requests_.clear();
        TheHost().Set(image, "Factory",
                      TheHost().NewFactory([&](int64_t width, int64_t height, int64_t format) {
                          requests_.push_back({width, height, format});
                          return make(requests_.back());
                      }));
        auto result = action();
        TheHost().Set(image, "Factory", nullptr);
        return result;
    }

    /// A noisy image of a request's size, or so much larger.
    Ref Made(const Request& request, int64_t wider = 0, int64_t higher = 0) {
        const Ref image =
            TheHost().Construct("PictureTRV", request.width + wider, request.height + higher, request.format);
        FillWithNoise(TheHost(), image, random_);
        return image;
    }

    Ref Turn(const TurnMethod& turn, const Ref& image, const Ref& dest = nullptr) const {
        return TheHost().Call(image, turn.declaration, dest).ToThing();
    }
    Ref Rotate(const Ref& image, double angle) const {
        return TheHost().Call(image, "Rotate", angle, 1, 2, 3, 4, 5, 6, 7, 8, 9).ToThing();
    }

    std::vector<Request> requests_;
};

TEST_F(GeometryFactory, TurnsTakeWhatFits) {
    const MemoryImage image = Memory(9, 6, "ImageFormatRGBA");
    const int64_t format = Constant("ImageFormatRGBA");
    for (const TurnMethod& turn : kTurns) {
        const bool quarter = turn.degrees != 180;
        const Request asked{quarter ? 6 : 9, quarter ? 9 : 6, format};
        for (const char* name : {"ImageFormatRGBA", "ImageFormatABGR", "ImageFormatXRGB", "ImageFormatRGB"}) {
            for (const int64_t more : {0, 3}) {
                Ref supplied, other;
                const auto make = [&](const Request& request) {
                    supplied = Made({request.width, request.height, Constant(name)}, more, more);
                    other = TheHost().Call(supplied, "Clone").ToThing();
                    return supplied;
                };
                const Ref result = WithFactory(image, make, [&] { return Turn(turn, image); });
                EXPECT_EQ(result, supplied) << turn.declaration << " " << name;
                EXPECT_THAT(requests_, ElementsAre(asked));
                // The same as turning into it.
                ASSERT_EQ(Turn(turn, image, other), other);
                EXPECT_EQ(PixelBytes(TheHost(), result), PixelBytes(TheHost(), other))
                    << turn.declaration << " " << name;
            }
        }
    }
}

TEST_F(GeometryFactory, TurnsRefuseWhatDoesNotFit) {
    const MemoryImage image = Memory(9, 6, "ImageFormatCMYKA");
    for (const TurnMethod& turn : kTurns) {
        const Ref expected = Turn(turn, image);
        Ref supplied;
        const Maker makers[] = {
            [&](const Request&) { return Ref(); },
            [&](const Request& r) {
                return supplied = Made({r.width - 1, r.height, r.format});
            },
            [&](const Request& r) {
                return supplied = Made({r.width, r.height - 1, r.format});
            },
            [&](const Request&) { return supplied = TheHost().New("PictureTRV"); },
        };
        for (const Maker& make : makers) {
            supplied = nullptr;
            const Ref result = WithFactory(image, make, [&] { return Turn(turn, image); });
            ASSERT_TRUE(result);
            EXPECT_NE(result, supplied);
            EXPECT_EQ(requests_.size(), 1U);
            EXPECT_EQ(PixelBytes(TheHost(), result), PixelBytes(TheHost(), expected)) << turn.declaration;
        }
    }
}

// What comes from the factory cannot be written: closed by its own time for the host.
TEST_F(GeometryFactory, TurnsLetGoOfAnImageThatDoesNotStart) {
    const MemoryImage image = Memory(9, 6, "ImageFormatRGB");
    for (const TurnMethod& turn : kTurns) {
        Ref supplied;
        const auto make = [&](const Request& request) {
            supplied = Made(request);
            TheHost().Set(supplied, "YieldTicks", -1);
            return supplied;
        };
        TheHost().OnYield([&] { TheHost().Call(supplied, "Close"); });
        const Ref result = WithFactory(image, make, [&] { return Turn(turn, image); });
        TheHost().OnYield({});
        EXPECT_TRUE(!result || result == supplied) << turn.declaration;
        EXPECT_EQ(supplied.References(), result ? 2 : 1);
    }
}

TEST_F(GeometryFactory, RotateAsksForItsThreeImagesOneAfterTheOther) {
    const MemoryImage image = Memory(40, 30, "ImageFormatRGBA");
    const int64_t format = Constant("ImageFormatRGBA");
    const Ref expected = Rotate(image, 30);
    std::vector<Ref> supplied;
    const auto make = [&](const Request& request) {
        supplied.push_back(Made(request));
        return supplied.back();
    };
    const Ref result = WithFactory(image, make, [&] { return Rotate(image, 30); });
    // tan 15 = 0.268, cos 30 = 0.866, sin 30 = 0.5
    EXPECT_THAT(requests_,
                ElementsAre(Request{48, 30, format}, Request{48, 46, format}, Request{50, 46, format}));
    ASSERT_EQ(supplied.size(), 3U);
    EXPECT_EQ(result, supplied[2]);
    EXPECT_EQ(PixelBytes(TheHost(), result), PixelBytes(TheHost(), expected));
}

// Every image is asked for in the format of the one before, and its channels lie where its format has them.
TEST_F(GeometryFactory, RotateGoesOnInTheFormatThatItWasGiven) {
    const MemoryImage image = Memory(21, 17, "ImageFormatRGBA");
    const Ref expected = Rotate(image, 20);
    const Side from(TheHost(), expected);
    const int64_t formats[] = {Constant("ImageFormatABGR"), Constant("ImageFormatBGRA"),
                               Constant("ImageFormatARGB")};
    size_t next = 0;
    const auto make = [&](const Request& request) {
        return Made({request.width, request.height, formats[next++]});
    };
    const Ref result = WithFactory(image, make, [&] { return Rotate(image, 20); });
    ASSERT_EQ(requests_.size(), 3U);
    EXPECT_EQ(requests_[0].format, Constant("ImageFormatRGBA"));
    EXPECT_EQ(requests_[1].format, formats[0]);
    EXPECT_EQ(requests_[2].format, formats[1]);
    ASSERT_EQ(Number(result, "ImageFormat"), formats[2]);
    const Side to(TheHost(), result);
    for (int64_t y = 0; y < Number(result, "Height"); ++y) {
        for (int64_t x = 0; x < Number(result, "Width"); ++x) {
            for (const std::string& channel : ChannelNames(to))
                ASSERT_EQ(RawRow(TheHost(), result, y)[x * to.pixelSize + to.at.at(channel)],
                          RawRow(TheHost(), expected, y)[x * from.pixelSize + from.at.at(channel)])
                    << channel << " at " << x << ", " << y;
        }
    }
}

/// A gray image as rows of samples, and the shears on it, which go over all of the image that they read and
/// write nowhere but into the lines that they were asked for.
struct Samples {
    std::vector<std::vector<int>> rows;

    [[nodiscard]] int64_t Width() const { return std::ssize(rows[0]); }
    [[nodiscard]] int64_t Height() const { return std::ssize(rows); }

    static void Line(const std::vector<int>& from, double shift, int64_t fringe, int background,
                     std::vector<int>& to) {
        const auto off = static_cast<int64_t>(std::floor(shift));
        const double weight = shift - std::floor(shift);
        const auto store = [&](int64_t at, double value) {
            if (at >= 0 && at < std::ssize(to))
                to[static_cast<size_t>(at)] = static_cast<uint8_t>(static_cast<int>(value));
        };
        std::fill(to.begin(), to.end(), background);
        int carry = static_cast<int>(background * weight);
        for (int64_t i = 0; i < std::ssize(from); ++i) {
            const int value = from[static_cast<size_t>(i)];
            const int left = static_cast<int>(value * weight);
            store(i + off, value - left + carry);
            carry = left;
        }
        store(fringe + off, background - (background * weight - carry));
    }
    void Row(int64_t u, double shift, int background, Samples& to) const {
        const auto row = static_cast<size_t>(u);
        Line(rows[row], shift, Width(), background, to.rows[row]);
    }
    void Column(int64_t u, double shift, int background, Samples& to) const {
        const auto columnOf = [u](const Samples& samples) {
            std::vector<int> column;
            for (const auto& row : samples.rows)
                column.push_back(row[static_cast<size_t>(u)]);
            return column;
        };
        std::vector<int> column = columnOf(to);
        Line(columnOf(*this), shift, Height() - 1, background, column);
        for (size_t y = 0; y < column.size(); ++y)
            to.rows[y][static_cast<size_t>(u)] = column[y];
    }
};

// The shears read all of a larger image, and what they were not asked to write stays.
TEST_F(GeometryFactory, RotateGoesThroughLargerImages) {
    const MemoryImage image = Memory(12, 10, "ImageFormatG");
    const auto samplesOf = [&](const Ref& gray) {
        Samples samples;
        for (int64_t y = 0; y < Number(gray, "Height"); ++y) {
            const uint8_t* row = RawRow(TheHost(), gray, y);
            samples.rows.emplace_back(row, row + Number(gray, "Width"));
        }
        return samples;
    };
    for (const double angle : {20.0, -20.0, 44.0}) {
        std::vector<Samples> made;
        const auto make = [&](const Request& request) {
            const Ref supplied = Made(request, 5, 4);
            made.push_back(samplesOf(supplied));
            return supplied;
        };
        const Ref result = WithFactory(image, make, [&] { return Rotate(image, angle); });
        ASSERT_EQ(made.size(), 3U);

        constexpr int kBackground = 5;
        const double r = (angle < 0 ? angle + 360 : angle) * 3.141592653589793 / 180.0;
        const double s = std::sin(r), t = std::tan(r * 0.5);
        const int64_t w = 12, h = 10, w1 = requests_[0].width, h2 = requests_[1].height;
        const Samples source = samplesOf(image);
        for (int64_t u = 0; u < h; ++u) {
            const double middle = static_cast<double>(t >= 0 ? u : u - h) + 0.5;
            source.Row(u, middle * t, kBackground, made[0]);
        }
        double shift = s > 0 ? static_cast<double>(w - 1) * s : static_cast<double>(w - w1) * -s;
        for (int64_t u = 0; u < w1; ++u, shift = shift - s)
            made[0].Column(u, shift, kBackground, made[1]);
        shift = s >= 0 ? static_cast<double>(w - 1) * s * -t
                       : (static_cast<double>(1 - h2) - static_cast<double>(w - 1) * s) * t;
        for (int64_t u = 0; u < h2; ++u, shift = shift + t)
            made[1].Row(u, shift, kBackground, made[2]);
        EXPECT_EQ(samplesOf(result).rows, made[2].rows) << angle;
    }
}

TEST_F(GeometryFactory, RotateRefusesWhatDoesNotFit) {
    const MemoryImage image = Memory(20, 14, "ImageFormatGA");
    const Ref expected = Rotate(image, 130);  // with a turn before the shears
    int asked = 0;
    const Maker makers[] = {
        [&](const Request&) { return ++asked, Ref(); },
        [&](const Request& r) {
            return ++asked, Made({r.width - 1, r.height, r.format});
        },
        [&](const Request& r) {
            return ++asked, Made({r.width, r.height - 1, r.format});
        },
        [&](const Request&) { return ++asked, TheHost().New("PictureTRV"); },
    };
    for (const Maker& make : makers) {
        asked = 0;
        const Ref result = WithFactory(image, make, [&] { return Rotate(image, 130); });
        // The turned image is a new one, which has no factory of its own.
        EXPECT_EQ(asked, 1);
        EXPECT_EQ(PixelBytes(TheHost(), result), PixelBytes(TheHost(), expected));
    }
}

TEST_F(GeometryFactory, TheGlobalFactoryServesTheTurnAndTheShears) {
    const MemoryImage image = Memory(20, 14, "ImageFormatGA");
    const Ref expected = Rotate(image, 130);
    int asked = 0;
    const Ref factory = TheHost().NewFactory([&](int64_t width, int64_t height, int64_t format) {
        ++asked;
        return Made({width, height, format});
    });
    TheHost().CallShared("PictureFactoryTRV", "SetFactory", factory);
    const Ref result = Rotate(image, 130);
    TheHost().CallShared("PictureFactoryTRV", "SetFactory", nullptr);
    EXPECT_EQ(asked, 4);
    EXPECT_EQ(PixelBytes(TheHost(), result), PixelBytes(TheHost(), expected));
}

// The event is host code: it makes a small image of one that is being read.
TEST_F(GeometryFactory, RotateEndsWhereItsImagesBecomeOthers) {
    const MemoryImage small = Memory(2, 2, "ImageFormatG");
    const auto shrink = [&](const Ref& image) {
        TheHost().Call(image, "Constructor", TheHost().Get<trvhost::MemoryBlock>(small, "MemoryTarget"), 2, 2,
                       Constant("ImageFormatG"), 2);
    };
    for (const size_t when : {0, 1, 2}) {
        for (size_t which = 0; which <= when; ++which) {
            SCOPED_TRACE(std::to_string(which) + " at " + std::to_string(when));
            const Ref image = NewImage(300, 200, "ImageFormatRGBA");
            FillWithNoise(TheHost(), image, random_);
            std::vector<Ref> images = {image};
            const auto make = [&](const Request& request) {
                if (images.size() == when + 1) shrink(images[which]);
                images.push_back(Made(request));
                return images.back();
            };
            EXPECT_FALSE(WithFactory(image, make, [&] { return Rotate(image, 30); }));
            EXPECT_EQ(small.GuardIntact(), true);
        }
    }
}

// The same in the host's time, without a factory.
TEST_F(GeometryFactory, RotateEndsWhereItsSourceBecomesAnother) {
    const MemoryImage small = Memory(2, 2, "ImageFormatG");
    const Ref image = NewImage(300, 200, "ImageFormatRGBA");
    TheHost().Set(image, "YieldTicks", -1);
    int yields = 0;
    TheHost().OnYield([&] {
        if (++yields != 1) return;
        TheHost().Call(image, "Constructor", TheHost().Get<trvhost::MemoryBlock>(small, "MemoryTarget"), 2, 2,
                       Constant("ImageFormatG"), 2);
    });
    const Ref result = Rotate(image, 30);
    TheHost().OnYield({});
    EXPECT_EQ(yields, 1);
    if (result) {
        EXPECT_LT(Number(result, "Width"), 5);
    }
    EXPECT_TRUE(small.GuardIntact());
}

}  // namespace
}  // namespace trvtest
