// Compositing kernels for AVX-512.

#include "compositing/blend_rules.h"
#include "compositing/composite_kernels.h"
#include "spans/independent_loop.h"

namespace trv {

namespace {

#include "compositing/composite_kernels.inc"

}  // namespace

constinit const CompositeKernels kCompositeKernelsAvx512 = {&Blend<MixRule>, &Blend<AddRule>, &Luma};

}  // namespace trv
