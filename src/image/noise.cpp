#include "image/noise.h"

namespace trv {

void UniformIntegers::Refill() {
    left_ = pool_.size();
    auto* bytes = reinterpret_cast<uint8_t*>(pool_.data());
    if (DrawsEachValueStrongly()) {
        Noise::Fill(bytes, sizeof pool_);
        return;
    }
    while (generator_.state == decltype(generator_.state){})
        Noise::Fill(reinterpret_cast<uint8_t*>(generator_.state.data()), sizeof generator_.state);
    for (size_t i = 0; i < pool_.size(); i += 2) {
        const uint64_t value = generator_.Next();
        pool_[i] = static_cast<int32_t>(static_cast<uint32_t>(value));
        pool_[i + 1] = static_cast<int32_t>(static_cast<uint32_t>(value >> 32));
    }
}

}  // namespace trv
