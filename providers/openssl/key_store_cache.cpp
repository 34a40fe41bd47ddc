// Opening key stores: from the cache, from memory or from a file.
#include <openssl/crypto.h>

#include <map>
#include <mutex>
#include <optional>

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

struct CachedFile {
    FileStamp stamp;
    bool settled;  // no later write can have left the same stamp
    DigestValue content;
    PasswordDigest password;
    std::shared_ptr<const KeyStore> store;
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

bool opens(const CachedFile& cached, std::string_view password) {
    return !cached.store->passwordUsed || cached.password.fits(password);
}

bool sameContent(const DigestValue& left, const DigestValue& right) {
    return left.size == right.size && CRYPTO_memcmp(left.bytes.data(), right.bytes.data(), left.size) == 0;
}

std::int32_t loadFile(const std::string& profile, std::string_view password, const CachedFilePtr& cached,
                      std::shared_ptr<const KeyStore>& store) {
    const RandomUseGuard randomUse;  // a salt, and keys that are completed while they are read
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
    const bool unchanged = cached != nullptr && sameContent(cached->content, digest);
    if (unchanged && opens(*cached, password)) {
        keepFile(profile,
                 std::make_shared<CachedFile>(CachedFile{stamp, settled, digest, cached->password, cached->store}));
        store = cached->store;
        return SSF_API_OK;
    }
    auto loaded = std::make_shared<KeyStore>();
    loaded->profile = profile;
    if (const std::int32_t code = parseKeyStoreImage(content.bytes, password, *loaded); code != SSF_API_OK) {
        if (!unchanged)
            dropFile(profile);
        return code;
    }
    keepFile(profile,
             std::make_shared<CachedFile>(CachedFile{stamp, settled, digest, PasswordDigest(password), loaded}));
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
    const CachedFilePtr cached = cachedFile(profile);
    const std::string path(profile);
    if (path.find('\0') != std::string::npos)
        return fail(SSF_API_UNKNOWN_PROFILE, "The name of the key store holds a zero byte.");
    if (cached != nullptr && cached->settled) {
        FileStamp stamp;
        if (stampFile(path, stamp) == FileState::ok && stamp == cached->stamp && opens(*cached, password)) {
            store = cached->store;
            return SSF_API_OK;
        }
    }
    return loadFile(path, password, cached, store);
}

void forgetKeyStores() {
    releaseFiles();
    forgetMemoryKeyStores();
}

}  // namespace quorvanti::provider
