#include "frame/failures.h"

#include <gtest/gtest.h>
#include <ios>
#include <new>
#include <stdexcept>
#include <string>
#include <typeinfo>
#include <vector>

#include "frame/host_calls.h"
#include "unit/frame/fake_host.h"
#include "unit/frame/log_capture.h"

namespace trv {
namespace {

using test::FakeHost;
using test::LogCapture;
using test::RaisedException;

/// The one exception that was raised since the last question.
RaisedException TakeRaised(FakeHost& host) {
    EXPECT_EQ(host.raised.size(), 1U);
    const RaisedException raised = host.raised.empty() ? RaisedException{} : host.raised.front();
    host.raised.clear();
    return raised;
}

// Raising ---

TEST(Raising, EachClassHasItsRoutine) {
    FakeHost host;
    RaiseIllegalCastException("m1");
    EXPECT_EQ(TakeRaised(host), (RaisedException{"IllegalCastException", "m1", 0}));
    RaiseOutOfBoundsException("m2");
    EXPECT_EQ(TakeRaised(host), (RaisedException{"OutOfBoundsException", "m2", 0}));
    RaiseOutOfMemoryException("m3");
    EXPECT_EQ(TakeRaised(host), (RaisedException{"OutOfMemoryException", "m3", 0}));
    RaiseRuntimeException("m4");
    EXPECT_EQ(TakeRaised(host), (RaisedException{"RuntimeException", "m4", 0}));
    RaiseUnsupportedOperationException("m5");
    EXPECT_EQ(TakeRaised(host), (RaisedException{"UnsupportedOperationException", "m5", 0}));
    RaiseNilObjectException("m6");
    EXPECT_EQ(TakeRaised(host), (RaisedException{"NilObjectException", "m6", 0}));
    RaiseException("SomeException", "m7");
    EXPECT_EQ(TakeRaised(host), (RaisedException{"SomeException", "m7", 0}));
}

TEST(Raising, ErrorNumbersAreHandedOn) {
    FakeHost host;
    RaiseException("SomeException", "text", -17);
    EXPECT_EQ(TakeRaised(host), (RaisedException{"SomeException", "text", -17}));
    RaiseUnsupportedOperationException("bytes", 5);
    EXPECT_EQ(TakeRaised(host), (RaisedException{"UnsupportedOperationException", "bytes", 5}));
    const HostString message = FakeHost::NewString("string");
    RaiseUnsupportedOperationException(message, 6);
    EXPECT_EQ(TakeRaised(host), (RaisedException{"UnsupportedOperationException", "string", 6}));
    EXPECT_EQ(host.liveStrings, 1) << "the string stays the caller's";
    host::REALUnlockString(message);
}

TEST(Raising, TheMessageIsUtf8AndReleasedBehindTheRaise) {
    FakeHost host;
    RaiseException("SomeException",
                   "f\xC3\xBC"
                   "nf");
    EXPECT_EQ(TakeRaised(host).message,
              "f\xC3\xBC"
              "nf");
    EXPECT_EQ(host.calls, (std::vector<std::string>{"REALBuildStringWithEncoding", "REALUnlockString"}));
    EXPECT_EQ(host.liveStrings, 0);
    EXPECT_EQ(host.liveObjects, 0);

    // An old host builds the string first and is told the encoding then.
    host.Reconnect(2011.04);
    host.calls.clear();
    RaiseRuntimeException("old");
    EXPECT_EQ(TakeRaised(host).message, "old");
    EXPECT_EQ(host.calls,
              (std::vector<std::string>{"REALBuildString", "REALSetStringEncoding", "REALUnlockString"}));
}

TEST(Raising, ThreeStringsAreJoined) {
    FakeHost host;
    const HostString parts[] = {FakeHost::NewString("one "), FakeHost::NewString("two "),
                                FakeHost::NewString("three")};
    RaiseException("SomeException", parts[0], parts[1], parts[2]);
    EXPECT_EQ(TakeRaised(host), (RaisedException{"SomeException", "one two three", 0}));
    EXPECT_EQ(host.liveStrings, 3) << "the joined ones are released, the three stay the caller's";
    RaiseException("SomeException", parts[0], nullptr, parts[2]);
    EXPECT_EQ(TakeRaised(host).message, "one three");
    for (const HostString part : parts)
        host::REALUnlockString(part);
}

TEST(Raising, AnUnknownClassIsARuntimeException) {
    FakeHost host;
    host.missingClasses = {"SomeException"};
    RaiseException("SomeException", "the message", 3);
    EXPECT_EQ(TakeRaised(host), (RaisedException{"RuntimeException", "the message", 3}));
}

TEST(Raising, AHostWithoutRuntimeExceptionGetsNothing) {
    FakeHost host;
    host.missingClasses = {"SomeException", "RuntimeException"};
    int behind = 0;
    RaiseException("SomeException", "the message");
    ++behind;
    EXPECT_TRUE(host.raised.empty());
    EXPECT_EQ(behind, 1);
    EXPECT_EQ(host.liveStrings, 0);
}

TEST(Raising, AnEmptyMessageIsANilString) {
    FakeHost host;
    RaiseRuntimeException("");
    EXPECT_EQ(TakeRaised(host), (RaisedException{"RuntimeException", "", 0}));
}

TEST(Raising, OutOfMemoryNamesTheBytes) {
    FakeHost host;
    RaiseOutOfMemory("Failed to allocate %lld bytes of memory for image buffer.", 1234567890123);
    EXPECT_EQ(TakeRaised(host),
              (RaisedException{"OutOfMemoryException",
                               "Failed to allocate 1234567890123 bytes of memory for image buffer.", 0}));
    RaiseOutOfMemory("Failed to allocate a memoryblock with %lld bytes in size.", INT64_MAX);
    EXPECT_EQ(TakeRaised(host).message,
              "Failed to allocate a memoryblock with 9223372036854775807 bytes in size.");
}

// The range error ---

std::string RangeMessage(int64_t value, int64_t low, int64_t high, const char* parameter,
                         const char* method) {
    FakeHost host;
    RaiseRangeError(value, low, high, parameter, method);
    const RaisedException raised = TakeRaised(host);
    EXPECT_EQ(raised.className, "OutOfBoundsException");
    EXPECT_EQ(raised.errorNumber, 0);
    return raised.message;
}

TEST(RangeError, SaysBigAtOrAboveTheRange) {
    EXPECT_EQ(RangeMessage(5, 0, 3, "index", "Row"),
              "The parameter index to method Row is too big. Range is 0 to 2, but value is 5.");
    EXPECT_EQ(RangeMessage(3, 0, 3, "index", "Row"),
              "The parameter index to method Row is too big. Range is 0 to 2, but value is 3.");
    EXPECT_EQ(RangeMessage(0, 0, 0, "index", "Row"),
              "The parameter index to method Row is too big. Range is 0 to -1, but value is 0.");
}

TEST(RangeError, SaysSmallBelowTheRange) {
    EXPECT_EQ(RangeMessage(-1, 0, 3, "index", "Row"),
              "The parameter index to method Row is too small. Range is 0 to 2, but value is -1.");
    EXPECT_EQ(RangeMessage(INT64_MIN, -5, INT64_MAX, "x", "M"),
              "The parameter x to method M is too small. Range is -5 to 9223372036854775806, but value is "
              "-9223372036854775808.");
}

TEST(RangeError, AnEmptyMethodLeavesTwoBlanks) {
    EXPECT_EQ(RangeMessage(5, 0, 3, "index", ""),
              "The parameter index  is too big. Range is 0 to 2, but value is 5.");
    EXPECT_EQ(RangeMessage(5, 0, 3, "index", nullptr),
              "The parameter index  is too big. Range is 0 to 2, but value is 5.");
}

TEST(RangeError, ANullParameterIsAQuestionMark) {
    EXPECT_EQ(RangeMessage(5, 0, 3, nullptr, "Row"),
              "The parameter ? to method Row is too big. Range is 0 to 2, but value is 5.");
    EXPECT_EQ(RangeMessage(5, 0, 3, nullptr, nullptr),
              "The parameter ?  is too big. Range is 0 to 2, but value is 5.");
}

TEST(RangeError, NamesMayBeLong) {
    const std::string parameter(5000, 'p');
    const std::string method(7000, 'm');
    EXPECT_EQ(RangeMessage(INT64_MAX, INT64_MIN + 1, INT64_MIN + 2, parameter.c_str(), method.c_str()),
              "The parameter " + parameter + " to method " + method +
                  " is too big. Range is -9223372036854775807 to -9223372036854775807, but value is "
                  "9223372036854775807.");
}

// Translation ---

/// An exception of a kind with a text of the test's choice, nil included.
template <class Base>
class With : public Base {
  public:
    template <class... Arguments>
    explicit With(const char* text, Arguments... arguments) : Base(arguments...), text_(text) {}
    const char* what() const noexcept override { return text_; }

  private:
    const char* text_;
};

RaisedException Translated(const std::exception& exception) {
    FakeHost host;
    TranslateException(exception);
    return TakeRaised(host);
}

TEST(Translation, PicksByTheDynamicType) {
    EXPECT_EQ(Translated(With<std::bad_alloc>("w")),
              (RaisedException{"OutOfMemoryException", "Failed to allocate memory: w", 0}));
    EXPECT_EQ(Translated(With<std::bad_array_new_length>("w")),
              (RaisedException{"OutOfMemoryException", "Failed to allocate memory: w", 0}));
    EXPECT_EQ(Translated(std::range_error("w")),
              (RaisedException{"OutOfBoundsException", "C++ reports range error: w", 0}));
    EXPECT_EQ(Translated(std::out_of_range("w")),
              (RaisedException{"OutOfBoundsException", "C++ reports range error: w", 0}));
    EXPECT_EQ(Translated(std::overflow_error("w")),
              (RaisedException{"OutOfBoundsException", "C++ reports overflow error: w", 0}));
    EXPECT_EQ(Translated(std::underflow_error("w")),
              (RaisedException{"OutOfBoundsException", "C++ reports underflow error: w", 0}));
    EXPECT_EQ(Translated(With<std::bad_cast>("w")),
              (RaisedException{"IllegalCastException", "C++ Illegal Cast Exception: w", 0}));
    EXPECT_EQ(Translated(std::runtime_error("w")),
              (RaisedException{"RuntimeException", "C++ Exception: w", 0}));
    EXPECT_EQ(Translated(std::logic_error("w")),
              (RaisedException{"RuntimeException", "C++ Exception: w", 0}));
    EXPECT_EQ(Translated(With<std::exception>("w")),
              (RaisedException{"RuntimeException", "C++ Exception: w", 0}));
}

TEST(Translation, AnEmptyTextEndsInAFullStop) {
    EXPECT_EQ(Translated(With<std::bad_alloc>("")),
              (RaisedException{"OutOfMemoryException", "Failed to allocate memory.", 0}));
    EXPECT_EQ(Translated(std::range_error("")).message, "C++ reports range error.");
    EXPECT_EQ(Translated(std::underflow_error("")).message, "C++ reports underflow error.");
    EXPECT_EQ(Translated(With<std::bad_cast>("")).message, "C++ Illegal Cast Exception.");
    EXPECT_EQ(Translated(With<std::exception>(nullptr)).message, "C++ Exception.");
}

TEST(Translation, TextsMayBeLong) {
    const std::string text(10000, 't');
    EXPECT_EQ(Translated(std::overflow_error(text)).message, "C++ reports overflow error: " + text);
}

TEST(Translation, FallsBackToRuntimeException) {
    FakeHost host;
    host.missingClasses = {"OutOfMemoryException"};
    TranslateException(std::bad_alloc());
    EXPECT_EQ(TakeRaised(host).className, "RuntimeException");
}

TEST(Translation, AnExceptionOfNoKnownTypeIsUnnamed) {
    FakeHost host;
    const LogCapture log;
    RaiseUnnamedException();
    EXPECT_EQ(TakeRaised(host),
              (RaisedException{"RuntimeException", "Sorry, but there was an unnamed C++ Exception.", 0}));
    EXPECT_EQ(log.Lines(), std::vector<std::string>{"Unnamed C++ Exception."});
}

}  // namespace
}  // namespace trv
