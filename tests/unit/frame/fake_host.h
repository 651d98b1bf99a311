#pragma once

// A host of a few dozen lines for unit tests: objects, strings, exceptions, and whatever entries a test adds.

#include <cstdint>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "frame/class_tables.h"
#include "frame/host_types.h"

namespace trv::test {

/// An exception as the host's program would see it.
struct RaisedException {
    std::string className;
    std::string message;
    int64_t errorNumber;
    friend bool operator==(const RaisedException&, const RaisedException&) = default;
};

/// A string as it was built.
struct BuiltString {
    std::string bytes;
    uint32_t encoding;
    friend bool operator==(const BuiltString&, const BuiltString&) = default;
};

/// What a test sets up and looks at.
struct FakeHostState {
    double version = 0.0;
    std::map<std::string, void*> entries;
    std::set<std::string> missingEntries;
    std::set<std::string> missingClasses;
    std::function<void()> onYield;

    std::map<std::string, int> lookups;
    std::vector<RaisedException> raised;
    std::vector<std::string> calls;  // of REALBuildString and its kin, and REALUnlockString
    std::vector<ClassDefinition*> registered;
    int yields = 0;
    int64_t liveObjects = 0;
    int64_t liveStrings = 0;
};

/// While it lives, the frame is connected to it. The addresses of its entries are the same for all fakes of a
/// process, as the frame keeps what it has found; so an entry can be missing only until it is first used.
class FakeHost : public FakeHostState {
  public:
    explicit FakeHost(double hostVersion = 2024.01);
    ~FakeHost();
    FakeHost(const FakeHost&) = delete;
    FakeHost& operator=(const FakeHost&) = delete;

    /// Connects again, with another version.
    void Reconnect(double newVersion);
    /// Adds an entry, or replaces one that was not used yet.
    template <class R, class... A>
    void Provide(const std::string& name, R (*function)(A...)) {
        entries[name] = reinterpret_cast<void*>(function);
    }

    [[nodiscard]] static HostString NewString(const std::string& bytes, uint32_t encoding = kEncodingUtf8);
    [[nodiscard]] static BuiltString ContentsOf(HostString string);
};

}  // namespace trv::test
