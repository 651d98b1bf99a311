// The class PictureTRV as the host sees it: one line a member, in the order of the host's table.

#include <cstddef>
#include <iterator>

#include "bridge/picture_export.h"
#include "bridge/picture_import.h"
#include "compositing/background_blend.h"
#include "compositing/combine.h"
#include "filters/box_blur.h"
#include "filters/box_blur_fractional.h"
#include "filters/diffuse.h"
#include "filters/dither.h"
#include "filters/engrave.h"
#include "filters/matrix_filter.h"
#include "filters/neon.h"
#include "filters/oil.h"
#include "filters/point_filters.h"
#include "filters/stamp.h"
#include "filters/unsharp_filter.h"
#include "frame/debugging_property.h"
#include "geometry/mirrors.h"
#include "geometry/rotate.h"
#include "geometry/turns.h"
#include "image/life_cycle.h"
#include "image/mapped_image.h"
#include "image/picture_factory.h"
#include "image/properties.h"
#include "image/views.h"
#include "pixelops/auto_level.h"
#include "pixelops/compare_images.h"
#include "pixelops/fill.h"
#include "pixelops/invert.h"
#include "pixelops/multiply.h"
#include "pixelops/rgb_to_gray.h"
#include "plugin/class_definitions.h"
#include "plugin/member_lines.h"
#include "rows/copy_pixels.h"
#include "rows/row_methods.h"
#include "scale/kernels.h"
#include "scale/scale_fast.h"
#include "scale/threaded_scale.h"
#include "scale/two_pass.h"

namespace trv {

namespace {

using member_lines::Method;
using member_lines::PictureMethod;
using member_lines::SharedMethod;

// Properties
// -----------------------------------------------------------------------------------------------------

/// A field that the host reads directly.
PropertyDefinition Field(const char* name, const char* type, size_t offset,
                         int32_t flags = kOrdinaryProperty) {
    return {.name = name,
            .type = type,
            .flags = flags,
            .getter = DirectAccess(),
            .parameter = static_cast<int64_t>(offset)};
}

/// A field that the host reads and writes directly.
PropertyDefinition OpenField(const char* name, const char* type, size_t offset,
                             int32_t flags = kOrdinaryProperty) {
    PropertyDefinition property = Field(name, type, offset, flags);
    property.setter = DirectAccess();
    return property;
}

/// A channel offset: read directly, written through the range check.
PropertyDefinition Offset(const char* name, size_t offset) {
    PropertyDefinition property = Field(name, "Integer", offset);
    property.setter = TableFunction(SetChannelOffset);
    return property;
}

/// A property with a function to read it.
PropertyDefinition Computed(const char* name, const char* type, void* getter,
                            int32_t flags = kOrdinaryProperty) {
    return {.name = name, .type = type, .flags = flags, .getter = getter};
}

/// A 64-bit field behind a function.
PropertyDefinition Int64Field(const char* name, size_t offset, void* setter = nullptr) {
    return {.name = name,
            .type = "Int64",
            .flags = kOrdinaryProperty,
            .getter = TableFunction(GetInt64Field),
            .setter = setter,
            .parameter = static_cast<int64_t>(offset)};
}

#define TRV_FIELD(name, type) Field(#name, type, offsetof(PictureTRV, name))
#define TRV_OFFSET(name) Offset(#name, offsetof(PictureTRV, name))

PropertyDefinition properties[] = {
    TRV_FIELD(MappingFirstRow, "Integer"),
    TRV_FIELD(MappingLastRow, "Integer"),
    TRV_FIELD(MappingRows, "Integer"),
    OpenField("YieldTicks", "Integer", offsetof(PictureTRV, YieldTicks)),
    TRV_OFFSET(RedOffset),
    TRV_OFFSET(GreenOffset),
    TRV_OFFSET(BlueOffset),
    TRV_OFFSET(GrayOffset),
    TRV_OFFSET(AlphaOffset),
    TRV_FIELD(Width, "Integer"),
    TRV_FIELD(Height, "Integer"),
    TRV_FIELD(UnclippedHeight, "Integer"),
    TRV_FIELD(PixelSize, "Integer"),
    TRV_FIELD(BitsPerComponent, "Integer"),
    TRV_FIELD(RowSize, "Integer"),
    TRV_FIELD(ImageFormat, "Integer"),
    Computed("ImageFormatString", "String", TableFunction(GetImageFormatString)),
    TRV_FIELD(RowOffset, "Integer"),
    OpenField("DebugPictureEnabled", "Boolean", offsetof(PictureTRV, DebugPictureEnabled),
              kOrdinaryPropertySinceHost2010),
    Computed("DebugPicture", "Picture", TableFunction(GetDebugPicture), kOrdinaryPropertySinceHost2010),
    TRV_FIELD(IsGray, "Boolean"),
    TRV_FIELD(IsRGB, "Boolean"),
    TRV_FIELD(HasGreen, "Boolean"),
    TRV_FIELD(HasRed, "Boolean"),
    TRV_FIELD(HasBlue, "Boolean"),
    TRV_FIELD(HasGray, "Boolean"),
    TRV_FIELD(HasAlpha, "Boolean"),
    TRV_FIELD(Valid, "Boolean"),
    TRV_FIELD(IsMapping, "Boolean"),
    TRV_FIELD(ChannelCount, "Integer"),
    TRV_FIELD(IsCMYK, "Boolean"),
    TRV_FIELD(HasCyan, "Boolean"),
    TRV_FIELD(HasYellow, "Boolean"),
    TRV_FIELD(HasMagenta, "Boolean"),
    TRV_FIELD(HasBlack, "Boolean"),
    TRV_FIELD(CyanOffset, "Integer"),
    TRV_FIELD(YellowOffset, "Integer"),
    TRV_FIELD(MagentaOffset, "Integer"),
    TRV_FIELD(BlackOffset, "Integer"),
    TRV_FIELD(Channel, "String"),
    TRV_FIELD(Parent, "PictureTRV"),
    OpenField("Factory", "PictureFactoryTRV", offsetof(PictureTRV, Factory)),
    Field("Target", "Picture", offsetof(PictureTRV, Target), kOrdinaryPropertySinceHost2010),
    Computed("Memory", "MemoryBlock", TableFunction(GetMemory)),
    TRV_FIELD(MemoryTarget, "MemoryBlock"),
    TRV_FIELD(FilePath, "String"),
    Int64Field("MappingBlockSize", offsetof(PictureTRV, memblocksize), TableFunction(SetMappingBlockSize)),
    Int64Field("TotalSize", offsetof(PictureTRV, TotalSize)),
};

PropertyDefinition sharedProperties[] = {DebuggingProperty()};

// Constants
// ------------------------------------------------------------------------------------------------------

ConstantDefinition constants[] = {
    {.declaration = "ImageFormatUnknown", .value = ImageFormatUnknown},
#define TRV_FORMAT(constant, code, letters) {.declaration = #constant, .value = (code)},
#define TRV_FORMAT_ALIAS(constant, code) {.declaration = #constant, .value = (code)},
#include "image/image_formats.inc"
#undef TRV_FORMAT
#undef TRV_FORMAT_ALIAS
    {.declaration = "ScaleTriangle", .value = ScaleTriangle},
    {.declaration = "ScaleBox", .value = ScaleBox},
    {.declaration = "ScaleLanczos3", .value = ScaleLanczos3},
    {.declaration = "ScaleLanczos8", .value = ScaleLanczos8},
    {.declaration = "ScaleMitchell", .value = ScaleMitchell},
    {.declaration = "ScalePoly3", .value = ScalePoly3},
    {.declaration = "ScaleCubic", .value = ScaleCubic},
    {.declaration = "DitherMagic2x2Matrix", .value = 1},
    {.declaration = "DitherMagic4x4Matrix", .value = 2},
    {.declaration = "DitherOrdered4x4Matrix", .value = 3},
    {.declaration = "DitherLines4x4Matrix", .value = 4},
    {.declaration = "Dither90Halftone6x6Matrix", .value = 5},
    {.declaration = "DitherOrdered6x6Matrix", .value = 6},
    {.declaration = "DitherOrdered8x8Matrix", .value = 7},
    {.declaration = "DitherCluster3Matrix", .value = 8},
    {.declaration = "DitherCluster4Matrix", .value = 9},
    {.declaration = "DitherCluster8Matrix", .value = 10},
};

// Methods
// --------------------------------------------------------------------------------------------------------

MethodDefinition methods[] = {
    Method<"Channels as String()", rbChannels>(),
    Method<"Multiply", rbMultiplyAll>(),
    Method<"Multiply(x as integer, y as integer, width as integer, height as integer)", rbMultiply>(),
    Method<"Unmultiply", rbUnmultiplyAll>(),
    Method<"Unmultiply(x as integer, y as integer, width as integer, height as integer)", rbUnmultiply>(),
    Method<"ClearCache", rbClearCache>(),
    Method<"RGBToGray(mode as integer = 0) as boolean", rbRGBToGray>(),
    Method<"Combine(Image as PictureTRV, Mask as PictureTRV, DestX As Integer, DestY As Integer, SourceX As "
           "Integer, SourceY As Integer, Width As Integer, Height As Integer, UseColours As Boolean, "
           "ForeColour As Integer, MaskColour As Integer) as boolean",
           CombineForm<int64_t, int64_t>::Over>(),
    Method<"Combine(Image as PictureTRV, Mask as PictureTRV, DestX As Integer, DestY As Integer, SourceX As "
           "Integer, SourceY As Integer, Width As Integer, Height As Integer, UseColours As Boolean, "
           "ForeColour As Integer) as boolean",
           CombineForm<int64_t>::Over>(),
    Method<
        "Combine(Image as PictureTRV, Mask as PictureTRV, DestX As Integer, DestY As Integer, SourceX As "
        "Integer, SourceY As Integer, Width As Integer, Height As Integer, UseColours As Boolean) as boolean",
        CombineForm<>::Over>(),
    Method<"Combine(Image as PictureTRV, Mask as PictureTRV, DestX As Integer, DestY As Integer, SourceX As "
           "Integer, SourceY As Integer, Width As Integer, Height As Integer, UseColours As Boolean, "
           "ForeColour As color, MaskColour As color) as boolean",
           CombineForm<uint32_t, uint32_t>::Over>(),
    Method<"Combine(Image as PictureTRV, Mask as PictureTRV, DestX As Integer, DestY As Integer, SourceX As "
           "Integer, SourceY As Integer, Width As Integer, Height As Integer, UseColours As Boolean, "
           "ForeColour As color) as boolean",
           CombineForm<uint32_t>::Over>(),
    Method<"Combine(Image as PictureTRV, PreMultipliedSource as boolean, Mask as PictureTRV, DestX As "
           "Integer, DestY As Integer, SourceX As Integer, SourceY As Integer, Width As Integer, Height As "
           "Integer, UseColours As Boolean, ForeColour As Integer, MaskColour As Integer) as boolean",
           CombineForm<int64_t, int64_t>::PreMultipliedOver>(),
    Method<"Combine(Image as PictureTRV, PreMultipliedSource as boolean, Mask as PictureTRV, DestX As "
           "Integer, DestY As Integer, SourceX As Integer, SourceY As Integer, Width As Integer, Height As "
           "Integer, UseColours As Boolean, ForeColour As Integer) as boolean",
           CombineForm<int64_t>::PreMultipliedOver>(),
    Method<"Combine(Image as PictureTRV, PreMultipliedSource as boolean, Mask as PictureTRV, DestX As "
           "Integer, DestY As Integer, SourceX As Integer, SourceY As Integer, Width As Integer, Height As "
           "Integer, UseColours As Boolean) as boolean",
           CombineForm<>::PreMultipliedOver>(),
    Method<"Combine(Image as PictureTRV, PreMultipliedSource as boolean, Mask as PictureTRV, DestX As "
           "Integer, DestY As Integer, SourceX As Integer, SourceY As Integer, Width As Integer, Height As "
           "Integer, UseColours As Boolean, ForeColour As color, MaskColour As color) as boolean",
           CombineForm<uint32_t, uint32_t>::PreMultipliedOver>(),
    Method<"Combine(Image as PictureTRV, PreMultipliedSource as boolean, Mask as PictureTRV, DestX As "
           "Integer, DestY As Integer, SourceX As Integer, SourceY As Integer, Width As Integer, Height As "
           "Integer, UseColours As Boolean, ForeColour As color) as boolean",
           CombineForm<uint32_t>::PreMultipliedOver>(),
    Method<"Combine(Mask as PictureTRV, X As Integer, Y As Integer, Width As Integer, Height As Integer, "
           "BackColour As color) as boolean",
           PictureCombine4>(),
    Method<"CreatePictureTRV(width as integer, height as integer, ImageFormat as integer) as PictureTRV",
           CreatePictureLocal>(),
    Method<"ScaleFast(source as PictureTRV, width as integer, height as integer) as boolean", rbScaleFast>(),
    Method<"Scale(source as PictureTRV, temp as PictureTRV, mode as integer, width as integer, height as "
           "integer) as boolean",
           rbScale>(),
    Method<"ScaleMT(threads as integer, source as PictureTRV, temp as PictureTRV, mode as integer, width as "
           "integer, height as integer) as boolean",
           rbScaleMT>(),
    Method<"Constructor(width as integer, height as integer, ImageFormat as integer, BlockSize as Int64, "
           "FilePath as folderitem)",
           ImageConstructorFile>(),
    Method<"Constructor(width as integer, height as integer, ImageFormat as integer)", ImageConstructor>(),
    PictureMethod<"Constructor(pic as picture, UseAlpha as boolean=false)", ImageConstructorPicture>(),
    Method<"Constructor(Buf as MemoryBlock, width as integer, height as integer, ImageFormat as integer, "
           "RowSize as "
           "integer)",
           ImageConstructorMemory>(),
    Method<"OilFilter(dest as PictureTRV, levels as integer, range as integer) as PictureTRV", rbOilFilter>(),
    Method<"DiffuseFilter(dest as PictureTRV, level as integer) as PictureTRV", rbDiffuseFilter>(),
    Method<"EngraveFilter(dest as PictureTRV, level as integer) as PictureTRV", rbEngraveFilter>(),
    Method<"NeonFilter(dest as PictureTRV) as PictureTRV", rbNeonFilter>(),
    Method<"BoxBlurFilter(dest as PictureTRV, Radius as double, Vertical as boolean = true, Horizontal as "
           "boolean = true) as PictureTRV",
           rbBoxBlurFilter>(),
    Method<"BoxBlurFilter(dest as PictureTRV, Radius as double, Iterations as integer, Vertical as boolean = "
           "true, Horizontal as boolean = true) as PictureTRV",
           rbBoxBlurFilterIterations>(),
    Method<"BoxBlurFractionalFilter(dest as PictureTRV, Radius as double) as PictureTRV",
           rbBoxBlurFractionalFilter>(),
    Method<"SolarizeFilter(dest as PictureTRV) as PictureTRV", rbSolarizeFilter>(),
    Method<"GammaFilter(dest as PictureTRV, redGamma as double, greenGamma as double, blueGamma as double) "
           "as PictureTRV",
           rbGammaFilterRGB>(),
    Method<"GammaFilter(dest as PictureTRV, redGamma as double, greenGamma as double, blueGamma as double, "
           "alphaGamma as double) as PictureTRV",
           rbGammaFilterRGBA>(),
    Method<"GammaFilter(dest as PictureTRV, gamma as double) as PictureTRV", rbGammaFilterG>(),
    Method<"GammaFilter(dest as PictureTRV, gamma as double, alphaGamma as double) as PictureTRV",
           rbGammaFilterGA>(),
    Method<"DitherFilter(dest as PictureTRV, matrix as integer, levels as integer) as PictureTRV",
           rbDitherFilter>(),
    Method<"GainFilter(dest as PictureTRV, gain as double, bias as double) as PictureTRV", rbGainFilter>(),
    Method<"StampFilter(dest as PictureTRV, radius as double, threshold as double, softness as double, Black "
           "as Color, White as Color) as PictureTRV",
           rbStampFilter>(),
    Method<"TransferFilter(dest as PictureTRV, red() as integer, green() as integer, blue() as integer) as "
           "PictureTRV",
           rbTransferFilterRGB>(),
    Method<"TransferFilter(dest as PictureTRV, red() as integer, green() as integer, blue() as integer, "
           "alpha() as integer) as PictureTRV",
           rbTransferFilterRGBA>(),
    Method<"TransferFilter(dest as PictureTRV, gray() as integer) as PictureTRV", rbTransferFilterG>(),
    Method<"TransferFilter(dest as PictureTRV, gray() as integer, alpha() as integer) as PictureTRV",
           rbTransferFilterGA>(),
    Method<"UnsharpFilter(origpixels as PictureTRV, Amount as double, Threshold as integer) as boolean",
           rbUnsharpFilter>(),
    Method<"AlphaChannel as PictureTRV", rbChannelView<Channel::Alpha>>(),
    Method<"RedChannel as PictureTRV", rbChannelView<Channel::Red>>(),
    Method<"GreenChannel as PictureTRV", rbChannelView<Channel::Green>>(),
    Method<"BlueChannel as PictureTRV", rbChannelView<Channel::Blue>>(),
    Method<"GrayChannel as PictureTRV", rbChannelView<Channel::Gray>>(),
    Method<"RGBChannels as PictureTRV", rbRGBChannels>(),
    Method<"CMYKChannels as PictureTRV", rbCMYKChannels>(),
    Method<"CyanChannel as PictureTRV", rbChannelView<Channel::Cyan>>(),
    Method<"MagentaChannel as PictureTRV", rbChannelView<Channel::Magenta>>(),
    Method<"YellowChannel as PictureTRV", rbChannelView<Channel::Yellow>>(),
    Method<"BlackChannel as PictureTRV", rbChannelView<Channel::Black>>(),
    Method<"ChannelOffset(index as integer) as integer", rbChannelOffset>(),
    Method<"Channel(index as integer) as PictureTRV", rbChannel>(),
    Method<"MirroredView as PictureTRV", rbMirroredView>(),
    Method<"Close", ImageDestructor>(),
    Method<"HMirror", rbHMirror>(),
    Method<"VMirror", rbVMirror>(),
    Method<"Rotate180", rbRotate180Self>(),
    Method<"Invert", rbInvertAll>(),
    Method<"Invert(x as integer, y as integer, w as integer, h as integer)", rbInvert>(),
    Method<"AutoLevel as boolean", rbAutoLevelAll>(),
    Method<"AutoLevel(x as integer, y as integer, w as integer, h as integer) as boolean", rbAutoLevel>(),
    PictureMethod<"CopyPictureWithAlpha(x as integer, y as integer, w as integer, h as integer) as picture",
                  rbCopyPictureWithAlpha>(),
    PictureMethod<"CopyPictureWithMask(x as integer, y as integer, w as integer, h as integer) as picture",
                  rbCopyPictureWithMask>(),
    PictureMethod<"CopyPicture(x as integer, y as integer, w as integer, h as integer) as picture",
                  rbCopyPicture>(),
    PictureMethod<"CopyMask(x as integer, y as integer, w as integer, h as integer) as picture",
                  rbCopyMask>(),
    PictureMethod<"CopyPictureWithAlpha as picture", rbCopyPictureWithAlphaAll>(),
    PictureMethod<"CopyPictureWithMask as picture", rbCopyPictureWithMaskAll>(),
    PictureMethod<"CopyPicture as picture", rbCopyPictureAll>(),
    PictureMethod<"CopyMask as picture", rbCopyMaskAll>(),
    Method<"RawRowPtr(index as integer) as Ptr", rbRawRowPtr>(),
    Method<"RawRow(index as integer) as memoryblock", rbRawRow>(),
    Method<"Row(index as integer) as memoryblock", rbRow, rbSetRow>(),
    Method<"RowInFormat(index as integer, ImageFormat as integer) as memoryblock", rbRowInFormat,
           rbSetRowInFormat>(),
    Method<"RowInFormat(index as integer, ImageFormat as integer, InvertAlpha as boolean) as memoryblock",
           rbRowInFormatInvertAlpha, rbSetRowInFormatInvertAlpha>(),
    Method<"RowStringInFormat(index as integer, ImageFormat as integer) as string", rbRowStringInFormat,
           rbSetRowStringInFormat>(),
    Method<"DataStringInFormat(ImageFormat as integer) as string", rbDataStringInFormat,
           rbSetDataStringInFormat>(),
    Method<"Clone as PictureTRV", rbClone>(),
    Method<"ClearRect", rbClearRectAll>(),
    Method<"ClearRect(x as integer, y as integer, width as integer, height as integer)", rbClearRect>(),
    Method<"CompareImages(other as PictureTRV) as Int64", rbCompareImages>(),
    Method<"FillRect(Value as integer)", rbFillRectAll>(),
    Method<"FillRect(Value as integer, Alpha as Integer)", rbFillRectAlphaAll>(),
    Method<"FillRect(x as integer, y as integer, width as integer, height as integer, Value as integer)",
           rbFillRect>(),
    Method<"FillRect(x as integer, y as integer, width as integer, height as integer, Value as integer, "
           "Alpha as "
           "Integer)",
           rbFillRectAlpha>(),
    Method<"FillRectRandom", rbFillRectRandomAll>(),
    Method<"FillRectRandom(x as integer, y as integer, width as integer, height as integer)",
           rbFillRectRandom>(),
    Method<"FillRectRGB(red as integer, green as integer, blue as integer)", rbFillRectRGBAll>(),
    Method<"FillRectRGB(red as integer, green as integer, blue as integer, alpha as integer)",
           rbFillRectRGBAAll>(),
    Method<"FillRectRGB(x as integer, y as integer, width as integer, height as integer, red as integer, "
           "green as "
           "integer, blue as integer)",
           rbFillRectRGB>(),
    Method<"FillRectRGB(x as integer, y as integer, width as integer, height as integer, red as integer, "
           "green as "
           "integer, blue as integer, alpha as integer)",
           rbFillRectRGBA>(),
    Method<"FillRectRGB(FillColor as color)", rbFillRectColorAll>(),
    Method<"FillRectRGB(FillColor as color, alpha as integer)", rbFillRectColorAlphaAll>(),
    Method<"FillRectRGB(x as integer, y as integer, width as integer, height as integer, FillColor as color)",
           rbFillRectColor>(),
    Method<"FillRectRGB(x as integer, y as integer, width as integer, height as integer, FillColor as color, "
           "alpha as "
           "integer)",
           rbFillRectColorAlpha>(),
    Method<"FillRectApply(red as integer, green as integer, blue as integer, alpha as integer) as boolean",
           rbFillRectApplyAll>(),
    Method<"FillRectApply(x as integer, y as integer, width as integer, height as integer, red as integer, "
           "green as "
           "integer, blue as integer, alpha as integer) as boolean",
           rbFillRectApply>(),
    Method<"FillRectApply(FillColor as color, alpha as integer) as boolean", rbFillRectApplyColorAll>(),
    Method<"FillRectApply(x as integer, y as integer, width as integer, height as integer, FillColor as "
           "color, alpha as "
           "integer) as boolean",
           rbFillRectApplyColor>(),
    PictureMethod<"DrawPictureRedToGrayChannel(pic as picture, DestX as integer, DestY as integer, DestWidth "
                  "as integer, DestHeight as integer, SourceX as integer, SourceY as integer)",
                  rbDrawPictureRedToGrayChannel>(),
    PictureMethod<"DrawPictureRedToGrayChannel(pic as picture, DestX as integer, DestY as integer, DestWidth "
                  "as integer, DestHeight as integer)",
                  ShortForms<rbDrawPictureRedToGrayChannel>::Into>(),
    PictureMethod<"DrawPictureGreenToGrayChannel(pic as picture, DestX as integer, DestY as integer, "
                  "DestWidth as integer, DestHeight as integer, SourceX as integer, SourceY as integer)",
                  rbDrawPictureGreenToGrayChannel>(),
    PictureMethod<"DrawPictureGreenToGrayChannel(pic as picture, DestX as integer, DestY as integer, "
                  "DestWidth as integer, DestHeight as integer)",
                  ShortForms<rbDrawPictureGreenToGrayChannel>::Into>(),
    PictureMethod<"DrawPictureBlueToGrayChannel(pic as picture, DestX as integer, DestY as integer, "
                  "DestWidth as integer, DestHeight as integer, SourceX as integer, SourceY as integer)",
                  rbDrawPictureBlueToGrayChannel>(),
    PictureMethod<"DrawPictureBlueToGrayChannel(pic as picture, DestX as integer, DestY as integer, "
                  "DestWidth as integer, DestHeight as integer)",
                  ShortForms<rbDrawPictureBlueToGrayChannel>::Into>(),
    PictureMethod<"DrawPictureRGB(pic as picture)", ShortForms<rbDrawPictureRGB>::Whole>(),
    PictureMethod<"DrawPictureRGB(pic as picture, DestX as integer, DestY as integer)",
                  ShortForms<rbDrawPictureRGB>::At>(),
    PictureMethod<"DrawPictureRGB(pic as picture, DestX as integer, DestY as integer, DestWidth as integer, "
                  "DestHeight as integer)",
                  ShortForms<rbDrawPictureRGB>::Into>(),
    PictureMethod<"DrawPictureRGB(pic as picture, DestX as integer, DestY as integer, DestWidth as integer, "
                  "DestHeight as integer, SourceX as integer, SourceY as integer)",
                  rbDrawPictureRGB>(),
    PictureMethod<"DrawMaskedPictureRGB(pic as picture, InvertMask as boolean=False)",
                  ShortForms<rbDrawMaskedPictureRGB>::Whole>(),
    PictureMethod<"DrawMaskedPictureRGB(pic as picture, DestX as integer, DestY as integer, InvertMask as "
                  "boolean=False)",
                  ShortForms<rbDrawMaskedPictureRGB>::At>(),
    PictureMethod<"DrawMaskedPictureRGB(pic as picture, DestX as integer, DestY as integer, DestWidth as "
                  "integer, DestHeight as integer, InvertMask as boolean=False)",
                  ShortForms<rbDrawMaskedPictureRGB>::Into>(),
    PictureMethod<
        "DrawMaskedPictureRGB(pic as picture, DestX as integer, DestY as integer, DestWidth as integer, "
        "DestHeight as integer, SourceX as integer, SourceY as integer, InvertMask as boolean=False)",
        rbDrawMaskedPictureRGB>(),
    PictureMethod<"DrawMaskedPictureApplyMaskRGB(pic as picture, InvertMask as boolean=False)",
                  ShortForms<rbDrawMaskedPictureApplyMaskRGB>::Whole>(),
    PictureMethod<"DrawMaskedPictureApplyMaskRGB(pic as picture, DestX as integer, DestY as integer, "
                  "InvertMask as boolean=False)",
                  ShortForms<rbDrawMaskedPictureApplyMaskRGB>::At>(),
    PictureMethod<"DrawMaskedPictureApplyMaskRGB(pic as picture, DestX as integer, DestY as integer, "
                  "DestWidth as integer, DestHeight as integer, InvertMask as boolean=False)",
                  ShortForms<rbDrawMaskedPictureApplyMaskRGB>::Into>(),
    PictureMethod<"DrawMaskedPictureApplyMaskRGB(pic as picture, DestX as integer, DestY as integer, "
                  "DestWidth as integer, DestHeight as integer, SourceX as integer, SourceY as integer, "
                  "InvertMask as boolean=False)",
                  rbDrawMaskedPictureApplyMaskRGB>(),
    Method<"CopyPixels(source as PictureTRV, DestX as integer, DestY as integer, DestWidth as integer, "
           "DestHeight as "
           "integer, SourceX as integer, SourceY as integer) as boolean",
           rbCopyPixels>(),
    Method<"CopyPixels(source as PictureTRV, DestX as integer, DestY as integer, DestWidth as integer, "
           "DestHeight as "
           "integer) as boolean",
           rbCopyPixelsFromOrigin>(),
    Method<"CopyPixels(source as PictureTRV) as boolean", rbCopyPixelsAll>(),
    Method<"ClipImage as PictureTRV", rbClipImageAll>(),
    Method<"ClipImage(x as integer, y as integer, width as integer, height as integer) as PictureTRV",
           rbClipImage>(),
    Method<"Rotate90slow(dest as PictureTRV=nil) as PictureTRV", rbRotate90slow>(),
    Method<"Rotate180(dest as PictureTRV=nil) as PictureTRV", rbRotate180>(),
    Method<"Rotate270slow(dest as PictureTRV=nil) as PictureTRV", rbRotate270slow>(),
    Method<
        "Rotate(angle as double, Red as integer = 0, Green as integer = 0, Blue as integer = 0, Alpha as "
        "integer = 0, Gray as integer = 0, Cyan as integer = 0, Magenta as integer = 0, Yellow as integer = "
        "0, Black as integer = 0) as PictureTRV",
        rbRotate>(),
    Method<"Rotate90(dest as PictureTRV=nil) as PictureTRV", rbRotate90>(),
    Method<"Rotate270(dest as PictureTRV=nil) as PictureTRV", rbRotate270>(),
    Method<"ApplyMatrix(dest as PictureTRV, MatrixDimension as integer, matrix() as integer) as PictureTRV",
           rbApplyMatrix>(),
    Method<
        "ApplyMatrix(dest as PictureTRV, MatrixDimension as integer, matrix() as integer, delta as integer) "
        "as PictureTRV",
        rbApplyMatrixDelta>(),
    Method<
        "ApplyMatrix(dest as PictureTRV, MatrixDimension as integer, matrix() as integer, delta as integer, "
        "ScaleFactor as double) as PictureTRV",
        rbApplyMatrixScaled>(),
    Method<"MapInRows(FirstRow as Integer, LastRow as Integer) as boolean", rbMapInRows>(),
};

MethodDefinition sharedMethods[] = {
    SharedMethod<"BlendPicturesWithMaskWithBackground(SourceImage as PictureTRV, DestImage as PictureTRV, "
                 "Mask as PictureTRV, Result as PictureTRV, BackgroundColour as Color) as Boolean",
                 rbBlendPicturesWithMaskWithBackground>(),
    SharedMethod<"BlendPicturesWithMaskWithBackground(SourceImage as PictureTRV, DestImage as PictureTRV, "
                 "Mask as PictureTRV, Result as PictureTRV, BackgroundColour as Color, X As Integer, Y As "
                 "Integer, Width As Integer, Height As Integer) as Boolean",
                 rbBlendPicturesWithMaskWithBackground5>(),
    SharedMethod<
        "CreatePictureTRV(width as integer, height as integer, theImageFormat as integer) as PictureTRV",
        CreatePictureGlobal>(),
    SharedMethod<"CalculateMemory(width as integer, height as integer, theImageFormat as integer) as Int64",
                 rbCalculateMemory>(),
    SharedMethod<
        "CanAllocateImage(width as integer, height as integer, theImageFormat as integer) as boolean",
        rbCanAllocateImage>(),
};

}  // namespace

void RegisterPicture() {
    pictureClass.destructor = TableFunction(ImageDestructor);
    pictureClass.properties = properties;
    pictureClass.propertyCount = std::size(properties);
    pictureClass.methods = methods;
    pictureClass.methodCount = std::size(methods);
    pictureClass.constants = constants;
    pictureClass.constantCount = std::size(constants);
    pictureClass.sharedProperties = sharedProperties;
    pictureClass.sharedPropertyCount = std::size(sharedProperties);
    pictureClass.sharedMethods = sharedMethods;
    pictureClass.sharedMethodCount = std::size(sharedMethods);
    FormatConstants(constants, std::size(constants));
    RegisterClass(pictureClass);
}

}  // namespace trv
