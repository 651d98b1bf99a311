// Passes over a temp that nobody else sees, cut into jobs of every size, against the reference: the same
// destination, and a temp with no more in it than neighbours need of each other.

#include <gtest/gtest.h>

#include "frame/debug_log.h"
#include "frame/instruction_set.h"
#include "scale/kernels.h"
#include "scale/two_pass.h"
#include "unit/scale/record_image.h"

namespace trv {
namespace {

using test::RecordImage;
using trvtest::reference::Family;
using trvtest::reference::Scaler;
using trvtest::reference::TempPixel;

/// Has a number of jobs done one by one, the last of them first.
class CuttingRunner final : public PassRunner {
  public:
    explicit CuttingRunner(int64_t jobs) : jobs_(jobs) {}
    void Horizontal(const RowPass& pass, const ScaleTask& task) override { Cut(pass, task.source.Height); }
    void Vertical(const RowPass& pass, const ScaleTask& task) override { Cut(pass, task.height); }
    [[nodiscard]] bool Yields() const override { return true; }

  private:
    void Cut(const RowPass& pass, int64_t rows) const {
        const int64_t each = rows / jobs_;
        for (int64_t job = jobs_ - 1; job >= 0; --job)
            pass.Run(job * each, job == jobs_ - 1 ? rows - 1 : (job + 1) * each - 1, false);
    }

    const int64_t jobs_;
};

class FusedPassesTest : public ::testing::TestWithParam<const char*> {
  protected:
    void SetUp() override {
        if (!ForceInstructionSet(GetParam())) GTEST_SKIP() << "this machine does not have " << GetParam();
    }
    void TearDown() override { ForceInstructionSet({}); }

    /// Without kernels the passes stay apart.
    static bool IsPlain() { return std::string(GetParam()) == "plain"; }

    /// Scales in jobs and compares the destination; returns how many rows of the temp were touched.
    int64_t Check(RecordImage& source, RecordImage& dest, int64_t mode, int64_t jobs, int64_t width = 0,
                  int64_t height = 0) {
        if (width == 0) width = dest.Record().Width;
        if (height == 0) height = dest.Record().Height;
        const auto family = Family(source.Model(), dest.Model());
        if (!family) return -1;
        const int64_t format = ImageFormatScaling1 + TempPixel(*family) - 1;
        RecordImage temp(width, source.Record().Height, format, 99, mode % 3);
        const auto before = temp.Bytes();
        auto sourceModel = source.Model();
        auto destModel = dest.Model();
        auto tempModel = temp.Model();
        Scaler(*family, sourceModel, destModel, tempModel).Run(static_cast<int>(mode), width, height);
        CuttingRunner runner(jobs);
        const ScaleRequest request{dest.Object(), source.Object(), temp.Object(), mode, width, height};
        const ScaleFamily* chosen = SelectFamily(request);
        EXPECT_NE(chosen, nullptr);
        EXPECT_TRUE(RunDriver(*chosen, request, temp.Object(), TempKind::Private, runner));
        EXPECT_TRUE(dest.Bytes() == destModel.bytes)
            << *family << " mode " << mode << " " << source.Record().Width << "x" << source.Record().Height
            << ">" << width << "x" << height << " in " << jobs << " jobs";
        EXPECT_TRUE(&source == &dest || source.Bytes() == sourceModel.bytes);
        EXPECT_TRUE(source.GuardsIntact() && temp.GuardsIntact() && dest.GuardsIntact());
        return TouchedRows(temp, before, tempModel.bytes);
    }

    /// Rows that differ from before. Those must be as the reference has them.
    static int64_t TouchedRows(RecordImage& temp, const std::vector<uint8_t>& before,
                               const std::vector<uint8_t>& expected) {
        const auto bytes = temp.Bytes();
        const auto rowSize = static_cast<size_t>(temp.Record().RowSize);
        int64_t touched = 0;
        for (size_t at = 0; at < bytes.size(); at += rowSize) {
            const auto same = [&](const std::vector<uint8_t>& other) {
                return std::equal(bytes.begin() + static_cast<std::ptrdiff_t>(at),
                                  bytes.begin() + static_cast<std::ptrdiff_t>(at + rowSize),
                                  other.begin() + static_cast<std::ptrdiff_t>(at));
            };
            if (same(before)) continue;
            ++touched;
            EXPECT_TRUE(same(expected)) << "row " << at / rowSize << " of the temp";
        }
        return touched;
    }

    std::mt19937 random_{23};
};

INSTANTIATE_TEST_SUITE_P(InstructionSets, FusedPassesTest,
                         ::testing::Values("plain", "baseline", "avx2", "avx512"),
                         [](const auto& test) { return std::string(test.param); });

TEST_P(FusedPassesTest, OneJobLeavesTheTempAlone) {
    for (int64_t mode = 1; mode <= 7; ++mode) {
        for (const auto& [width, height] :
             {std::pair<int64_t, int64_t>{20, 40}, {20, 150}, {33, 300}, {20, 149}, {5, 3}, {1, 1}}) {
            RecordImage source(20, 150, ImageFormatRGBA, random_());
            RecordImage dest(width, height, ImageFormatBGRA, random_());
            EXPECT_EQ(Check(source, dest, mode, 1) == 0, !IsPlain());
            if (HasFailure()) return;
        }
    }
}

TEST_P(FusedPassesTest, EveryNumberOfJobsAtEveryHeight) {
    for (int64_t height = 1; height <= 90; height += 1 + static_cast<int64_t>(random_() % 3)) {
        for (const int64_t jobs : {1, 2, 3, 7, 32}) {
            const auto targets = static_cast<int64_t>(1 + random_() % 120);
            RecordImage source(7, height, ImageFormatRGB, random_());
            RecordImage dest(9, targets, ImageFormatXBGR, random_());
            Check(source, dest, 1 + random_() % 7, jobs);
            if (HasFailure()) return;
        }
    }
}

TEST_P(FusedPassesTest, EveryFamily) {
    for (const int64_t from : {ImageFormatRGB, ImageFormatARGB, ImageFormatG, ImageFormatAG, ImageFormatCMYK,
                               ImageFormatAKYMC, ImageFormatGray16}) {
        for (const int64_t to : {ImageFormatBGR, ImageFormatRGBA, ImageFormatG, ImageFormatGA,
                                 ImageFormatKYMC, ImageFormatCMYKA, ImageFormatGray16}) {
            RecordImage source(1 + random_() % 40, 1 + random_() % 200, from, random_(), random_() % 7);
            RecordImage dest(1 + random_() % 40, 1 + random_() % 200, to, random_(), random_() % 7);
            Check(source, dest, 1 + random_() % 7, 1 + random_() % 4);
            if (HasFailure()) return;
        }
    }
}

TEST_P(FusedPassesTest, ABandThatMovesDownManyTimes) {
    for (const int64_t mode : {ScaleTriangle, ScaleLanczos8}) {
        RecordImage source(50, 1900, ImageFormatRGBA, random_());
        RecordImage smaller(31, 700, ImageFormatRGBA, random_());
        RecordImage larger(13, 2600, ImageFormatRGB, random_());
        // On either side of a border between jobs the reach of the kernel.
        const int64_t most = IsPlain() ? 1900 : 120;
        EXPECT_LE(Check(source, smaller, mode, 2), most);
        EXPECT_LE(Check(source, larger, mode, 3), most);
        if (HasFailure()) return;
    }
}

TEST_P(FusedPassesTest, RequestsThatTheDestinationCuts) {
    for (int round = 0; round < 20; ++round) {
        RecordImage source(12, 1 + random_() % 300, ImageFormatRGBA, random_());
        RecordImage dest(1 + random_() % 20, 1 + random_() % 90, ImageFormatRGBA, random_());
        Check(source, dest, 1 + random_() % 7, 1 + random_() % 5, dest.Record().Width + random_() % 9,
              dest.Record().Height + random_() % 400);
        if (HasFailure()) return;
    }
}

TEST_P(FusedPassesTest, ADestinationThatIsTheSourceIsWrittenWhenAllIsRead) {
    RecordImage image(30, 200, ImageFormatRGBA, 1);
    RecordImage other(30, 200, ImageFormatRGBA, 1);
    RecordImage dest(30, 200, ImageFormatRGBA, 1);
    Check(other, dest, ScaleLanczos3, 1, 15, 400);
    const int64_t touched = Check(image, image, ScaleLanczos3, 1, 15, 400);
    EXPECT_EQ(touched, 200);
    EXPECT_TRUE(image.Bytes() == dest.Bytes());
}

}  // namespace
}  // namespace trv
