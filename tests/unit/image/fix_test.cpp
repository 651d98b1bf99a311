// The clipping of rectangles: numbers of its own for each rule, and a comparison with the rules written out.

#include <algorithm>
#include <array>
#include <gtest/gtest.h>
#include <limits>
#include <ostream>
#include <random>

#include "image/pixel_loop.h"
#include "unit/frame/log_capture.h"

namespace trv {

// For the messages of this file's tests.
static std::ostream& operator<<(std::ostream& out, const Rectangle& r) {
    return out << r.x << ", " << r.y << ", " << r.width << ", " << r.height;
}
static bool operator==(const Rectangle& a, const Rectangle& b) {
    return a.x == b.x && a.y == b.y && a.width == b.width && a.height == b.height;
}
static std::ostream& operator<<(std::ostream& out, const RectanglePair& r) {
    return out << "dest " << r.destX << ", " << r.destY << " size " << r.width << ", " << r.height
               << " source " << r.sourceX << ", " << r.sourceY;
}
static bool operator==(const RectanglePair& a, const RectanglePair& b) {
    return a.destX == b.destX && a.destY == b.destY && a.width == b.width && a.height == b.height &&
           a.sourceX == b.sourceX && a.sourceY == b.sourceY;
}

namespace {

PictureTRV ImageOf(int64_t width, int64_t height) {
    PictureTRV image{};
    image.Width = width;
    image.Height = height;
    return image;
}

Rectangle Fixed(Rectangle rectangle, int64_t width = 20, int64_t height = 20) {
    Fix(ImageOf(width, height), rectangle);
    return rectangle;
}

// One rectangle ---

TEST(FixRectangle, ANegativeSizeTurnsAround) {
    EXPECT_EQ(Fixed({10, 0, -4, 1}), (Rectangle{6, 0, 4, 1}));
    EXPECT_EQ(Fixed({0, 10, 1, -4}), (Rectangle{0, 6, 1, 4}));
    EXPECT_EQ(Fixed({10, 10, -15, -15}), (Rectangle{0, 0, 10, 10}));
    EXPECT_EQ(Fixed({0, 0, -5, 1}), (Rectangle{0, 0, 0, 1}));
}

TEST(FixRectangle, ANegativeOriginIsCutOff) {
    EXPECT_EQ(Fixed({-3, 0, 2, 1}), (Rectangle{0, 0, -1, 1}));
    EXPECT_EQ(Fixed({-3, -4, 10, 10}), (Rectangle{0, 0, 7, 6}));
    EXPECT_EQ(Fixed({-3, 0, 3, 5}), (Rectangle{0, 0, 0, 5}));
    EXPECT_EQ(Fixed({-3, -100, 100, 3}), (Rectangle{0, 0, 20, -97}));
}

TEST(FixRectangle, AnOriginBehindTheImageStaysAndLeavesNothing) {
    EXPECT_EQ(Fixed({25, 0, 5, 5}), (Rectangle{25, 0, 0, 5}));
    EXPECT_EQ(Fixed({20, 0, 5, 5}), (Rectangle{20, 0, 0, 5}));
    EXPECT_EQ(Fixed({0, 20, 5, 5}), (Rectangle{0, 20, 5, 0}));
}

TEST(FixRectangle, TheEndIsCutOff) {
    EXPECT_EQ(Fixed({15, 0, 10, 1}), (Rectangle{15, 0, 5, 1}));
    EXPECT_EQ(Fixed({0, 15, 1, 10}), (Rectangle{0, 15, 1, 5}));
    EXPECT_EQ(Fixed({0, 0, 20, 20}), (Rectangle{0, 0, 20, 20}));
    EXPECT_EQ(Fixed({0, 0, 21, 30}), (Rectangle{0, 0, 20, 20}));
}

TEST(FixRectangle, ShowsItselfInTheLog) {
    const test::LogCapture log;
    Fixed({15, -2, 10, 4});
    EXPECT_EQ(log.Lines(), (std::vector<std::string>{"Fix 15, -2, 10, 4", "Fixed 15, 0, 5, 2"}));
}

/// The rules in their order, in numbers that cannot overflow.
struct Wide {
    __int128 x, y, width, height;
};

Wide FixedByTheRules(Wide r, int64_t width, int64_t height) {
    if (r.width < 0) {
        r.x += r.width;
        r.width = -r.width;
    }
    if (r.height < 0) {
        r.y += r.height;
        r.height = -r.height;
    }
    if (r.x < 0) {
        r.width += r.x;
        r.x = 0;
    }
    if (r.y < 0) {
        r.height += r.y;
        r.y = 0;
    }
    if (r.x >= width) r.width = 0;
    if (r.y >= height) r.height = 0;
    if (r.x < width && r.x + r.width > width) r.width = width - r.x;
    if (r.y < height && r.y + r.height > height) r.height = height - r.y;
    return r;
}

/// Numbers around the edges of an image, and now and then one that is far off.
class Numbers {
  public:
    explicit Numbers(uint64_t seed) : random_(seed) {}
    int64_t Near() { return std::uniform_int_distribution<int64_t>(-60, 60)(random_); }
    int64_t Size() { return std::uniform_int_distribution<int64_t>(1, 40)(random_); }
    int64_t Any() {
        constexpr std::array kFar = {std::numeric_limits<int64_t>::min(),
                                     std::numeric_limits<int64_t>::min() + 1,
                                     std::numeric_limits<int64_t>::min() / 2,
                                     int64_t{-4294967296},
                                     int64_t{4294967296},
                                     std::numeric_limits<int64_t>::max() / 2,
                                     std::numeric_limits<int64_t>::max() - 1,
                                     std::numeric_limits<int64_t>::max()};
        return random_() % 3 == 0 ? kFar[random_() % kFar.size()] : Near();
    }

  private:
    std::mt19937_64 random_;
};

TEST(FixRectangle, AgreesWithTheRulesWrittenOut) {
    Numbers numbers(11);
    for (int i = 0; i < 100000; ++i) {
        const int64_t width = numbers.Size();
        const int64_t height = numbers.Size();
        const Rectangle r{numbers.Near(), numbers.Near(), numbers.Near(), numbers.Near()};
        const Wide expected = FixedByTheRules({r.x, r.y, r.width, r.height}, width, height);
        ASSERT_EQ(Fixed(r, width, height),
                  (Rectangle{static_cast<int64_t>(expected.x), static_cast<int64_t>(expected.y),
                             static_cast<int64_t>(expected.width), static_cast<int64_t>(expected.height)}))
            << r << " in " << width << " x " << height;
    }
}

TEST(FixRectangle, OfAnyNumbersLeavesTheSameInside) {
    Numbers numbers(12);
    for (int i = 0; i < 100000; ++i) {
        const int64_t width = numbers.Size();
        const int64_t height = numbers.Size();
        const Rectangle r{numbers.Any(), numbers.Any(), numbers.Any(), numbers.Any()};
        const Wide expected = FixedByTheRules({r.x, r.y, r.width, r.height}, width, height);
        const Rectangle fixed = Fixed(r, width, height);
        ASSERT_EQ(fixed.IsEmpty(), expected.width <= 0 || expected.height <= 0) << r;
        if (fixed.IsEmpty()) continue;
        ASSERT_GE(fixed.x, 0) << r;
        ASSERT_GE(fixed.y, 0) << r;
        ASSERT_LE(fixed.x + fixed.width, width) << r;
        ASSERT_LE(fixed.y + fixed.height, height) << r;
        ASSERT_TRUE(fixed.x == expected.x && fixed.y == expected.y && fixed.width == expected.width &&
                    fixed.height == expected.height)
            << r << " -> " << fixed;
    }
}

// A pair ---

RectanglePair Fixed(RectanglePair pair, int64_t sourceWidth, int64_t sourceHeight, int64_t destWidth = 20,
                    int64_t destHeight = 20) {
    Fix(ImageOf(destWidth, destHeight), pair, sourceWidth, sourceHeight);
    return pair;
}

TEST(FixPair, ANegativeSourceOriginMovesTheDestinationAlong) {
    EXPECT_EQ(Fixed({5, 0, 10, 1, -2, 0}, 100, 100), (RectanglePair{3, 0, 8, 1, 0, 0}));
    EXPECT_EQ(Fixed({0, 5, 1, 10, 0, -2}, 100, 100), (RectanglePair{0, 3, 1, 8, 0, 0}));
    // It may move it out at the left, and what then is outside moves the source the other way.
    EXPECT_EQ(Fixed({1, 0, 10, 1, -4, 0}, 100, 100), (RectanglePair{0, 0, 3, 1, 3, 0}));
}

TEST(FixPair, ANegativeDestinationOriginMovesTheSourceTheOtherWay) {
    EXPECT_EQ(Fixed({-3, 0, 10, 1, 5, 0}, 100, 100), (RectanglePair{0, 0, 7, 1, 8, 0}));
    EXPECT_EQ(Fixed({0, -3, 1, 10, 0, 5}, 100, 100), (RectanglePair{0, 0, 1, 7, 0, 8}));
}

TEST(FixPair, ANegativeSizeTurnsAround) {
    EXPECT_EQ(Fixed({10, 10, -4, -5, 2, 3}, 100, 100), (RectanglePair{6, 5, 4, 5, 2, 3}));
}

TEST(FixPair, TheEndsOfBothAreCutOff) {
    EXPECT_EQ(Fixed({15, 16, 10, 10, 0, 0}, 100, 100), (RectanglePair{15, 16, 5, 4, 0, 0}));
    EXPECT_EQ(Fixed({0, 0, 10, 10, 95, 97}, 100, 100), (RectanglePair{0, 0, 5, 3, 95, 97}));
    EXPECT_EQ(Fixed({20, 0, 10, 10, 0, 0}, 100, 100), (RectanglePair{20, 0, 0, 10, 0, 0}));
    EXPECT_EQ(Fixed({25, 0, 10, 10, 0, 0}, 100, 100), (RectanglePair{25, 0, 0, 10, 0, 0}));
    EXPECT_EQ(Fixed({0, 0, 10, 10, 105, 0}, 100, 100), (RectanglePair{0, 0, -5, 10, 105, 0}));
}

struct WidePair {
    __int128 destX, destY, width, height, sourceX, sourceY;
};

/// The rules in their order; with `turn` as a destination image clips, without as explicit limits do.
WidePair FixedByTheRules(WidePair p, int64_t sourceWidth, int64_t sourceHeight, int64_t destWidth,
                         int64_t destHeight, bool turn) {
    if (p.sourceX < 0) {
        p.width += p.sourceX;
        p.destX += p.sourceX;
        p.sourceX = 0;
    }
    if (p.sourceY < 0) {
        p.height += p.sourceY;
        p.destY += p.sourceY;
        p.sourceY = 0;
    }
    if (turn && p.width < 0) {
        p.destX += p.width;
        p.width = -p.width;
    }
    if (turn && p.height < 0) {
        p.destY += p.height;
        p.height = -p.height;
    }
    if (p.destX < 0) {
        p.width += p.destX;
        p.sourceX -= p.destX;
        p.destX = 0;
    }
    if (p.destY < 0) {
        p.height += p.destY;
        p.sourceY -= p.destY;
        p.destY = 0;
    }
    if (p.destX >= destWidth) p.width = 0;
    if (p.destY >= destHeight) p.height = 0;
    if (p.destX < destWidth && p.destX + p.width > destWidth) p.width = destWidth - p.destX;
    if (p.destY < destHeight && p.destY + p.height > destHeight) p.height = destHeight - p.destY;
    if (p.sourceX + p.width > sourceWidth) p.width = sourceWidth - p.sourceX;
    if (p.sourceY + p.height > sourceHeight) p.height = sourceHeight - p.sourceY;
    return p;
}

RectanglePair Narrow(const WidePair& p) {
    return {static_cast<int64_t>(p.destX),  static_cast<int64_t>(p.destY),   static_cast<int64_t>(p.width),
            static_cast<int64_t>(p.height), static_cast<int64_t>(p.sourceX), static_cast<int64_t>(p.sourceY)};
}

WidePair Widen(const RectanglePair& p) {
    return {p.destX, p.destY, p.width, p.height, p.sourceX, p.sourceY};
}

TEST(FixPair, AgreesWithTheRulesWrittenOut) {
    Numbers numbers(13);
    for (int i = 0; i < 200000; ++i) {
        const int64_t sourceWidth = numbers.Size(), sourceHeight = numbers.Size();
        const int64_t destWidth = numbers.Size(), destHeight = numbers.Size();
        const RectanglePair p{numbers.Near(), numbers.Near(), numbers.Near(),
                              numbers.Near(), numbers.Near(), numbers.Near()};
        ASSERT_EQ(Fixed(p, sourceWidth, sourceHeight, destWidth, destHeight),
                  Narrow(FixedByTheRules(Widen(p), sourceWidth, sourceHeight, destWidth, destHeight, true)))
            << p;
    }
}

TEST(FixPair, OfAnyNumbersStaysInsideBoth) {
    Numbers numbers(14);
    int inside = 0;
    for (int i = 0; i < 400000; ++i) {
        const int64_t sourceWidth = numbers.Size(), sourceHeight = numbers.Size();
        const int64_t destWidth = numbers.Size(), destHeight = numbers.Size();
        const RectanglePair p{numbers.Any(), numbers.Any(), numbers.Any(),
                              numbers.Any(), numbers.Any(), numbers.Any()};
        const RectanglePair fixed = Fixed(p, sourceWidth, sourceHeight, destWidth, destHeight);
        const WidePair expected =
            FixedByTheRules(Widen(p), sourceWidth, sourceHeight, destWidth, destHeight, true);
        ASSERT_EQ(fixed.IsEmpty(), expected.width <= 0 || expected.height <= 0) << p << " -> " << fixed;
        if (fixed.IsEmpty()) continue;
        ++inside;
        ASSERT_EQ(fixed, Narrow(expected)) << p;
        ASSERT_GE(std::min({fixed.destX, fixed.destY, fixed.sourceX, fixed.sourceY}), 0) << p;
        ASSERT_LE(fixed.destX + fixed.width, destWidth) << p;
        ASSERT_LE(fixed.destY + fixed.height, destHeight) << p;
        ASSERT_LE(fixed.sourceX + fixed.width, sourceWidth) << p;
        ASSERT_LE(fixed.sourceY + fixed.height, sourceHeight) << p;
    }
    EXPECT_GT(inside, 500);
}

// Explicit limits ---

TEST(FixLimits, DoNotTurnNegativeSizesAround) {
    RectanglePair pair{10, 10, -4, 5, 2, 3};
    EXPECT_FALSE(Fix(pair, 100, 100, 20, 20));
    EXPECT_EQ(pair, (RectanglePair{10, 10, -4, 5, 2, 3}));
}

TEST(FixLimits, SayWhetherSomethingIsLeft) {
    RectanglePair pair{19, 19, 5, 5, 0, 0};
    EXPECT_TRUE(Fix(pair, 100, 100, 20, 20));
    EXPECT_EQ(pair, (RectanglePair{19, 19, 1, 1, 0, 0}));
    pair = {20, 19, 5, 5, 0, 0};
    EXPECT_FALSE(Fix(pair, 100, 100, 20, 20));
    EXPECT_EQ(pair.width, 0);
    pair = {0, 0, 5, 0, 0, 0};
    EXPECT_FALSE(Fix(pair, 100, 100, 20, 20));
    pair = {5, 5, 10, 10, -2, -3};
    EXPECT_TRUE(Fix(pair, 100, 100, 20, 20));
    EXPECT_EQ(pair, (RectanglePair{3, 2, 8, 7, 0, 0}));
}

TEST(FixLimits, AgreeWithTheRulesWrittenOut) {
    Numbers numbers(15);
    for (int i = 0; i < 200000; ++i) {
        const int64_t sourceWidth = numbers.Near(), sourceHeight = numbers.Near();
        const int64_t destWidth = numbers.Near(), destHeight = numbers.Near();
        RectanglePair p{numbers.Near(), numbers.Near(), numbers.Near(),
                        numbers.Near(), numbers.Near(), numbers.Near()};
        const RectanglePair expected =
            Narrow(FixedByTheRules(Widen(p), sourceWidth, sourceHeight, destWidth, destHeight, false));
        const bool left = Fix(p, sourceWidth, sourceHeight, destWidth, destHeight);
        ASSERT_EQ(p, expected);
        ASSERT_EQ(left, expected.width >= 1 && expected.height >= 1);
    }
}

}  // namespace
}  // namespace trv
