#include "bridge/picture_helpers.h"

#include "bridge/picture_drawing.h"
#include "frame/debug_log.h"
#include "frame/host_calls.h"
#include "frame/object_methods.h"
#include "frame/references.h"

namespace trv {

namespace {

constexpr int64_t kLongestSide = 32767;
constexpr double kFirstHostWithAlphaChannel = 2011.04;
constexpr double kLastHostWithoutMaskMethod = 2020.0;
constexpr int64_t kDepth = 32;

int64_t IntegerProperty(HostObject object, const char* name) {
    int64_t value = 0;
    if (object != nullptr) host::REALGetPropValueInteger(object, name, &value);
    return value;
}

void SetIntegerProperty(HostObject object, const char* name, int64_t value) {
    if (object != nullptr) host::REALSetPropValueInteger(object, name, value);
}

HostObject GraphicsProperty(HostObject object, const char* complaint) {
    HostObject graphics = nullptr;
    if (object == nullptr || !host::REALGetPropValueObject(object, "Graphics", &graphics)) {
        TRV_LOG(complaint);
        return nullptr;
    }
    return graphics;
}

/// A new object of class Picture that the constructor makes a picture of.
template <class... Numbers>
HostObject ConstructPicture(ObjectMethod<void(HostObject, Numbers...)>& constructor, Numbers... numbers) {
    ObjectReference picture(host::PluginNewInstance("Picture"));
    if (!picture) {
        TRV_LOG("Failed to allocate picture.");
        return nullptr;
    }
    const auto construct = constructor.Find(picture.Get());
    if (construct == nullptr) {
        TRV_LOG("Failed to get picture constructor.");
        return nullptr;
    }
    construct(picture.Get(), numbers...);
    return picture.Release();
}

}  // namespace

int64_t PictureWidth(HostObject pic) {
    return IntegerProperty(pic, "Width");
}

int64_t PictureHeight(HostObject pic) {
    return IntegerProperty(pic, "Height");
}

int64_t PictureHorizontalResolution(HostObject pic) {
    return IntegerProperty(pic, "HorizontalResolution");
}

int64_t PictureVerticalResolution(HostObject pic) {
    return IntegerProperty(pic, "VerticalResolution");
}

void SetPictureHorizontalResolution(HostObject pic, int64_t value) {
    SetIntegerProperty(pic, "HorizontalResolution", value);
}

void SetPictureVerticalResolution(HostObject pic, int64_t value) {
    SetIntegerProperty(pic, "VerticalResolution", value);
}

void CopyPictureResolution(HostObject source, HostObject target) {
    if (source == nullptr || target == nullptr) return;
    const int64_t horizontal = PictureHorizontalResolution(source);
    const int64_t vertical = PictureVerticalResolution(source);
    if (horizontal < 1 || vertical < 1) return;
    SetPictureHorizontalResolution(target, horizontal);
    SetPictureVerticalResolution(target, vertical);
    TRV_LOG("set resoluton to", horizontal, vertical);
}

bool PictureHasAlphaChannel(HostObject pic) {
    Boolean value = 0;
    if (pic != nullptr && host::REALGetPropValueBool(pic, "HasAlphaChannel", &value)) return value != 0;
    TRV_LOG("HasAlphaChannel property not found.");
    return false;
}

int32_t PictureTypeCodeOf(HostObject pic) {
    return host::PluginPictureGetType.Available() ? host::PluginPictureGetType(pic) : int32_t{kMutableImage};
}

HostObject GraphicsOfPicture(HostObject pic) {
    return pic == nullptr ? nullptr : host::pluginPictureGraphicsGetter(pic);
}

HostObject GraphicsPropertyOfPicture(HostObject pic) {
    return GraphicsProperty(pic, "Failed to get graphics for picture!");
}

HostObject GraphicsPropertyOfControl(HostObject control) {
    return GraphicsProperty(control, "Failed to get graphics for control!");
}

HostObject MyREALNewPicture(int64_t width, int64_t height, int64_t depth) {
    TRV_LOG("MyREALNewPicture", width, height, depth);
    if (width < 1 || height < 1) return nullptr;
    return host::newPicture(width, height, static_cast<int32_t>(depth));
}

HostObject NewPictureWithAlphaChannel(int64_t width, int64_t height) {
    static constinit ObjectMethod<void(HostObject, int64_t, int64_t)> constructor{
        "Constructor(width as integer, height as integer)"};
    if (width < 1 || height < 1 || HostVersion() < kFirstHostWithAlphaChannel) return nullptr;
    return ConstructPicture(constructor, width, height);
}

HostObject NewPictureWithAlphaChannel(int64_t width, int64_t height, Boolean alphaChannel) {
    if (alphaChannel > 1) TRV_LOG("AlphaChannel is not boolean!");
    if (!IsPictureSize(width, height)) return nullptr;
    if (alphaChannel == 1) {
        if (const HostObject picture = NewPictureWithAlphaChannel(width, height)) {
            TRV_LOG("Alpha Channel picture created.");
            return picture;
        }
    }
    const HostObject picture = MyREALNewPicture(width, height, kDepth);
    TRV_LOG("Old picture created.");
    return picture;
}

HostObject NewPictureWithDepth(int64_t width, int64_t height, int64_t depth) {
    static constinit ObjectMethod<void(HostObject, int64_t, int64_t, int64_t)> constructor{
        "Constructor(width as integer, height as integer, depth as integer)"};
    return ConstructPicture(constructor, width, height, depth);
}

bool IsPictureSize(int64_t width, int64_t height) {
    if (width < 1) {
        TRV_LOG("width < 1");
    } else if (height < 1) {
        TRV_LOG("height < 1");
    } else if (width > kLongestSide) {
        TRV_LOG("width > 32767");
    } else if (height > kLongestSide) {
        TRV_LOG("height > 32767");
    } else {
        return true;
    }
    return false;
}

HostObject MyREALGetPictureMask(HostObject pic, bool create) {
    static constinit ObjectMethod<HostObject(HostObject, bool)> getMask{
        "Mask(create As Boolean = True) As Picture"};
    TRV_LOG("MyREALGetPictureMask", create);
    if (pic == nullptr) return nullptr;
    if (HostVersion() > kLastHostWithoutMaskMethod) {
        if (const auto get = getMask.Find(pic)) return get(pic, create);
        TRV_LOG("No Mask function!?");
    }
    return host::REALGetPictureMask(pic, create);
}

bool SetPictureMask(HostObject pic, HostObject mask) {
    static constinit ObjectMethod<void(HostObject, HostObject)> setMask{"Mask(assigns newMask As Picture)"};
    const auto set = setMask.Find(pic);
    if (set == nullptr) return false;
    set(pic, mask);
    return true;
}

HostObject CopyPictureMask(HostObject pic) {
    static constinit ObjectMethod<HostObject(HostObject)> copyMask{"CopyMask as Picture"};
    const auto copy = copyMask.Find(pic);
    return copy == nullptr ? nullptr : copy(pic);
}

bool AddPictureMask(HostObject picture, HostObject mask, int64_t width, int64_t height) {
    if (width < 1) {
        TRV_LOG("invalid width");
        return false;
    }
    if (height < 1) {
        TRV_LOG("invalid height");
        return false;
    }
    if (picture == nullptr) {
        TRV_LOG("picture is nil");
        return false;
    }
    if (mask == nullptr) {
        TRV_LOG("no mask to add");
        return true;
    }
    const ObjectReference target(MyREALGetPictureMask(picture, true));
    if (!target) return false;
    TRV_LOG("draw mask into mask");
    return GraphicsDrawPicture(target.Get(), mask, width, height);
}

bool AddPictureMask(HostObject picture, HostObject mask) {
    return AddPictureMask(picture, mask, PictureWidth(picture), PictureHeight(picture));
}

HostObject ConvertToPictureWithMask(HostObject pic, int64_t width, int64_t height) {
    if (pic == nullptr) return nullptr;
    ObjectReference picture(MyREALNewPicture(width, height, kDepth));
    if (!picture) return nullptr;
    CopyPictureResolution(pic, picture.Get());
    GraphicsDrawPicture(picture.Get(), pic, width, height);
    const ObjectReference mask(CopyPictureMask(pic));
    SetPictureMask(picture.Get(), mask.Get());
    return picture.Release();
}

HostObject CreatePictureWithMask(HostObject pic, HostObject mask, bool copy) {
    if (pic == nullptr) {
        TRV_LOG("Picture is nil.");
        return nullptr;
    }
    if (mask == nullptr) {
        TRV_LOG("mask is nil so return picture");
        return ObjectReference::Share(pic).Release();
    }
    const int64_t width = PictureWidth(pic);
    const int64_t height = PictureHeight(pic);
    if (!copy) {
        TRV_LOG("Add mask to picture");
        return AddPictureMask(pic, mask, width, height) ? ObjectReference::Share(pic).Release() : nullptr;
    }
    ObjectReference picture(MyREALNewPicture(width, height, kDepth));
    CopyPictureResolution(pic, picture.Get());
    const ObjectReference pictureMask(MyREALGetPictureMask(picture.Get(), true));
    if (!pictureMask) return nullptr;
    GraphicsDrawPicture(picture.Get(), pic, width, height);
    GraphicsDrawPicture(pictureMask.Get(), mask, width, height);
    return picture.Release();
}

}  // namespace trv
