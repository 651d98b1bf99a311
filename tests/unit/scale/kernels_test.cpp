// The seven kernels at the points where their formulas meet and end.

#include "scale/kernels.h"

#include <gtest/gtest.h>

#include "blackbox/scale_reference.h"

namespace trv {
namespace {

double At(int64_t mode, double x) {
    double value = 0.0;
    EXPECT_TRUE(DispatchKernel(mode, [&]<class Kernel>() { value = Kernel::At(x); }));
    return value;
}

TEST(ScaleKernels, OnlySevenModesExist) {
    for (const int64_t mode : {int64_t{-1}, int64_t{0}, int64_t{8}, INT64_MIN, INT64_MAX}) {
        EXPECT_FALSE(DispatchKernel(mode, []<class Kernel>() { FAIL(); })) << mode;
    }
}

TEST(ScaleKernels, TheCentreIsOne) {
    for (const int64_t mode :
         {ScaleTriangle, ScaleBox, ScaleLanczos3, ScaleLanczos8, ScalePoly3, ScaleCubic}) {
        EXPECT_EQ(At(mode, 0.0), 1.0) << mode;
    }
    EXPECT_EQ(At(ScaleMitchell, 0.0), 5.333333333333333 / 6.0);
}

TEST(ScaleKernels, TheBoxIncludesItsEndPoint) {
    EXPECT_EQ(At(ScaleBox, 0.5), 1.0);
    EXPECT_EQ(At(ScaleBox, -0.5), 1.0);
    EXPECT_EQ(At(ScaleBox, std::nextafter(0.5, 1.0)), 0.0);
}

TEST(ScaleKernels, TheOthersExcludeTheirs) {
    EXPECT_EQ(At(ScaleTriangle, 1.0), 0.0);
    EXPECT_EQ(At(ScaleLanczos3, 3.0), 0.0);
    EXPECT_EQ(At(ScaleLanczos8, 8.0), 0.0);
    EXPECT_EQ(At(ScaleMitchell, 2.0), 0.0);
    EXPECT_EQ(At(ScalePoly3, 2.0), 0.0);
    EXPECT_EQ(At(ScalePoly3, 3.5), 0.0);  // in spite of its radius of 4
    EXPECT_EQ(At(ScaleCubic, std::nextafter(3.0, 4.0)), 0.0);
    EXPECT_NE(At(ScaleLanczos3, 2.9), 0.0);
    EXPECT_NE(At(ScaleLanczos8, 7.9), 0.0);
    EXPECT_NE(At(ScaleCubic, 2.9), 0.0);
}

TEST(ScaleKernels, TheCubicsChangeTheirPieceWhereTheyShould) {
    // The pieces of the cubic include their right ends, which rounding makes visible.
    EXPECT_EQ(At(ScaleCubic, 1.0), 1.3333333333333333 - 2.3333333333333335 + 1.0);
    EXPECT_EQ(At(ScaleCubic, 2.0), 3.0 * 4.0 - 0.5833333333333334 * 8.0 - 4.916666666666667 * 2.0 + 2.5);
    EXPECT_EQ(At(ScalePoly3, 1.0), ((-0.75 + 3.75) - 6.0) + 3.0);
    EXPECT_EQ(At(ScaleMitchell, 1.0), (12.0 - 2.3333333333333335 - 20.0 + 10.666666666666666) / 6.0);
}

TEST(ScaleKernels, RadiiAndCapacities) {
    const double radii[] = {1.0, 0.5, 3.0, 8.0, 2.0, 4.0, 3.0};
    const int64_t horizontal[] = {4, 2, 8, 18, 6, 10, 8};
    const int64_t vertical[] = {4, 3, 8, 18, 6, 10, 8};
    for (int64_t mode = 1; mode <= 7; ++mode) {
        EXPECT_TRUE(DispatchKernel(mode, [&]<class Kernel>() {
            EXPECT_EQ(Kernel::kRadius, radii[mode - 1]) << mode;
            EXPECT_EQ(Kernel::kHorizontalCapacity, horizontal[mode - 1]) << mode;
            EXPECT_EQ(Kernel::kVerticalCapacity, vertical[mode - 1]) << mode;
        }));
    }
}

TEST(ScaleKernels, AgreeWithTheReferenceEverywhere) {
    for (int mode = 1; mode <= 7; ++mode) {
        for (int i = -9000; i <= 9000; ++i) {
            const double x = i / 1000.0;
            ASSERT_EQ(At(mode, x), trvtest::reference::KernelValue(mode, x)) << mode << " at " << x;
        }
    }
}

}  // namespace
}  // namespace trv
