// crypt_keyedmac...: HMAC piece by piece.
#include <openssl/core_names.h>
#include <openssl/params.h>

#include <array>
#include <atomic>

#include "providers/openssl/boundary.h"
#include "providers/openssl/hand_out.h"
#include "providers/openssl/hash_algorithms.h"
#include "providers/openssl/saved_state.h"

namespace quorvanti::provider {
namespace {

std::atomic<EVP_MAC*> fetchedHmac{nullptr};

void releaseHmac() {
    EVP_MAC_free(fetchedHmac.exchange(nullptr));
}

EVP_MAC* hmac() {
    EVP_MAC* method = fetchedHmac.load(std::memory_order_acquire);
    if (method != nullptr)
        return method;
    EvpMacPtr made(EVP_MAC_fetch(libraryContext(), "HMAC", nullptr));
    if (made == nullptr)
        return nullptr;
    atLibraryStop(releaseHmac);
    if (fetchedHmac.compare_exchange_strong(method, made.get(), std::memory_order_acq_rel))
        return made.release();
    return method;
}

struct SecretBytes {
    std::vector<std::uint8_t> bytes;

    explicit SecretBytes(std::span<const std::uint8_t> from) : bytes(from.begin(), from.end()) {}
    SecretBytes(const SecretBytes&) = delete;
    SecretBytes& operator=(const SecretBytes&) = delete;
    ~SecretBytes() { OPENSSL_cleanse(bytes.data(), bytes.size()); }
};

struct KeyedMac {
    Digest digest;
    SecretBytes key;
    EvpMacCtxPtr context;
    InputRecord input;
    LiveObject alive;
};

// An empty key is one too; the toolkit would take a null pointer for "the key of before".
bool start(KeyedMac& mac) {
    static constexpr std::uint8_t noKey = 0;
    std::array<char, 16> name{};
    std::string_view(digestName(mac.digest)).copy(name.data(), name.size() - 1);
    const OSSL_PARAM parameters[] = {OSSL_PARAM_construct_utf8_string(OSSL_MAC_PARAM_DIGEST, name.data(), 0),
                                     OSSL_PARAM_construct_end()};
    const std::uint8_t* key = mac.key.bytes.empty() ? &noKey : mac.key.bytes.data();
    return EVP_MAC_init(mac.context.get(), key, mac.key.bytes.size(), parameters) == 1;
}

std::unique_ptr<KeyedMac> makeMac(Digest digest, std::span<const std::uint8_t> key) {
    EVP_MAC* method = hmac();
    if (method == nullptr)
        return nullptr;
    std::unique_ptr<KeyedMac> mac(
        new KeyedMac{digest, SecretBytes(key), EvpMacCtxPtr(EVP_MAC_CTX_new(method)), {}, {}});
    return mac->context != nullptr && start(*mac) ? std::move(mac) : nullptr;
}

std::int32_t notStarted() {
    return fail(SSF_API_UNKNOWN_SECTK_ERROR, "OpenSSL could not work on a keyed MAC.");
}

std::int32_t feed(KeyedMac& mac, std::span<const std::uint8_t> data) {
    if (EVP_MAC_update(mac.context.get(), data.data(), data.size()) != 1)
        return notStarted();
    mac.input.append(data);
    return SSF_API_OK;
}

}  // namespace
}  // namespace quorvanti::provider

using namespace quorvanti::provider;

int32_t crypt_keyedmac_create(int32_t hashId, const uint8_t* key, int32_t keyLength, void** mac) {
    if (mac != nullptr)
        *mac = nullptr;
    if (key == nullptr || keyLength < 0 || mac == nullptr)
        return invalidArguments("crypt_keyedmac_create");
    return boundary([&] {
        const auto digest = digestById(hashId);
        if (!digest)
            return unknownHash();
        *mac = makeMac(*digest, bytesOf(key, keyLength)).release();
        return *mac != nullptr ? SSF_API_OK : notStarted();
    });
}

int32_t crypt_keyedmac_more(void* mac, const uint8_t* data, int32_t length) {
    if (mac == nullptr || data == nullptr || length < 0)
        return invalidArguments("crypt_keyedmac_more");
    return boundary([&] { return feed(*static_cast<KeyedMac*>(mac), bytesOf(data, length)); });
}

int32_t crypt_keyedmac_getValue(void* mac, uint8_t* value, int32_t* length) {
    if (mac == nullptr || value == nullptr || length == nullptr || *length < 0)
        return invalidArguments("crypt_keyedmac_getValue");
    return boundary([&] {
        EVP_MAC_CTX* context = static_cast<KeyedMac*>(mac)->context.get();
        const auto room = static_cast<std::size_t>(*length);
        std::size_t size = EVP_MAC_CTX_get_mac_size(context);
        *length = static_cast<std::int32_t>(size);
        if (room < size)
            return fail(SSF_API_INVALID_FUNCARGS, "The buffer is too small for the keyed MAC.");
        // A copy is finished, so that more can be fed afterwards.
        const EvpMacCtxPtr copy(EVP_MAC_CTX_dup(context));
        return copy != nullptr && EVP_MAC_final(copy.get(), value, &size, size) == 1 ? SSF_API_OK : notStarted();
    });
}

int32_t crypt_keyedmac_reset(void* mac) {
    if (mac == nullptr)
        return invalidArguments("crypt_keyedmac_reset");
    return boundary([&] {
        KeyedMac& again = *static_cast<KeyedMac*>(mac);
        again.input.restart();
        return start(again) ? SSF_API_OK : notStarted();
    });
}

int32_t crypt_keyedmac_release(void** mac) {
    if (mac == nullptr)
        return SSF_API_INVALID_FUNCARGS;
    delete static_cast<KeyedMac*>(*mac);
    *mac = nullptr;
    return SSF_API_OK;
}

int32_t crypt_keyedmac_import(const uint8_t* blob, int32_t length, void** mac) {
    if (mac != nullptr)
        *mac = nullptr;
    if (blob == nullptr || length < 0 || mac == nullptr)
        return invalidArguments("crypt_keyedmac_import");
    return boundary([&] {
        const auto state = readState(bytesOf(blob, length), 'M');
        if (!state)
            return fail(SSF_API_DECODE_FAILED, "The bytes are not a keyed MAC that was written down by this library.");
        auto made = makeMac(state->digest, state->key);
        if (made == nullptr)
            return notStarted();
        const std::int32_t result = feed(*made, state->input);
        if (result == SSF_API_OK)
            *mac = made.release();
        return result;
    });
}

int32_t crypt_keyedmac_exportToBlob(void* mac, uint8_t** blob, int32_t* length) {
    if (blob != nullptr)
        *blob = nullptr;
    if (length != nullptr)
        *length = 0;
    if (mac == nullptr || blob == nullptr || length == nullptr)
        return invalidArguments("crypt_keyedmac_exportToBlob");
    return boundary([&] {
        const KeyedMac& from = *static_cast<KeyedMac*>(mac);
        if (!from.input.complete())
            return fail(SSF_API_SECTK_FUNCTION_NOT_AVAIL, "More than 1 MiB was fed: too much to write down.");
        auto bytes = writeState({'M', from.digest, from.key.bytes, from.input.bytes()});
        const bool done = handOut(bytes, blob, length);
        OPENSSL_cleanse(bytes.data(), bytes.size());
        return done ? SSF_API_OK : fail(SSF_API_NOMEMORY, "The crypto library ran out of memory.");
    });
}
