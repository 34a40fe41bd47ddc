// Key stores: the own identity to sign with and the certificates whose signatures are believed. A profile is the path
// of a PKCS#12, PEM or DER file, or the name of a key store in memory.
#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "providers/openssl/direct_issuers.h"
#include "providers/openssl/key_contexts.h"
#include "providers/openssl/openssl_context.h"
#include "providers/openssl/trusted_certificate.h"

namespace quorvanti::provider {

class ChainedSigners;

// How a signature names its signer: issuer and serial number, or, with no issuer, the key identifier.
struct SignerName {
    std::span<const std::uint8_t> issuer;
    std::span<const std::uint8_t> number;

    bool operator==(const SignerName& other) const;
};
struct SignerNameHash {
    std::size_t operator()(const SignerName& name) const;
};
// The names point into the certificates.
using SignerIndex = std::unordered_map<SignerName, std::vector<const TrustedCertificate*>, SignerNameHash>;

// One state of a key store; never changed once it is handed out.
struct KeyStore {
    KeyStore();
    ~KeyStore();

    std::string profile;
    EvpPkeyPtr ownKey;                                         // null: verifies only
    mutable KeyContexts signing;                               // of ownKey
    const TrustedCertificate* own = nullptr;                   // certificate of ownKey, one of `trusted`
    std::vector<std::unique_ptr<TrustedCertificate>> trusted;  // the own one included, in the order of the key store
    SignerIndex bySignerName;
    DirectIssuers directIssuers;
    bool passwordUsed = false;  // it could only be read with the right password
    std::unique_ptr<ChainedSigners> chained;
    LiveObject alive;

    std::span<const TrustedCertificate* const> find(std::span<const std::uint8_t> issuer,
                                                    std::span<const std::uint8_t> serial) const;
    std::span<const TrustedCertificate* const> find(std::span<const std::uint8_t> subjectKeyIdentifier) const;

    // `trusted` for the toolkit's chain building. Made when somebody asks: it takes more than twice as long as reading
    // the key store when that is large, and most signers are trusted themselves. Null when memory runs out.
    X509_STORE* anchors() const;

private:
    mutable std::mutex anchorsMutex_;
    mutable X509StorePtr anchors_;
};

// The key store `profile`, from the cache when its file is unchanged and the password is the one it was opened with.
// A file is looked at at most every ten milliseconds, so that for so long a change may go unnoticed.
// 23 when there is none, 25 for a wrong or missing password, 24 when it cannot be used; each with its sentence.
std::int32_t openKeyStore(std::string_view profile, std::string_view password, std::shared_ptr<const KeyStore>& store);

// Has the file read anew at its next use. For whoever changes it, or must not miss what others have changed.
void forgetKeyStoreFile(std::string_view profile);

// Reads a key store into an empty one, its kind told by its content; `store.profile` names it in sentences. 24 or 25 as
// above.
std::int32_t parseKeyStoreImage(std::span<const std::uint8_t> image, std::string_view password, KeyStore& store);

// Makes lookup and own certificate fit `ownKey` and `trusted`.
void prepareKeyStore(KeyStore& store);

// Makes `name` a key store in memory, replacing what the name meant before. An empty image is an empty key store that
// any password opens; any other must be readable, a still missing password aside (else 24).
std::int32_t registerMemoryKeyStore(std::string_view name, std::span<const std::uint8_t> image);
bool isMemoryKeyStore(std::string_view name);
// Adds a trusted certificate to the key store in memory `name`: 23 when there is none, 24 when it is no certificate.
std::int32_t addToMemoryKeyStore(std::string_view name, std::span<const std::uint8_t> certificateDer);
bool removeMemoryKeyStore(std::string_view name);

// Drops every cached key store and every one in memory. For the end of the library; snapshots in use live on.
void forgetKeyStores();

}  // namespace quorvanti::provider
