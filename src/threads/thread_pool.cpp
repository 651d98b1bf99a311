#include "threads/thread_pool.h"

#include <cstdint>
#include <cstring>

#include "frame/class_tables.h"
#include "frame/debug_log.h"
#include "frame/references.h"

namespace trv {

namespace {

/// What the class data of WinThreadPoolTRV leads to. It belongs to the plug-in that has the class and stays
/// when the object is gone.
struct PoolRecord {
    void* others[6];
    void* pool;
    void* environment;
};

const PoolRecord* FindPoolRecord() {
    TRV_LOG("getGlobalInstance");
    const ObjectReference object(host::PluginNewInstance("WinThreadPoolTRV"));
    if (!object) {
        TRV_LOG("faield to create WinThreadPoolTRV object.");
        return nullptr;
    }
    // Read before the object goes, and its data with it.
    const PoolRecord* record = nullptr;
    std::memcpy(&record, reinterpret_cast<const uint8_t*>(object.Get()) + kClassDataOffset, sizeof record);
    return record;
}

const PoolRecord* getGlobalInstance() {
    static const PoolRecord* const record = FindPoolRecord();
    return record;
}

}  // namespace

void* GetCurrentThreadPool() {
    const PoolRecord* record = getGlobalInstance();
    return record == nullptr ? nullptr : record->pool;
}

void* GetCurrentThreadPoolEnvironment() {
    const PoolRecord* record = getGlobalInstance();
    return record == nullptr ? nullptr : record->environment;
}

}  // namespace trv
