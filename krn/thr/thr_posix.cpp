#include "krn/thr/thr_platform.h"

#include <pthread.h>
#include <unistd.h>

namespace quorvanti {

std::uint64_t ThrCurrentId() {
    return static_cast<std::uint64_t>(gettid());
}

// The thread's own value serves every thread: there is nothing to duplicate and nothing to close.
bool threadHandleDuplicate(ThrHandle& handle) {
    handle = static_cast<ThrHandle>(pthread_self());
    return true;
}

void threadHandleClose(ThrHandle) {}

bool threadKeyAllocate(ThrKey& key, ThrKeyDestructor destructor) {
    pthread_key_t created = 0;
    if (pthread_key_create(&created, destructor) != 0) {
        return false;
    }
    key = created;
    return true;
}

void threadKeyFree(ThrKey key) {
    pthread_key_delete(key);
}

void* ThrKeyGet(ThrKey key) {
    return key == kThrNoKeyYet ? nullptr : pthread_getspecific(key);
}

bool ThrKeySet(ThrKey key, void* value) {
    return key != kThrNoKeyYet && pthread_setspecific(key, value) == 0;
}

}  // namespace quorvanti
