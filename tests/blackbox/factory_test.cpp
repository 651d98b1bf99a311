// Who makes new images: the image's own factory, the global one, the plain constructor.

#include <algorithm>
#include <functional>

#include "plugin_test.h"

namespace trvtest {
namespace {

using trvhost::Options;

/// A question that a factory was asked.
struct Question {
    int64_t width, height, format;
    friend bool operator==(const Question&, const Question&) = default;
};

class Factory : public PluginTest {
  protected:
    [[nodiscard]] int64_t Number(const Ref& image, const std::string& name) const {
        return TheHost().Get<int64_t>(image, name);
    }
    [[nodiscard]] int64_t Pictures() const {
        const auto live = TheHost().Live().objects;
        const auto found = live.find("PictureTRV");
        return found == live.end() ? 0 : found->second;
    }

    /// The three ways to ask for an image.
    [[nodiscard]] Ref Create(const Ref& image, int64_t width, int64_t height, int64_t format) const {
        return TheHost().Call(image, "CreatePictureTRV", width, height, format).ToThing();
    }
    [[nodiscard]] Ref CreateShared(int64_t width, int64_t height, int64_t format) const {
        return TheHost().CallShared("PictureTRV", "CreatePictureTRV", width, height, format).ToThing();
    }
    [[nodiscard]] Ref CreateByFactory(int64_t width, int64_t height, int64_t format) const {
        return TheHost().CallShared("PictureFactoryTRV", "NewPictureTRV", width, height, format).ToThing();
    }

    void SetGlobal(const Ref& factory) const {
        TheHost().CallShared("PictureFactoryTRV", "SetFactory", factory);
    }
    [[nodiscard]] Ref Current() const {
        return TheHost().GetShared<Ref>("PictureFactoryTRV", "currentFactory");
    }

    /// A factory that notes what it is asked and answers with `make`.
    [[nodiscard]] Ref NewFactory(std::vector<Question>& questions, std::function<Ref()> make) const {
        return TheHost().NewFactory(
            [&questions, make = std::move(make)](int64_t width, int64_t height, int64_t format) {
                questions.push_back({width, height, format});
                return make();
            });
    }

    void ExpectPlain(const Ref& image, int64_t width, int64_t height, int64_t format) const {
        ASSERT_TRUE(image);
        EXPECT_TRUE(TheHost().Get<bool>(image, "Valid"));
        EXPECT_EQ(Number(image, "Width"), width);
        EXPECT_EQ(Number(image, "Height"), height);
        EXPECT_EQ(Number(image, "ImageFormat"), format);
        EXPECT_EQ(image.References(), 1);
        EXPECT_EQ(image.ClassName(), "PictureTRV");
    }
};

TEST_F(Factory, WithoutFactoriesImagesAreMadePlainly) {
    const Ref image = NewImage(3, 3, "ImageFormatRGB");
    ExpectPlain(Create(image, 5, 6, 7), 5, 6, 7);
    ExpectPlain(CreateShared(5, 6, 7), 5, 6, 7);
    ExpectPlain(CreateByFactory(5, 6, 7), 5, 6, 7);
    ExpectPlain(Create(TheHost().New("PictureTRV"), 5, 6, 7), 5, 6, 7);
    EXPECT_FALSE(Current());
}

TEST_F(Factory, ANilObjectAsksTheGlobalFactoryAtOnce) {
    std::vector<Question> questions;
    const Ref factory = NewFactory(questions, [] { return Ref(); });
    SetGlobal(factory);
    const auto create = TheHost().Method<Ref(int64_t, int64_t, int64_t)>("PictureTRV", "CreatePictureTRV");
    ExpectPlain(create(Ref(), 5, 6, 7), 5, 6, 7);
    EXPECT_EQ(questions, (std::vector<Question>{{5, 6, 7}}));
    SetGlobal(nullptr);
}

TEST_F(Factory, TheImagesOwnFactoryIsAskedFirst) {
    std::vector<Question> local, global;
    const Ref wanted = NewImage(5, 6, "ImageFormatRGB");
    const Ref localFactory = NewFactory(local, [&] { return wanted; });
    const Ref globalFactory = NewFactory(global, [&] { return NewImage(5, 6, "ImageFormatG"); });
    SetGlobal(globalFactory);
    const Ref image = NewImage(3, 3, "ImageFormatRGB");
    TheHost().Set(image, "Factory", localFactory);
    const Ref made = Create(image, 5, 6, 7);
    EXPECT_TRUE(made == wanted);
    EXPECT_EQ(wanted.References(), 2);
    EXPECT_EQ(local, (std::vector<Question>{{5, 6, 7}}));
    EXPECT_TRUE(global.empty());
    // The shared forms know no image.
    EXPECT_EQ(Number(CreateShared(5, 6, 7), "ImageFormat"), Constant("ImageFormatG"));
    EXPECT_EQ(Number(CreateByFactory(5, 6, 7), "ImageFormat"), Constant("ImageFormatG"));
    EXPECT_EQ(local.size(), 1U);
    EXPECT_EQ(global.size(), 2U);
    TheHost().Set(image, "Factory", nullptr);
    SetGlobal(nullptr);
}

TEST_F(Factory, AFactoryThatMakesNothingIsPassedOver) {
    std::vector<Question> local, global;
    const Ref localFactory = NewFactory(local, [] { return Ref(); });
    const Ref globalFactory = NewFactory(global, [] { return Ref(); });
    SetGlobal(globalFactory);
    const Ref image = NewImage(3, 3, "ImageFormatRGB");
    TheHost().Set(image, "Factory", localFactory);
    ExpectPlain(Create(image, 5, 6, 7), 5, 6, 7);
    EXPECT_EQ(local, (std::vector<Question>{{5, 6, 7}}));
    EXPECT_EQ(global, (std::vector<Question>{{5, 6, 7}}));
    TheHost().Set(image, "Factory", nullptr);
    SetGlobal(nullptr);
}

TEST_F(Factory, AnImageThatIsTooSmallIsRefused) {
    for (const auto& [width, height] : {std::pair<int64_t, int64_t>{4, 6}, {5, 5}, {1, 100}, {100, 1}}) {
        std::vector<Question> questions;
        const Ref small = NewImage(width, height, "ImageFormatRGB");
        const Ref factory = NewFactory(questions, [&] { return small; });
        SetGlobal(factory);
        ExpectPlain(CreateShared(5, 6, 7), 5, 6, 7);
        EXPECT_EQ(small.References(), 1) << "released";
        EXPECT_EQ(questions.size(), 1U);
        SetGlobal(nullptr);
    }
}

TEST_F(Factory, ALargerImageOrAnotherFormatIsAccepted) {
    std::vector<Question> questions;
    Ref wanted;
    const Ref factory = NewFactory(questions, [&] { return wanted; });
    SetGlobal(factory);
    for (const auto& [width, height, format] :
         {std::tuple<int64_t, int64_t, const char*>{5, 6, "ImageFormatBGR"},
          {6, 6, "ImageFormatRGB"},
          {5, 7, "ImageFormatRGB"},
          {500, 600, "ImageFormatBuffer"},
          {5, 6, "ImageFormatCMYKA"}}) {
        wanted = NewImage(width, height, format);
        EXPECT_TRUE(CreateShared(5, 6, Constant("ImageFormatRGB")) == wanted) << format;
        EXPECT_TRUE(CreateByFactory(5, 6, Constant("ImageFormatRGB")) == wanted) << format;
    }
    SetGlobal(nullptr);
}

TEST_F(Factory, AnInvalidImageIsRefusedAndAClosedOneTaken) {
    std::vector<Question> questions;
    Ref answer = TheHost().New("PictureTRV");
    const Ref factory = NewFactory(questions, [&] { return answer; });
    SetGlobal(factory);
    ExpectPlain(CreateShared(5, 6, 7), 5, 6, 7);
    EXPECT_EQ(answer.References(), 1);
    // A closed image still calls itself valid.
    answer = NewImage(5, 6, "ImageFormatRGB");
    TheHost().Call(answer, "Close");
    EXPECT_TRUE(CreateShared(5, 6, 7) == answer);
    SetGlobal(nullptr);
}

TEST_F(Factory, ALocalRefusalDoesNotStopTheGlobalOne) {
    std::vector<Question> local, global;
    const Ref image = NewImage(3, 3, "ImageFormatRGB");
    int64_t picturesAtTheGlobalOne = 0;
    const Ref localFactory = NewFactory(local, [&] { return NewImage(4, 6, "ImageFormatRGB"); });
    const Ref globalFactory = NewFactory(global, [&] {
        picturesAtTheGlobalOne = Pictures();
        return NewImage(5, 6, "ImageFormatG");
    });
    SetGlobal(globalFactory);
    TheHost().Set(image, "Factory", localFactory);
    const int64_t before = Pictures();
    const Ref made = Create(image, 5, 6, 7);
    EXPECT_EQ(Number(made, "ImageFormat"), Constant("ImageFormatG"));
    EXPECT_EQ(local.size(), 1U);
    EXPECT_EQ(global.size(), 1U);
    EXPECT_EQ(picturesAtTheGlobalOne, before) << "the refused image was gone before the next step";
    TheHost().Set(image, "Factory", nullptr);
    SetGlobal(nullptr);
}

TEST_F(Factory, AFactoryWithoutTheEventIsAsGoodAsNone) {
    const Ref image = NewImage(3, 3, "ImageFormatRGB");
    for (const Ref& factory : {TheHost().NewPlainFactory(), TheHost().NewFactory(nullptr)}) {
        TheHost().Set(image, "Factory", factory);
        SetGlobal(factory);
        ExpectPlain(Create(image, 5, 6, 7), 5, 6, 7);
        ExpectPlain(CreateShared(5, 6, 7), 5, 6, 7);
    }
    TheHost().Set(image, "Factory", nullptr);
    SetGlobal(nullptr);
}

TEST_F(Factory, TheGlobalSlotHoldsOneReference) {
    std::vector<Question> questions;
    Ref first = NewFactory(questions, [] { return Ref(); });
    Ref second = NewFactory(questions, [] { return Ref(); });
    SetGlobal(first);
    EXPECT_EQ(first.References(), 2);
    SetGlobal(first);
    EXPECT_EQ(first.References(), 2) << "the same one again";
    {
        const Ref current = Current();
        EXPECT_TRUE(current == first);
        EXPECT_EQ(first.References(), 3);
    }
    SetGlobal(second);
    EXPECT_EQ(first.References(), 1);
    EXPECT_EQ(second.References(), 2);
    // The slot keeps it alive alone.
    second.Reset();
    ExpectPlain(CreateShared(5, 6, 7), 5, 6, 7);
    EXPECT_EQ(questions.size(), 1U);
    EXPECT_TRUE(Current());
    SetGlobal(nullptr);
    EXPECT_FALSE(Current());
    ExpectPlain(CreateShared(5, 6, 7), 5, 6, 7);
    EXPECT_EQ(questions.size(), 1U);
    SetGlobal(nullptr);
}

TEST_F(Factory, SetToNilTheLocalFactoryRemains) {
    std::vector<Question> local;
    const Ref wanted = NewImage(9, 9, "ImageFormatG");
    const Ref factory = NewFactory(local, [&] { return wanted; });
    const Ref image = NewImage(3, 3, "ImageFormatRGB");
    TheHost().Set(image, "Factory", factory);
    SetGlobal(nullptr);
    EXPECT_TRUE(Create(image, 5, 6, 7) == wanted);
    TheHost().Set(image, "Factory", nullptr);
    ExpectPlain(Create(image, 5, 6, 7), 5, 6, 7);
}

TEST_F(Factory, WhatNoConstructorMakesIsNilWithoutException) {
    const Ref image = NewImage(3, 3, "ImageFormatRGB");
    EXPECT_FALSE(Create(image, 0, 6, 7));
    EXPECT_FALSE(CreateShared(5, -1, 7));
    EXPECT_FALSE(CreateByFactory(5, 6, 14));
    EXPECT_FALSE(TheHost().HasException());
    // A factory may still make it.
    std::vector<Question> questions;
    const Ref factory = NewFactory(questions, [&] { return image; });
    SetGlobal(factory);
    EXPECT_TRUE(CreateShared(0, -5, 14) == image);
    EXPECT_EQ(questions, (std::vector<Question>{{0, -5, 14}}));
    SetGlobal(nullptr);
}

TEST_F(Factory, ExhaustedMemoryRaises) {
    TheHost().FailMemoryBlock(1);
    EXPECT_FALSE(CreateShared(10, 10, Constant("ImageFormatG")));
    EXPECT_EQ(TheHost().TakeException(),
              (trvhost::ExceptionInfo{"OutOfMemoryException",
                                      "Failed to allocate 640 bytes of memory for image buffer.", 0}));
    EXPECT_FALSE(CreateShared(int64_t{1} << 62, int64_t{1} << 62, Constant("ImageFormatG")));
    EXPECT_EQ(TheHost().TakeException()->className, "OutOfMemoryException");
    TheHost().FailNewInstance(1);
    EXPECT_FALSE(CreateShared(10, 10, Constant("ImageFormatG")));
    EXPECT_FALSE(TheHost().HasException());
}

TEST_F(Factory, ShowsItsStepsInTheLog) {
    std::vector<Question> questions;
    const Ref factory = NewFactory(questions, [] { return Ref(); });
    SetGlobal(factory);
    const auto lines = LogOf([&] { ExpectPlain(CreateShared(5, 6, 7), 5, 6, 7); });
    ASSERT_GE(lines.size(), 5U);
    EXPECT_EQ(lines[0], "CreatePicture");
    EXPECT_EQ(lines[1], "width 5");
    EXPECT_EQ(lines[2], "height 6");
    EXPECT_EQ(lines[3].substr(0, 14), "globalFactory ");
    EXPECT_EQ(lines[4].substr(0, 20), "Event NewPictureTRV ");
    SetGlobal(nullptr);
}

TEST_F(Factory, AFactoryMayLetGoOfItselfMeanwhile) {
    Ref image = NewImage(3, 3, "ImageFormatRGB");
    Ref factory = TheHost().NewFactory([&](int64_t, int64_t, int64_t) {
        TheHost().Set(image, "Factory", nullptr);
        SetGlobal(nullptr);
        return Ref();
    });
    TheHost().Set(image, "Factory", factory);
    SetGlobal(factory);
    factory.Reset();
    ExpectPlain(Create(image, 5, 6, 7), 5, 6, 7);
    EXPECT_FALSE(Current());
}

TEST_F(Factory, AFactoryMayAskAgain) {
    int depth = 0;
    const Ref factory = TheHost().NewFactory([&](int64_t width, int64_t height, int64_t format) {
        if (++depth == 5) return Ref();
        return CreateShared(width + 1, height + 1, format);
    });
    SetGlobal(factory);
    const Ref made = CreateShared(5, 6, 7);
    ExpectPlain(made, 9, 10, 7);
    SetGlobal(nullptr);
}

TEST_F(Factory, WorksOnHostsOfAllAges) {
    for (const double version : trvhost::kVersionThresholds) {
        Options options;
        options.version = version;
        Load(options);
        std::vector<Question> questions;
        const Ref wanted = NewImage(9, 9, "ImageFormatG");
        const Ref factory = NewFactory(questions, [&] { return wanted; });
        SetGlobal(factory);
        EXPECT_TRUE(CreateShared(5, 6, 7) == wanted) << version;
        SetGlobal(nullptr);
    }
}

}  // namespace
}  // namespace trvtest
