#include "providers/openssl/key_store.h"

#include <algorithm>

#include "providers/openssl/chained_signers.h"
#include "providers/openssl/der_reader.h"

namespace quorvanti::provider {
namespace {

int compareSerialAndIssuer(const TrustedCertificate& certificate, Bytes issuer, Bytes serial) {
    const int order = compareEncodings(certificate.serial, serial);
    return order != 0 ? order : compareEncodings(certificate.issuer, issuer);
}

void sortLookup(KeyStore& store) {
    for (const auto& certificate : store.trusted) {
        store.byIssuerAndSerial.push_back(certificate.get());
        if (!certificate->subjectKeyIdentifier.empty())
            store.bySubjectKeyIdentifier.push_back(certificate.get());
    }
    std::stable_sort(store.byIssuerAndSerial.begin(), store.byIssuerAndSerial.end(),
                     [](const TrustedCertificate* left, const TrustedCertificate* right) {
                         return compareSerialAndIssuer(*left, right->issuer, right->serial) < 0;
                     });
    std::stable_sort(store.bySubjectKeyIdentifier.begin(), store.bySubjectKeyIdentifier.end(),
                     [](const TrustedCertificate* left, const TrustedCertificate* right) {
                         return compareEncodings(left->subjectKeyIdentifier, right->subjectKeyIdentifier) < 0;
                     });
}

// The run of certificates in a sorted lookup for which `order` (their order against what is sought) is 0.
template <class Order>
std::span<const TrustedCertificate* const> equalRun(const std::vector<const TrustedCertificate*>& sorted, Order order) {
    const auto first = std::partition_point(sorted.begin(), sorted.end(),
                                            [&](const TrustedCertificate* entry) { return order(*entry) < 0; });
    const auto last =
        std::partition_point(first, sorted.end(), [&](const TrustedCertificate* entry) { return order(*entry) == 0; });
    return {first, last};
}

}  // namespace

KeyStore::KeyStore() = default;
KeyStore::~KeyStore() = default;

std::span<const TrustedCertificate* const> KeyStore::find(std::span<const std::uint8_t> issuer,
                                                          std::span<const std::uint8_t> serial) const {
    return equalRun(byIssuerAndSerial,
                    [&](const TrustedCertificate& entry) { return compareSerialAndIssuer(entry, issuer, serial); });
}

std::span<const TrustedCertificate* const> KeyStore::find(std::span<const std::uint8_t> subjectKeyIdentifier) const {
    return equalRun(bySubjectKeyIdentifier, [&](const TrustedCertificate& entry) {
        return compareEncodings(entry.subjectKeyIdentifier, subjectKeyIdentifier);
    });
}

bool prepareKeyStore(KeyStore& store) {
    store.anchors.reset(X509_STORE_new());
    if (store.anchors == nullptr)
        return false;
    store.chained = std::make_unique<ChainedSigners>();
    store.own = nullptr;
    store.byIssuerAndSerial.clear();
    store.bySubjectKeyIdentifier.clear();
    sortLookup(store);
    for (const auto& certificate : store.trusted) {
        if (X509_STORE_add_cert(store.anchors.get(), certificate->certificate.get()) != 1)
            return false;
        if (store.own == nullptr && store.ownKey != nullptr &&
            EVP_PKEY_eq(certificate->key->get(), store.ownKey.get()) == 1)
            store.own = certificate.get();
    }
    return true;
}

}  // namespace quorvanti::provider
