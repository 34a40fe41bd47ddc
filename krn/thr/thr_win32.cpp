#include "krn/thr/thr_platform.h"

#include <windows.h>

namespace quorvanti {

std::uint64_t ThrCurrentId() {
    return GetCurrentThreadId();
}

bool threadHandleDuplicate(ThrHandle& handle) {
    HANDLE duplicate = nullptr;
    if (DuplicateHandle(GetCurrentProcess(), GetCurrentThread(), GetCurrentProcess(), &duplicate, 0, FALSE,
                        DUPLICATE_SAME_ACCESS) == FALSE) {
        return false;
    }
    handle = reinterpret_cast<ThrHandle>(duplicate);
    return true;
}

void threadHandleClose(ThrHandle handle) {
    CloseHandle(reinterpret_cast<HANDLE>(handle));
}

// Fiber-local storage, because it calls the destructor when a thread ends.
bool threadKeyAllocate(ThrKey& key, ThrKeyDestructor destructor) {
    const DWORD created = FlsAlloc(destructor);
    if (created == FLS_OUT_OF_INDEXES) {
        return false;
    }
    key = created;
    return true;
}

void threadKeyFree(ThrKey key) {
    FlsFree(key);
}

void* ThrKeyGet(ThrKey key) {
    return key == kThrNoKeyYet ? nullptr : FlsGetValue(key);
}

bool ThrKeySet(ThrKey key, void* value) {
    return key != kThrNoKeyYet && FlsSetValue(key, value) != FALSE;
}

}  // namespace quorvanti
