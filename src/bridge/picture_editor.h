#pragma once

// The one place that turns a host picture, which is opaque, into a base address, a distance of rows, a pixel
// size and a pixel kind, so that loops can read or write it row by row. Each way to a picture's pixels is a
// backend: it locks the picture as one type of description and hands out the rows. An editor is short-lived,
// normally an automatic object of one operation; its end closes whatever it opened. Nothing here raises: a
// refusal is false or nil and a line in the log. Used by one thread.

#include <cstdint>
#include <memory>

#include "bridge/description_lock.h"
#include "bridge/pixel_kinds.h"
#include "frame/host_types.h"
#include "platform/graphics.h"

namespace trv {

class PictureEditor {
  public:
    PictureEditor() = default;
    PictureEditor(const PictureEditor&) = delete;
    PictureEditor& operator=(const PictureEditor&) = delete;
    virtual ~PictureEditor();

    /// An editor on the heap, or null, with a line in the log, when memory is short.
    [[nodiscard]] static std::unique_ptr<PictureEditor> Allocate();

    /// Opens `pic`, after closing what was open. Only a mutable bitmap can be opened for writing, and only
    /// its own pixels; what is only read may be a representation or a copy of the picture, of another size.
    bool GetPictureEditor(HostObject pic, bool forReading = true, bool forWriting = true);

    /// Address of row `y`, which becomes the current row. A row past the bottom gives the first row, so that
    /// nothing outside the picture is reached; a row above the top gives the address where it would be. Null
    /// for a row that the picture lacks.
    uint8_t* GetRow(int64_t y);

    /// Steps to the row behind the current one.
    void NextRow();

    /// Holds a reference on `pic`, which may be nil or the picture that is held already, in place of the old
    /// one.
    void setPicture(HostObject pic);

    /// Closes: gives back locks and the picture, whose host is told that the pixels changed if it was opened
    /// for writing. May run any number of times.
    void clear();

    // Backends of systems other than this one, for which nothing is opened.
    bool GetPictureEditorCGBitmapContext(HostObject pic);
    bool GetPictureEditorCairoContext(HostObject pic);
    bool GetPictureEditorGdkPixmap(HostObject pic);
    bool GetPictureEditorIOS(HostObject pic);

    // The opened picture. All zero until a backend fills them in; sizes are in pixels, distances in bytes.
    int64_t RowBytes = 0;    // from one row to the next; negative if rows run upwards
    int64_t Width = 0;       // never more than the rows hold
    int64_t Height = 0;      // never more than there are rows
    int64_t PixelSize = 0;   // 3 or 4; 0 for a picture that takes no stores
    int64_t ErrorCount = 0;  // complaints of GetRow since the picture was opened; the first nine are logged
    int64_t VerticalResolution = 0;
    int64_t HorizontalResolution = 0;
    uint32_t PixelKind = PixelKindNone;
    uint8_t* CurrentRow = nullptr;
    PictureDescription Description{};
    void* RawBuffer = nullptr;     // pixels of a writer that has no host picture; its maker's
    uint8_t* Pixelbase = nullptr;  // first row
    int64_t CurrentX = 0;
    int64_t CurrentY = 0;
    HostObject picture = nullptr;             // one reference
    int32_t** RowTable = nullptr;             // a gd image's rows; only for kind 8
    void* bitmap = nullptr;                   // GDI+ bitmap whose bits are locked
    GdiPlusBitmapData* bitmapData = nullptr;  // owned; only while bits are locked
    bool HasAlphaChannel = false;             // of the picture, when it was opened
    bool NeedGdipBitmapUnlock = false;
    bool reading = false;
    bool writing = false;
    bool NeedPictureUnlock = false;

  private:
    /// Whether a backend may open a copy of a picture whose pixels it cannot use. A copy is not copied again.
    enum class Copies { Allowed, Refused };

    bool Open(HostObject pic, bool forReading, bool forWriting, Copies copies);
    bool OpenByBackend(HostObject pic, int attempt, Copies copies);
    bool GetPictureEditorDrawableD2D(HostObject pic);
    bool GetPictureEditorGDIPlusBitmap(HostObject pic);
    bool GetPictureEditorGDImagePtr(HostObject pic);
    bool GetPictureEditorWin32Bitmap(HostObject pic, Copies copies);
    bool OpenCopyOfOtherDepth(HostObject pic, const DescriptionLock& lock, Copies copies);

    struct Pixels {
        uint32_t kind;
        int64_t pixelSize;
        int64_t rowBytes;
        uint8_t* base;
        int64_t width;
        int64_t height;
    };
    /// Keeps the lock and the picture; false, with neither kept, if the host cannot lock objects.
    bool Adopt(HostObject pic, DescriptionLock& lock, const Pixels& pixels);
    void Complain(const char* text);
};

/// An editor for reading.
class PictureReader : public PictureEditor {
  public:
    [[nodiscard]] static std::unique_ptr<PictureReader> Allocate();
    bool GetPictureReader(HostObject pic) { return GetPictureEditor(pic, true, false); }
};

/// An editor for writing. Pixels are stored between opening and RenderPictureWriter.
class PictureWriter : public PictureEditor {
  public:
    [[nodiscard]] static std::unique_ptr<PictureWriter> Allocate();

    /// Opens a new picture of 32 bits, at most 32767 pixels each way.
    bool NewPictureWriter(int64_t width, int64_t height);
    /// The same with an alpha channel, if asked for and possible.
    bool NewPictureWriter(int64_t width, int64_t height, bool alphaChannel);
    /// Opens `pic` if it is at least of this size, and then in its own size, else a new picture.
    bool NewPictureWriter(HostObject pic, int64_t width, int64_t height);
    /// Opens a new picture like one that is open: its alpha channel and resolution, and its size or the given
    /// one.
    bool NewPictureWriter(const PictureEditor& format);
    bool NewPictureWriter(const PictureEditor& format, int64_t width, int64_t height);
    /// Opens a new picture with an alpha channel, of any size that the host makes.
    bool NewPictureWriterWithAlphaChannel(int64_t width, int64_t height);

    /// Stands for the writer of another system; false.
    bool NewPictureWriterLinux(int64_t width, int64_t height);

    /// Closes, and hands out the picture with one reference for the caller; nil if none was opened.
    [[nodiscard]] HostObject RenderPictureWriter();

    /// Stores one opaque pixel at `cursor` and steps the cursor over it. The cursor stays where pixels take
    /// no stores.
    void PutPixel(uint8_t*& cursor, uint8_t red, uint8_t green, uint8_t blue) const;
};

/// A picture from rows of pixels, `rowBytes` apart, with one reference for the caller. Pixel types: 1 red,
/// green, blue; 2 blue, green, red; 3 a byte of no meaning, red, green, blue; 4 blue, green, red, a byte of
/// no meaning; others as the host knows them.
[[nodiscard]] HostObject myREALBuildPictureFromBuffer(int64_t width, int64_t height, int32_t pixelType,
                                                      const void* buffer, int64_t rowBytes);

/// A picture that is sure to be an ordinary bitmap: `pic` itself or a copy, with one reference for the
/// caller.
[[nodiscard]] HostObject BitmapPicture(HostObject pic);

}  // namespace trv
