#include "providers/openssl/key_store.h"

#include <functional>
#include <string_view>

#include "providers/openssl/chained_signers.h"
#include "providers/openssl/der_reader.h"

namespace quorvanti::provider {
namespace {

void fillIndex(KeyStore& store) {
    for (const auto& certificate : store.trusted) {
        store.directIssuers.add(*certificate);
        store.bySignerName[{certificate->issuer, certificate->serial}].push_back(certificate.get());
        if (!certificate->subjectKeyIdentifier.empty())
            store.bySignerName[{{}, certificate->subjectKeyIdentifier}].push_back(certificate.get());
    }
}

std::span<const TrustedCertificate* const> named(const KeyStore& store, const SignerName& name) {
    const auto found = store.bySignerName.find(name);
    return found != store.bySignerName.end() ? std::span<const TrustedCertificate* const>(found->second)
                                             : std::span<const TrustedCertificate* const>();
}

}  // namespace

bool SignerName::operator==(const SignerName& other) const {
    return sameBytes(number, other.number) && sameBytes(issuer, other.issuer);
}

// Serial numbers and key identifiers differ nearly always: the issuer need not count. Nobody but the owner of a key
// store decides which certificates are in it.
std::size_t SignerNameHash::operator()(const SignerName& name) const {
    return std::hash<std::string_view>()({reinterpret_cast<const char*>(name.number.data()), name.number.size()});
}

KeyStore::KeyStore() = default;
KeyStore::~KeyStore() = default;

std::span<const TrustedCertificate* const> KeyStore::find(std::span<const std::uint8_t> issuer,
                                                          std::span<const std::uint8_t> serial) const {
    return named(*this, {issuer, serial});
}

std::span<const TrustedCertificate* const> KeyStore::find(std::span<const std::uint8_t> subjectKeyIdentifier) const {
    return named(*this, {{}, subjectKeyIdentifier});
}

X509_STORE* KeyStore::anchors() const {
    const std::lock_guard lock(anchorsMutex_);
    if (anchors_ != nullptr)
        return anchors_.get();
    X509StorePtr made(X509_STORE_new());
    if (made == nullptr)
        return nullptr;
    for (const auto& certificate : trusted) {
        if (X509_STORE_add_cert(made.get(), certificate->certificate.get()) != 1)
            return nullptr;
    }
    anchors_ = std::move(made);
    return anchors_.get();
}

void prepareKeyStore(KeyStore& store) {
    store.chained = std::make_unique<ChainedSigners>();
    store.own = nullptr;
    store.bySignerName.clear();
    store.directIssuers.clear();
    fillIndex(store);
    for (const auto& certificate : store.trusted) {
        if (store.own == nullptr && store.ownKey != nullptr &&
            EVP_PKEY_eq(certificate->key->get(), store.ownKey.get()) == 1)
            store.own = certificate.get();
    }
}

}  // namespace quorvanti::provider
