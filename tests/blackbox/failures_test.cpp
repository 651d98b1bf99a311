// What a host program can catch, and what it gets on hosts that lack the classes for it.

#include <memory>

#include "plugin_test.h"

namespace trvtest {
namespace {

using trvhost::ExceptionInfo;
using trvhost::Options;

class Failures : public PluginTest {
  protected:
    /// Raises by a nil block, and sees the method end as an ordinary one.
    [[nodiscard]] Ref NilBlock() const {
        return TheHost().Construct("PictureTRV", nullptr, 10, 10, Constant("ImageFormatG"), 10);
    }
};

TEST_F(Failures, AreObjectsWithMessageAndNumber) {
    EXPECT_TRUE(NilBlock());
    EXPECT_EQ(TheHost().ExceptionsRaised(), 1);
    EXPECT_EQ(TheHost().TakeException(), (ExceptionInfo{"NilObjectException", "Memoryblock is nil.", 0}));
    EXPECT_FALSE(TheHost().HasException());
}

TEST_F(Failures, ARaiseDoesNotStopTheMethod) {
    // The exception is noted while the method runs on to its end, and the object is as the method left it.
    const Ref image = NewImage(10, 10, "ImageFormatRGB");
    TheHost().Set(image, "RedOffset", 9);
    EXPECT_EQ(TheHost().TakeException()->message,
              "The parameter value to method RedOffset is too big. Range is 0 to 2, but value is 9.");
    EXPECT_EQ(TheHost().Get<int64_t>(image, "RedOffset"), 0);
    TheHost().FailMemoryBlock(1);
    EXPECT_FALSE(TheHost().Call(image, "Clone").ToThing());
    EXPECT_EQ(TheHost().TakeException(),
              (ExceptionInfo{"OutOfMemoryException",
                             "Failed to allocate 640 bytes of memory for image buffer.", 0}));
}

TEST_F(Failures, AHostWithoutTheClassGetsARuntimeException) {
    Options options;
    options.missingClasses = {"NilObjectException", "OutOfMemoryException", "OutOfBoundsException"};
    Load(options);
    EXPECT_TRUE(NilBlock());
    EXPECT_EQ(TheHost().TakeException(), (ExceptionInfo{"RuntimeException", "Memoryblock is nil.", 0}));
    const Ref image = NewImage(10, 10, "ImageFormatRGB");
    TheHost().Set(image, "BlueOffset", -1);
    EXPECT_EQ(
        TheHost().TakeException(),
        (ExceptionInfo{"RuntimeException",
                       "The parameter value to method BlueOffset is too small. Range is 0 to 2, but value is "
                       "-1.",
                       0}));
}

TEST_F(Failures, AHostWithoutAnyExceptionGetsNone) {
    Options options;
    options.missingClasses = {"NilObjectException", "OutOfMemoryException", "RuntimeException"};
    Load(options);
    const Ref image = NilBlock();
    EXPECT_TRUE(image);
    EXPECT_FALSE(TheHost().Get<bool>(image, "Valid"));
    EXPECT_EQ(TheHost().ExceptionsRaised(), 0);
    TheHost().FailMemoryBlock(1);
    EXPECT_FALSE(TheHost().Get<bool>(NewImage(5, 5, "ImageFormatG"), "Valid"));
}

TEST_F(Failures, MessagesReachHostsOfAllAges) {
    for (const double version : trvhost::kVersionThresholds) {
        for (const double step : {0.0, -0.001}) {
            Options options;
            options.version = version + step;
            Load(options);
            EXPECT_TRUE(NilBlock());
            EXPECT_EQ(TheHost().TakeException(),
                      (ExceptionInfo{"NilObjectException", "Memoryblock is nil.", 0}))
                << options.version;
        }
    }
}

TEST_F(Failures, AMessageThatCannotBeBuiltIsEmpty) {
    TheHost().FailString(1);
    EXPECT_TRUE(NilBlock());
    EXPECT_EQ(TheHost().TakeException(), (ExceptionInfo{"NilObjectException", "", 0}));
}

TEST_F(Failures, AWrongStateIsNoException) {
    const Ref unconstructed = TheHost().New("PictureTRV");
    const Ref closed = NewImage(5, 5, "ImageFormatRGB");
    TheHost().Call(closed, "Close");
    const Ref failed = NewImage(0, 5, "ImageFormatRGB");
    for (const Ref& image : {unconstructed, closed, failed}) {
        TheHost().Call(image, "FillRectRGB", 1, 2, 3);
        TheHost().Call(image, "FillRect(Value as integer)", 1);
        TheHost().Call(image, "ClearRect");
        TheHost().Call(image, "ClearCache");
        EXPECT_FALSE(TheHost().Call(image, "FillRectApply", 1, 2, 3, 4).ToBool());
        EXPECT_FALSE(TheHost().Call(image, "Clone").ToThing());
        EXPECT_FALSE(TheHost().Get<Ref>(image, "Memory"));
    }
    EXPECT_EQ(TheHost().ExceptionsRaised(), 0);
}

}  // namespace
}  // namespace trvtest
