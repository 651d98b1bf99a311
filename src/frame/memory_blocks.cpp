#include "frame/memory_blocks.h"

#include <cstring>
#include <exception>

#include "frame/debug_log.h"
#include "frame/failures.h"
#include "frame/object_methods.h"
#include "frame/references.h"

namespace trv {

namespace {

ObjectMethod<void(HostObject, int64_t)> construct{"Constructor(bytes as Integer)"};
ObjectMethod<void(HostObject, void*)> convertFromPtr{"Operator_Convert(value as Ptr)"};
ObjectMethod<void*(HostObject)> convertToPtr{"Operator_Convert() As Ptr"};

struct Request {
    int64_t bytes;
    HostObject block;
};

void MakeBlock(void* argument) {
    Request& request = *static_cast<Request*>(argument);
    request.block = host::PluginNewInstance("MemoryBlock");
    if (const auto method = construct.Find(request.block)) method(request.block, request.bytes);
}

}  // namespace

HostObject NewMemoryBlock(int64_t bytes) {
    if (bytes < 0) return nullptr;
    Request request{bytes, nullptr};
    const ObjectReference exception(host::PluginCallFunctionWithExceptionHandler(MakeBlock, &request));
    ObjectReference block(request.block);
    return block && MemoryBlockSize(block.Get()) >= bytes ? block.Release() : nullptr;
}

HostObject REALBuildMemoryblock(const void* bytes, int64_t size) {
    if (bytes == nullptr || size < 1) return nullptr;
    try {
        ObjectReference block(NewMemoryBlock(size));
        if (uint8_t* const copy = MemoryBlockPointer(block.Get())) {
            std::memcpy(copy, bytes, static_cast<size_t>(size));
            return block.Release();
        }
        TRV_LOG("Error: Failed to allocate memoryblock");
    } catch (const std::exception& exception) {
        TRV_LOG("Got C++ exception in REALBuildMemoryblock: ", exception.what());
    }
    RaiseOutOfMemory("Failed to allocate a memoryblock with %lld bytes in size.", size);
    return nullptr;
}

HostObject WrapMemory(void* bytes) {
    if (host::PtrToMemoryBlock.Available()) return host::PtrToMemoryBlock(bytes);
    ObjectReference block(host::PluginNewInstance("MemoryBlock"));
    const auto method = convertFromPtr.Find(block.Get());
    if (method == nullptr) return nullptr;
    method(block.Get(), bytes);
    return block.Release();
}

uint8_t* MemoryBlockPointer(HostObject block) {
    if (block == nullptr) return nullptr;
    if (host::memoryBlockGetPtr.Available()) return static_cast<uint8_t*>(host::memoryBlockGetPtr(block));
    const auto method = convertToPtr.Find(block);
    return method == nullptr ? nullptr : static_cast<uint8_t*>(method(block));
}

int64_t MemoryBlockSize(HostObject block) {
    int64_t size = 0;
    return block != nullptr && host::REALGetPropValueInteger(block, "Size", &size) ? size : 0;
}

}  // namespace trv
