#include "providers/openssl/bare_keys.h"

#include <algorithm>
#include <array>
#include <mutex>
#include <utility>
#include <vector>

#include "providers/openssl/armor.h"
#include "providers/openssl/certificate.h"
#include "providers/openssl/der_writer.h"
#include "providers/openssl/signature_algorithms.h"

namespace quorvanti::provider {
namespace {

EvpPkeyPtr keyOfCertificate(std::span<const std::uint8_t> der) {
    const X509Ptr certificate = readCertificate(der);
    return EvpPkeyPtr(certificate != nullptr ? X509_get_pubkey(certificate.get()) : nullptr);
}

EvpPkeyPtr subjectPublicKey(std::span<const std::uint8_t> der) {
    const unsigned char* position = der.data();
    EvpPkeyPtr key(d2i_PUBKEY_ex(nullptr, &position, static_cast<long>(der.size()), libraryContext(), nullptr));
    return position == der.data() + der.size() ? std::move(key) : nullptr;
}

// SubjectPublicKeyInfo, else the bare RSAPublicKey, which is read inside the other: that way it comes into our context.
EvpPkeyPtr rawPublicKey(std::span<const std::uint8_t> bytes) {
    constexpr std::uint8_t noUnusedBits = 0;
    constexpr std::size_t around = 64;
    if (EvpPkeyPtr key = subjectPublicKey(bytes); key != nullptr)
        return key;
    DerWriter writer(bytes.size() + around);
    writer.put(bytes);
    writer.put(noUnusedBits);
    writer.wrap(tag::bitString, 0);
    const std::size_t algorithm = writer.size();
    writer.putElement(tag::null, {});
    writer.putElement(tag::objectIdentifier, oidOfSignature(KeyType::rsa, std::nullopt));
    writer.wrap(tag::sequence, algorithm);
    writer.wrap(tag::sequence, 0);
    return subjectPublicKey(writer.written());
}

EvpPkeyPtr readKey(BareKeyForm form, std::span<const std::uint8_t> content) {
    if (form == BareKeyForm::certificate)
        return keyOfCertificate(withoutArmor(content, "CERTIFICATE"));
    return rawPublicKey(withoutArmor(content, "PUBLIC KEY"));
}

struct Kept {
    BareKeyForm form;
    std::vector<std::uint8_t> content;
    VerificationKey key;
    LiveObject alive;

    Kept(BareKeyForm keyForm, std::span<const std::uint8_t> bytes, EvpPkeyPtr read)
        : form(keyForm), content(bytes.begin(), bytes.end()), key(std::move(read)) {}
    // The file of a public key may hold the private one too.
    ~Kept() { OPENSSL_cleanse(content.data(), content.size()); }
    Kept(const Kept&) = delete;
    Kept& operator=(const Kept&) = delete;

    bool is(BareKeyForm other, std::span<const std::uint8_t> bytes) const {
        return form == other && std::ranges::equal(content, bytes);
    }
};
using KeptPtr = std::shared_ptr<const Kept>;

constexpr std::size_t mostKept = 16;
constexpr std::size_t mostBytes = 65536;

struct Keys {
    std::array<KeptPtr, mostKept> places;
    std::size_t oldest = 0;
};

// Made at the first use and freed by releaseKeys(): nothing here is destroyed when the process ends.
std::mutex keysMutex;
Keys* keys = nullptr;

void releaseKeys() {
    const std::lock_guard lock(keysMutex);
    delete keys;
    keys = nullptr;
}

KeptPtr findKey(BareKeyForm form, std::span<const std::uint8_t> content) {
    const std::lock_guard lock(keysMutex);
    if (keys == nullptr)
        return nullptr;
    const auto found = std::ranges::find_if(
        keys->places, [&](const KeptPtr& place) { return place != nullptr && place->is(form, content); });
    return found != keys->places.end() ? *found : nullptr;
}

void keep(const KeptPtr& key) {
    atLibraryStop(releaseKeys);
    KeptPtr replaced;  // declared before the lock: released after it
    const std::lock_guard lock(keysMutex);
    if (keys == nullptr)
        keys = new Keys;
    replaced = std::exchange(keys->places[keys->oldest], key);
    keys->oldest = (keys->oldest + 1) % mostKept;
}

}  // namespace

std::shared_ptr<const VerificationKey> bareKey(BareKeyForm form, std::span<const std::uint8_t> content) {
    KeptPtr kept = findKey(form, content);
    if (kept == nullptr) {
        EvpPkeyPtr read = readKey(form, content);
        if (read == nullptr)
            return nullptr;
        kept = std::make_shared<const Kept>(form, content, std::move(read));
        if (content.size() <= mostBytes)
            keep(kept);
    }
    return {kept, &kept->key};
}

}  // namespace quorvanti::provider
