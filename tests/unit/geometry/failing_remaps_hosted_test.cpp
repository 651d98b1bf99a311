// Mirrors and turns of mapped images whose window cannot be moved once: what cannot be reached stays as it
// is, all else is right.

#include <algorithm>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "blackbox/scratch_folder.h"
#include "platform/faults.h"
#include "unit/hosted_test.h"

extern "C" void REALPluginMain(trv::HostResolver resolver);

namespace trv {

namespace {

using trvhost::Ref;

/// More than two windows of the least size, which is 16 MB.
constexpr int64_t kWidth = 4096;
constexpr int64_t kHeight = 8301;

uint8_t SampleAt(int64_t x, int64_t y) {
    return static_cast<uint8_t>((x * 7 + y * 31 + (x * y >> 5)) | 1);  // never 0
}

/// A pixel of a result: where it comes from in the source.
struct Place {
    int64_t x;
    int64_t y;
};

class FailingRemaps : public test::HostedTest {
  protected:
    FailingRemaps() {
        resolving_ = &TheHost();
        REALPluginMain([](const char* name) { return resolving_->Resolve(name); });
        format_ = TheHost().Constant("PictureTRV", "ImageFormatG");
        for (int64_t y = 0; y < kHeight; ++y) {
            for (int64_t x = 0; x < kWidth; ++x)
                source_.push_back(SampleAt(x, y));
        }
    }
    void TearDown() override {
        RefuseNth(Fault::View, 0);
        EXPECT_EQ(folder_.Count(), 0);
        test::HostedTest::TearDown();
    }

    [[nodiscard]] Ref Mapped(const char* name, int64_t width, int64_t height) const {
        return TheHost().Construct("PictureTRV", width, height, format_, 0,
                                   TheHost().NewFolderItem(folder_ / name));
    }
    [[nodiscard]] Ref Memory(int64_t width, int64_t height) const {
        return TheHost().Construct("PictureTRV", width, height, format_);
    }
    /// A mapped image with the source's samples.
    [[nodiscard]] Ref Source() const {
        const Ref image = Mapped("image", kWidth, kHeight);
        for (int64_t y = 0; y < kHeight; ++y)
            std::copy_n(source_.begin() + y * kWidth, kWidth, RowAt(image, y));
        return image;
    }
    [[nodiscard]] uint8_t* RowAt(const Ref& image, int64_t y) const {
        return static_cast<uint8_t*>(TheHost().Call(image, "RawRowPtr", y).ToPointer());
    }
    [[nodiscard]] uint8_t SampleOf(Place at) const {
        return source_[static_cast<size_t>(at.y * kWidth + at.x)];
    }

    /// Pixels of the result that are not what they should be, but what they were: those of the source where
    /// it was turned in place, 0 otherwise.
    template <class PlaceOf>
    int64_t CountLeft(const Ref& result, bool inPlace, const PlaceOf& placeOf) const {
        int64_t left = 0;
        const auto width = TheHost().Get<int64_t>(result, "Width");
        const auto height = TheHost().Get<int64_t>(result, "Height");
        for (int64_t y = 0; y < height; ++y) {
            const uint8_t* row = RowAt(result, y);
            for (int64_t x = 0; x < width; ++x) {
                if (row[x] == SampleOf(placeOf(x, y))) continue;
                const int before = inPlace ? SampleOf({x, y}) : 0;
                if (row[x] != before) {
                    ADD_FAILURE() << x << ", " << y << ": " << int{row[x]};
                    return left;
                }
                ++left;
            }
        }
        return left;
    }

    /// Runs `work`, which makes its images, arms and gives the result, with one of the first moves of a
    /// window refused, and without.
    template <class Work, class PlaceOf>
    int64_t Check(bool inPlace, const Work& work, const PlaceOf& placeOf) {
        int64_t left = 0;
        for (const int64_t n : {1, 2, 3, 0}) {
            SCOPED_TRACE("refusal " + std::to_string(n));
            next_ = n;
            const Ref result = work();
            RefuseNth(Fault::View, 0);
            EXPECT_TRUE(result);
            if (!result) continue;
            const int64_t now = CountLeft(result, inPlace, placeOf);
            if (n == 0) {
                EXPECT_EQ(now, 0);
            }
            left += now;
        }
        return left;
    }

    /// From here on the refusal counts.
    void Arm() const { RefuseNth(Fault::View, next_); }

    trvtest::ScratchFolder folder_;

  private:
    static inline trvhost::Host* resolving_ = nullptr;
    std::vector<uint8_t> source_;
    int64_t format_ = 0;
    int64_t next_ = 0;
};

TEST_F(FailingRemaps, InPlace) {
    int64_t left = 0;
    const struct {
        const char* declaration;
        bool columns;
        bool rows;
    } works[] = {{"HMirror", true, false}, {"VMirror", false, true}, {"Rotate180", true, true}};
    for (const auto& work : works) {
        SCOPED_TRACE(work.declaration);
        const auto run = TheHost().Method<void()>("PictureTRV", work.declaration);
        const auto turned = [&] {
            Ref image = Source();
            Arm();
            run(image);
            return image;
        };
        left += Check(true, turned, [&](int64_t x, int64_t y) {
            // The middle row of a half turn repeats the row below it.
            const bool middle = work.columns && work.rows && y == kHeight / 2;
            const int64_t fromY = middle ? y + 1 : kHeight - 1 - y;
            return Place{work.columns ? kWidth - 1 - x : x, work.rows ? fromY : y};
        });
    }
    EXPECT_GT(left, 0) << "no refusal had a consequence";
}

TEST_F(FailingRemaps, FromAMappedImage) {
    int64_t left = 0;
    const struct {
        const char* declaration;
        int degrees;
    } turns[] = {{"Rotate180(dest as PictureTRV=nil) as PictureTRV", 180},
                 {"Rotate90(dest as PictureTRV=nil) as PictureTRV", 90},
                 {"Rotate270slow(dest as PictureTRV=nil) as PictureTRV", 270}};
    for (const auto& turn : turns) {
        const int64_t width = turn.degrees == 180 ? kWidth : kHeight;
        const int64_t height = turn.degrees == 180 ? kHeight : kWidth;
        for (const bool mapped : {false, true}) {
            SCOPED_TRACE(turn.declaration + std::string(mapped ? " into a mapped image" : ""));
            const auto turned = [&] {
                const Ref image = Source();
                const Ref dest = mapped ? Mapped("dest", width, height) : Memory(width, height);
                Arm();
                return TheHost().Call(image, turn.declaration, dest).ToThing();
            };
            left += Check(false, turned, [&](int64_t x, int64_t y) {
                if (turn.degrees == 90) return Place{kWidth - 1 - y, x};
                if (turn.degrees == 180) return Place{kWidth - 1 - x, kHeight - 1 - y};
                return Place{y, kHeight - 1 - x};
            });
        }
    }
    EXPECT_GT(left, 0) << "no refusal had a consequence";
}

// By an angle of shears there is no telling what a missing row leaves; it ends, and the result has its size.
TEST_F(FailingRemaps, FreeRotation) {
    for (int64_t n = 1; n <= 2; ++n) {
        const Ref image = Source();
        RefuseNth(Fault::View, n);
        const Ref result = TheHost().Call(image, "Rotate", 1.0).ToThing();
        RefuseNth(Fault::View, 0);
        ASSERT_TRUE(result);
        EXPECT_EQ(TheHost().Get<int64_t>(result, "Width"), 4241);   // cos * 4096 + sin * 8301, and one
        EXPECT_EQ(TheHost().Get<int64_t>(result, "Height"), 8372);  // cos * 8301 + sin * 4096, and one
    }
}

}  // namespace

}  // namespace trv
