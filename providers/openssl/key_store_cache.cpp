// Opening key stores: from the cache, from memory or from a file.
#include <openssl/crypto.h>

#include <atomic>
#include <map>
#include <mutex>
#include <optional>

#include "providers/openssl/clock.h"
#include "providers/openssl/digests.h"
#include "providers/openssl/key_store.h"
#include "providers/openssl/key_store_file.h"
#include "providers/openssl/last_error.h"
#include "providers/openssl/memory_key_stores.h"
#include "providers/openssl/openssl_context.h"
#include "providers/openssl/password_digest.h"
#include "quorvanti/ssf.h"

namespace quorvanti::provider {
namespace {

constexpr std::size_t mostFileBytes = 64UL * 1024 * 1024;
constexpr std::size_t mostCached = 64;
// For so long a file is not looked at again: asking the system costs a good part of a whole verification.
constexpr std::int64_t millisecondsBetweenLooks = 10;

class CachedFile {
public:
    CachedFile(const FileStamp& stamp, bool settled, std::int64_t lookedAt, const DigestValue& content,
               const PasswordDigest& password, std::shared_ptr<const KeyStore> store)
        : stamp_(stamp),
          settled_(settled),
          lookedAt_(lookedAt),
          content_(content),
          password_(password),
          store_(std::move(store)) {}

    const std::shared_ptr<const KeyStore>& store() const { return store_; }
    const PasswordDigest& password() const { return password_; }

    bool opensWith(std::string_view password) const { return !store_->passwordUsed || password_.fits(password); }
    bool holds(const DigestValue& content) const {
        return content.size == content_.size &&
               CRYPTO_memcmp(content.bytes.data(), content_.bytes.data(), content.size) == 0;
    }

    // Whether the file at `path` is still the one that was read, or was so a moment ago.
    bool isCurrent(std::string_view path) const {
        if (!settled_)
            return false;
        const std::int64_t time = steadyMilliseconds();
        if (time - lookedAt_.load(std::memory_order_relaxed) < millisecondsBetweenLooks)
            return true;
        FileStamp stamp;
        if (stampFile(std::string(path), stamp) != FileState::ok || stamp != stamp_)
            return false;
        lookedAt_.store(time, std::memory_order_relaxed);
        return true;
    }

private:
    FileStamp stamp_;
    bool settled_;  // no later write can have left the same stamp
    mutable std::atomic<std::int64_t> lookedAt_;
    DigestValue content_;
    PasswordDigest password_;
    std::shared_ptr<const KeyStore> store_;
};
using CachedFilePtr = std::shared_ptr<const CachedFile>;
using Files = std::map<std::string, CachedFilePtr, std::less<>>;

// Made at the first use and freed by releaseFiles(): nothing here is destroyed when the process ends.
std::mutex filesMutex;
Files* files = nullptr;

void releaseFiles() {
    const std::lock_guard lock(filesMutex);
    delete files;
    files = nullptr;
}

CachedFilePtr cachedFile(std::string_view profile) {
    const std::lock_guard lock(filesMutex);
    if (files == nullptr)
        return nullptr;
    const auto found = files->find(profile);
    return found != files->end() ? found->second : nullptr;
}

void keepFile(const std::string& profile, CachedFilePtr file) {
    atLibraryStop(releaseFiles);
    const std::lock_guard lock(filesMutex);
    if (files == nullptr)
        files = new Files;
    if (files->size() >= mostCached && !files->contains(profile))
        files->erase(files->begin());
    files->insert_or_assign(profile, std::move(file));
}

void dropFile(std::string_view profile) {
    const std::lock_guard lock(filesMutex);
    if (files == nullptr)
        return;
    if (const auto found = files->find(profile); found != files->end())
        files->erase(found);
}

std::int32_t failState(const std::string& profile, FileState state) {
    switch (state) {
        case FileState::missing:
            return fail(SSF_API_UNKNOWN_PROFILE, "Key store " + profile + " does not exist.");
        case FileState::notRegular:
            return fail(SSF_API_INVALID_PROFILE, "Key store " + profile + " is no regular file.");
        case FileState::tooLarge:
            return fail(SSF_API_INVALID_PROFILE, "Key store " + profile + " is larger than 64 MiB.");
        default:
            return fail(SSF_API_INVALID_PROFILE,
                        "Key store " + profile + " cannot be read; check the permissions of this process.");
    }
}

// The bytes of a file that may hold a private key in clear.
struct FileContent {
    std::vector<std::uint8_t> bytes;

    FileContent() = default;
    ~FileContent() { OPENSSL_cleanse(bytes.data(), bytes.size()); }
    FileContent(const FileContent&) = delete;
    FileContent& operator=(const FileContent&) = delete;
};

std::int32_t loadFile(const std::string& profile, std::string_view password, const CachedFilePtr& cached,
                      std::shared_ptr<const KeyStore>& store) {
    const RandomUseGuard randomUse;  // a salt, and keys that are completed while they are read
    const std::int64_t lookedAt = steadyMilliseconds();
    FileContent content;
    FileStamp stamp;
    if (const FileState state = readFile(profile, mostFileBytes, content.bytes, stamp); state != FileState::ok) {
        dropFile(profile);
        return failState(profile, state);
    }
    const bool settled = !writtenJustNow(stamp);
    DigestValue digest;
    if (!digestOf(Digest::sha256, content.bytes, digest))
        throw std::bad_alloc();
    const bool unchanged = cached != nullptr && cached->holds(digest);
    if (unchanged && cached->opensWith(password)) {
        keepFile(profile,
                 std::make_shared<CachedFile>(stamp, settled, lookedAt, digest, cached->password(), cached->store()));
        store = cached->store();
        return SSF_API_OK;
    }
    auto loaded = std::make_shared<KeyStore>();
    loaded->profile = profile;
    if (const std::int32_t code = parseKeyStoreImage(content.bytes, password, *loaded); code != SSF_API_OK) {
        if (!unchanged)
            dropFile(profile);
        return code;
    }
    keepFile(profile, std::make_shared<CachedFile>(stamp, settled, lookedAt, digest, PasswordDigest(password), loaded));
    store = std::move(loaded);
    return SSF_API_OK;
}

}  // namespace

std::int32_t openKeyStore(std::string_view profile, std::string_view password, std::shared_ptr<const KeyStore>& store) {
    store.reset();
    if (profile.empty())
        return fail(SSF_API_UNKNOWN_PROFILE, "No key store is named.");
    if (const auto code = openMemoryKeyStore(profile, password, store); code.has_value())
        return *code;
    CachedFilePtr cached = cachedFile(profile);
    if (cached != nullptr && cached->isCurrent(profile) && cached->opensWith(password)) {
        const KeyStore* opened = cached->store().get();
        store = std::shared_ptr<const KeyStore>(std::move(cached), opened);  // shares what keeps the cached file
        return SSF_API_OK;
    }
    const std::string path(profile);
    if (path.find('\0') != std::string::npos)
        return fail(SSF_API_UNKNOWN_PROFILE, "The name of the key store holds a zero byte.");
    return loadFile(path, password, cached, store);
}

void forgetKeyStoreFile(std::string_view profile) {
    dropFile(profile);
}

void forgetKeyStores() {
    releaseFiles();
    forgetMemoryKeyStores();
}

}  // namespace quorvanti::provider
