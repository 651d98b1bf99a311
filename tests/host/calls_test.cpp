#include "host_test.h"

namespace hosttest {
namespace {

class CallsOfMembers : public HostTest {
  protected:
    CallsOfMembers() { RegisterSample(host); }
    ~CallsOfMembers() override { Log() = {}; }
};

TEST_F(CallsOfMembers, RegistrationTellsWhereTheDataBegins) {
    EXPECT_EQ(host.Class("Sample").forSystemUse, 48);
    EXPECT_EQ(host.Classes().size(), 1u);
    EXPECT_EQ(host.Definitions("PluginRegisterClass").size(), 1u);
    const Ref object = host.New("Sample");
    EXPECT_EQ(host.ClassData(object), static_cast<std::byte*>(object.Handle()) + 48);
    for (size_t i = 0; i < sizeof(SampleData); ++i)
        EXPECT_EQ(host.ClassData(object)[i], std::byte{0});
}

TEST_F(CallsOfMembers, ByNameWithAllTypes) {
    const Ref object = host.Construct("Sample", 100);
    const Value result = host.Call(object, "Mixed", 5, 0.5, true, 1.5, Color{0xABCDEF}, -7, "text");
    EXPECT_EQ(result.ToInt(), 105);
    EXPECT_EQ(Log().lines.back(), "5 0.5 1 1.5 abcdef -7 1 2.5");
    host.Call(object, "Mixed", -1, 2, false, 3, 0x010203, 4, nullptr, 8.25);
    EXPECT_EQ(Log().lines.back(), "-1 2 0 3 010203 4 0 8.25");
    EXPECT_EQ(host.Call(object, "Half", 5).ToDouble(), 2.5);
    EXPECT_EQ(host.Call(object, "HalfSingle", 5.0).ToDouble(), 2.5);
    EXPECT_TRUE(host.Call(object, "Truth").ToBool());
    EXPECT_EQ(host.Call(object, "Negative").ToInt(), -2);
    EXPECT_FALSE(host.Call(object, "Me", object).ToThing());
    EXPECT_EQ(Log().lines.back(), "object");
    host.Call(object, "Me");
    EXPECT_EQ(Log().lines.back(), "nil");
}

TEST_F(CallsOfMembers, ByTypedSignature) {
    const Ref object = host.Construct("Sample", 1);
    const auto mixed =
        host.Method<int64_t(int64_t, double, bool, float, Color, int32_t, const std::string&, double)>(
            "Sample", "Mixed");
    EXPECT_EQ(mixed(object, 2, 0.25, true, 4.5F, Color{7}, 8, "x", 9.5), 3);
    EXPECT_EQ(Log().lines.back(), "2 0.25 1 4.5 000007 8 1 9.5");
    EXPECT_EQ(host.Method<float(float)>("Sample", "HalfSingle")(object, 3), 1.5F);
    EXPECT_TRUE(host.Method<bool()>("Sample", "Truth")(object));
    EXPECT_EQ(host.SharedMethod<int64_t(int64_t, int64_t)>("Sample", "Sum")(3, 4), 7);
    EXPECT_EQ(host.CallShared("Sample", "Sum", 3, 4).ToInt(), 7);
}

TEST_F(CallsOfMembers, WrongSignaturesAreRefused) {
    EXPECT_THROW(host.Method<void(int64_t)>("Sample", "Half"), std::invalid_argument);
    EXPECT_THROW(host.Method<double(int32_t)>("Sample", "Half"), std::invalid_argument);
    EXPECT_THROW(host.Method<double(double, double)>("Sample", "Half"), std::invalid_argument);
    EXPECT_THROW(host.Method<double(double)>("Sample", "Third"), std::invalid_argument);
    EXPECT_THROW(host.Method<double(double)>("NoClass", "Half"), std::invalid_argument);
    EXPECT_THROW(host.Setter<void(double, double)>("Sample", "Half"), std::invalid_argument);
    EXPECT_NO_THROW(host.Method<double(double)>("Sample", "Half(value as double) as double"));
}

TEST_F(CallsOfMembers, OverloadsAreChosenByKind) {
    const Ref object = host.New("Sample");
    host.Call(object, "Choose", 1);
    host.Call(object, "Choose", Color{1});
    host.Call(object, "Choose", 1.0);
    host.Call(object, "Choose(value as double)", 1);
    EXPECT_EQ(Log().lines, (std::vector<std::string>{"number", "color", "double", "double"}));
    EXPECT_THROW(host.Call(object, "Choose", "text"), std::invalid_argument);
    EXPECT_THROW(host.Call(object, "Choose"), std::invalid_argument);
    EXPECT_THROW(host.FindMethod("Sample", "Choose"), std::invalid_argument);
    EXPECT_NE(host.FindMethod("Sample", "Choose(value as color)"), nullptr);
    EXPECT_EQ(host.FindMethod("Sample", "Chose"), nullptr);
    host.Method<void(Color)>("Sample", "Choose")(object, Color{1});
    EXPECT_EQ(Log().lines.back(), "color");
}

TEST_F(CallsOfMembers, FewestDefaultsWin) {
    const Ref object = host.New("Sample");
    EXPECT_TRUE(host.Call(object, "Same").IsEmpty());
    EXPECT_EQ(Log().lines.back(), "plain");
    EXPECT_EQ(host.Call(object, "Same(value as integer = &h0A) as integer").ToInt(), 10);
    EXPECT_EQ(host.Call(object, "Same", 4).ToInt(), 4);
}

TEST_F(CallsOfMembers, Setters) {
    const Ref object = host.New("Sample");
    EXPECT_EQ(host.Call(object, "Item", 3).ToInt(), 30);
    host.Assign(object, "Item", 3, 77);
    EXPECT_EQ(Log().lines.back(), "item 3 = 77");
    host.Setter<void(int64_t, int64_t)>("Sample", "Item")(object, 4, 5);
    EXPECT_EQ(Log().lines.back(), "item 4 = 5");
}

TEST_F(CallsOfMembers, Properties) {
    const Ref object = host.New("Sample");
    host.Set(object, "Number", -3);
    host.Set(object, "Flag", true);
    host.Set(object, "Real", 1.25);
    EXPECT_EQ(Data(object.Handle()).number, -3);
    EXPECT_EQ(host.Get<int64_t>(object, "Number"), -3);
    EXPECT_TRUE(host.Get<bool>(object, "Flag"));
    EXPECT_EQ(host.Get<double>(object, "Real"), 1.25);
    Data(object.Handle()).small = -9;
    EXPECT_EQ(host.Get<int32_t>(object, "Small"), -9);
    EXPECT_THROW(host.Set(object, "Small", 1), std::invalid_argument);
    host.Set(object, "Coded", 30);
    EXPECT_EQ(Data(object.Handle()).number, 10);
    EXPECT_EQ(host.Get<int64_t>(object, "Coded"), 30);
    EXPECT_THROW(host.Get(object, "Outside"), std::invalid_argument);
    EXPECT_THROW(host.Get(object, "Nowhere"), std::invalid_argument);
    EXPECT_THROW(host.Get(Ref(), "Number"), std::invalid_argument);
    EXPECT_FALSE(host.GetShared<bool>("Sample", "SharedFlag"));
    host.SetShared("Sample", "SharedFlag", true);
    EXPECT_TRUE(host.GetShared<bool>("Sample", "SharedFlag"));
    host.SetShared("Sample", "SharedFlag", false);
}

TEST_F(CallsOfMembers, DirectObjectsAreCounted) {
    const Ref object = host.New("Sample"), other = host.New("Sample");
    host.Set(object, "Other", other);
    EXPECT_EQ(other.References(), 2);
    {
        const Ref got = host.Get<Ref>(object, "Other");
        EXPECT_EQ(other.References(), 3);
    }
    host.Set(object, "Other", other);
    EXPECT_EQ(other.References(), 2);
    host.Set(object, "Other", nullptr);
    EXPECT_EQ(other.References(), 1);
    host.Set(object, "Text", "abc");
    EXPECT_EQ(host.Get<std::string>(object, "Text"), "abc");
    host.Set(object, "Text", nullptr);
}

TEST_F(CallsOfMembers, Constants) {
    EXPECT_EQ(host.Constant("Sample", "Seven"), 7);
    EXPECT_EQ(host.Constant("Sample", "Hundred"), 100);
    EXPECT_THROW(host.Constant("Sample", "Eight"), std::invalid_argument);
}

TEST_F(CallsOfMembers, ThroughTheEntries) {
    const Ref object = host.Construct("Sample", 6);
    int64_t number = 0;
    EXPECT_EQ(Call<uint8_t(Handle, const char*, int64_t*)>("REALGetPropValueInteger", object.Handle(),
                                                           "Number", &number),
              1);
    EXPECT_EQ(number, 6);
    EXPECT_EQ(Call<uint8_t(Handle, const char*, int64_t*)>("REALGetPropValueInteger", object.Handle(), "Real",
                                                           &number),
              0);
    EXPECT_EQ(Call<uint8_t(Handle, const char*, int64_t)>("REALSetPropValueInteger", object.Handle(),
                                                          "Number", int64_t{8}),
              1);
    EXPECT_EQ(Data(object.Handle()).number, 8);
    EXPECT_EQ(Call<void*(Handle, const char*)>("REALLoadObjectMethod", object.Handle(),
                                               "Half(value as double) as double"),
              host.FindMethod("Sample", "Half")->function);
    EXPECT_EQ(Call<void*(Handle, const char*)>("REALLoadObjectMethod", object.Handle(),
                                               "Half(Value as double) as double"),
              nullptr);
    void* sample = Call<void*(const char*)>("pluginObjectType", "Sample");
    EXPECT_EQ(Call<void*(Handle)>("RuntimeClassOf", object.Handle()), sample);
    EXPECT_EQ(Call<uint8_t(Handle, void*)>("RuntimeObjectIsa", object.Handle(), sample), 1);
    EXPECT_NE(Call<void*(void*, const char*)>("PluginLoadSharedMethod", sample,
                                              "Sum(a as integer, b as integer) as integer"),
              nullptr);
    auto* script = Call<Resolver()>("GetRBScriptResolver");
    EXPECT_EQ(reinterpret_cast<int64_t (*)(void*)>(script("REALCountClassProperties"))(sample), 8);
    Handle name = nullptr, type = nullptr;
    using ClassProperty = uint8_t (*)(void*, int64_t, void*, void*, void*, void*);
    auto* property = reinterpret_cast<ClassProperty>(script("REALGetClassProperty"));
    EXPECT_EQ(property(sample, 3, &name, &type, nullptr, nullptr), 1);
    EXPECT_EQ(String(Ref::Adopt(host, name)).Bytes() + " " + String(Ref::Adopt(host, type)).Bytes(),
              "Real Double");
    EXPECT_EQ(property(sample, 8, &name, &type, nullptr, nullptr), 0);
}

TEST_F(CallsOfMembers, FaultyRegistrationsAreNoticed) {
    RegisterSample(host);
    EXPECT_EQ(host.FirstMisuse(), "PluginRegisterClass: the class Sample is registered twice");
    Call<void(void*)>("PluginRegisterClass", nullptr);
    EXPECT_EQ(host.Misuses(), 2);
    host.ClearMisuse();
}

/// Registers PictureFactoryTRV with its event, and looks the event up as a plug-in does.
class Events : public HostTest {
  protected:
    void Register(uint32_t tableVersion) {
        definition_.version = tableVersion;
        definition_.name = "PictureFactoryTRV";
        definition_.events = &event_;
        definition_.eventCount = 1;
        Call<void(void*)>("PluginRegisterClass", &definition_);
    }
    void* Function(const Ref& factory) {
        const EventDefinition* event = &event_;
        if (definition_.version == 9) event = static_cast<const EventDefinition*>(event->forSystemUse);
        return Call<void*(Handle, void*)>("GetEventInstance", factory.Handle(), event->forSystemUse);
    }
    EventDefinition event_{
        "NewPictureTRV(Width as integer, Height as integer, ImageFormat as integer) as PictureTRV", nullptr,
        0, nullptr};
    ClassDefinition definition_{};
};

TEST_F(Events, AreFoundAtEveryTableVersion) {
    for (const uint32_t version : {9u, 13u}) {
        Host inner;
        const detail::CurrentScope scope(inner);
        definition_ = {};
        event_.forSystemUse = nullptr;
        definition_.version = version;
        definition_.name = "PictureFactoryTRV";
        definition_.events = &event_;
        definition_.eventCount = 1;
        inner.Entry<void(void*)>("PluginRegisterClass")(&definition_);
        int64_t asked = 0;
        const Ref product = inner.NewMemoryBlock(1);
        const Ref factory = inner.NewFactory([&](int64_t width, int64_t height, int64_t format) {
            asked = width * 10000 + height * 100 + format;
            return product;
        });
        auto* function = reinterpret_cast<Handle (*)(Handle, int64_t, int64_t, int64_t)>(Function(factory));
        ASSERT_NE(function, nullptr) << version;
        const Ref made = Ref::Adopt(inner, function(factory.Handle(), 3, 4, 5));
        EXPECT_EQ(made, product);
        EXPECT_EQ(product.References(), 2);
        EXPECT_EQ(asked, 30405);
        EXPECT_EQ(Function(inner.NewFactory(nullptr)), nullptr);
        EXPECT_EQ(Function(inner.NewPlainFactory()), nullptr);
        EXPECT_TRUE(inner.IsA(factory, "PictureFactoryTRV"));
        EXPECT_EQ(inner.FirstMisuse(), "");
    }
}

TEST_F(Events, ByAWrongWordAreNone) {
    Register(13);
    const Ref factory = host.NewPlainFactory();
    EXPECT_EQ(Call<void*(Handle, void*)>("GetEventInstance", factory.Handle(), &definition_), nullptr);
    expectedMisuse = "GetEventInstance: what should be an event is none";
}

class Exceptions : public HostTest {
  public:
    void Raise(const char* className, const char* message, int64_t number) {
        const Handle exception = Call<Handle(const char*)>("PluginNewInstance", className);
        const Ref text = host.NewString(message);
        EXPECT_EQ(Call<uint8_t(Handle, const char*, Handle)>("REALSetPropValueString", exception, "Message",
                                                             text.Handle()),
                  1);
        EXPECT_EQ(Call<uint8_t(Handle, const char*, int64_t)>("REALSetPropValueInteger", exception,
                                                              "ErrorNumber", number),
                  1);
        Call<void(Handle)>("RuntimeRaiseException", exception);
        Call<void(Handle)>("REALUnlockObject", exception);
    }
};

TEST_F(Exceptions, AreNotedAndTaken) {
    Raise("OutOfBoundsException", "too far", 12);
    EXPECT_TRUE(host.HasException());
    EXPECT_EQ(host.TakeException(), (ExceptionInfo{"OutOfBoundsException", "too far", 12}));
    EXPECT_EQ(host.TakeException(), std::nullopt);
    EXPECT_EQ(host.ExceptionsRaised(), 1);
}

TEST_F(Exceptions, AreCaughtAroundAFunction) {
    Raise("NilObjectException", "before", 0);
    static Exceptions* self = nullptr;
    self = this;
    const Handle caught = Call<Handle(void (*)(void*), void*)>(
        "PluginCallFunctionWithExceptionHandler",
        [](void* text) { self->Raise("RuntimeException", static_cast<char*>(text), 1); },
        const_cast<char*>("inside"));
    EXPECT_EQ(Ref::Adopt(host, caught).ClassName(), "RuntimeException");
    const Handle none = Call<Handle(void (*)(void*), void*)>(
        "PluginCallFunctionWithExceptionHandler", [](void*) {}, nullptr);
    EXPECT_EQ(none, nullptr);
    EXPECT_EQ(Exception(), "NilObjectException: before");
}

TEST_F(Exceptions, ClassesFormATree) {
    const Ref bounds = host.New("OutOfBoundsException");
    EXPECT_TRUE(host.IsA(bounds, "RuntimeException"));
    EXPECT_FALSE(host.IsA(bounds, "NilObjectException"));
    EXPECT_FALSE(host.IsA(host.NewMemoryBlock(1), "RuntimeException"));
}

class OwnClasses : public HostTest {};

TEST_F(OwnClasses, AreCalledLikeAnyOther) {
    const MemoryBlock block(host.Construct("MemoryBlock", 12));
    EXPECT_EQ(block.Size(), 12);
    EXPECT_EQ(host.Call(block, "Operator_Convert").ToPointer(), block.Data());
    const Picture picture(host.Construct("Picture", 5, 4, 32));
    EXPECT_EQ(picture.Width(), 5);
    const Graphics graphics = host.GraphicsOf(picture);
    host.Set(graphics, "ForeColor", Color{0x123456});
    host.Call(graphics, "FillRect", 1, 1, 2.5, 1);
    EXPECT_EQ(picture.Pixel(1, 1), 0xFF123456);
    EXPECT_EQ(picture.Pixel(2, 1), 0xFF123456);
    EXPECT_EQ(picture.Pixel(3, 1), 0xFFFFFFFF);
    const Picture copy(host.Construct("Picture", 5, 4, 32));
    host.Call(host.GraphicsOf(copy), "DrawPicture", picture, 0, 0, 5, 4);
    EXPECT_EQ(copy.Pixels(), picture.Pixels());
    EXPECT_FALSE(host.Call(picture, "CopyMask").ToThing());
    EXPECT_EQ(host.Calls("Picture.CopyMask as Picture"), 1);
    host.Settings().missingMembers = {"CopyMask as Picture"};
    EXPECT_THROW(host.Call(picture, "CopyMask"), std::invalid_argument);
    EXPECT_THROW(host.Call(picture, "CopyMask", 1), std::invalid_argument);
}

class Variants : public HostTest {};

TEST_F(Variants, BoxValues) {
    const auto value = [&](Handle variant) { return host.VariantValue(Ref::Adopt(host, variant)); };
    EXPECT_TRUE(value(Call<Handle(uint8_t)>("BooleanToVariant", 1)).ToBool());
    EXPECT_EQ(value(Call<Handle(double)>("DoubleToVariant", 0.5)).ToDouble(), 0.5);
    EXPECT_EQ(value(Call<Handle(int32_t)>("Int32ToVariant", -5)).ToInt(), -5);
    EXPECT_EQ(value(Call<Handle(uint32_t)>("UInt32ToVariant", 4000000000u)).ToInt(), 4000000000);
    const Ref text = host.NewString("boxed");
    EXPECT_EQ(value(Call<Handle(Handle)>("StringToVariant", text.Handle())).ToText(), "boxed");
    EXPECT_EQ(text.References(), 1);
}

}  // namespace
}  // namespace hosttest
