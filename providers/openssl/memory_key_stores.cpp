#include "providers/openssl/memory_key_stores.h"

#include <openssl/crypto.h>

#include <atomic>
#include <map>
#include <mutex>

#include "providers/openssl/last_error.h"
#include "providers/openssl/password_digest.h"
#include "quorvanti/ssf.h"

namespace quorvanti::provider {
namespace {

// One state of a key store in memory; a change makes a new one.
struct MemoryKeyStore {
    std::vector<std::uint8_t> image;
    std::vector<std::vector<std::uint8_t>> added;  // certificates, DER

    MemoryKeyStore() = default;
    ~MemoryKeyStore() { OPENSSL_cleanse(image.data(), image.size()); }
    MemoryKeyStore(const MemoryKeyStore&) = default;
    MemoryKeyStore& operator=(const MemoryKeyStore&) = delete;
};

struct Opened {
    PasswordDigest password;
    std::shared_ptr<const KeyStore> store;
};

struct Entry {
    std::shared_ptr<const MemoryKeyStore> state;
    std::shared_ptr<const Opened> opened;  // `state` as it was opened last; null before
};
using Entries = std::map<std::string, Entry, std::less<>>;

// Made at the first use and freed by forgetMemoryKeyStores(): nothing here is destroyed when the process ends.
std::mutex entriesMutex;
Entries* entries = nullptr;
std::atomic<bool> anyEntries{false};  // spares everybody who uses files alone the lock

std::optional<Entry> entryOf(std::string_view name) {
    if (!anyEntries.load(std::memory_order_acquire))
        return std::nullopt;
    const std::lock_guard lock(entriesMutex);
    if (entries == nullptr)
        return std::nullopt;
    const auto found = entries->find(name);
    return found != entries->end() ? std::optional<Entry>(found->second) : std::nullopt;
}

std::int32_t load(std::string_view name, std::string_view password, const MemoryKeyStore& state, KeyStore& store) {
    store.profile = name;
    if (!state.image.empty()) {
        if (const std::int32_t code = parseKeyStoreImage(state.image, password, store); code != SSF_API_OK)
            return code;
    }
    for (const auto& der : state.added) {
        auto certificate = prepareCertificate(der);
        if (certificate == nullptr)
            return fail(SSF_API_INVALID_PROFILE, "A certificate for key store " + store.profile + " cannot be read.");
        store.trusted.push_back(std::move(certificate));
    }
    prepareKeyStore(store);
    return SSF_API_OK;
}

// Only when `name` still means the state that was opened.
void keepOpened(std::string_view name, const Entry& entry, std::shared_ptr<const Opened> opened) {
    const std::lock_guard lock(entriesMutex);
    if (entries == nullptr)
        return;
    const auto found = entries->find(name);
    if (found != entries->end() && found->second.state == entry.state)
        found->second.opened = std::move(opened);
}

}  // namespace

std::optional<std::int32_t> openMemoryKeyStore(std::string_view name, std::string_view password,
                                               std::shared_ptr<const KeyStore>& store) {
    const std::optional<Entry> entry = entryOf(name);
    if (!entry)
        return std::nullopt;
    if (entry->opened != nullptr && (!entry->opened->store->passwordUsed || entry->opened->password.fits(password))) {
        store = entry->opened->store;
        return SSF_API_OK;
    }
    const RandomUseGuard randomUse;  // a salt, and keys that are completed while they are read
    auto loaded = std::make_shared<KeyStore>();
    if (const std::int32_t code = load(name, password, *entry->state, *loaded); code != SSF_API_OK)
        return code;
    store = loaded;
    keepOpened(name, *entry, std::make_shared<Opened>(Opened{PasswordDigest(password), std::move(loaded)}));
    return SSF_API_OK;
}

std::int32_t registerMemoryKeyStore(std::string_view name, std::span<const std::uint8_t> image) {
    auto state = std::make_shared<MemoryKeyStore>();
    state->image.assign(image.begin(), image.end());
    const RandomUseGuard randomUse;
    KeyStore trial;
    const std::int32_t code = load(name, {}, *state, trial);
    if (code != SSF_API_OK && code != SSF_API_INVALID_PASSWORD)
        return code;
    atLibraryStop(forgetMemoryKeyStores);
    const std::lock_guard lock(entriesMutex);
    if (entries == nullptr)
        entries = new Entries;
    anyEntries.store(true, std::memory_order_release);
    entries->insert_or_assign(std::string(name), Entry{std::move(state), nullptr});
    return SSF_API_OK;
}

bool isMemoryKeyStore(std::string_view name) {
    return entryOf(name).has_value();
}

std::int32_t addToMemoryKeyStore(std::string_view name, std::span<const std::uint8_t> certificateDer) {
    if (prepareCertificate(certificateDer) == nullptr)
        return fail(SSF_API_INVALID_PROFILE, "A certificate for key store " + std::string(name) + " cannot be read.");
    const std::lock_guard lock(entriesMutex);
    const auto found = entries != nullptr ? entries->find(name) : Entries::iterator();
    if (entries == nullptr || found == entries->end())
        return fail(SSF_API_UNKNOWN_PROFILE, "Key store " + std::string(name) + " does not exist.");
    auto state = std::make_shared<MemoryKeyStore>(*found->second.state);
    state->added.emplace_back(certificateDer.begin(), certificateDer.end());
    found->second = Entry{std::move(state), nullptr};
    return SSF_API_OK;
}

bool removeMemoryKeyStore(std::string_view name) {
    const std::lock_guard lock(entriesMutex);
    const auto found = entries != nullptr ? entries->find(name) : Entries::iterator();
    if (entries == nullptr || found == entries->end())
        return false;
    entries->erase(found);
    return true;
}

void forgetMemoryKeyStores() {
    const std::lock_guard lock(entriesMutex);
    delete entries;
    entries = nullptr;
    anyEntries.store(false, std::memory_order_release);
}

}  // namespace quorvanti::provider
