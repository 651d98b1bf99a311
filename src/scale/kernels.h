#pragma once

// The seven resampling kernels, each with its support radius and the fixed capacities of its contribution
// lists.
//
// A kernel is a type: `At(x)` is its value at the distance x from the centre, in double precision, 0 outside
// the support. A table builder is instantiated with the type, so no kernel is called through a pointer. What
// a formula says is said to the operation: its grouping decides whether a value is exactly zero, and zero
// taps are dropped.

#include <cmath>
#include <cstdint>

namespace trv {

/// The argument `mode` of the scalers, as host programs know it.
enum ScaleMode : int64_t {
    ScaleTriangle = 1,
    ScaleBox = 2,
    ScaleLanczos3 = 3,
    ScaleLanczos8 = 4,
    ScaleMitchell = 5,
    ScalePoly3 = 6,
    ScaleCubic = 7,
};

inline constexpr double kPi = 3.141592653589793;

[[nodiscard]] inline double Sinc(double t) {
    return t == 0.0 ? 1.0 : std::sin(kPi * t) / (kPi * t);
}

struct TriangleKernel {
    static constexpr double kRadius = 1.0;
    static constexpr int64_t kHorizontalCapacity = 4;
    static constexpr int64_t kVerticalCapacity = 4;

    [[nodiscard]] static double At(double x) {
        const double a = std::abs(x);
        return a < 1.0 ? 1.0 - a : 0.0;
    }
};

/// The end point belongs to the box.
struct BoxKernel {
    static constexpr double kRadius = 0.5;
    static constexpr int64_t kHorizontalCapacity = 2;
    static constexpr int64_t kVerticalCapacity = 3;

    [[nodiscard]] static double At(double x) { return std::abs(x) <= 0.5 ? 1.0 : 0.0; }
};

struct Lanczos3Kernel {
    static constexpr double kRadius = 3.0;
    static constexpr int64_t kHorizontalCapacity = 8;
    static constexpr int64_t kVerticalCapacity = 8;

    [[nodiscard]] static double At(double x) {
        const double a = std::abs(x);
        return a < 3.0 ? Sinc(a) * Sinc(a / 3.0) : 0.0;
    }
};

struct Lanczos8Kernel {
    static constexpr double kRadius = 8.0;
    static constexpr int64_t kHorizontalCapacity = 18;
    static constexpr int64_t kVerticalCapacity = 18;

    [[nodiscard]] static double At(double x) {
        const double a = std::abs(x);
        return a < 8.0 ? Sinc(a) * Sinc(a * 0.125) : 0.0;
    }
};

/// The cubic of Mitchell and Netravali with B = C = 1/3.
struct MitchellKernel {
    static constexpr double kRadius = 2.0;
    static constexpr int64_t kHorizontalCapacity = 6;
    static constexpr int64_t kVerticalCapacity = 6;

    [[nodiscard]] static double At(double x) {
        const double a = std::abs(x);
        if (a < 1.0) return (7.0 * (a * a * a) - 12.0 * (a * a) + 5.333333333333333) / 6.0;
        if (a < 2.0) {
            return (12.0 * (a * a) - 2.3333333333333335 * (a * a * a) - 20.0 * a + 10.666666666666666) / 6.0;
        }
        return 0.0;
    }
};

/// Cubic convolution with parameter -0.75. The radius is wider than the kernel: it only adds candidates,
/// which fall away as zero weights.
struct Poly3Kernel {
    static constexpr double kRadius = 4.0;
    static constexpr int64_t kHorizontalCapacity = 10;
    static constexpr int64_t kVerticalCapacity = 10;

    [[nodiscard]] static double At(double x) {
        const double a = std::abs(x);
        if (a < 1.0) return (1.25 * a - 2.25) * (a * a) + 1.0;
        if (a < 2.0) return ((-0.75 * a + 3.75) * a - 6.0) * a + 3.0;
        return 0.0;
    }
};

/// The six-point cubic; its pieces include their right ends.
struct CubicKernel {
    static constexpr double kRadius = 3.0;
    static constexpr int64_t kHorizontalCapacity = 8;
    static constexpr int64_t kVerticalCapacity = 8;

    [[nodiscard]] static double At(double x) {
        const double a = std::abs(x);
        if (a <= 1.0) return 1.3333333333333333 * (a * a * a) - 2.3333333333333335 * (a * a) + 1.0;
        if (a <= 2.0) {
            return 3.0 * (a * a) - 0.5833333333333334 * (a * a * a) - 4.916666666666667 * a + 2.5;
        }
        if (a <= 3.0) {
            return 0.08333333333333333 * (a * a * a) - 0.6666666666666666 * (a * a) + 1.75 * a - 1.5;
        }
        return 0.0;
    }
};

/// Calls `work` with the mode's kernel type as template argument; false, without a call, for any other value.
template <class Work>
bool DispatchKernel(int64_t mode, Work&& work) {
    switch (mode) {
        case ScaleTriangle:
            work.template operator()<TriangleKernel>();
            return true;
        case ScaleBox:
            work.template operator()<BoxKernel>();
            return true;
        case ScaleLanczos3:
            work.template operator()<Lanczos3Kernel>();
            return true;
        case ScaleLanczos8:
            work.template operator()<Lanczos8Kernel>();
            return true;
        case ScaleMitchell:
            work.template operator()<MitchellKernel>();
            return true;
        case ScalePoly3:
            work.template operator()<Poly3Kernel>();
            return true;
        case ScaleCubic:
            work.template operator()<CubicKernel>();
            return true;
        default:
            return false;
    }
}

}  // namespace trv
