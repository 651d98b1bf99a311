#include "bridge/host_kind.h"

#include "frame/host_calls.h"

namespace trv {

bool IsConsole = false;
bool IsDesktop = false;

namespace {

bool hostKindDetermined = false;

bool HostHasClass(const char* name) {
    return host::pluginObjectType(name) != nullptr;
}

}  // namespace

void DetermineHostKind() {
    if (hostKindDetermined) return;
    hostKindDetermined = true;
    if (HostHasClass("Application")) {
        IsDesktop = true;
    } else if (HostHasClass("WebApplication") || HostHasClass("ConsoleApplication")) {
        IsConsole = true;
    }
}

void LearnHostKind(PictureType type) {
    (type == pictureGDImagePtr ? IsConsole : IsDesktop) = true;
}

void ForgetHostKind() {
    IsConsole = IsDesktop = hostKindDetermined = false;
}

}  // namespace trv
