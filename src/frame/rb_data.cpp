#include "frame/rb_data.h"

#include <algorithm>

#include "frame/debug_log.h"
#include "frame/heap_objects.h"
#include "frame/host_strings.h"

namespace trv {

rbData::rbData(HostString string) : string_(StringReference::Share(string)) {
    if (string_.Get() == nullptr) return;
    if (const auto [bytes, count] = BytesOfString(string); bytes != nullptr) {
        data = reinterpret_cast<const uint8_t*>(bytes);
        size = std::max<int64_t>(count, 0);
        return;
    }
    // In its own encoding, so that the host converts nothing.
    hostDataOwed_ = host::PluginGetStringData(string, host::REALGetStringEncoding(string), &hostData_);
    if (!hostDataOwed_ || hostData_.data == nullptr) return;
    data = static_cast<const uint8_t*>(hostData_.data);
    size = std::max<int64_t>(hostData_.size, 0);
}

rbData::rbData(const void* bytes, int64_t byteCount, HostObject owner)
    : data(static_cast<const uint8_t*>(bytes)),
      size(std::max<int64_t>(byteCount, 0)),
      owner_(ObjectReference::Share(owner)) {
    if (data == nullptr && byteCount != 0) {
        TRV_LOG("data is NULL, so size fixed to zero.");
        size = 0;
    }
}

rbData::~rbData() {
    if (!hostDataOwed_) return;
    TRV_LOG("REALDisposeStringData");
    host::PluginDisposeStringData(&hostData_);
}

rbData* rbData::New(HostString string) {
    return NewObject<rbData>("Failed to allocate rbData object.", string);
}

void rbData::leak() {
    TRV_LOG("rbData::leak");
    static_cast<void>(string_.Release());
    static_cast<void>(owner_.Release());
    hostDataOwed_ = false;
}

void AddDataChain(rbData*& head, rbData* item) {
    TRV_LOG("AddDataChain");
    AddToChain(head, item);
}

}  // namespace trv
