#include "platform/file_mapping.h"

#include <windows.h>

#include "platform/faults.h"
#include "platform/windows/wide_path.h"

namespace trv {

namespace {

HANDLE Handle(intptr_t handle) {
    return reinterpret_cast<HANDLE>(handle);
}

/// Closes a handle, but not kNoHandle, which the system takes for a name of the process.
bool Close(intptr_t handle) {
    if (handle != kNoHandle) return CloseHandle(Handle(handle)) != 0;
    SetLastError(ERROR_INVALID_HANDLE);
    return false;
}

/// Sets the file's length; the position goes with it.
bool SetFileSize(intptr_t file, int64_t bytes) {
    LARGE_INTEGER position{};
    position.QuadPart = bytes;
    return SetFilePointerEx(Handle(file), position, nullptr, FILE_BEGIN) != 0 &&
           SetEndOfFile(Handle(file)) != 0;
}

DWORD HighHalf(int64_t value) {
    return static_cast<DWORD>(static_cast<uint64_t>(value) >> 32);
}

DWORD LowHalf(int64_t value) {
    return static_cast<DWORD>(static_cast<uint64_t>(value) & 0xFFFFFFFFU);
}

}  // namespace

intptr_t OpenScratchFile(const char* path) {
    const WidePath wide = WidePathOf(path);
    if (wide == nullptr || Refused(Fault::File)) return kNoHandle;
    return reinterpret_cast<intptr_t>(CreateFileLongPath(wide.get(), GENERIC_READ | GENERIC_WRITE,
                                                         FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                                         OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
}

bool GrowFile(intptr_t file, int64_t bytes) {
    const int64_t size = FileSize(file);
    if (size < 0 || Refused(Fault::FileSize)) return false;
    return size >= bytes || SetFileSize(file, bytes);
}

bool RewindFile(intptr_t file) {
    return SetFilePointerEx(Handle(file), LARGE_INTEGER{}, nullptr, FILE_BEGIN) != 0;
}

bool CutFile(intptr_t file) {
    return SetFileSize(file, 0);
}

int64_t FileSize(intptr_t file) {
    LARGE_INTEGER size{};
    return GetFileSizeEx(Handle(file), &size) != 0 ? size.QuadPart : -1;
}

bool CloseFile(intptr_t file) {
    return Close(file);
}

bool RemoveFile(const char* path) {
    const WidePath wide = WidePathOf(path);
    return wide != nullptr &&
           WithLongPath(wide.get(), [](const wchar_t* taken) { return DeleteFileW(taken) != 0; });
}

intptr_t CreateMapping(intptr_t file, int64_t bytes) {
    if (bytes < 1 || Refused(Fault::Mapping)) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return kNoHandle;
    }
    const HANDLE mapping =
        CreateFileMappingW(Handle(file), nullptr, PAGE_READWRITE, HighHalf(bytes), LowHalf(bytes), nullptr);
    return mapping == nullptr ? kNoHandle : reinterpret_cast<intptr_t>(mapping);
}

bool CloseMapping(intptr_t mapping) {
    return Close(mapping);
}

void* MapView(intptr_t mapping, int64_t offset, int64_t bytes) {
    if (offset < 0 || offset % kViewAlignment != 0 || bytes < 1 || Refused(Fault::View)) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return nullptr;
    }
    return MapViewOfFile(Handle(mapping), FILE_MAP_READ | FILE_MAP_WRITE, HighHalf(offset), LowHalf(offset),
                         static_cast<SIZE_T>(bytes));
}

bool UnmapView(void* base, int64_t /*bytes*/) {
    return UnmapViewOfFile(base) != 0;
}

}  // namespace trv
