#pragma once

// One program of calls: bytes in, calls of the plug-in's members out, with a text of every step.
//
// A program makes images of every kind and calls members in any order on them, with sensible, extreme and
// meaningless arguments; from time to time the host's event loop (a yield) and the factories run further
// steps in the midst of a call. Afterwards everything is let go, and what is left over is an error.

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "choices.h"
#include "digest.h"
#include "members.h"
#include "numbers.h"
#include "things.h"
#include "trvhost/host.h"

namespace trvfuzz {

/// The host that programs run in, one after the other, and what is counted over all of them.
class Machine {
  public:
    /// Loads the plug-in. `scratch` is an empty folder for the programs' files.
    Machine(const std::filesystem::path& plugin, trvhost::Options options, std::filesystem::path scratch);

    trvhost::Host& TheHost() { return *host_; }
    std::vector<Member>& Members() { return members_; }
    [[nodiscard]] const std::vector<std::string>& Constants() const { return constants_; }
    [[nodiscard]] const std::filesystem::path& Scratch() const { return scratch_; }
    [[nodiscard]] int64_t Calls() const { return calls_; }
    [[nodiscard]] int64_t Exceptions() const { return exceptions_; }
    [[nodiscard]] int64_t Yields() const { return yields_; }
    /// Members that no program has called yet.
    [[nodiscard]] std::vector<std::string> Uncalled() const;

    /// From now on programs do nothing that depends on time or chance, and are digested step by step.
    void MakeRepeatable() { repeatable_ = true; }
    /// Of everything that the last program made.
    [[nodiscard]] const Digest& LastDigest() const { return digest_; }

    /// Runs one program. The result says what was wrong at its end (a leak, a misuse); empty if nothing was.
    std::string Run(std::span<const uint8_t> bytes);

  private:
    friend class Program;

    std::unique_ptr<trvhost::Host> host_;
    std::vector<Member> members_;
    std::vector<std::string> constants_;
    std::filesystem::path scratch_;
    trvhost::LiveCounts start_;
    int64_t calls_ = 0;
    int64_t exceptions_ = 0;
    int64_t yields_ = 0;
    bool repeatable_ = false;
    Digest digest_;
};

/// A program while it runs.
class Program {
  public:
    Program(Machine& machine, std::span<const uint8_t> bytes) : machine_(machine), choices_(bytes) {}

    void Run();

  private:
    void Step();
    /// What the step has made of the images.
    void DigestStep();
    void MakeThing();
    void MakeImage();
    void MakeMapped();
    void MakeOverMemory();
    void MakePicture();
    void MakeArray();
    void MakeFactory();
    void CallMember();
    void Interrupt();
    trvhost::Ref Answer(int64_t width, int64_t height, int64_t format);

    trvhost::Value AnyArgument(const trvhost::Parameter& parameter, const trvhost::Ref& self);
    trvhost::Ref AnyThing(const trvhost::Parameter& parameter, const trvhost::Ref& self);
    trvhost::Ref AnyFolderItem();
    trvhost::Value Perform(const Member& member, const trvhost::Ref& self,
                           const std::vector<trvhost::Value>& arguments);
    /// Tells of a step that is about to be made.
    void Tell(const std::string& text);
    std::string TextOf(const std::vector<trvhost::Value>& values);

    Machine& machine_;
    Choices choices_;
    Things things_;
    int depth_ = 0;  ///< calls under way, one inside the other
    int steps_ = 0;
    int wrongAnswers_ = 0;  ///< of factories, which may not go on for ever
};

}  // namespace trvfuzz
