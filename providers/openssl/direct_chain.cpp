#include "providers/openssl/direct_chain.h"

#include <algorithm>

#include "providers/openssl/distinguished_name.h"
#include "providers/openssl/leaf_certificate.h"

namespace quorvanti::provider {
namespace {

// The end of the validity does not count, as it does not to the toolkit.
bool isValid(std::int64_t notBefore, std::int64_t notAfter, std::int64_t time) {
    return time >= notBefore && time < notAfter;
}

bool isBelow(const LeafCertificate& leaf, const TrustedCertificate& issuer) {
    if (leaf.issuerKey != issuer.key->type())
        return false;
    if (!leaf.authorityKeyIdentifier.empty() && !sameBytes(leaf.authorityKeyIdentifier, issuer.subjectKeyIdentifier))
        return false;
    DigestValue hash;
    return digestOf(leaf.digest, leaf.toBeSigned, hash) && issuer.key->verify(leaf.digest, hash.view(), leaf.signature);
}

// A certificate that names itself as its issuer is another case, and names differ in more than their bytes.
X509NamePtr subjectOf(const LeafCertificate& leaf, const TrustedCertificate& issuer) {
    const unsigned char* position = leaf.subject.data();
    X509NamePtr name(d2i_X509_NAME(nullptr, &position, static_cast<long>(leaf.subject.size())));
    if (name == nullptr || position != leaf.subject.data() + leaf.subject.size() ||
        X509_NAME_cmp(name.get(), X509_get_subject_name(issuer.certificate.get())) == 0)
        return nullptr;
    return name;
}

}  // namespace

std::shared_ptr<const TrustedCertificate> chainDirectly(const KeyStore& store, Bytes signer,
                                                        std::span<const Bytes> carried, std::int64_t time) {
    const ErrorQueueGuard errors;
    LeafCertificate leaf;
    if (!readLeafCertificate(signer, leaf) || !isValid(leaf.notBefore, leaf.notAfter, time))
        return nullptr;
    const TrustedCertificate* issuer = store.directIssuers.find(leaf.issuer);
    if (issuer == nullptr || !isValid(issuer->notBefore, issuer->notAfter, time))
        return nullptr;
    // Others that are carried along have to be readable at least, which is known of these two only.
    for (const Bytes certificate : carried) {
        if (!sameBytes(certificate, signer) && !sameBytes(certificate, issuer->der))
            return nullptr;
    }
    if (!isBelow(leaf, *issuer))
        return nullptr;
    const X509NamePtr subject = subjectOf(leaf, *issuer);
    EvpPkeyPtr key = subject != nullptr ? makeKey(leaf.key) : nullptr;
    std::unique_ptr<TrustedCertificate> chained = key != nullptr ? takeCertificate(signer) : nullptr;
    if (chained == nullptr)
        return nullptr;
    chained->key = std::make_unique<const VerificationKey>(std::move(key));
    chained->subject = nameText(subject.get());
    chained->notAfter = leaf.notAfter;
    chained->info = certificateInfo(*chained, issuer->subject);
    // The validity of a chain is what all its certificates have in common.
    chained->notBefore = std::max(leaf.notBefore, issuer->notBefore);
    chained->notAfter = std::min(leaf.notAfter, issuer->notAfter);
    return chained;
}

}  // namespace quorvanti::provider
