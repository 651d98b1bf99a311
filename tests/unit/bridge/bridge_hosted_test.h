#pragma once

// Tests of the bridge from inside, connected to an embedded host.
//
// Entries and methods that the code has found stay found for the process, so hosts that lack some are a
// matter for the tests from outside.

#include <gmock/gmock.h>
#include <string>
#include <vector>

#include "bridge/host_kind.h"
#include "unit/frame/log_capture.h"
#include "unit/hosted_test.h"

namespace trv::test {

using trvhost::HostKind;
using trvhost::Picture;
using trvhost::PictureStorage;
using trvhost::Ref;

/// A host of this kind and version whose pictures are kept in this way.
inline trvhost::Options HostOf(HostKind kind, double version,
                               PictureStorage storage = PictureStorage::Default) {
    trvhost::Options options;
    options.version = version;
    options.kind = kind;
    options.pictureStorage = storage;
    return options;
}

class BridgeHostedTest : public HostedTest {
  protected:
    BridgeHostedTest() : HostedTest(HostOf(HostKind::Console, 2024.01)) { ForgetHostKind(); }

    void Load(trvhost::Options options) {
        HostedTest::Load(std::move(options));
        ForgetHostKind();
    }

    [[nodiscard]] Picture NewPicture(int64_t width, int64_t height,
                                     PictureStorage storage = PictureStorage::Default,
                                     bool alpha = false) const {
        return TheHost().NewPicture(width, height, storage, alpha);
    }

    /// Takes over a picture that came with a result.
    [[nodiscard]] Picture Take(HostObject object) const { return Picture(Adopt(object)); }

    /// The lines of the debug log that `action` writes.
    template <class Action>
    static std::vector<std::string> LogOf(Action&& action) {
        const LogCapture capture;
        action();
        return capture.Lines();
    }
};

/// Fills a picture with numbers that tell its pixels apart.
inline void FillWithNumbers(const Picture& picture, uint32_t first = 0xFF102030) {
    for (int64_t y = 0; y < picture.Height(); ++y) {
        for (int64_t x = 0; x < picture.Width(); ++x)
            picture.SetPixel(x, y, first + static_cast<uint32_t>(y * 0x1000 + x));
    }
}

}  // namespace trv::test
