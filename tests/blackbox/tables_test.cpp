// The class tables as the host gets them.

#include <algorithm>
#include <map>
#include <set>

#include "plugin_test.h"
#include "tables_methods.h"

namespace trvtest {
namespace {

using trvhost::ClassDefinition;
using trvhost::MethodDefinition;
using trvhost::Options;
using trvhost::PropertyDefinition;

class Tables : public PluginTest {
  protected:
    [[nodiscard]] const ClassDefinition& Picture() const { return TheHost().Class("PictureTRV"); }
    [[nodiscard]] const ClassDefinition& Factory() const { return TheHost().Class("PictureFactoryTRV"); }

    void LoadVersion(double version) {
        Options options;
        options.version = version;
        Load(options);
    }
};

// Class definitions ---

TEST_F(Tables, ThePictureClass) {
    const ClassDefinition& c = Picture();
    EXPECT_EQ(c.version, 13U);
    EXPECT_STREQ(c.name, "PictureTRV");
    EXPECT_EQ(c.superName, nullptr);
    EXPECT_GT(c.dataSize, 0);
    EXPECT_EQ(c.dataSize % 16, 0);
    EXPECT_EQ(c.forSystemUse, 48);
    EXPECT_EQ(c.constructor, nullptr);
    EXPECT_NE(c.destructor, nullptr);
    EXPECT_EQ(c.propertyCount, 48);
    EXPECT_EQ(c.methodCount, 138);
    EXPECT_EQ(c.eventCount, 0);
    EXPECT_EQ(c.eventInstanceCount, 0);
    EXPECT_EQ(c.interfaces, nullptr);
    EXPECT_EQ(c.attributeCount, 0);
    EXPECT_EQ(c.constantCount, 88);
    EXPECT_EQ(c.flags, 4U);
    EXPECT_EQ(c.sharedPropertyCount, 1);
    EXPECT_EQ(c.sharedMethodCount, 5);
}

TEST_F(Tables, TheFactoryClass) {
    const ClassDefinition& c = Factory();
    EXPECT_EQ(c.version, 13U);
    EXPECT_STREQ(c.name, "PictureFactoryTRV");
    EXPECT_EQ(c.superName, nullptr);
    EXPECT_EQ(c.dataSize, 0);
    EXPECT_EQ(c.forSystemUse, 48);
    EXPECT_EQ(c.constructor, nullptr);
    EXPECT_EQ(c.destructor, nullptr);
    EXPECT_EQ(c.propertyCount, 0);
    EXPECT_EQ(c.methodCount, 0);
    EXPECT_EQ(c.eventInstanceCount, 0);
    EXPECT_EQ(c.interfaces, nullptr);
    EXPECT_EQ(c.attributeCount, 0);
    EXPECT_EQ(c.constantCount, 0);
    EXPECT_EQ(c.flags, 4U);
    ASSERT_EQ(c.eventCount, 1);
    EXPECT_STREQ(c.events[0].declaration,
                 "NewPictureTRV(Width as integer, Height as integer, ImageFormat as integer) as PictureTRV");
    EXPECT_EQ(c.events[0].attributeCount, 0);
    ASSERT_EQ(c.sharedMethodCount, 2);
    EXPECT_STREQ(c.sharedMethods[0].declaration, "SetFactory(factory as PictureFactoryTRV)");
    EXPECT_STREQ(c.sharedMethods[1].declaration,
                 "NewPictureTRV(Width as integer, Height as integer, ImageFormat as integer) as PictureTRV");
    for (int64_t i = 0; i < 2; ++i) {
        EXPECT_NE(c.sharedMethods[i].function, nullptr);
        EXPECT_EQ(c.sharedMethods[i].setter, nullptr);
        EXPECT_EQ(c.sharedMethods[i].flags, 4U);
    }
    ASSERT_EQ(c.sharedPropertyCount, 1);
    EXPECT_STREQ(c.sharedProperties[0].name, "currentFactory");
    EXPECT_STREQ(c.sharedProperties[0].type, "PictureFactoryTRV");
    EXPECT_NE(c.sharedProperties[0].getter, nullptr);
    EXPECT_NE(c.sharedProperties[0].getter, trvhost::kDirectAccess);
    EXPECT_EQ(c.sharedProperties[0].setter, nullptr);
}

// Methods ---

/// The table's rows are those that are expected, in this order.
void ExpectMethods(const MethodDefinition* methods, int64_t count, std::span<const ExpectedMethod> expected) {
    ASSERT_EQ(count, static_cast<int64_t>(expected.size()));
    for (const ExpectedMethod& row : expected) {
        const MethodDefinition& method = *methods++;
        EXPECT_STREQ(method.declaration, row.declaration);
        EXPECT_NE(method.function, nullptr) << row.declaration;
        EXPECT_NE(method.function, trvhost::kDirectAccess) << row.declaration;
        EXPECT_EQ(method.setter != nullptr, row.hasSetter) << row.declaration;
        EXPECT_EQ(method.flags, 4U) << row.declaration;
        EXPECT_EQ(method.attributeCount, 0) << row.declaration;
    }
}

TEST_F(Tables, EveryMethodStandsInItsPlace) {
    ExpectMethods(Picture().methods, Picture().methodCount, kPictureMethods);
    ExpectMethods(Picture().sharedMethods, Picture().sharedMethodCount, kPictureSharedMethods);
}

TEST_F(Tables, MethodsOfPicturesAreOrdinaryFrom2010029OnAndNothingBelow) {
    std::map<std::string, uint64_t> flagsInTable;
    for (const ExpectedMethod& row : kPictureMethods)
        flagsInTable[row.declaration] = row.flags;
    for (const auto& [version, expected] :
         {std::pair<double, uint64_t>{2010.02, 0}, {2010.028, 0}, {2010.029, 4}}) {
        LoadVersion(version);
        int64_t ofPictures = 0;
        for (int64_t i = 0; i < Picture().methodCount; ++i) {
            const MethodDefinition& method = Picture().methods[i];
            const bool since2010 = flagsInTable.at(method.declaration) == kSinceHost2010;
            EXPECT_EQ(method.flags, since2010 ? expected : 4) << method.declaration << " " << version;
            ofPictures += since2010 ? 1 : 0;
        }
        EXPECT_GT(ofPictures, 0);
    }
}

TEST_F(Tables, EveryDeclarationCanBeRead) {
    std::set<std::string> seen;
    const auto read = [&](const char* text) {
        const trvhost::Declaration declaration = trvhost::Declaration::Parse(text);
        EXPECT_FALSE(declaration.name.empty());
        EXPECT_TRUE(seen.insert(text).second) << "twice: " << text;
    };
    for (const ExpectedMethod& row : kPictureMethods)
        read(row.declaration);
    seen.clear();
    for (const ExpectedMethod& row : kPictureSharedMethods)
        read(row.declaration);
}

// Properties ---

enum class Access { None, Field, Code };

struct ExpectedProperty {
    const char* name;
    const char* type;
    Access read;
    Access write;
    bool since2010 = false;
};

constexpr ExpectedProperty kProperties[] = {
    {"MappingFirstRow", "Integer", Access::Field, Access::None},
    {"MappingLastRow", "Integer", Access::Field, Access::None},
    {"MappingRows", "Integer", Access::Field, Access::None},
    {"YieldTicks", "Integer", Access::Field, Access::Field},
    {"RedOffset", "Integer", Access::Field, Access::Code},
    {"GreenOffset", "Integer", Access::Field, Access::Code},
    {"BlueOffset", "Integer", Access::Field, Access::Code},
    {"GrayOffset", "Integer", Access::Field, Access::Code},
    {"AlphaOffset", "Integer", Access::Field, Access::Code},
    {"Width", "Integer", Access::Field, Access::None},
    {"Height", "Integer", Access::Field, Access::None},
    {"UnclippedHeight", "Integer", Access::Field, Access::None},
    {"PixelSize", "Integer", Access::Field, Access::None},
    {"BitsPerComponent", "Integer", Access::Field, Access::None},
    {"RowSize", "Integer", Access::Field, Access::None},
    {"ImageFormat", "Integer", Access::Field, Access::None},
    {"ImageFormatString", "String", Access::Code, Access::None},
    {"RowOffset", "Integer", Access::Field, Access::None},
    {"DebugPictureEnabled", "Boolean", Access::Field, Access::Field, true},
    {"DebugPicture", "Picture", Access::Code, Access::None, true},
    {"IsGray", "Boolean", Access::Field, Access::None},
    {"IsRGB", "Boolean", Access::Field, Access::None},
    {"HasGreen", "Boolean", Access::Field, Access::None},
    {"HasRed", "Boolean", Access::Field, Access::None},
    {"HasBlue", "Boolean", Access::Field, Access::None},
    {"HasGray", "Boolean", Access::Field, Access::None},
    {"HasAlpha", "Boolean", Access::Field, Access::None},
    {"Valid", "Boolean", Access::Field, Access::None},
    {"IsMapping", "Boolean", Access::Field, Access::None},
    {"ChannelCount", "Integer", Access::Field, Access::None},
    {"IsCMYK", "Boolean", Access::Field, Access::None},
    {"HasCyan", "Boolean", Access::Field, Access::None},
    {"HasYellow", "Boolean", Access::Field, Access::None},
    {"HasMagenta", "Boolean", Access::Field, Access::None},
    {"HasBlack", "Boolean", Access::Field, Access::None},
    {"CyanOffset", "Integer", Access::Field, Access::None},
    {"YellowOffset", "Integer", Access::Field, Access::None},
    {"MagentaOffset", "Integer", Access::Field, Access::None},
    {"BlackOffset", "Integer", Access::Field, Access::None},
    {"Channel", "String", Access::Field, Access::None},
    {"Parent", "PictureTRV", Access::Field, Access::None},
    {"Factory", "PictureFactoryTRV", Access::Field, Access::Field},
    {"Target", "Picture", Access::Field, Access::None, true},
    {"Memory", "MemoryBlock", Access::Code, Access::None},
    {"MemoryTarget", "MemoryBlock", Access::Field, Access::None},
    {"FilePath", "String", Access::Field, Access::None},
    {"MappingBlockSize", "Int64", Access::Code, Access::Code},
    {"TotalSize", "Int64", Access::Code, Access::None},
};
static_assert(std::size(kProperties) == 48);

Access AccessOf(void* entry) {
    return entry == nullptr ? Access::None : entry == trvhost::kDirectAccess ? Access::Field : Access::Code;
}

TEST_F(Tables, PropertiesAreTheirList) {
    for (const auto& [version, since2010] :
         {std::pair<double, uint64_t>{2010.02, 2}, {2010.029, 6}, {2024.01, 6}}) {
        LoadVersion(version);
        ASSERT_EQ(Picture().propertyCount, 48);
        for (size_t i = 0; i < std::size(kProperties); ++i) {
            const ExpectedProperty& expected = kProperties[i];
            const PropertyDefinition& property = Picture().properties[i];
            EXPECT_STREQ(property.name, expected.name);
            EXPECT_STREQ(property.type, expected.type) << expected.name;
            EXPECT_EQ(property.flags, expected.since2010 ? since2010 : 6) << expected.name << " " << version;
            EXPECT_EQ(AccessOf(property.getter), expected.read) << expected.name;
            EXPECT_EQ(AccessOf(property.setter), expected.write) << expected.name;
            EXPECT_EQ(property.enumCount, 0) << expected.name;
            EXPECT_EQ(property.attributeCount, 0) << expected.name;
        }
    }
}

/// The record's fields in their order with the bytes of each, as far as the host can see them.
constexpr std::pair<const char*, int64_t> kRecord[] = {{"YieldTicks", 8},
                                                       {"LastYieldTime", 8},
                                                       {"MappingBlockSize", 8},
                                                       {"TotalSize", 8},
                                                       {"Factory", 8},
                                                       {"MemoryTarget", 8},
                                                       {"DebugPictureEnabled", 1},
                                                       {"RedOffset", 8},
                                                       {"HasRed", 1},
                                                       {"GreenOffset", 8},
                                                       {"HasGreen", 1},
                                                       {"BlueOffset", 8},
                                                       {"HasBlue", 1},
                                                       {"GrayOffset", 8},
                                                       {"HasGray", 1},
                                                       {"AlphaOffset", 8},
                                                       {"HasAlpha", 1},
                                                       {"CyanOffset", 8},
                                                       {"HasCyan", 1},
                                                       {"MagentaOffset", 8},
                                                       {"HasMagenta", 1},
                                                       {"YellowOffset", 8},
                                                       {"HasYellow", 1},
                                                       {"BlackOffset", 8},
                                                       {"HasBlack", 1},
                                                       {"Width", 8},
                                                       {"IsGray", 1},
                                                       {"Height", 8},
                                                       {"UnclippedHeight", 8},
                                                       {"IsRGB", 1},
                                                       {"RowSize", 8},
                                                       {"IsCMYK", 1},
                                                       {"PixelSize", 8},
                                                       {"BitsPerComponent", 8},
                                                       {"Valid", 1},
                                                       {"ImageFormat", 8},
                                                       {"BitmapLocked", 1},
                                                       {"RowOffset", 8},
                                                       {"ChannelCount", 8},
                                                       {"MappingFirstRow", 8},
                                                       {"MappingLastRow", 8},
                                                       {"MappingRows", 8},
                                                       {"ChannelOffsets", 64},
                                                       {"Parent", 8},
                                                       {"MappingFile", 8},
                                                       {"Target", 8},
                                                       {"Channel", 8},
                                                       {"FilePath", 8},
                                                       {"WindowFilePath", 8},
                                                       {"BufferOwned", 1},
                                                       {"RowBuffer", 8},
                                                       {"MapBuffer", 8},
                                                       {"MappingOwner", 1},
                                                       {"WindowFileHandle", 8},
                                                       {"ViewMapped", 1},
                                                       {"WindowMapHandle", 8},
                                                       {"IsMapping", 1}};

TEST_F(Tables, FieldsLieInTheRecordsOrder) {
    std::map<std::string, int64_t> offsets;
    int64_t end = 0;
    for (const auto& [name, bytes] : kRecord) {
        const int64_t alignment = std::min<int64_t>(bytes, 8);
        offsets[name] = (end + alignment - 1) / alignment * alignment;
        end = offsets[name] + bytes;
    }
    EXPECT_LE(end, Picture().dataSize);
    int direct = 0;
    for (int64_t i = 0; i < Picture().propertyCount; ++i) {
        const PropertyDefinition& property = Picture().properties[i];
        if (property.getter != trvhost::kDirectAccess) continue;
        ++direct;
        EXPECT_EQ(property.parameter, offsets.at(property.name)) << property.name;
    }
    EXPECT_EQ(direct, 43);
}

TEST_F(Tables, TheSharedProperty) {
    ASSERT_EQ(Picture().sharedPropertyCount, 1);
    const PropertyDefinition& property = Picture().sharedProperties[0];
    EXPECT_STREQ(property.name, "Debugging");
    EXPECT_STREQ(property.type, "Boolean");
    EXPECT_EQ(property.flags, 38U);
    EXPECT_EQ(AccessOf(property.getter), Access::Code);
    EXPECT_EQ(AccessOf(property.setter), Access::Code);
    ASSERT_EQ(property.attributeCount, 1);
    EXPECT_STREQ(property.attributes[0].name, "Hidden");
    EXPECT_STREQ(property.attributes[0].value, "");
}

// Constants ---

const std::map<std::string, int64_t> kConstants = {
    {"ImageFormatUnknown", 0},
    {"ImageFormatRGB", 1},
    {"ImageFormatRGBA", 2},
    {"ImageFormatRGBX", 3},
    {"ImageFormatARGB", 4},
    {"ImageFormatXRGB", 5},
    {"ImageFormatBGR", 6},
    {"ImageFormatBGRA", 7},
    {"ImageFormatBGRX", 8},
    {"ImageFormatABGR", 9},
    {"ImageFormatXBGR", 10},
    {"ImageFormatG", 11},
    {"ImageFormatG1", 11},
    {"ImageFormatGA", 12},
    {"ImageFormatAG", 13},
    {"ImageFormat1of3", 15},
    {"ImageFormatRofRGB", 15},
    {"ImageFormatBofBGR", 15},
    {"ImageFormat2of3", 16},
    {"ImageFormatGofRGB", 16},
    {"ImageFormatGofBGR", 16},
    {"ImageFormat3of3", 17},
    {"ImageFormatBofRGB", 17},
    {"ImageFormatRofBGR", 17},
    {"ImageFormat1of4", 18},
    {"ImageFormatRofRGBA", 18},
    {"ImageFormatAofARGB", 18},
    {"ImageFormatBofBGRA", 18},
    {"ImageFormatAofABGR", 18},
    {"ImageFormat2of4", 19},
    {"ImageFormatGofRGBA", 19},
    {"ImageFormatRofARGB", 19},
    {"ImageFormatGofBGRA", 19},
    {"ImageFormatBofABGR", 19},
    {"ImageFormat3of4", 20},
    {"ImageFormatBofRGBA", 20},
    {"ImageFormatGofARGB", 20},
    {"ImageFormatRofBGRA", 20},
    {"ImageFormatGofABGR", 20},
    {"ImageFormat4of4", 21},
    {"ImageFormatAofRGBA", 21},
    {"ImageFormatBofARGB", 21},
    {"ImageFormatAofBGRA", 21},
    {"ImageFormatRofABGR", 21},
    {"ImageFormatBuffer", 22},
    {"ImageFormatCMYK", 23},
    {"ImageFormatCMYKA", 24},
    {"ImageFormatACMYK", 25},
    {"ImageFormatCMYKX", 26},
    {"ImageFormatXCMYK", 27},
    {"ImageFormatKYMC", 28},
    {"ImageFormatKYMCA", 29},
    {"ImageFormatAKYMC", 30},
    {"ImageFormatKYMCX", 31},
    {"ImageFormatXKYMC", 32},
    {"ImageFormatScaling1", 33},
    {"ImageFormatScaling2", 34},
    {"ImageFormatScaling3", 35},
    {"ImageFormatScaling4", 36},
    {"ImageFormatScaling5", 37},
    {"ImageFormatScaling6", 38},
    {"ImageFormatScaling7", 39},
    {"ImageFormatScaling8", 40},
    {"ImageFormatGray16", 41},
    {"ImageFormatG2", 42},
    {"ImageFormatG3", 43},
    {"ImageFormatG4", 44},
    {"ImageFormatG5", 45},
    {"ImageFormatG6", 46},
    {"ImageFormatG7", 47},
    {"ImageFormatG8", 48},
    {"ScaleTriangle", 1},
    {"ScaleBox", 2},
    {"ScaleLanczos3", 3},
    {"ScaleLanczos8", 4},
    {"ScaleMitchell", 5},
    {"ScalePoly3", 6},
    {"ScaleCubic", 7},
    {"DitherMagic2x2Matrix", 1},
    {"DitherMagic4x4Matrix", 2},
    {"DitherOrdered4x4Matrix", 3},
    {"DitherLines4x4Matrix", 4},
    {"Dither90Halftone6x6Matrix", 5},
    {"DitherOrdered6x6Matrix", 6},
    {"DitherOrdered8x8Matrix", 7},
    {"DitherCluster3Matrix", 8},
    {"DitherCluster4Matrix", 9},
    {"DitherCluster8Matrix", 10},
};

TEST_F(Tables, ConstantsHaveTheirFinalText) {
    ASSERT_EQ(kConstants.size(), 88U);
    std::set<std::string> texts;
    for (int64_t i = 0; i < Picture().constantCount; ++i) {
        const trvhost::ConstantDefinition& constant = Picture().constants[i];
        texts.insert(constant.declaration);
        EXPECT_EQ(constant.value, 0) << constant.declaration;
        EXPECT_EQ(constant.defaultValue, nullptr) << constant.declaration;
        EXPECT_EQ(constant.attributeCount, 0) << constant.declaration;
    }
    std::set<std::string> expected;
    for (const auto& [name, value] : kConstants) {
        expected.insert(name + " = " + std::to_string(value));
        EXPECT_EQ(Constant(name), value);
    }
    EXPECT_EQ(texts, expected);
}

}  // namespace
}  // namespace trvtest
