// Locks and thread-local storage. Every lock of the library is one of the two kinds here; both can be taken again by
// their owner, count their acquisitions, and end the process when they are released more often than taken: an
// unbalanced release is a programming error, and whatever the lock guards can no longer be trusted.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>

namespace quorvanti {

inline constexpr std::int32_t kThrOk = 0;
inline constexpr std::int32_t kThrKeyExists = 3;
inline constexpr std::int32_t kThrListEmpty = 5;
inline constexpr std::int32_t kThrNoMemory = 7;
inline constexpr std::int32_t kThrNotReady = 8;
inline constexpr std::int32_t kThrNoHandle = 12;
inline constexpr std::int32_t kThrNoKey = 14;

// Starts the layer once: 0, also when it was started before; 12 when the calling thread cannot be registered.
// The registered threads are forgotten when the process exits, unless the layer is started from within the library.
std::int32_t ThrInitialize();
// Said by the library's own functions before they start the layer: nothing of theirs then runs at the exit.
void ThrStartsFromWithin();
// Forgets the registered threads: 0, or 5 when there were none.
std::int32_t ThrCleanup();

// The calling thread's number as the system shows it in its own tools; all bits set when there is none.
inline constexpr std::uint64_t kThrNoId = ~std::uint64_t{0};
std::uint64_t ThrCurrentId();

// Recursive mutex with a count and a tag that names it in the PANIC line.
struct ThrRecMtx {
    std::recursive_mutex section;
    std::int32_t count = 0;
    std::int32_t owner = -1;
    std::unique_ptr<char[]> tag;
};
// Sets owner, count and a private copy of the tag (null: none). Not while others use the mutex.
void ThrRecMtxInit(ThrRecMtx& mutex, const char* tag);
void ThrRecMtxLock(ThrRecMtx& mutex);
void ThrRecMtxUnlock(ThrRecMtx& mutex);

// Critical section that becomes usable on first use; ready when its marker reads "ENOD".
inline constexpr std::uint32_t kThrSectionReady = 0x444F4E45;
struct ThrCS {
    std::atomic<std::uint32_t> marker{0};
    std::int32_t count = 0;
    std::int32_t owner = -1;
    std::recursive_mutex section;
    const char* tag = nullptr;
};
// Makes the section ready, under the layer's guard; does nothing when it is ready already.
void ThrCSCreate(ThrCS& section);
// Without effect, and false, while the layer is not started or the section not ready.
bool ThrCSLock(ThrCS& section);
// 0, or 8 while the layer is not started or the section not ready.
std::int32_t ThrCSUnlock(ThrCS& section);

class ThrRecMtxGuard {
public:
    explicit ThrRecMtxGuard(ThrRecMtx& mutex) : mutex_(mutex) { ThrRecMtxLock(mutex_); }
    ~ThrRecMtxGuard() { ThrRecMtxUnlock(mutex_); }
    ThrRecMtxGuard(const ThrRecMtxGuard&) = delete;
    ThrRecMtxGuard& operator=(const ThrRecMtxGuard&) = delete;

private:
    ThrRecMtx& mutex_;
};

class ThrCSGuard {
public:
    explicit ThrCSGuard(ThrCS& section) : section_(section), taken_(ThrCSLock(section)) {}
    ~ThrCSGuard() {
        if (taken_) {
            ThrCSUnlock(section_);
        }
    }
    ThrCSGuard(const ThrCSGuard&) = delete;
    ThrCSGuard& operator=(const ThrCSGuard&) = delete;

private:
    ThrCS& section_;
    bool taken_;  // a section that became ready meanwhile must not be released
};

// Thread keys: one pointer a thread, handed to the destructor when the thread ends (if not null).
using ThrKey = std::uint32_t;
inline constexpr ThrKey kThrNoKeyYet = 0xFFFFFFFF;
using ThrKeyDestructor = void (*)(void*);
// 0 created, 3 exists already (the key is kept), 7 no memory, 14 the system has none left (the key stays invalid).
// Threads may create the same key at once; a thread reads the key only after its own call.
std::int32_t ThrKeyCreate(ThrKey& key, ThrKeyDestructor destructor);
void* ThrKeyGet(ThrKey key);
bool ThrKeySet(ThrKey key, void* value);
// For a library that leaves the process before its threads do: gives every key back, so that no thread's end calls into
// it. The values go to the destructors where the system does that.
void ThrKeysGiveBack();

// Sleeps; 0 after the whole time, 258 when interrupted and the time had passed meanwhile.
std::int32_t ThrSleep(std::uint32_t milliseconds);

}  // namespace quorvanti
