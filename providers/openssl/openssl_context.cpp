#include "providers/openssl/openssl_context.h"

#include <openssl/provider.h>

#include <array>
#include <atomic>
#include <cstddef>
#include <mutex>

namespace quorvanti::provider {
namespace {

struct OwnContext {
    OSSL_LIB_CTX* context;
    OSSL_PROVIDER* standard;
    OSSL_PROVIDER* legacy;
};

// All of these need no destruction, so that the end of the process runs none of our code.
constexpr std::size_t maxReleases = 32;
std::mutex startStop;
OwnContext own{};
std::atomic<OSSL_LIB_CTX*> current{nullptr};
std::atomic<long> liveObjects{0};
std::array<void (*)(), maxReleases> releases{};
std::size_t releaseCount = 0;

void freeContext(OwnContext& made) {
    if (made.legacy != nullptr)
        OSSL_PROVIDER_unload(made.legacy);
    if (made.standard != nullptr)
        OSSL_PROVIDER_unload(made.standard);
    OSSL_LIB_CTX_free(made.context);
    made = {};
}

bool makeContext(OwnContext& made) {
    // Only the first initialisation in a process decides about the exit handler; a host that came first has its own.
    OPENSSL_init_crypto(OPENSSL_INIT_NO_ATEXIT, nullptr);
    made.context = OSSL_LIB_CTX_new();
    if (made.context == nullptr)
        return false;
    made.standard = OSSL_PROVIDER_load(made.context, "default");
    if (made.standard == nullptr) {
        freeContext(made);
        return false;
    }
    // Loaded by choice and possibly absent; the third argument keeps the default provider in charge.
    made.legacy = OSSL_PROVIDER_try_load(made.context, "legacy", 1);
    return true;
}

}  // namespace

OSSL_LIB_CTX* libraryContext() {
    OSSL_LIB_CTX* context = current.load(std::memory_order_acquire);
    if (context != nullptr)
        return context;
    const std::lock_guard lock(startStop);
    if (own.context == nullptr) {
        const ErrorQueueGuard guard;
        if (!makeContext(own))
            return nullptr;
    }
    current.store(own.context, std::memory_order_release);
    return own.context;
}

LiveObject::LiveObject() {
    liveObjects.fetch_add(1, std::memory_order_relaxed);
}

LiveObject::~LiveObject() {
    liveObjects.fetch_sub(1, std::memory_order_acq_rel);
}

void atLibraryStop(void (*release)()) {
    const std::lock_guard lock(startStop);
    for (std::size_t i = 0; i < releaseCount; ++i) {
        if (releases[i] == release)
            return;
    }
    if (releaseCount < releases.size())
        releases[releaseCount++] = release;
}

void stopLibrary() {
    // Outside the lock: what is called takes locks of its own.
    std::array<void (*)(), maxReleases> due{};
    std::size_t dueCount = 0;
    {
        const std::lock_guard lock(startStop);
        due = releases;
        dueCount = releaseCount;
        releaseCount = 0;
    }
    const ErrorQueueGuard guard;
    while (dueCount > 0)
        due[--dueCount]();
    const std::lock_guard lock(startStop);
    if (liveObjects.load(std::memory_order_acquire) != 0 || own.context == nullptr)
        return;
    current.store(nullptr, std::memory_order_release);
    freeContext(own);
}

ErrorQueueGuard::ErrorQueueGuard() : hostHasErrors_(ERR_set_mark() == 1) {}

ErrorQueueGuard::~ErrorQueueGuard() {
    if (hostHasErrors_)
        ERR_pop_to_mark();
    else if (ERR_peek_error() != 0)  // clearing an empty queue goes over all its places
        ERR_clear_error();
}

void ErrorQueueGuard::settle() {
    if (hostHasErrors_) {
        ERR_pop_to_mark();
        ERR_set_mark();
    } else {
        ERR_clear_error();
    }
}

RandomUseGuard::~RandomUseGuard() {
    OSSL_LIB_CTX* context = current.load(std::memory_order_acquire);
    if (context != nullptr)
        OPENSSL_thread_stop_ex(context);
}

}  // namespace quorvanti::provider
