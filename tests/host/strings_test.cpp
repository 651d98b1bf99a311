#include "host_test.h"

namespace hosttest {
namespace {

class Strings : public HostTest {
  protected:
    String Convert(const String& text, uint32_t encoding) {
        return String(
            Ref::Adopt(host, Call<Handle(Handle, uint32_t)>("REALConvertString", text.Handle(), encoding)));
    }
    /// What PluginGetStringData gives, with `after` bytes behind the data.
    std::string Data(const Ref& text, uint32_t encoding, size_t after = 0) {
        StringData data{};
        if (Call<uint8_t(Handle, uint32_t, StringData*)>("PluginGetStringData", text.Handle(), encoding,
                                                         &data) == 0) {
            return "refused";
        }
        std::string bytes(static_cast<const char*>(data.data), static_cast<size_t>(data.size) + after);
        EXPECT_EQ(host.Live().stringData, 1);
        Call<void(StringData*)>("PluginDisposeStringData", &data);
        return bytes;
    }
};

TEST_F(Strings, KeepBytesAndEncoding) {
    const String text(Ref::Adopt(host, Call<Handle(const char*, int32_t, uint32_t)>(
                                           "REALBuildStringWithEncoding", "a\0b", 3, kEncodingUtf8)));
    EXPECT_EQ(text.Bytes(), std::string("a\0b", 3));
    EXPECT_EQ(text.Encoding(), kEncodingUtf8);
    EXPECT_EQ(Call<uint32_t(Handle)>("REALGetStringEncoding", text.Handle()), kEncodingUtf8);
    EXPECT_STREQ(Call<const char*(Handle)>("StringGetCString", text.Handle()), "a");
    auto* lenB = reinterpret_cast<int64_t (*)(Handle)>(
        Call<void*(Handle, const char*)>("REALLoadGlobalMethod", nullptr, "LenB( s as string ) as integer"));
    EXPECT_EQ(lenB(text.Handle()), 3);
}

TEST_F(Strings, OldEntriesSetTheEncodingLater) {
    const String text(Ref::Adopt(host, Call<Handle(const char*, int32_t)>("REALBuildString", "xyz", 2)));
    EXPECT_EQ(text.Bytes(), "xy");
    EXPECT_EQ(text.Encoding(), kEncodingNone);
    Call<void(Handle, uint32_t)>("REALSetStringEncoding", text.Handle(), kEncodingAscii);
    EXPECT_EQ(text.Encoding(), kEncodingAscii);
}

TEST_F(Strings, Convert) {
    const String text = host.NewString("a\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80");
    EXPECT_EQ(Convert(text, kEncodingUtf16).Bytes(), std::string("a\0\xE4\0\xAC\x20\x3D\xD8\x00\xDE", 10));
    EXPECT_EQ(Convert(text, kEncodingUtf32).Bytes(),
              std::string("a\0\0\0\xE4\0\0\0\xAC\x20\0\0\x00\xF6\x01\0", 16));
    EXPECT_EQ(Convert(text, kEncodingLatin1).Bytes(), "a\xE4??");
    EXPECT_EQ(Convert(text, kEncodingAnsi).Bytes(), "a\xE4\x80?");
    EXPECT_EQ(Convert(text, kEncodingAscii).Bytes(), "a???");
    EXPECT_EQ(Convert(Convert(text, kEncodingUtf16), kEncodingUtf8).Bytes(), text.Bytes());
    EXPECT_EQ(Convert(Convert(text, kEncodingUtf32), kEncodingUtf8).Bytes(), text.Bytes());
}

TEST_F(Strings, RefuseWhatCannotBeConverted) {
    EXPECT_FALSE(Convert(host.NewString("\xFF"), kEncodingUtf16));
    EXPECT_FALSE(Convert(host.NewString("\xC0\x80"), kEncodingUtf16));
    EXPECT_FALSE(Convert(host.NewString("\xE2\x82"), kEncodingUtf16));
    EXPECT_FALSE(Convert(host.NewString("abc", kEncodingUtf16), kEncodingUtf8));
    EXPECT_FALSE(Convert(host.NewString("\xE4", kEncodingNone), kEncodingUtf8));
    EXPECT_FALSE(Convert(host.NewString("a"), 4711));
    EXPECT_EQ(Convert(host.NewString("plain", kEncodingNone), kEncodingUtf8).Bytes(), "plain");
}

TEST_F(Strings, HandOutData) {
    const Ref text = host.NewString("\xC3\xA4");
    EXPECT_EQ(Data(text, kEncodingUtf16, 4), std::string("\xE4\0\0\0\0\0", 6));
    EXPECT_EQ(Data(text, 4711), "refused");
    host.Settings().stringDataForm = StringDataForm::NotTerminated;
    EXPECT_EQ(Data(text, kEncodingUtf16, 2), std::string("\xE4\0xx", 4));
    host.Settings().stringDataForm = StringDataForm::ByteOrderMark;
    EXPECT_EQ(Data(text, kEncodingUtf16), std::string("\xFF\xFE\xE4\0", 4));
    EXPECT_EQ(Data(text, kEncodingUtf8), "\xC3\xA4");
    host.Settings().stringDataForm = StringDataForm::SwappedByteOrderMark;
    EXPECT_EQ(Data(text, kEncodingUtf16), std::string("\xFE\xFF\0\xE4", 4));
    EXPECT_EQ(Data(text, kEncodingUtf32), std::string("\0\0\xFE\xFF\0\0\0\xE4", 8));
}

TEST_F(Strings, DataIsOwedOnce) {
    const Ref text = host.NewString("x");
    StringData data{};
    Call<uint8_t(Handle, uint32_t, StringData*)>("PluginGetStringData", text.Handle(), kEncodingUtf8, &data);
    StringData copy = data;
    Call<void(StringData*)>("PluginDisposeStringData", &data);
    Call<void(StringData*)>("PluginDisposeStringData", &copy);
    expectedMisuse = "PluginDisposeStringData: string data that is not owed";
}

TEST_F(Strings, AddAndCompare) {
    const Ref a = host.NewString("ab"), b = host.NewString("cd");
    const auto add = [&](const Ref& left, const Ref& right) {
        return String(Ref::Adopt(
            host, Call<Handle(Handle, Handle)>("RuntimeAddString", left.Handle(), right.Handle())));
    };
    EXPECT_EQ(add(a, b).Bytes(), "abcd");
    EXPECT_EQ(add(a, nullptr).Bytes(), "ab");
    EXPECT_EQ(add(nullptr, nullptr).Bytes(), "");
    EXPECT_EQ(Call<int32_t(Handle, Handle)>("RuntimeStringCompare", a.Handle(), b.Handle()), -1);
    EXPECT_EQ(Call<int32_t(Handle, Handle)>("RuntimeStringCompare", b.Handle(), a.Handle()), 1);
    EXPECT_EQ(Call<int32_t(Handle, Handle)>("RuntimeStringCompare", a.Handle(), a.Handle()), 0);
}

TEST_F(Strings, Texts) {
    const Handle text = Call<Handle(const char*, const char*)>("PluginBuildText", "\xC3\xA4", "utf-8");
    const Handle twice = Call<Handle(Handle, Handle)>("PluginConcatenateText", text, text);
    StringData data{};
    ASSERT_EQ(Call<uint8_t(Handle, const char*, StringData*)>("PluginGetTextData", twice, "UTF-16", &data),
              1);
    EXPECT_EQ(std::string(static_cast<const char*>(data.data), static_cast<size_t>(data.size)),
              std::string("\xE4\0\xE4\0", 4));
    Call<void(StringData*)>("PluginDisposeTextData", &data);
    EXPECT_EQ(Call<uint8_t(Handle, const char*, StringData*)>("PluginGetTextData", nullptr, "utf-8", &data),
              0);
    Call<void(Handle)>("PluginUnlockText", twice);
    Call<void(Handle)>("PluginUnlockText", text);
}

TEST_F(Strings, FailWhenAsked) {
    host.FailString(1);
    EXPECT_EQ(Call<Handle(const char*, int32_t)>("REALBuildString", "x", 1), nullptr);
    EXPECT_EQ(Call<Handle(const char*, int32_t)>("REALBuildString", "x", -1), nullptr);
    expectedMisuse = "REALBuildString: a string of -1 bytes";
}

}  // namespace
}  // namespace hosttest
