#pragma once

// What a unit test with the embedded host stands on: the plug-in's code, linked into the test program, is
// connected to it like the shared library, and at the end nothing may be left over.

#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <utility>

#include "frame/host_calls.h"
#include "trvhost/host.h"

namespace trv::test {

/// A test with one host. At the end no object or string may be left, no string data owed, no exception
/// pending, no misuse noted.
class HostedTest : public ::testing::Test {
  protected:
    explicit HostedTest(trvhost::Options options = {}) { Load(std::move(options)); }

    /// Replaces the host by a fresh one of other options; what belongs to the old one must be gone.
    void Load(trvhost::Options options) {
        Finish();
        host_ = std::make_unique<trvhost::Host>(std::move(options));
        start_ = host_->Live();
        current_ = host_.get();
        ConnectHost([](const char* name) { return current_->Resolve(name); });
    }

    void TearDown() override { Finish(); }

    [[nodiscard]] trvhost::Host& TheHost() const { return *host_; }

    /// The thing as the plug-in's code gets it; the reference stays the test's.
    [[nodiscard]] static HostObject ObjectOf(const trvhost::Ref& thing) {
        return static_cast<HostObject>(thing.Handle());
    }
    [[nodiscard]] static HostString StringOf(const trvhost::Ref& thing) {
        return static_cast<HostString>(thing.Handle());
    }
    /// Takes over the reference that came with a result.
    [[nodiscard]] trvhost::Ref Adopt(HostObject thing) const { return trvhost::Ref::Adopt(*host_, thing); }
    [[nodiscard]] trvhost::String Adopt(HostString thing) const {
        return trvhost::String(trvhost::Ref::Adopt(*host_, thing));
    }

    /// The exception that is pending, which is then forgotten; a failure if there is none.
    [[nodiscard]] trvhost::ExceptionInfo Raised() const {
        const auto exception = host_->TakeException();
        EXPECT_TRUE(exception.has_value());
        return exception.value_or(trvhost::ExceptionInfo{});
    }

  private:
    void Finish() {
        if (host_ == nullptr) return;
        EXPECT_EQ(host_->FirstMisuse(), "");
        EXPECT_FALSE(host_->HasException()) << *host_->TakeException();
        EXPECT_EQ(host_->Live(), start_);
        ConnectHost(nullptr);
        current_ = nullptr;
        host_.reset();
    }

    static inline trvhost::Host* current_ = nullptr;

    std::unique_ptr<trvhost::Host> host_;
    trvhost::LiveCounts start_;
};

}  // namespace trv::test
