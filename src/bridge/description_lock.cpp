#include "bridge/description_lock.h"

#include "bridge/host_kind.h"
#include "frame/host_calls.h"

namespace trv {

namespace {

constexpr double kLastHostWithoutDirect2D = 2016.03;

}  // namespace

bool HostHasDirect2D() {
    return HostVersion() > kLastHostWithoutDirect2D;
}

DescriptionLock::DescriptionLock(HostObject pic, PictureType wanted)
    : pic_(pic),
      wanted_(wanted),
      locked_(pic != nullptr &&
              host::REALLockPictureDescription(pic, &description_, static_cast<uint32_t>(wanted))) {
    if (locked_) LearnHostKind(wanted);
}

DescriptionLock::~DescriptionLock() {
    if (locked_) host::unlockPictureDescription(pic_);
}

}  // namespace trv
