#include "image/shared_store.h"

#include "image/mapped_image.h"
#include "platform/file_mapping.h"

namespace trv {

namespace {

/// Takes a record out of its ring, which holds together without it.
void Unlink(PictureTRV& record) {
    if (record.NextSharer == nullptr) return;
    record.PreviousSharer->NextSharer = record.NextSharer;
    record.NextSharer->PreviousSharer = record.PreviousSharer;
    record.NextSharer = nullptr;
    record.PreviousSharer = nullptr;
}

void LoseStore(PictureTRV& record) {
    CloseWindow(record);
    record.WindowMapHandle = kNoHandle;
    record.RowBuffer = nullptr;
    record.GetRow = nullptr;
}

}  // namespace

void JoinStore(PictureTRV& view, PictureTRV& parent) {
    if (parent.NextSharer == nullptr) {
        parent.NextSharer = &parent;
        parent.PreviousSharer = &parent;
    }
    view.NextSharer = parent.NextSharer;
    view.PreviousSharer = &parent;
    view.NextSharer->PreviousSharer = &view;
    parent.NextSharer = &view;
}

void LeaveStore(PictureTRV& record) {
    const bool storeEnds = record.MappingOwner != 0 || record.BitmapLocked != 0;
    while (storeEnds && record.NextSharer != nullptr && record.NextSharer != &record) {
        PictureTRV& sharer = *record.NextSharer;
        Unlink(sharer);
        LoseStore(sharer);
    }
    Unlink(record);
}

}  // namespace trv
