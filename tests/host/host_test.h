// What the tests of the host alone stand on: a host without a library, and a class that the test itself
// registers.
#pragma once

#include <cstring>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "trvhost/host.h"

namespace hosttest {

using namespace trvhost;

/// Fails the test if something leaked or was misused while it ran.
class HostTest : public testing::Test {
  protected:
    void TearDown() override {
        EXPECT_EQ(host.FirstMisuse(), expectedMisuse);
        EXPECT_EQ(host.Live(), LiveCounts());
        EXPECT_FALSE(host.HasException());
    }
    /// Calls an entry: `Call<Result(Arguments…)>("name", arguments…)`.
    template <class Signature, class... Args>
    auto Call(const char* name, Args... args) {
        auto* entry = host.Entry<Signature>(name);
        if (entry == nullptr) throw std::logic_error(std::string("no entry ") + name);
        return entry(args...);
    }
    /// Takes the exception that must be there, as "Class: message".
    std::string Exception() {
        const auto info = host.TakeException();
        return info ? info->className + ": " + info->message : "none";
    }

    Host host;
    std::string expectedMisuse;
};

using Handle = void*;

/// The class data of "Sample".
struct SampleData {
    int64_t number;
    uint8_t flag;
    int32_t small;
    double real;
    Handle object;
    Handle text;
};

inline SampleData& Data(Handle self) {
    return *reinterpret_cast<SampleData*>(static_cast<char*>(self) + kObjectHeaderSize);
}

/// What the functions of "Sample" note down.
struct SampleLog {
    int destroyed = 0;
    std::vector<std::string> lines;
};
inline SampleLog& Log() {
    static SampleLog log;
    return log;
}

/// Registers "Sample", a class with a member of every kind, as a plug-in would.
const ClassDefinition& RegisterSample(Host& host, uint32_t tableVersion = 13);

}  // namespace hosttest
