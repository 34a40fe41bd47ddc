#include "krn/thr/thr.h"

#include "krn/thr/static_lock.h"
#include "krn/thr/thr_platform.h"
#include "krn/time/sleep.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <vector>

namespace quorvanti {
namespace {

struct RegisteredThread {
    std::uint64_t id;
    ThrHandle handle;
};

// The layer. Its locks need no start of their own, so the trace can make its keys before the layer is started.
constinit StaticLock startLock;
constinit StaticLock sectionGuard;
constinit StaticLock keyListLock;
constinit StaticLock threadListLock;
constinit std::atomic<bool> started{false};
constinit std::atomic<bool> startsFromWithin{false};
constinit std::atomic<ThrHandleSource> handleSource{&threadHandleDuplicate};

// Both are left to the end of the process: threads may still come by while it exits.
template <typename T>
std::vector<T>& immortalList() {
    union Storage {
        std::vector<T> list;
        Storage() : list() {}
        ~Storage() {}
    };
    static Storage storage;
    return storage.list;
}
std::vector<ThrKey>& keyList() {
    return immortalList<ThrKey>();
}
std::vector<RegisteredThread>& threadList() {
    return immortalList<RegisteredThread>();
}

void registerThread(std::uint64_t id, ThrHandle handle) {
    const std::lock_guard lock(threadListLock);
    try {
        threadList().push_back({id, handle});
    } catch (const std::bad_alloc&) {
        threadHandleClose(handle);  // the thread stays unregistered, the start goes on
    }
}

[[noreturn]] void panic(const char* operation, const char* tag) {
    std::fprintf(stderr, "%s: PANIC: #unlock > #lock, tag: \"%s\"\n", operation, tag != nullptr ? tag : "not set");
    std::fflush(stderr);
    std::abort();
}

}  // namespace

std::int32_t ThrInitialize() {
    const std::lock_guard lock(startLock);
    if (started.load(std::memory_order_acquire)) {
        return kThrOk;
    }
    ThrHandle handle = 0;
    if (!handleSource.load(std::memory_order_relaxed)(handle)) {
        return kThrNoHandle;
    }
    registerThread(ThrCurrentId(), handle);
    started.store(true, std::memory_order_release);
    if (!startsFromWithin.load(std::memory_order_relaxed)) {
        std::atexit([] { ThrCleanup(); });
    }
    return kThrOk;
}

void ThrStartsFromWithin() {
    startsFromWithin.store(true, std::memory_order_relaxed);
}

std::int32_t ThrCleanup() {
    const std::lock_guard lock(threadListLock);
    std::vector<RegisteredThread> threads;
    threads.swap(threadList());
    for (const RegisteredThread& thread : threads) {
        threadHandleClose(thread.handle);
    }
    return threads.empty() ? kThrListEmpty : kThrOk;
}

void setThrHandleSource(ThrHandleSource source) {
    handleSource.store(source != nullptr ? source : &threadHandleDuplicate, std::memory_order_relaxed);
}

void ThrRecMtxInit(ThrRecMtx& mutex, const char* tag) {
    mutex.owner = -1;
    mutex.count = 0;
    mutex.tag.reset();
    if (tag != nullptr) {
        const std::size_t size = std::strlen(tag) + 1;
        mutex.tag.reset(new (std::nothrow) char[size]);
        if (mutex.tag != nullptr) {
            std::memcpy(mutex.tag.get(), tag, size);
        }
    }
}

void ThrRecMtxLock(ThrRecMtx& mutex) {
    mutex.section.lock();
    ++mutex.count;
}

void ThrRecMtxUnlock(ThrRecMtx& mutex) {
    if (--mutex.count < 0) {
        panic("ThrRecMtxUnlock", mutex.tag.get());
    }
    mutex.section.unlock();
}

void ThrCSCreate(ThrCS& section) {
    const std::lock_guard lock(sectionGuard);
    if (section.marker.load(std::memory_order_relaxed) == kThrSectionReady) {
        return;
    }
    section.owner = -1;
    section.count = 0;
    section.tag = nullptr;
    section.marker.store(kThrSectionReady, std::memory_order_release);
}

namespace {
bool usable(const ThrCS& section) {
    return started.load(std::memory_order_acquire) &&
           section.marker.load(std::memory_order_acquire) == kThrSectionReady;
}
}  // namespace

bool ThrCSLock(ThrCS& section) {
    if (!usable(section)) {
        return false;
    }
    section.section.lock();
    ++section.count;
    return true;
}

std::int32_t ThrCSUnlock(ThrCS& section) {
    if (!usable(section)) {
        return kThrNotReady;
    }
    if (--section.count < 0) {
        panic("ThrCSUnlock", section.tag);
    }
    section.section.unlock();
    return kThrOk;
}

std::int32_t ThrKeyCreate(ThrKey& key, ThrKeyDestructor destructor) {
    const std::lock_guard lock(keyListLock);
    std::vector<ThrKey>& keys = keyList();
    if (key != kThrNoKeyYet && std::find(keys.begin(), keys.end(), key) != keys.end()) {
        return kThrKeyExists;
    }
    key = kThrNoKeyYet;
    ThrKey created = kThrNoKeyYet;
    if (!threadKeyAllocate(created, destructor)) {
        return kThrNoKey;
    }
    try {
        keys.push_back(created);
    } catch (const std::bad_alloc&) {
        threadKeyFree(created);
        return kThrNoMemory;
    }
    key = created;
    return kThrOk;
}

void ThrKeysGiveBack() {
    std::vector<ThrKey> keys;
    {
        const std::lock_guard lock(keyListLock);
        keys.swap(keyList());
    }
    for (const ThrKey key : keys) {
        threadKeyFree(key);
    }
}

std::int32_t ThrSleep(std::uint32_t milliseconds) {
    return sleepMilliseconds(milliseconds);
}

}  // namespace quorvanti
