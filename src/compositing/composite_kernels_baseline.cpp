// Compositing kernels for any x86-64: plain loops that the compiler turns into vectors. They are independent:
// a byte that is written is read at its own place only.

#include "compositing/blend_rules.h"
#include "compositing/composite_kernels.h"
#include "spans/independent_loop.h"

namespace trv {

namespace {

template <class Rule>
void Blend(uint8_t* out, const uint8_t* d, const uint8_t* s, const uint8_t* m, const uint8_t* write,
           int64_t count) {
    if (write == nullptr) {
        TRV_INDEPENDENT_LOOP
        for (int64_t i = 0; i < count; ++i)
            out[i] = Rule::Apply(d[i], s[i], m[i]);
        return;
    }
    TRV_INDEPENDENT_LOOP
    for (int64_t i = 0; i < count; ++i) {
        const uint8_t made = Rule::Apply(d[i], s[i], m[i]);
        out[i] = static_cast<uint8_t>((made & write[i]) | (out[i] & ~write[i]));
    }
}

void Luma(uint8_t* out, const uint8_t* red, const uint8_t* green, const uint8_t* blue, int64_t count) {
    TRV_INDEPENDENT_LOOP
    for (int64_t i = 0; i < count; ++i)
        out[i] = BlendLuma(red[i], green[i], blue[i]);
}

}  // namespace

constinit const CompositeKernels kCompositeKernelsBaseline = {&Blend<MixRule>, &Blend<AddRule>, &Luma,
                                                              nullptr, nullptr};

}  // namespace trv
