// crypt_keyedmac...: HMAC piece by piece (RFC 2104).
#include <openssl/crypto.h>

#include <algorithm>
#include <array>

#include "providers/openssl/boundary.h"
#include "providers/openssl/hand_out.h"
#include "providers/openssl/hash_algorithms.h"
#include "providers/openssl/saved_state.h"

namespace quorvanti::provider {
namespace {

constexpr std::size_t longestBlock = 128;
constexpr std::uint8_t innerPad = 0x36;
constexpr std::uint8_t outerPad = 0x5c;

using Block = std::array<std::uint8_t, longestBlock>;

std::size_t blockSize(Digest digest) {
    return digest == Digest::sha384 || digest == Digest::sha512 ? longestBlock : longestBlock / 2;
}

// The key as it goes into the digests: a block filled up with zeros. One that is longer is replaced by its digest.
class BlockKey {
public:
    BlockKey(Digest digest, std::span<const std::uint8_t> key) : size_(blockSize(digest)) {
        if (key.size() <= size_) {
            std::ranges::copy(key, bytes_.begin());
            return;
        }
        // Not by digestOf(): its contexts are kept, with the last value in them.
        const ErrorQueueGuard guard;
        valid_ = EVP_Digest(key.data(), key.size(), bytes_.data(), nullptr, digestMethod(digest), nullptr) == 1;
    }
    BlockKey(const BlockKey&) = delete;
    BlockKey& operator=(const BlockKey&) = delete;
    ~BlockKey() { OPENSSL_cleanse(bytes_.data(), size_); }

    bool valid() const { return valid_; }
    std::span<const std::uint8_t> bytes() const { return {bytes_.data(), size_}; }

private:
    Block bytes_{};
    std::size_t size_;
    bool valid_ = true;
};

// The key with a pad, wiped at the end.
class PaddedKey {
public:
    PaddedKey(const BlockKey& key, std::uint8_t pad) : size_(key.bytes().size()) {
        std::ranges::transform(key.bytes(), bytes_.begin(),
                               [pad](std::uint8_t byte) { return static_cast<std::uint8_t>(byte ^ pad); });
    }
    PaddedKey(const PaddedKey&) = delete;
    PaddedKey& operator=(const PaddedKey&) = delete;
    ~PaddedKey() { OPENSSL_cleanse(bytes_.data(), size_); }

    std::span<const std::uint8_t> bytes() const { return {bytes_.data(), size_}; }

private:
    Block bytes_;
    std::size_t size_;
};

// What is fed is kept anyway, to be written down, and digested when the value is asked for. Only what is too long for
// that is digested as it comes.
struct KeyedMac {
    KeyedMac(Digest chosen, std::span<const std::uint8_t> given) : digest(chosen), key(chosen, given) {}

    Digest digest;
    BlockKey key;
    InputRecord input;
    EvpMdCtxPtr running;  // with the inner pad and all input, once that is too long
    LiveObject alive;
};

std::unique_ptr<KeyedMac> makeMac(Digest digest, std::span<const std::uint8_t> key) {
    if (digestMethod(digest) == nullptr)
        return nullptr;
    auto mac = std::make_unique<KeyedMac>(digest, key);
    if (!mac->key.valid())
        mac.reset();
    return mac;
}

std::int32_t notStarted() {
    return fail(SSF_API_UNKNOWN_SECTK_ERROR, "OpenSSL could not work on a keyed MAC.");
}

bool update(EVP_MD_CTX* context, std::span<const std::uint8_t> data) {
    return EVP_DigestUpdate(context, data.data(), data.size()) == 1;
}

EvpMdCtxPtr startRunning(const KeyedMac& mac) {
    EvpMdCtxPtr context(EVP_MD_CTX_new());
    const PaddedKey inner(mac.key, innerPad);
    const bool started = context != nullptr &&
                         EVP_DigestInit_ex2(context.get(), digestMethod(mac.digest), nullptr) == 1 &&
                         update(context.get(), inner.bytes()) && update(context.get(), mac.input.bytes());
    return started ? std::move(context) : nullptr;
}

std::int32_t feed(KeyedMac& mac, std::span<const std::uint8_t> data) {
    if (!mac.input.hasRoomFor(data.size())) {
        const ErrorQueueGuard guard;
        if (mac.running == nullptr)
            mac.running = startRunning(mac);
        if (mac.running == nullptr || !update(mac.running.get(), data))
            return notStarted();
    }
    mac.input.append(data);
    return SSF_API_OK;
}

// Leaves the MAC as it is, so that more can be fed afterwards.
bool innerValue(const KeyedMac& mac, DigestValue& value) {
    if (mac.running == nullptr)
        return digestOf(mac.digest, PaddedKey(mac.key, innerPad).bytes(), mac.input.bytes(), value);
    const EvpMdCtxPtr copy(EVP_MD_CTX_new());
    unsigned int size = 0;
    if (copy == nullptr || EVP_MD_CTX_copy_ex(copy.get(), mac.running.get()) != 1 ||
        EVP_DigestFinal_ex(copy.get(), value.bytes.data(), &size) != 1)
        return false;
    value.size = size;
    return true;
}

bool valueOf(const KeyedMac& mac, DigestValue& value) {
    DigestValue inner;
    return innerValue(mac, inner) && digestOf(mac.digest, PaddedKey(mac.key, outerPad).bytes(), inner.view(), value);
}

}  // namespace
}  // namespace quorvanti::provider

using namespace quorvanti::provider;

int32_t crypt_keyedmac_create(int32_t hashId, const uint8_t* key, int32_t keyLength, void** mac) {
    if (mac != nullptr)
        *mac = nullptr;
    if (key == nullptr || keyLength < 0 || mac == nullptr)
        return invalidArguments("crypt_keyedmac_create");
    return boundaryWithoutQueue([&] {
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
    return boundaryWithoutQueue([&] { return feed(*static_cast<KeyedMac*>(mac), bytesOf(data, length)); });
}

int32_t crypt_keyedmac_getValue(void* mac, uint8_t* value, int32_t* length) {
    if (mac == nullptr || value == nullptr || length == nullptr || *length < 0)
        return invalidArguments("crypt_keyedmac_getValue");
    return boundary([&] {
        const KeyedMac& from = *static_cast<const KeyedMac*>(mac);
        const std::int32_t room = *length;
        *length = EVP_MD_get_size(digestMethod(from.digest));
        if (room < *length)
            return fail(SSF_API_INVALID_FUNCARGS, "The buffer is too small for the keyed MAC.");
        DigestValue found;
        if (!valueOf(from, found))
            return notStarted();
        std::ranges::copy(found.view(), value);
        return SSF_API_OK;
    });
}

int32_t crypt_keyedmac_reset(void* mac) {
    if (mac == nullptr)
        return invalidArguments("crypt_keyedmac_reset");
    return boundary([&] {
        KeyedMac& again = *static_cast<KeyedMac*>(mac);
        again.input.restart();
        again.running.reset();
        return SSF_API_OK;
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
        auto bytes = writeState({'M', from.digest, from.key.bytes(), from.input.bytes()});
        const bool done = handOut(bytes, blob, length);
        OPENSSL_cleanse(bytes.data(), bytes.size());
        return done ? SSF_API_OK : fail(SSF_API_NOMEMORY, "The crypto library ran out of memory.");
    });
}
