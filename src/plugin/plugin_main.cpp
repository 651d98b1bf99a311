// The one exported function: connects to the host, reads its version, and shows it the two classes.

#include <algorithm>

#include "frame/host_calls.h"
#include "image/mapped_image.h"
#include "platform/clock_and_chance.h"
#include "platform/export.h"
#include "platform/memory.h"
#include "plugin/class_definitions.h"

namespace trv {

namespace {

/// Only this file talks about versions with the host, so the entry stands here and not in the list.
constinit host::Entry<void(int32_t)> registerPluginVersion{"RegisterPluginVersion"};

void RegisterWithHost() {
    registerPluginVersion(SdkVersion());
    // Only a running program works with images; in the IDE's design mode nothing needs pages or chance.
    if (host::REALinRuntime()) {
        AllocationGranularity = std::max<int64_t>(PageSize(), 4096);
        SeedPlainRandom();
    }
    RegisterPicture();
    RegisterFactory();
}

}  // namespace

}  // namespace trv

/// Called by the host once, when it has loaded the library. `resolver` finds the host's entries by name; with
/// null, nothing is registered. There is no counterpart: the host keeps the tables until the process ends.
extern "C" TRV_EXPORT void REALPluginMain(trv::HostResolver resolver) {
    trv::ConnectHost(resolver);
    if (resolver == nullptr) return;
    trv::RegisterWithHost();
}
