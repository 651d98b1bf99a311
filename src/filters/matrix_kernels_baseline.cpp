// Matrix kernels for any x86-64 processor.

#include "filters/matrix_kernels.h"
#include "spans/vectors_baseline.h"

namespace trv {

namespace {

using namespace baseline;

inline Vector Scaled(Vector integers, double factor) {
    const __m128d by = _mm_set1_pd(factor);
    const auto two = [&](Vector v) {
        // In this order the maximum is 0 for what is no number.
        const __m128d within = _mm_max_pd(_mm_mul_pd(_mm_cvtepi32_pd(v), by), _mm_setzero_pd());
        return _mm_cvttpd_epi32(_mm_min_pd(within, _mm_set1_pd(255)));
    };
    return _mm_unpacklo_epi64(two(integers), two(_mm_unpackhi_epi64(integers, integers)));
}

#include "filters/matrix_kernels.inc"

}  // namespace

constinit const MatrixKernels kMatrixKernelsBaseline = {nullptr, nullptr, Apply<WideSums, false>,
                                                        Apply<WideSums, true>};

}  // namespace trv
