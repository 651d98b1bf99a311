#include "frame/host_calls.h"

namespace trv {

namespace {

HostResolver mainResolver = nullptr;
double hostVersion = 0.0;
int32_t sdkVersion = 15;

/// The entries written out below, so that they find their slots like all others.
namespace raw {

#define TRV_ENTRY(name, ...)
#define TRV_ARRAY_ENTRIES(kind, type)
#define TRV_SPECIAL_ENTRY(name, ...) constinit host::Entry<__VA_ARGS__> name{#name};
#include "frame/host_entries.inc"
#undef TRV_ENTRY
#undef TRV_SPECIAL_ENTRY
#undef TRV_ARRAY_ENTRIES

}  // namespace raw

int32_t SdkVersionFor(double version) {
    if (version >= 2013.04) return 13;
    if (version >= 2013.03) return 12;
    if (version >= 2013.0) return 11;
    if (version >= 2012.0) return 10;
    return 9;
}

void ReadHostVersion() {
    if (const auto read = raw::REALGetRBVersion.Find()) hostVersion = read();
    sdkVersion = SdkVersionFor(hostVersion);
}

/// A pair of entries of the host's second resolver: one that works on a class, and the one that gives an
/// object's class. The resolver is fetched once. A class entry without the other marks an attempt that failed
/// for good.
template <class Signature>
class ClassEntry {
  public:
    using Function = typename host::Entry<Signature>::Function;

    explicit ClassEntry(const char* name) : name_(name) {
        using GetResolver = HostResolver (*)();
        const auto get = reinterpret_cast<GetResolver>(host::ResolveEntry("GetRBScriptResolver"));
        if (get != nullptr) resolver_ = get();
    }

    /// The entry, with the class of the instance in `hostClass`; null if anything is missing.
    Function Find(HostObject instance, HostClass& hostClass) {
        if (resolver_ == nullptr) return nullptr;
        if (function_ == nullptr && classOf_ != nullptr) return nullptr;
        if (function_ == nullptr || classOf_ == nullptr) {
            function_ = reinterpret_cast<Function>(resolver_(name_));
            classOf_ = reinterpret_cast<ClassOf>(resolver_("RuntimeClassOf"));
        }
        if (function_ == nullptr || classOf_ == nullptr) return nullptr;
        hostClass = classOf_(instance);
        return hostClass == nullptr ? nullptr : function_;
    }

  private:
    using ClassOf = HostClass (*)(HostObject);

    const char* name_;
    HostResolver resolver_ = nullptr;
    Function function_ = nullptr;
    ClassOf classOf_ = nullptr;
};

}  // namespace

void ConnectHost(HostResolver resolver) {
    mainResolver = resolver;
    ReadHostVersion();
}

double HostVersion() {
    return hostVersion;
}

int32_t SdkVersion() {
    return sdkVersion;
}

namespace host {

void* ResolveEntry(const char* name) {
    return mainResolver == nullptr ? nullptr : mainResolver(name);
}

double REALGetRBVersion() {
    ReadHostVersion();
    return raw::REALGetRBVersion.Available() ? hostVersion : 0.0;
}

HostObject CreateInstance(HostClass hostClass) {
    const auto create = raw::CreateInstance.Find();
    return create == nullptr || hostClass == nullptr ? nullptr : create(hostClass);
}

HostObject PluginCallFunctionWithExceptionHandler(void (*fn)(void*), void* argument) {
    if (raw::PluginCallFunctionWithExceptionHandler.Available()) {
        return raw::PluginCallFunctionWithExceptionHandler(fn, argument);
    }
    fn(argument);
    return nullptr;
}

int64_t REALCountClassProperties(HostObject instance) {
    static ClassEntry<int64_t(HostClass)> entry("REALCountClassProperties");
    HostClass hostClass = nullptr;
    const auto count = entry.Find(instance, hostClass);
    return count == nullptr ? 0 : count(hostClass);
}

bool REALGetClassProperty(HostObject instance, int64_t index, void* first, void* second, void* third,
                          void* fourth) {
    static ClassEntry<bool(HostClass, int64_t, void*, void*, void*, void*)> entry("REALGetClassProperty");
    HostClass hostClass = nullptr;
    const auto get = entry.Find(instance, hostClass);
    return get != nullptr && get(hostClass, index, first, second, third, fourth) != 0;
}

const char* StringGetCString(HostString string, int64_t* lengthOut) {
    using LengthMethod = int64_t (*)(HostString);
    static std::atomic<LengthMethod> lengthSlot{nullptr};
    if (string == nullptr) return nullptr;
    LengthMethod length = lengthSlot.load(std::memory_order_relaxed);
    if (length == nullptr) {
        length =
            reinterpret_cast<LengthMethod>(REALLoadGlobalMethod(nullptr, "LenB( s as string ) as integer"));
        lengthSlot.store(length, std::memory_order_relaxed);
    }
    if (lengthOut != nullptr && length != nullptr) *lengthOut = length(string);
    return raw::StringGetCString(string);
}

void* GetEventInstance(HostObject instance, const void* eventDefinition) {
    if (eventDefinition == nullptr) return nullptr;
    struct Words {
        const void* first;
        void* second;
    };
    const Words* words = static_cast<const Words*>(eventDefinition);
    if (sdkVersion == 9 && words->second != nullptr) words = static_cast<const Words*>(words->second);
    return raw::GetEventInstance(instance, words->second);
}

bool REALGetPropValueBool(HostObject object, const char* name, Boolean* out) {
    uint8_t byte = 0;
    if (!raw::REALGetPropValueBool(object, name, &byte)) return false;
    if (out != nullptr) *out = byte != 0;
    return true;
}

void RuntimeGraphicsDrawString(HostObject graphics, HostString text, int64_t x, int64_t y,
                               int64_t wrapWidth) {
    static constinit Entry<void(HostObject, HostString, int64_t, int64_t, int64_t)> withIntegers{
        "RuntimeGraphicsDrawString"};
    if (hostVersion < 2018.02) {
        withIntegers(graphics, text, x, y, wrapWidth);
    } else {
        raw::RuntimeGraphicsDrawString(graphics, text, static_cast<double>(x), static_cast<double>(y),
                                       static_cast<double>(wrapWidth));
    }
}

double RuntimeGraphicsStringWidth(HostObject graphics, HostString text) {
    static constinit Entry<int64_t(HostObject, HostString)> withInteger{"RuntimeGraphicsStringWidth"};
    if (hostVersion >= 2007.02) return raw::RuntimeGraphicsStringWidth(graphics, text);
    return static_cast<double>(withInteger(graphics, text));
}

}  // namespace host

}  // namespace trv
