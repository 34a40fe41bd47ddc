#include "providers/openssl/digests.h"

#include <algorithm>
#include <atomic>

#include "providers/openssl/idle_pool.h"
#include "providers/openssl/openssl_context.h"

namespace quorvanti::provider {
namespace {

struct DigestRow {
    const char* name;
    bool refused;
    std::size_t oidLength;
    std::array<std::uint8_t, 9> oid;
};

// In the order of Digest.
// clang-format off
constexpr std::array<DigestRow, digestCount> digestTable{{
    {"MD2",    true,  8, {0x2a, 0x86, 0x48, 0x86, 0xf7, 0x0d, 0x02, 0x02}},
    {"MD4",    true,  8, {0x2a, 0x86, 0x48, 0x86, 0xf7, 0x0d, 0x02, 0x04}},
    {"MD5",    true,  8, {0x2a, 0x86, 0x48, 0x86, 0xf7, 0x0d, 0x02, 0x05}},
    {"SHA1",   false, 5, {0x2b, 0x0e, 0x03, 0x02, 0x1a}},
    {"SHA224", false, 9, {0x60, 0x86, 0x48, 0x01, 0x65, 0x03, 0x04, 0x02, 0x04}},
    {"SHA256", false, 9, {0x60, 0x86, 0x48, 0x01, 0x65, 0x03, 0x04, 0x02, 0x01}},
    {"SHA384", false, 9, {0x60, 0x86, 0x48, 0x01, 0x65, 0x03, 0x04, 0x02, 0x02}},
    {"SHA512", false, 9, {0x60, 0x86, 0x48, 0x01, 0x65, 0x03, 0x04, 0x02, 0x03}},
}};
// clang-format on

const DigestRow& rowOf(Digest digest) {
    return digestTable[static_cast<std::size_t>(digest)];
}

std::array<std::atomic<EVP_MD*>, digestCount> fetched{};

// Contexts of the accepted digests only: with the others old key files derive keys, of which nothing must stay behind.
constexpr std::size_t idleContexts = 8;
std::array<IdlePool<EvpMdCtxPtr, idleContexts>, digestCount> contexts;

void releaseFetched() {
    for (std::size_t i = 0; i < digestCount; ++i) {
        EVP_MD_free(fetched[i].exchange(nullptr));
        contexts[i].clear();
    }
}

// A context that was used before keeps its algorithm: a null method starts it anew for less.
EvpMdCtxPtr startedContext(Digest digest) {
    EvpMdCtxPtr context = contexts[static_cast<std::size_t>(digest)].take();
    if (context != nullptr && EVP_DigestInit_ex2(context.get(), nullptr, nullptr) == 1)
        return context;
    const EVP_MD* method = digestMethod(digest);
    context.reset(EVP_MD_CTX_new());
    if (method == nullptr || context == nullptr || EVP_DigestInit_ex2(context.get(), method, nullptr) != 1)
        return nullptr;
    return context;
}

void giveBack(Digest digest, EvpMdCtxPtr context) {
    const auto at = static_cast<std::size_t>(digest);
    if (digestRefused(digest))
        return;
    contexts[at].give(std::move(context));
    // The library was stopped meanwhile, and its cleaning up may have come too early for this one.
    if (fetched[at].load() == nullptr)
        contexts[at].clear();
}

}  // namespace

const char* digestName(Digest digest) {
    return rowOf(digest).name;
}

bool digestRefused(Digest digest) {
    return rowOf(digest).refused;
}

std::span<const std::uint8_t> digestOid(Digest digest) {
    const DigestRow& row = rowOf(digest);
    return std::span(row.oid).first(row.oidLength);
}

std::optional<Digest> digestByOid(std::span<const std::uint8_t> oid) {
    for (std::size_t i = 0; i < digestTable.size(); ++i) {
        if (std::ranges::equal(oid, digestOid(static_cast<Digest>(i))))
            return static_cast<Digest>(i);
    }
    return std::nullopt;
}

const EVP_MD* digestMethod(Digest digest) {
    std::atomic<EVP_MD*>& slot = fetched[static_cast<std::size_t>(digest)];
    EVP_MD* method = slot.load(std::memory_order_acquire);
    if (method != nullptr)
        return method;
    const ErrorQueueGuard guard;
    EvpMdPtr made(EVP_MD_fetch(libraryContext(), digestName(digest), nullptr));
    if (made == nullptr)
        return nullptr;
    atLibraryStop(releaseFetched);
    if (slot.compare_exchange_strong(method, made.get(), std::memory_order_acq_rel))
        return made.release();
    return method;
}

bool digestOf(Digest digest, std::span<const std::uint8_t> data, DigestValue& value) {
    return digestOf(digest, {}, data, value);
}

bool digestOf(Digest digest, std::span<const std::uint8_t> head, std::span<const std::uint8_t> data,
              DigestValue& value) {
    EvpMdCtxPtr context = startedContext(digest);
    unsigned int size = 0;
    if (context == nullptr || EVP_DigestUpdate(context.get(), head.data(), head.size()) != 1 ||
        EVP_DigestUpdate(context.get(), data.data(), data.size()) != 1 ||
        EVP_DigestFinal_ex(context.get(), value.bytes.data(), &size) != 1)
        return false;
    giveBack(digest, std::move(context));
    value.size = size;
    return true;
}

}  // namespace quorvanti::provider
