// Prepared contexts of one key for one operation, for each digest. Any number of threads may take one at a time.
#pragma once

#include <array>
#include <cstddef>
#include <utility>

#include "providers/openssl/digests.h"
#include "providers/openssl/idle_pool.h"
#include "providers/openssl/openssl_context.h"

namespace quorvanti::provider {

class KeyContexts {
public:
    KeyContexts() = default;
    ~KeyContexts() {
        for (auto& pool : idle_)
            pool.clear();
    }
    KeyContexts(const KeyContexts&) = delete;
    KeyContexts& operator=(const KeyContexts&) = delete;

    // Null when none is idle.
    EvpPkeyCtxPtr take(Digest digest) { return idle_[static_cast<std::size_t>(digest)].take(); }
    void give(Digest digest, EvpPkeyCtxPtr context) {
        idle_[static_cast<std::size_t>(digest)].give(std::move(context));
    }

private:
    static constexpr std::size_t kept = 4;

    std::array<IdlePool<EvpPkeyCtxPtr, kept>, digestCount> idle_;
};

}  // namespace quorvanti::provider
