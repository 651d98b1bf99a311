#include <cstring>
#include <string>
#include <vector>

#include "frame/heap_objects.h"
#include "frame/rb_text.h"
#include "unit/failing_memory.h"
#include "unit/frame/log_capture.h"
#include "unit/frame/unicode.h"
#include "unit/hosted_test.h"

namespace trv {
namespace {

using test::BytesOf;
using test::FailingMemory;
using test::LogCapture;
using test::Utf16Of;
using test::Utf8Of;
using trvhost::StringDataForm;

using Lines = std::vector<std::string>;

constexpr TextForm kForms[] = {TextForm::Ansi,  TextForm::Native, TextForm::Ascii, TextForm::Utf8,
                               TextForm::Latin, TextForm::Utf16,  TextForm::Utf32};
constexpr uint32_t kFormEncodings[] = {1280, 0, 1536, 0x8000100, 513, 256, 0xC000100};
constexpr uint32_t kHostEncodings[] = {0, 256, 513, 1280, 1536, 65535, 0x8000100, 0xC000100};

/// A form of a text with all that a getter says about it.
template <TextForm form>
std::basic_string<TextUnit<form>> Read(rbText& text) {
    const auto* const units = text.Text<form>();
    const int64_t length = text.Length(form);
    EXPECT_NE(units, nullptr);
    EXPECT_GE(length, 0);
    EXPECT_EQ(units[length], 0) << "the terminator";
    EXPECT_EQ(text.TextOrNil<form>(), length == 0 ? nullptr : units);
    EXPECT_EQ(text.Text<form>(), units) << "made once";
    EXPECT_EQ(reinterpret_cast<uintptr_t>(units) % sizeof *units, 0U) << "aligned";
    return {units, static_cast<size_t>(length)};
}

class RbText : public test::HostedTest {
  protected:
    /// A text in an encoding of the host's, for the characters that it has there.
    [[nodiscard]] trvhost::String Make(std::u32string_view characters, uint32_t encoding) const {
        std::string bytes;
        if (encoding == 256) {
            bytes = BytesOf(std::u16string_view(Utf16Of(characters)));
        } else if (encoding == 0xC000100) {
            bytes = BytesOf(characters);
        } else if (encoding == 0x8000100 || encoding == 0) {
            bytes = Utf8Of(characters);
        } else {
            for (const char32_t c : characters)
                bytes += static_cast<char>(c);
        }
        return TheHost().NewString(bytes, encoding);
    }

    [[nodiscard]] const char* HostBytes(const trvhost::Ref& string) const {
        return TheHost().Entry<const char*(HostString)>("StringGetCString")(StringOf(string));
    }

    void LoadForm(StringDataForm form) {
        trvhost::Options options;
        options.stringDataForm = form;
        Load(std::move(options));
    }
};

TEST_F(RbText, NilIsEmptyInEveryForm) {
    rbText text(nullptr);
    EXPECT_EQ(text.Encoding(), 1536U);
    EXPECT_EQ(Read<TextForm::Ansi>(text), "");
    EXPECT_EQ(Read<TextForm::Native>(text), "");
    EXPECT_EQ(Read<TextForm::Ascii>(text), "");
    EXPECT_EQ(Read<TextForm::Utf8>(text), "");
    EXPECT_EQ(Read<TextForm::Latin>(text), "");
    EXPECT_EQ(Read<TextForm::Utf16>(text), u"");
    EXPECT_EQ(Read<TextForm::Utf32>(text), U"");
    for (const TextForm form : kForms) {
        EXPECT_EQ(text.Length(form), 0);
        EXPECT_EQ(text.String(form), nullptr);
    }
    EXPECT_FALSE(text.Failed());
    EXPECT_EQ(TheHost().Calls("PluginGetStringData"), 0);
}

TEST_F(RbText, AsciiReadsTheSameFromEveryEncodingInEveryForm) {
    for (const std::u32string& characters : {std::u32string(U"Hello"), std::u32string(U""),
                                             std::u32string(U"a\0b", 3), std::u32string(1000, U'~')}) {
        const std::string narrow(characters.begin(), characters.end());
        for (const uint32_t encoding : kHostEncodings) {
            const trvhost::String string = Make(characters, encoding);
            rbText text(StringOf(string));
            EXPECT_EQ(Read<TextForm::Utf32>(text), characters) << encoding;
            EXPECT_EQ(Read<TextForm::Utf16>(text), Utf16Of(characters));
            EXPECT_EQ(Read<TextForm::Ansi>(text), narrow);
            EXPECT_EQ(Read<TextForm::Native>(text), narrow);
            EXPECT_EQ(Read<TextForm::Ascii>(text), narrow);
            EXPECT_EQ(Read<TextForm::Utf8>(text), narrow);
            EXPECT_EQ(Read<TextForm::Latin>(text), narrow);
            EXPECT_EQ(text.Encoding(), encoding);
            EXPECT_FALSE(text.Failed());
        }
    }
}

TEST_F(RbText, OtherCharactersReadTheSameFromEveryEncodingThatHasThem) {
    const std::u32string latin = U"Gr\u00FC\u00DFe \u00FF";
    const std::string latinBytes =
        "Gr\xFC\xDF"
        "e \xFF";
    for (const uint32_t encoding : {0U, 256U, 513U, 1280U, 65535U, 0x8000100U, 0xC000100U}) {
        const trvhost::String string = Make(latin, encoding);
        rbText text(StringOf(string));
        EXPECT_EQ(Read<TextForm::Utf8>(text), Utf8Of(latin)) << encoding;
        EXPECT_EQ(Read<TextForm::Native>(text), Utf8Of(latin));
        EXPECT_EQ(Read<TextForm::Latin>(text), latinBytes);
        EXPECT_EQ(Read<TextForm::Ansi>(text), latinBytes);
        EXPECT_EQ(Read<TextForm::Ascii>(text), "Gr??e ?");
        EXPECT_EQ(Read<TextForm::Utf16>(text), Utf16Of(latin));
        EXPECT_EQ(Read<TextForm::Utf32>(text), latin);
        EXPECT_FALSE(text.Failed());
    }
    const std::u32string all = U"\u20AC\u6F22\U0001F600\U0010FFFF";
    for (const uint32_t encoding : {0U, 256U, 0x8000100U, 0xC000100U}) {
        const trvhost::String string = Make(all, encoding);
        rbText text(StringOf(string));
        EXPECT_EQ(Read<TextForm::Utf32>(text), all) << encoding;
        EXPECT_EQ(Read<TextForm::Utf16>(text), Utf16Of(all));
        EXPECT_EQ(Read<TextForm::Utf8>(text), Utf8Of(all));
        EXPECT_EQ(Read<TextForm::Ansi>(text), "\x80???");
    }
}

TEST_F(RbText, NoFormIsMadeBeforeItIsAskedFor) {
    const trvhost::String wide = Make(U"wide \u6F22", 256);
    const trvhost::String latin = Make(U"\u00FC", 513);
    rbText wideText(StringOf(wide));
    rbText latinText(StringOf(latin));
    EXPECT_EQ(TheHost().Calls("PluginGetStringData"), 0);
    EXPECT_EQ(TheHost().Calls("REALConvertString"), 0);
    EXPECT_EQ(TheHost().Calls("StringGetCString"), 0);
    EXPECT_EQ(wideText.Length(TextForm::Utf8), 8);
    EXPECT_EQ(wideText.Length(TextForm::Utf8), 8);
    EXPECT_EQ(TheHost().Calls("PluginGetStringData"), 1);
}

TEST_F(RbText, AsciiIsTheHostsOwnBytes) {
    for (const uint32_t encoding : {0U, 513U, 1280U, 1536U, 65535U, 0x8000100U}) {
        const trvhost::String string = Make(U"plain", encoding);
        rbText text(StringOf(string));
        const char* const bytes = HostBytes(string);
        EXPECT_EQ(text.Text<TextForm::Ansi>(), bytes) << encoding;
        EXPECT_EQ(text.Text<TextForm::Native>(), bytes);
        EXPECT_EQ(text.Text<TextForm::Ascii>(), bytes);
        EXPECT_EQ(text.Text<TextForm::Utf8>(), bytes);
        EXPECT_EQ(text.Text<TextForm::Latin>(), bytes);
        EXPECT_EQ(Read<TextForm::Utf16>(text), u"plain");
    }
    // UTF-8 is, whatever its characters.
    const trvhost::String string = Make(U"\u6F22", 0x8000100);
    rbText text(StringOf(string));
    EXPECT_EQ(text.Text<TextForm::Utf8>(), HostBytes(string));
    EXPECT_EQ(Read<TextForm::Utf16>(text), u"\u6F22");
    EXPECT_EQ(TheHost().Calls("PluginGetStringData"), 0);
}

TEST_F(RbText, RawBytesThatAreNotAsciiAreReadAsAnsi) {
    const trvhost::String string = TheHost().NewString("\x80 \xFC", 65535);
    const auto before = TheHost().Live().strings;
    {
        rbText text(StringOf(string));
        EXPECT_EQ(text.Encoding(), 1280U);
        EXPECT_EQ(string.References(), 1) << "it stands for another string now";
        EXPECT_EQ(TheHost().Live().strings, before + 1);
        EXPECT_EQ(Read<TextForm::Utf16>(text), u"\u20AC \u00FC");
        EXPECT_EQ(Read<TextForm::Ansi>(text), "\x80 \xFC");
        EXPECT_EQ(text.String(TextForm::Ansi) == StringOf(string), false);
    }
    EXPECT_EQ(TheHost().Live().strings, before);
    // The host has no such string to give.
    TheHost().FailString(1);
    rbText text(StringOf(string));
    EXPECT_EQ(Read<TextForm::Utf8>(text), "");
    EXPECT_TRUE(text.Failed());
}

TEST_F(RbText, IllegalUtf8StopsTheConversion) {
    const trvhost::String string = TheHost().NewString(
        "ab\xC3\xBC\xE0\x80"
        "cd",
        0x8000100);
    const LogCapture log;
    rbText text(StringOf(string));
    EXPECT_EQ(Read<TextForm::Utf16>(text), u"ab\u00FC") << "what came before it";
    EXPECT_TRUE(text.Failed());
    EXPECT_EQ(Read<TextForm::Utf32>(text), U"ab\u00FC");
    EXPECT_EQ(Read<TextForm::Utf8>(text),
              "ab\xC3\xBC\xE0\x80"
              "cd")
        << "as it is";
    EXPECT_EQ(log.Lines(), (Lines{"Try UTF8 to UTF16 conversion...", "Illegal UTF-8 sequence! 4",
                                  "Try UTF8 to UTF32 conversion...", "Illegal UTF-8 sequence! 4"}));
}

TEST_F(RbText, AUtf8ByteOrderMarkIsDropped) {
    const trvhost::String string = TheHost().NewString(
        "\xEF\xBB\xBF"
        "abc",
        0x8000100);
    rbText text(StringOf(string));
    EXPECT_EQ(Read<TextForm::Utf16>(text), u"abc");
    EXPECT_EQ(Read<TextForm::Utf32>(text), U"abc");
    EXPECT_EQ(Read<TextForm::Utf8>(text),
              "\xEF\xBB\xBF"
              "abc");
}

TEST_F(RbText, ConversionsNameThemselves) {
    const trvhost::String utf16 = Make(U"\u6F22\U0001F600", 256);
    const LogCapture log;
    rbText text(StringOf(utf16));
    EXPECT_EQ(Read<TextForm::Utf32>(text), U"\u6F22\U0001F600");
    EXPECT_EQ(log.Lines(), (Lines{"Try UTF16 to UTF32 conversion..."}));
    EXPECT_EQ(TheHost().Calls("PluginGetStringData"), 1) << "for the UTF-16";
    EXPECT_EQ(Read<TextForm::Utf16>(text), u"\u6F22\U0001F600");
    EXPECT_EQ(TheHost().Calls("PluginGetStringData"), 1);
}

TEST_F(RbText, WhatTheHostRefusesIsEmptyAndFailed) {
    // Labelled as ASCII, which these bytes are not.
    const trvhost::String string = TheHost().NewString("a\x80", 1536);
    {
        const LogCapture log;
        rbText text(StringOf(string));
        EXPECT_EQ(Read<TextForm::Ansi>(text), "");
        EXPECT_TRUE(text.Failed());
        EXPECT_EQ(text.Length(TextForm::Ansi), 0);
        EXPECT_EQ(log.Lines(), (Lines{"REALGetStringData failed."})) << "asked once";
    }
    // A failure is forgotten at the next success.
    const trvhost::String latin = Make(U"\u00FC", 513);
    rbText text(StringOf(latin));
    TheHost().FailString(1);
    EXPECT_EQ(text.String(TextForm::Utf8), nullptr);
    EXPECT_TRUE(text.Failed());
    EXPECT_EQ(Read<TextForm::Utf8>(text), "\xC3\xBC");
    EXPECT_FALSE(text.Failed());
    EXPECT_NE(text.String(TextForm::Utf8), nullptr) << "asked again";
}

TEST_F(RbText, TextsWithoutTerminatorGetOne) {
    LoadForm(StringDataForm::NotTerminated);
    const std::u32string characters = U"\u00FC\u00DF";
    const trvhost::String utf16 = Make(characters, 256);
    const trvhost::String utf32 = Make(characters, 0xC000100);
    const trvhost::String latin = Make(characters, 513);
    const LogCapture log;
    rbText fromUtf16(StringOf(utf16));
    rbText fromUtf32(StringOf(utf32));
    rbText fromLatin(StringOf(latin));
    EXPECT_EQ(Read<TextForm::Utf16>(fromUtf16), u"\u00FC\u00DF");
    EXPECT_EQ(Read<TextForm::Utf32>(fromUtf32), characters);
    EXPECT_EQ(Read<TextForm::Ansi>(fromLatin), "\xFC\xDF");
    EXPECT_EQ(Read<TextForm::Utf8>(fromLatin), "\xC3\xBC\xC3\x9F");
    EXPECT_EQ(log.Lines(), Lines(4, "String is not zero terminated. Fixed."));
    EXPECT_FALSE(fromLatin.Failed());
}

TEST_F(RbText, HalfAUnitAtTheEndIsNoTerminator) {
    // Five bytes of UTF-16.
    const trvhost::String string = TheHost().NewString(std::string("a\0b\0c", 5), 256);
    rbText text(StringOf(string));
    EXPECT_EQ(Read<TextForm::Utf16>(text), u"ab");
    EXPECT_EQ(Read<TextForm::Utf32>(text), U"ab");
}

TEST_F(RbText, ByteOrderMarksOfTheHostAreSkipped) {
    for (const auto& [form, line] :
         {std::pair<StringDataForm, const char*>{StringDataForm::ByteOrderMark, nullptr},
          {StringDataForm::SwappedByteOrderMark, "String is Little Endian. Swap."}}) {
        LoadForm(form);
        const std::u32string characters = U"\u00FC\U0001F600";
        for (const uint32_t encoding : {0U, 256U, 0xC000100U}) {
            const trvhost::String string = Make(characters, encoding);
            const LogCapture log;
            rbText text(StringOf(string));
            EXPECT_EQ(Read<TextForm::Utf16>(text), Utf16Of(characters));
            EXPECT_EQ(log.Lines(), line == nullptr ? Lines{} : Lines{line}) << encoding;
            EXPECT_EQ(Read<TextForm::Utf32>(text), characters);
            EXPECT_EQ(Read<TextForm::Utf8>(text), Utf8Of(characters)) << "8-bit forms have none";
            EXPECT_FALSE(text.Failed());
        }
        // Nothing but the mark.
        const trvhost::String empty = Make(U"", 256);
        rbText text(StringOf(empty));
        EXPECT_EQ(Read<TextForm::Utf16>(text), u"");
    }
}

TEST_F(RbText, AStringOfAForm) {
    const std::u32string characters = U"\u00FC";
    for (const uint32_t encoding : {0U, 256U, 513U, 1280U, 0x8000100U, 0xC000100U}) {
        const trvhost::String string = Make(characters, encoding);
        rbText text(StringOf(string));
        for (size_t i = 0; i < std::size(kForms); ++i) {
            const HostString converted = text.String(kForms[i]);
            ASSERT_NE(converted, nullptr);
            EXPECT_EQ(text.String(kForms[i]), converted) << "converted once";
            const trvhost::String shared(trvhost::Ref::Share(TheHost(), converted));
            EXPECT_EQ(shared.Encoding(), kFormEncodings[i]);
            EXPECT_EQ(shared.Bytes(),
                      kForms[i] == TextForm::Ascii ? "?" : Make(characters, kFormEncodings[i]).Bytes());
            EXPECT_EQ(converted == StringOf(string), encoding == kFormEncodings[i]);
        }
    }
    // Pure ASCII stands for all its 8-bit forms.
    const trvhost::String ascii = Make(U"abc", 1536);
    rbText text(StringOf(ascii));
    for (const TextForm form : {TextForm::Ansi, TextForm::Native, TextForm::Utf8, TextForm::Latin}) {
        EXPECT_EQ(text.String(form), StringOf(ascii));
    }
    EXPECT_EQ(trvhost::String(trvhost::Ref::Share(TheHost(), text.String(TextForm::Utf16))).Encoding(), 256U);
    // Raw bytes stand for none.
    const trvhost::String raw = Make(U"abc", 65535);
    rbText rawText(StringOf(raw));
    const trvhost::String utf8(trvhost::Ref::Share(TheHost(), rawText.String(TextForm::Utf8)));
    EXPECT_EQ(utf8.Encoding(), 0x8000100U);
    EXPECT_EQ(utf8.Bytes(), "abc");
}

TEST_F(RbText, HoldsOneReferenceAndOwesNothingAtItsEnd) {
    LoadForm(StringDataForm::SwappedByteOrderMark);
    const trvhost::String string = Make(U"\u00FC", 513);
    const auto before = TheHost().Live();
    {
        rbText text(StringOf(string));
        EXPECT_EQ(string.References(), 2);
        for (const TextForm form : kForms) {
            EXPECT_GT(text.Length(form), 0);
            EXPECT_NE(text.String(form), nullptr);
        }
        EXPECT_EQ(string.References(), 2);
        EXPECT_EQ(TheHost().Live().stringData, 7);
        EXPECT_EQ(TheHost().Live().strings, before.strings + 6) << "all forms but its own";
    }
    EXPECT_EQ(string.References(), 1);
    EXPECT_EQ(TheHost().Live(), before);
}

TEST_F(RbText, OutlivesTheCallersReference) {
    trvhost::String string = Make(U"\u6F22", 0x8000100);
    rbText text(StringOf(string));
    string.Reset();
    EXPECT_EQ(Read<TextForm::Utf16>(text), u"\u6F22");
}

TEST_F(RbText, WithoutMemoryAFormIsEmpty) {
    LoadForm(StringDataForm::SwappedByteOrderMark);
    const trvhost::String utf8 = Make(U"\u00FC", 0x8000100);
    const trvhost::String utf16 = Make(U"\u00FC", 256);
    const LogCapture log;
    const FailingMemory noMemory;
    rbText fromUtf8(StringOf(utf8));
    rbText fromUtf16(StringOf(utf16));
    EXPECT_EQ(Read<TextForm::Utf16>(fromUtf8), u"");
    EXPECT_TRUE(fromUtf8.Failed());
    EXPECT_EQ(Read<TextForm::Utf16>(fromUtf16), u"");
    EXPECT_EQ(Read<TextForm::Utf32>(fromUtf16), U"") << "made from one that failed";
    EXPECT_TRUE(fromUtf16.Failed());
    EXPECT_EQ(noMemory.Failures(), 2);
    EXPECT_EQ(log.Lines(),
              (Lines{"Try UTF8 to UTF16 conversion...", "Out of memory", "String is Little Endian. Swap.",
                     "Out of memory", "Try UTF16 to UTF32 conversion..."}));
    EXPECT_EQ(Read<TextForm::Utf8>(fromUtf8), "\xC3\xBC") << "needs none";
}

TEST_F(RbText, WithoutMemoryForATerminatorAFormIsEmpty) {
    LoadForm(StringDataForm::NotTerminated);
    const trvhost::String latin = Make(U"\u00FC", 513);
    const LogCapture log;
    const FailingMemory noMemory;
    rbText text(StringOf(latin));
    EXPECT_EQ(Read<TextForm::Utf8>(text), "");
    EXPECT_TRUE(text.Failed());
    EXPECT_EQ(log.Lines(), (Lines{"String is not zero terminated. Fixed.", "Out of memory"}));
}

TEST_F(RbText, TellsWhenItsRecordWasOverwritten) {
    const trvhost::String string = Make(U"abc", 0x8000100);
    for (const bool first : {true, false}) {
        alignas(rbText) unsigned char storage[sizeof(rbText)];
        auto* const text = new (storage) rbText(StringOf(string));
        storage[first ? 0 : sizeof storage - 1] ^= 1;
        const LogCapture log;
        text->~rbText();
        EXPECT_EQ(log.Lines(), (Lines{first ? "Check1 in rbText invalid" : "Check2 in rbText invalid"}));
        EXPECT_EQ(string.References(), 1) << "it goes on";
    }
    const LogCapture log;
    { const rbText text(StringOf(string)); }
    EXPECT_EQ(log.Lines(), Lines{});
}

TEST_F(RbText, OnTheHeap) {
    const trvhost::String string = Make(U"abc", 1536);
    const std::unique_ptr<rbText> text(rbText::New(StringOf(string)));
    ASSERT_NE(text, nullptr);
    EXPECT_EQ(Read<TextForm::Utf8>(*text), "abc");
    const LogCapture log;
    const FailingMemory noMemory;
    EXPECT_EQ(rbText::New(StringOf(string)), nullptr);
    EXPECT_EQ(log.Lines(), (Lines{"Failed to allocate text object."}));
    EXPECT_EQ(string.References(), 2);
}

TEST_F(RbText, Chains) {
    const trvhost::String string = Make(U"abc", 1536);
    rbText* head = nullptr;
    rbText* const first = rbText::New(StringOf(string));
    rbText* const second = rbText::New(StringOf(string));
    rbText* const third = rbText::New(StringOf(string));
    AddToChain(head, first);
    EXPECT_EQ(head, first);
    EXPECT_EQ(first->next, nullptr);
    AddToChain(head, second);
    EXPECT_EQ(head, second);
    EXPECT_EQ(second->next, first);
    {
        // The chain so far hangs on the third already.
        third->next = second;
        const LogCapture log;
        AddToChain(head, third);
        EXPECT_EQ(head, third);
        EXPECT_EQ(third->next, second);
        EXPECT_EQ(log.Lines(), (Lines{"Warning: Next already set!"}));
    }
    // What is in the chain stays where it is.
    for (rbText* const member : {first, second, third, static_cast<rbText*>(nullptr)})
        AddToChain(head, member);
    EXPECT_EQ(head, third);
    EXPECT_EQ(first->next, nullptr);
    EXPECT_EQ(string.References(), 4);
    FreeChain(head);
    EXPECT_EQ(head, nullptr);
    EXPECT_EQ(string.References(), 1);
    FreeChain(head);
}

TEST_F(RbText, FourCharacterCodes) {
    EXPECT_EQ(FourCharCode(nullptr), 0x20202020U);
    const struct {
        std::string bytes;
        uint32_t encoding;
        uint32_t code;
    } cases[] = {{"", 1536, 0x20202020},
                 {"a", 1536, 0x61202020},
                 {"abcd", 1536, 0x61626364},
                 {"abcdef", 0x8000100, 0x61626364},
                 {"PNG", 65535, 0x504E4720},
                 {std::string("a\0c", 3), 1536, 0x61006320},
                 {"\xC3\xBC"
                  "bc",
                  0, 0xC3BC6263},
                 {"\xFC"
                  "bc",
                  513, 0xC3BC6263}};
    for (const auto& [bytes, encoding, code] : cases) {
        EXPECT_EQ(FourCharCode(StringOf(TheHost().NewString(bytes, encoding))), code) << bytes;
    }
}

}  // namespace
}  // namespace trv
