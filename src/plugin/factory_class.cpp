#include "image/picture_factory.h"
#include "plugin/class_definitions.h"
#include "plugin/member_lines.h"

namespace trv {

namespace {

using member_lines::SharedMethod;

MethodDefinition sharedMethods[] = {
    SharedMethod<"SetFactory(factory as PictureFactoryTRV)", SetFactory>(),
    SharedMethod<"NewPictureTRV(Width as integer, Height as integer, ImageFormat as integer) as PictureTRV",
                 CreatePictureGlobal>(),
};

PropertyDefinition sharedProperties[] = {
    {.name = "currentFactory",
     .type = "PictureFactoryTRV",
     .flags = kOrdinaryProperty,
     .getter = TableFunction(GetCurrentFactory)},
};

}  // namespace

void RegisterFactory() {
    factoryClass.sharedMethods = sharedMethods;
    factoryClass.sharedMethodCount = std::size(sharedMethods);
    factoryClass.sharedProperties = sharedProperties;
    factoryClass.sharedPropertyCount = std::size(sharedProperties);
    RegisterClass(factoryClass);
}

}  // namespace trv
