#include "bridge/picture_editor.h"

#include <cstdio>
#include <cstdlib>
#include <new>

#include "bridge/host_kind.h"
#include "bridge/picture_duplicates.h"
#include "bridge/picture_helpers.h"
#include "frame/debug_log.h"
#include "frame/object_methods.h"
#include "frame/references.h"

namespace trv {

namespace {

constexpr double kFirstHostWithRepresentations = 2016.0;
constexpr double kRepresentationScale = 4.0;
constexpr int64_t kLoggedComplaints = 10;

/// Whether a picture of this code may be opened for writing, which a line in the log says.
bool MayWrite(int32_t typeCode) {
    switch (typeCode) {
        case kHiDpiImage:
            TRV_LOG("HiDPI Image, return false");
            return false;
        case kVectorImage:
        case kOtherVectorImage:
            TRV_LOG("Vector image, return false");
            return false;
        default:
            return true;
    }
}

/// The largest bitmap that the host has or makes of a picture, with a reference for the caller; nil without
/// one.
HostObject BestRepresentation(HostObject pic) {
    static constinit ObjectMethod<HostObject(HostObject, int64_t, int64_t, double)> bestRepresentation{
        "BestRepresentation(width As Integer, height As Integer, scale As Double) As Picture"};
    const auto find = bestRepresentation.Find(pic);
    if (find == nullptr) {
        TRV_LOG("BestRepresentation missing");
        return nullptr;
    }
    return find(pic, PictureWidth(pic), PictureHeight(pic), kRepresentationScale);
}

}  // namespace

PictureEditor::~PictureEditor() {
    clear();
}

bool PictureEditor::GetPictureEditor(HostObject pic, bool forReading, bool forWriting) {
    return Open(pic, forReading, forWriting, Copies::Allowed);
}

bool PictureEditor::Open(HostObject pic, bool forReading, bool forWriting, Copies copies) {
    clear();
    if (pic == nullptr) return false;
    reading = forReading;
    writing = forWriting;
    ErrorCount = 0;
    DetermineHostKind();
    const int32_t typeCode = PictureTypeCodeOf(pic);
    if (typeCode == kMutableImage) TRV_LOG("Mutable Image, ok");
    if (writing && !MayWrite(typeCode)) return false;
    if ((typeCode == kHiDpiImage || typeCode == kOtherVectorImage) &&
        HostVersion() >= kFirstHostWithRepresentations) {
        if (const ObjectReference best{BestRepresentation(pic)}) return OpenByBackend(best.Get(), 1, copies);
    }
    return OpenByBackend(pic, 1, copies);
}

bool PictureEditor::OpenByBackend(HostObject pic, int attempt, Copies copies) {
    HasAlphaChannel = PictureHasAlphaChannel(pic);
    // Strictly above this version, though representations are asked for from theirs on.
    if (HostHasDirect2D() && GetPictureEditorDrawableD2D(pic)) return true;
    if (!IsConsole &&
        (HasAlphaChannel ? GetPictureEditorGDIPlusBitmap(pic) : GetPictureEditorWin32Bitmap(pic, copies)))
        return true;
    if (!IsDesktop && GetPictureEditorGDImagePtr(pic)) return true;
    // What is written into a copy would be lost; a copy of a copy would be no better.
    if (!IsConsole && attempt == 1 && reading && !writing) {
        TRV_LOG("Trying clone....");
        if (const ObjectReference clone{DuplicatePictureWithoutMaskOrAlpha(pic)}) {
            return OpenByBackend(clone.Get(), attempt + 1, copies);
        }
    }
    TRV_LOG("GetPictureEditor failed");
    return false;
}

uint8_t* PictureEditor::GetRow(int64_t y) {
    CurrentX = 0;
    CurrentY = y;
    if (y < 0) Complain("y is too small");
    if (Pixelbase == nullptr) TRV_LOG("Warning: Pixelbase is nil!");
    if (y >= Height) {
        char text[128];
        std::snprintf(text, sizeof text, "y too big: %lld of %lld in %s", static_cast<long long>(y),
                      static_cast<long long>(Height), "PictureEditor::GetRow");
        Complain(text);
        return Pixelbase;
    }
    if (PixelKind == PixelKindGDImage) {
        // Nothing lies above the table's first entry.
        uint8_t* row = RowTable == nullptr || y < 0 ? nullptr : reinterpret_cast<uint8_t*>(RowTable[y]);
        if (row == nullptr) Complain("r is nil!");
        return row;
    }
    if (Pixelbase == nullptr) return nullptr;
    // Above the first row this is only a number, which nobody may follow.
    return reinterpret_cast<uint8_t*>(reinterpret_cast<uintptr_t>(Pixelbase) +
                                      static_cast<uintptr_t>(y) * static_cast<uintptr_t>(RowBytes));
}

void PictureEditor::NextRow() {
    CurrentRow = GetRow(CurrentY + 1);
}

void PictureEditor::Complain(const char* text) {
    ++ErrorCount;
    if (ErrorCount < kLoggedComplaints) TRV_LOG(text);
}

void PictureEditor::setPicture(HostObject pic) {
    AssignReference(picture, pic);
}

void PictureEditor::clear() {
    ErrorCount = 0;
    if (NeedGdipBitmapUnlock) UnlockGdiPlusBitmap(bitmap, bitmapData);
    bitmap = nullptr;
    NeedGdipBitmapUnlock = false;
    std::free(bitmapData);
    bitmapData = nullptr;
    if (NeedPictureUnlock && picture != nullptr) host::unlockPictureDescription(picture);
    NeedPictureUnlock = false;
    if (writing && picture != nullptr) host::REALPictureClearCache(picture);
    ClearReference(picture);
    Pixelbase = CurrentRow = nullptr;
    RowTable = nullptr;
    TRV_LOG("ClosePictureReader done");
}

}  // namespace trv
