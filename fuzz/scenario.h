#pragma once

// Every member once in good order, on images of several kinds: what faults are injected into. The members
// come from the class tables, their arguments from the parameters' names and types, so a new member takes
// part by itself.

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "members.h"
#include "trvhost/host.h"

namespace trvfuzz {

class Scenario {
  public:
    /// What an image is that members are called on.
    enum class Kind { Rgba, Cmyka, GrayAlpha, Gray16, Mapped, Clipped, OverPicture };
    static constexpr int kKinds = 7;

    /// One member on one kind of image; `given` hands it a destination and a temp, else those are nil.
    struct Call {
        const Member* member = nullptr;
        Kind kind = Kind::Rgba;
        bool given = false;
        [[nodiscard]] std::string Name() const;
    };

    enum class Log { Off, On };

    /// For a host with the plug-in connected. `scratch` is an empty folder for mapped images. With the log
    /// on, calls say what they do, which is the more of interest the less they are granted.
    Scenario(const trvhost::Host& host, std::filesystem::path scratch, Log log = Log::Off);

    [[nodiscard]] const std::vector<Call>& Calls() const { return calls_; }

    /// Makes what the call needs, runs `before`, makes the call, runs `after` and lets go of everything. A
    /// host that lacks something may leave nothing to call on; then the call is left out, without `before`
    /// and `after`.
    void Run(const Call& call, const std::function<void()>& before, const std::function<void()>& after) const;

  private:
    [[nodiscard]] trvhost::Ref MakeImage(Kind kind) const;
    [[nodiscard]] trvhost::Value Argument(const Call& call, const trvhost::Parameter& parameter,
                                          const trvhost::Ref& self, bool first) const;
    [[nodiscard]] int64_t Number(const trvhost::Parameter& parameter, const trvhost::Ref& self) const;
    void Perform(const Member& member, const trvhost::Ref& self,
                 const std::vector<trvhost::Value>& values) const;

    const trvhost::Host& host_;
    std::filesystem::path scratch_;
    Log log_;
    std::vector<Member> members_;
    std::vector<Call> calls_;
};

}  // namespace trvfuzz
