#include "frame/debugging_property.h"

#include <iterator>

#include "frame/debug_log.h"
#include "frame/host_types.h"

namespace trv {

namespace {

constexpr AttributeDefinition kHidden[] = {{.name = "Hidden", .value = ""}};

Boolean GetDebugging(int64_t /*parameter*/) {
    return debugFlag;
}

void SetDebugging(int64_t /*parameter*/, Boolean value) {
    debugFlag = value != 0;
    TRV_LOG("TRV debug logging enabled.");
}

}  // namespace

PropertyDefinition DebuggingProperty() {
    return {.name = "Debugging",
            .type = "Boolean",
            .flags = kSharedProperty,
            .getter = TableFunction(GetDebugging),
            .setter = TableFunction(SetDebugging),
            .attributeCount = std::size(kHidden),
            .attributes = kHidden};
}

}  // namespace trv
