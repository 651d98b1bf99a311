#include <gtest/gtest.h>

#include "trvhost/declaration.h"

namespace trvhost {
namespace {

TEST(Declarations, AreTakenApart) {
    const Declaration d = Declaration::Parse(
        "TransferFilter(dest as PictureTRV, red() as integer, Gain as double = 1.5, Flag as boolean=False) "
        "as PictureTRV");
    EXPECT_EQ(d.name, "TransferFilter");
    ASSERT_EQ(d.parameters.size(), 4u);
    EXPECT_EQ(d.parameters[0].name, "dest");
    EXPECT_EQ(d.parameters[0].type, "PictureTRV");
    EXPECT_EQ(d.parameters[0].wire, WireType::Object);
    EXPECT_EQ(d.parameters[1].name, "red");
    EXPECT_TRUE(d.parameters[1].isArray);
    EXPECT_EQ(d.parameters[1].wire, WireType::Object);
    EXPECT_EQ(d.parameters[2].defaultText, "1.5");
    EXPECT_EQ(d.parameters[2].wire, WireType::Double);
    EXPECT_EQ(d.parameters[3].defaultText, "False");
    EXPECT_EQ(d.parameters[3].wire, WireType::Boolean);
    EXPECT_EQ(d.resultType, "PictureTRV");
    EXPECT_EQ(d.RequiredCount(), 2u);
}

TEST(Declarations, OfFewWords) {
    EXPECT_EQ(Declaration::Parse("Close").name, "Close");
    EXPECT_EQ(Declaration::Parse("Close").resultWire, WireType::None);
    const Declaration channels = Declaration::Parse("Channels as String()");
    EXPECT_TRUE(channels.resultIsArray);
    EXPECT_EQ(channels.resultType, "String");
    EXPECT_EQ(channels.resultWire, WireType::Object);
    EXPECT_EQ(Declaration::Parse("Operator_Convert() As Ptr").resultWire, WireType::Pointer);
    EXPECT_EQ(Declaration::Parse("LenB( s as string ) as integer").parameters.at(0).name, "s");
    EXPECT_EQ(Declaration::Parse("Mask(assigns newMask As Picture)").parameters.at(0).name, "newMask");
}

TEST(Declarations, Types) {
    EXPECT_EQ(WireTypeOf("INTEGER"), WireType::Int64);
    EXPECT_EQ(WireTypeOf("Color"), WireType::Color);
    EXPECT_EQ(WireTypeOf("uinteger"), WireType::UInt64);
    EXPECT_EQ(WireTypeOf("memoryblock"), WireType::Object);
    EXPECT_EQ(WireTypeOf("String()"), WireType::Object);
    EXPECT_EQ(WireTypeOf(""), WireType::None);
}

TEST(Declarations, ThatAreNone) {
    for (const char* text :
         {"", "(", "Name(", "Name(x)", "Name(x as)", "Name as", "Name(x as integer) of integer"}) {
        EXPECT_THROW(Declaration::Parse(text), std::invalid_argument) << text;
    }
}

}  // namespace
}  // namespace trvhost
