#include "frame/path.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <new>

#include "frame/debug_log.h"
#include "frame/heap_objects.h"
#include "platform/file_mapping.h"
#include "platform/file_stream.h"
#include "platform/long_path.h"

namespace trv {

namespace {

constexpr const char* kNoMemory = "Failed to allocate Path object.";
constexpr int64_t kDefaultBuffer = 0x100000;
// No C library takes less or more for the buffer of a stream.
constexpr int64_t kSmallestBuffer = 2;
constexpr int64_t kLargestBuffer = std::numeric_limits<int32_t>::max();

/// Says what the long-path rule makes of a path.
void LogLongPath(Path& path) {
    const char16_t* const units = path.UnixFilePathUTF16();
    if (units == nullptr || !SystemMarksLongPaths()) return;
    const std::u16string_view text = units;
    if (!NeedsLongPathPrefix(text)) return;
    TRV_LOG("pathlen", text.size());
    TRV_LOG("prefix", kLongPathPrefix.size());
    TRV_LOG("newpath", path.UnixFilePathUTF8());
}

std::FILE* OpenBuffered(Path& path, const char* mode, int64_t bufferBytes) {
    if (debugFlag) LogLongPath(path);
    std::FILE* const stream = OpenStream(path.UnixFilePathUTF8(), mode);
    if (stream == nullptr) return nullptr;
    const int64_t bytes =
        bufferBytes < 1 ? kDefaultBuffer : std::clamp(bufferBytes, kSmallestBuffer, kLargestBuffer);
    // A stream that cannot have it keeps the buffer that it has.
    std::setvbuf(stream, nullptr, _IOFBF, static_cast<size_t>(bytes));
    return stream;
}

}  // namespace

Path::Path(HostObject folderItem) : item_(ObjectReference::Share(folderItem)) {}

Path::Path(HostString path) : string_(StringReference::Share(path)) {}

Path* Path::New(HostObject folderItem) {
    return NewObject<Path>(kNoMemory, folderItem);
}

Path* Path::New(HostString path) {
    return NewObject<Path>(kNoMemory, path);
}

const char16_t* Path::UnixFilePathUTF16() {
    if (utf16_ == nullptr) {
        TRV_LOG(item_ ? "UnixFilePathUTF16 file..." : "UnixFilePathUTF16 path...");
    }
    return Copy<TextForm::Utf16>(utf16_);
}

const char* Path::UnixFilePathUTF8() {
    return Copy<TextForm::Utf8>(utf8_);
}

const char* Path::UnixFilePath() {
    return Copy<TextForm::Native>(native_);
}

/// The text of the path, null if there is none.
rbText* Path::TextOfPath() {
    if (text_ == nullptr) {
        HostString read = nullptr;
        if (item_ && !host::REALGetPropValueString(item_.Get(), "NativePath", &read)) {
            TRV_LOG("Failed to read NativePath property.");
            return nullptr;
        }
        const StringReference nativePath(read);
        text_.reset(rbText::New(item_ ? nativePath.Get() : string_.Get()));
    }
    return text_.get();
}

template <TextForm form>
const TextUnit<form>* Path::Copy(std::unique_ptr<TextUnit<form>[]>& copy) {
    using Unit = TextUnit<form>;
    if (copy != nullptr) return copy.get();
    rbText* const text = TextOfPath();
    const Unit* const units = text == nullptr ? nullptr : text->TextOrNil<form>();
    if (units == nullptr) return nullptr;
    const auto count = static_cast<size_t>(text->Length(form)) + 1;
    copy.reset(new (std::nothrow) Unit[count]);
    if (copy != nullptr) std::copy_n(units, count, copy.get());
    return copy.get();
}

intptr_t CreateFileLongPath(Path& path) {
    if (debugFlag) LogLongPath(path);
    return OpenScratchFile(path.UnixFilePathUTF8());
}

std::FILE* OpenStreamLongPath(HostObject folderItem, const char* mode, int64_t bufferBytes) {
    if (folderItem == nullptr) {
        TRV_LOG("folderitem is nil");
        return nullptr;
    }
    Path path(folderItem);
    return OpenBuffered(path, mode, bufferBytes);
}

std::FILE* OpenStreamLongPath(HostString pathString, const char* mode, int64_t bufferBytes) {
    if (pathString == nullptr) {
        TRV_LOG("Path is nil");
        return nullptr;
    }
    Path path(pathString);
    return OpenBuffered(path, mode, bufferBytes);
}

}  // namespace trv
