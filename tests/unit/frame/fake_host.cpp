#include "unit/frame/fake_host.h"

#include <gtest/gtest.h>

#include "frame/host_calls.h"

namespace trv::test {

namespace {

FakeHostState nobody;  // serves calls while no test has a host
FakeHostState* current = &nobody;

struct Object {
    std::string className;
    int64_t references;
    std::string message;
    int64_t errorNumber;
};

struct String {
    BuiltString contents;
    int64_t references;
};

Object* ObjectOf(HostObject object) {
    return reinterpret_cast<Object*>(object);
}

String* StringOf(HostString string) {
    return reinterpret_cast<String*>(string);
}

double GetRBVersion() {
    return current->version;
}

HostObject NewInstance(const char* className) {
    if (current->missingClasses.contains(className)) return nullptr;
    ++current->liveObjects;
    return reinterpret_cast<HostObject>(new Object{className, 1, {}, 0});
}

void LockObject(HostObject object) {
    if (object != nullptr) ++ObjectOf(object)->references;
}

void UnlockObject(HostObject object) {
    if (object == nullptr || --ObjectOf(object)->references > 0) return;
    --current->liveObjects;
    delete ObjectOf(object);
}

void LockString(HostString string) {
    if (string != nullptr) ++StringOf(string)->references;
}

void UnlockString(HostString string) {
    current->calls.emplace_back("REALUnlockString");
    if (string == nullptr || --StringOf(string)->references > 0) return;
    --current->liveStrings;
    delete StringOf(string);
}

HostString BuildWithEncoding(const char* bytes, int32_t count, uint32_t encoding) {
    current->calls.emplace_back("REALBuildStringWithEncoding");
    return FakeHost::NewString(std::string(bytes, static_cast<size_t>(count)), encoding);
}

HostString Build(const char* bytes, int32_t count) {
    current->calls.emplace_back("REALBuildString");
    return FakeHost::NewString(std::string(bytes, static_cast<size_t>(count)), 65535);
}

void SetEncoding(HostString string, uint32_t encoding) {
    current->calls.emplace_back("REALSetStringEncoding");
    StringOf(string)->contents.encoding = encoding;
}

HostString AddStrings(HostString first, HostString second) {
    return FakeHost::NewString(FakeHost::ContentsOf(first).bytes + FakeHost::ContentsOf(second).bytes);
}

uint8_t SetPropertyString(HostObject object, const char* name, HostString value) {
    EXPECT_STREQ(name, "Message");
    ObjectOf(object)->message = FakeHost::ContentsOf(value).bytes;
    return 1;
}

uint8_t SetPropertyInteger(HostObject object, const char* name, int64_t value) {
    EXPECT_STREQ(name, "ErrorNumber");
    ObjectOf(object)->errorNumber = value;
    return 1;
}

void Raise(HostObject object) {
    const Object& exception = *ObjectOf(object);
    current->raised.push_back({exception.className, exception.message, exception.errorNumber});
}

void RegisterClass(void* definition) {
    current->registered.push_back(static_cast<ClassDefinition*>(definition));
}

void YieldToHost() {
    ++current->yields;
    if (current->onYield) current->onYield();
}

void* Resolve(const char* name) {
    ++current->lookups[name];
    if (current->missingEntries.contains(name)) return nullptr;
    const auto found = current->entries.find(name);
    return found == current->entries.end() ? nullptr : found->second;
}

}  // namespace

FakeHost::FakeHost(double hostVersion) {
    version = hostVersion;
    current = this;
    Provide("REALGetRBVersion", GetRBVersion);
    Provide("PluginNewInstance", NewInstance);
    Provide("REALLockObject", LockObject);
    Provide("REALUnlockObject", UnlockObject);
    Provide("REALLockString", LockString);
    Provide("REALUnlockString", UnlockString);
    Provide("REALBuildStringWithEncoding", BuildWithEncoding);
    Provide("REALBuildString", Build);
    Provide("REALSetStringEncoding", SetEncoding);
    Provide("RuntimeAddString", AddStrings);
    Provide("REALSetPropValueString", SetPropertyString);
    Provide("REALSetPropValueInteger", SetPropertyInteger);
    Provide("RuntimeRaiseException", Raise);
    Provide("PluginRegisterClass", RegisterClass);
    Provide("REALYieldToRB", YieldToHost);
    ConnectHost(Resolve);
}

FakeHost::~FakeHost() {
    EXPECT_EQ(liveObjects, 0);
    EXPECT_EQ(liveStrings, 0);
    current = &nobody;
    ConnectHost([](const char*) -> void* { return nullptr; });
}

void FakeHost::Reconnect(double newVersion) {
    version = newVersion;
    ConnectHost(Resolve);
}

HostString FakeHost::NewString(const std::string& bytes, uint32_t encoding) {
    ++current->liveStrings;
    return reinterpret_cast<HostString>(new String{{bytes, encoding}, 1});
}

BuiltString FakeHost::ContentsOf(HostString string) {
    return string == nullptr ? BuiltString{} : StringOf(string)->contents;
}

}  // namespace trv::test
