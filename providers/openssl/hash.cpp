// crypt_hash...: hashes piece by piece.

#include "providers/openssl/boundary.h"
#include "providers/openssl/digest_names.h"
#include "providers/openssl/hand_out.h"
#include "providers/openssl/hash_algorithms.h"
#include "providers/openssl/saved_state.h"

namespace quorvanti::provider {
namespace {

struct Hash {
    Digest digest;
    EvpMdCtxPtr context;
    InputRecord input;
    LiveObject alive;
};

std::unique_ptr<Hash> makeHash(Digest digest) {
    std::unique_ptr<Hash> hash(new Hash{digest, EvpMdCtxPtr(EVP_MD_CTX_new()), {}, {}});
    const EVP_MD* method = digestMethod(digest);
    if (hash->context == nullptr || method == nullptr || EVP_DigestInit_ex2(hash->context.get(), method, nullptr) != 1)
        return nullptr;
    return hash;
}

std::int32_t notStarted() {
    return fail(SSF_API_UNKNOWN_SECTK_ERROR, "OpenSSL could not work on a hash.");
}

std::int32_t feed(Hash& hash, std::span<const std::uint8_t> data) {
    hash.input.append(data);  // first: where memory is too short for it, nothing has been fed
    return EVP_DigestUpdate(hash.context.get(), data.data(), data.size()) == 1 ? SSF_API_OK : notStarted();
}

}  // namespace

std::optional<Digest> digestById(std::int32_t id) {
    if (id < 1 || id > static_cast<std::int32_t>(digestCount))
        return std::nullopt;
    const auto digest = static_cast<Digest>(id - 1);
    return digestRefused(digest) ? std::nullopt : std::optional(digest);
}

std::int32_t idOfDigest(Digest digest) {
    return static_cast<std::int32_t>(digest) + 1;
}

std::int32_t unknownHash() {
    return fail(SSF_API_INVALID_MDALG, "There is no usable hash algorithm of that number.");
}

}  // namespace quorvanti::provider

using namespace quorvanti::provider;

int32_t crypt_hashAlgorithm_Name2Id(const char* name, int32_t nameLength, int32_t* id) {
    if (id != nullptr)
        *id = 0;
    if (name == nullptr || nameLength < 0 || id == nullptr)
        return invalidArguments("crypt_hashAlgorithm_Name2Id");
    return boundaryWithoutQueue([&] {
        Digest digest = Digest::sha1;
        const std::int32_t result = usableDigest(textOf(name, nameLength), digest);
        if (result == SSF_API_OK)
            *id = idOfDigest(digest);
        return result;
    });
}

int32_t crypt_hashAlgorithm_Id2Name(int32_t id, const char** name) {
    if (name == nullptr)
        return invalidArguments("crypt_hashAlgorithm_Id2Name");
    *name = nullptr;
    const auto digest = digestById(id);
    if (!digest)
        return unknownHash();
    *name = digestName(*digest);
    return SSF_API_OK;
}

int32_t crypt_hash_create(int32_t id, void** hash) {
    if (hash == nullptr)
        return invalidArguments("crypt_hash_create");
    *hash = nullptr;
    return boundary([&] {
        const auto digest = digestById(id);
        if (!digest)
            return unknownHash();
        *hash = makeHash(*digest).release();
        return *hash != nullptr ? SSF_API_OK : notStarted();
    });
}

int32_t crypt_hash_more(void* hash, const uint8_t* data, int32_t length) {
    if (hash == nullptr || data == nullptr || length < 0)
        return invalidArguments("crypt_hash_more");
    return boundary([&] { return feed(*static_cast<Hash*>(hash), bytesOf(data, length)); });
}

int32_t crypt_hash_getValue(void* hash, uint8_t* value, int32_t* length) {
    if (hash == nullptr || value == nullptr || length == nullptr || *length < 0)
        return invalidArguments("crypt_hash_getValue");
    return boundary([&] {
        const EVP_MD_CTX* context = static_cast<Hash*>(hash)->context.get();
        const std::int32_t room = *length;
        *length = EVP_MD_CTX_get_size(context);
        if (room < *length)
            return fail(SSF_API_INVALID_FUNCARGS, "The buffer is too small for the hash.");
        // A copy is finished, so that more can be fed afterwards.
        const EvpMdCtxPtr copy(EVP_MD_CTX_new());
        if (copy == nullptr || EVP_MD_CTX_copy_ex(copy.get(), context) != 1 ||
            EVP_DigestFinal_ex(copy.get(), value, nullptr) != 1)
            return notStarted();
        return SSF_API_OK;
    });
}

int32_t crypt_hash_release(void** hash) {
    if (hash == nullptr)
        return SSF_API_INVALID_FUNCARGS;
    delete static_cast<Hash*>(*hash);
    *hash = nullptr;
    return SSF_API_OK;
}

int32_t crypt_hash_import(const uint8_t* blob, int32_t length, void** hash) {
    if (hash != nullptr)
        *hash = nullptr;
    if (blob == nullptr || length < 0 || hash == nullptr)
        return invalidArguments("crypt_hash_import");
    return boundary([&] {
        const auto state = readState(bytesOf(blob, length), 'H');
        if (!state || !state->key.empty())
            return fail(SSF_API_DECODE_FAILED, "The bytes are not a hash that was written down by this library.");
        auto made = makeHash(state->digest);
        if (made == nullptr)
            return notStarted();
        const std::int32_t result = feed(*made, state->input);
        if (result == SSF_API_OK)
            *hash = made.release();
        return result;
    });
}

int32_t crypt_hash_exportToBlob(void* hash, uint8_t** blob, int32_t* length) {
    if (blob != nullptr)
        *blob = nullptr;
    if (length != nullptr)
        *length = 0;
    if (hash == nullptr || blob == nullptr || length == nullptr)
        return invalidArguments("crypt_hash_exportToBlob");
    return boundary([&] {
        const Hash& from = *static_cast<Hash*>(hash);
        if (!from.input.complete())
            return fail(SSF_API_SECTK_FUNCTION_NOT_AVAIL, "More than 1 MiB was hashed: too much to write down.");
        auto bytes = writeState({'H', from.digest, {}, from.input.bytes()});
        const bool done = handOut(bytes, blob, length);
        OPENSSL_cleanse(bytes.data(), bytes.size());
        return done ? SSF_API_OK : fail(SSF_API_NOMEMORY, "The crypto library ran out of memory.");
    });
}
