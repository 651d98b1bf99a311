#include "host_test.h"

namespace hosttest {

namespace {

void Destroy(Handle) {
    ++Log().destroyed;
}

void Construct(Handle self, int64_t number) {
    Data(self).number = number;
}

int64_t Mixed(Handle self, int64_t a, double b, uint8_t c, float d, uint32_t color, int32_t e, Handle text,
              double f) {
    char line[200];
    std::snprintf(line, sizeof line, "%lld %g %d %g %06x %d %d %g", static_cast<long long>(a), b, c,
                  static_cast<double>(d), color, e, text != nullptr, f);
    Log().lines.emplace_back(line);
    return Data(self).number + a;
}

double Half(Handle, double value) {
    return value / 2;
}

float HalfSingle(Handle, float value) {
    return value / 2;
}

uint8_t Truth(Handle) {
    return 0x80;
}

int16_t Negative(Handle) {
    return -2;
}

Handle Me(Handle, Handle other) {
    Log().lines.emplace_back(other == nullptr ? "nil" : "object");
    return nullptr;
}

void ByNumber(Handle, int64_t) {
    Log().lines.emplace_back("number");
}

void ByColor(Handle, uint32_t) {
    Log().lines.emplace_back("color");
}

void ByDouble(Handle, double) {
    Log().lines.emplace_back("double");
}

void Plain(Handle) {
    Log().lines.emplace_back("plain");
}

int64_t WithDefault(Handle, int64_t value) {
    return value;
}

int64_t GetItem(Handle, int64_t index) {
    return index * 10;
}

void SetItem(Handle, int64_t index, int64_t value) {
    Log().lines.push_back("item " + std::to_string(index) + " = " + std::to_string(value));
}

int64_t Sum(int64_t a, int64_t b) {
    return a + b;
}

int64_t GetCoded(Handle self, int64_t parameter) {
    return Data(self).number * parameter;
}

void SetCoded(Handle self, int64_t parameter, int64_t value) {
    Data(self).number = value / parameter;
}

uint8_t sharedFlag = 0;

uint8_t GetShared(int64_t) {
    return sharedFlag;
}

void SetShared(int64_t, uint8_t value) {
    sharedFlag = value;
}

template <class Function>
void* Address(Function* function) {
    return reinterpret_cast<void*>(function);
}

}  // namespace

const ClassDefinition& RegisterSample(Host& host, uint32_t tableVersion) {
    static MethodDefinition methods[] = {
        {Address(Construct), nullptr, "Constructor(number as integer)", 4, 0, nullptr},
        {Address(Mixed), nullptr,
         "Mixed(a as integer, b as double, c as boolean, d as single, e as color, f as int32, g as string, h "
         "as double = 2.5) "
         "as integer",
         4, 0, nullptr},
        {Address(Half), nullptr, "Half(value as double) as double", 4, 0, nullptr},
        {Address(HalfSingle), nullptr, "HalfSingle(value as single) as single", 4, 0, nullptr},
        {Address(Truth), nullptr, "Truth as boolean", 4, 0, nullptr},
        {Address(Negative), nullptr, "Negative as int16", 4, 0, nullptr},
        {Address(Me), nullptr, "Me(other as Sample = nil) as Sample", 4, 0, nullptr},
        {Address(ByNumber), nullptr, "Choose(value as integer)", 4, 0, nullptr},
        {Address(ByColor), nullptr, "Choose(value as color)", 4, 0, nullptr},
        {Address(ByDouble), nullptr, "Choose(value as double)", 4, 0, nullptr},
        {Address(Plain), nullptr, "Same", 4, 0, nullptr},
        {Address(WithDefault), nullptr, "Same(value as integer = &h0A) as integer", 4, 0, nullptr},
        {Address(GetItem), Address(SetItem), "Item(index as integer) as integer", 4, 0, nullptr},
    };
    static PropertyDefinition properties[] = {
        {nullptr, "Number", "Integer", 6, kDirectAccess, kDirectAccess, offsetof(SampleData, number), nullptr,
         0, nullptr, 0, nullptr},
        {nullptr, "Flag", "Boolean", 6, kDirectAccess, kDirectAccess, offsetof(SampleData, flag), nullptr, 0,
         nullptr, 0, nullptr},
        {nullptr, "Small", "Int32", 6, kDirectAccess, nullptr, offsetof(SampleData, small), nullptr, 0,
         nullptr, 0, nullptr},
        {nullptr, "Real", "Double", 6, kDirectAccess, kDirectAccess, offsetof(SampleData, real), nullptr, 0,
         nullptr, 0, nullptr},
        {nullptr, "Other", "Sample", 6, kDirectAccess, kDirectAccess, offsetof(SampleData, object), nullptr,
         0, nullptr, 0, nullptr},
        {nullptr, "Text", "String", 6, kDirectAccess, kDirectAccess, offsetof(SampleData, text), nullptr, 0,
         nullptr, 0, nullptr},
        {nullptr, "Coded", "Integer", 6, Address(GetCoded), Address(SetCoded), 3, nullptr, 0, nullptr, 0,
         nullptr},
        {nullptr, "Outside", "Integer", 6, kDirectAccess, kDirectAccess, 4096, nullptr, 0, nullptr, 0,
         nullptr},
    };
    static PropertyDefinition sharedProperties[] = {
        {nullptr, "SharedFlag", "Boolean", 38, Address(GetShared), Address(SetShared), 0, nullptr, 0, nullptr,
         0, nullptr},
    };
    static MethodDefinition sharedMethods[] = {
        {Address(Sum), nullptr, "Sum(a as integer, b as integer) as integer", 4, 0, nullptr},
    };
    static ConstantDefinition constants[] = {
        {"Seven = 7", nullptr, 0, 0, nullptr},
        {"Hundred = &h00000064", nullptr, 0, 0, nullptr},
    };
    static ClassDefinition definition;
    definition = {};
    definition.version = tableVersion;
    definition.name = "Sample";
    definition.dataSize = sizeof(SampleData);
    definition.destructor = Address(Destroy);
    definition.properties = properties;
    definition.propertyCount = std::size(properties);
    definition.methods = methods;
    definition.methodCount = std::size(methods);
    definition.constants = constants;
    definition.constantCount = std::size(constants);
    definition.sharedProperties = sharedProperties;
    definition.sharedPropertyCount = std::size(sharedProperties);
    definition.sharedMethods = sharedMethods;
    definition.sharedMethodCount = std::size(sharedMethods);
    host.Entry<void(void*)>("PluginRegisterClass")(&definition);
    Log() = {};
    return definition;
}

}  // namespace hosttest
