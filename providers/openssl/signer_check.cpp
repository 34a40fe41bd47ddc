#include "providers/openssl/signer_check.h"

#include <array>

#include "providers/openssl/certificate_chain.h"
#include "providers/openssl/certificate_fields.h"
#include "providers/openssl/certificate_text.h"
#include "providers/openssl/chained_signers.h"
#include "providers/openssl/clock.h"
#include "providers/openssl/distinguished_name.h"
#include "providers/openssl/utc_time.h"
#include "quorvanti/ssf.h"

namespace quorvanti::provider {
namespace {

using Candidates = std::span<const TrustedCertificate* const>;

// What the signer's certificate is among those that the signature carries.
struct CarriedSigner {
    const TrustedCertificate* trusted = nullptr;  // it is this one, byte for byte
    Bytes other;                                  // it is none of the key store's
    bool unreadable = false;
};

SignerVerdict refuse(std::int32_t result, std::string problem, const TrustedCertificate* signer = nullptr) {
    SignerVerdict verdict;
    verdict.result = result;
    verdict.problem = std::move(problem);
    verdict.signer = signer;
    if (signer != nullptr)
        verdict.certificate = signer->der;
    return verdict;
}

Candidates trustedSigners(const SignedData& signedData, const KeyStore& store) {
    return signedData.issuer.empty() ? store.find(signedData.subjectKeyIdentifier)
                                     : store.find(signedData.issuer, signedData.serial);
}

bool isOfSigner(const CertificateFields& fields, const SignedData& signedData) {
    return signedData.issuer.empty()
               ? sameBytes(fields.subjectKeyIdentifier, signedData.subjectKeyIdentifier)
               : sameBytes(fields.serial, signedData.serial) && sameBytes(fields.issuer, signedData.issuer);
}

const TrustedCertificate* sameAsTrusted(Bytes certificate, Candidates candidates) {
    for (const TrustedCertificate* candidate : candidates) {
        if (sameBytes(candidate->der, certificate))
            return candidate;
    }
    return nullptr;
}

CarriedSigner findCarriedSigner(const SignedData& signedData, Candidates candidates) {
    CarriedSigner found;
    signedData.forEachCertificate([&](Bytes certificate) {
        // The usual ticket ends here: nothing is decoded.
        if (const TrustedCertificate* trusted = sameAsTrusted(certificate, candidates); trusted != nullptr) {
            found.trusted = trusted;
            return;
        }
        CertificateFields fields;
        if (!readCertificateFields(certificate, fields)) {
            found.unreadable = true;
        } else if (isOfSigner(fields, signedData)) {
            found.other = certificate;
        }
    });
    return found;
}

std::string signerText(const SignedData& signedData) {
    if (signedData.issuer.empty())
        return "the certificate with key identifier " + hexOctets(signedData.subjectKeyIdentifier);
    const unsigned char* position = signedData.issuer.data();
    const X509NamePtr name(d2i_X509_NAME(nullptr, &position, static_cast<long>(signedData.issuer.size())));
    return "the certificate with serial number " + hexOctets(signedData.serial) + " issued by " +
           (name != nullptr ? nameText(name.get()) : "an unreadable name");
}

SignerVerdict unknownSigner(const SignedData& signedData, const KeyStore& store) {
    if (store.trusted.empty())
        return refuse(SSF_API_NOCERTIFICATE, "Key store " + store.profile + " holds no certificate to check against.");
    return refuse(SSF_API_UNKNOWN_SIGNER, "Key store " + store.profile + " does not hold " + signerText(signedData) +
                                              ", which signed; import it if its issuer is to be trusted.");
}

// What the key signed, or why it cannot vouch for the content.
struct SignedHash {
    DigestValue value;
    std::string_view fault;
};

SignedHash hashSigned(const SignedData& signedData, Digest digest, Bytes content) {
    SignedHash hash;
    if (!signedData.hasAttributes) {
        // Else the attributes of another signature could be passed off as a ticket.
        if (!content.empty() && content.front() == tag::set)
            hash.fault = "The content begins like signed attributes, but the signature has none.";
        else if (!digestOf(digest, content, hash.value))
            throw std::bad_alloc();
        return hash;
    }
    hash.fault = signedData.attributeFault;
    if (!hash.fault.empty())
        return hash;
    DigestValue contentDigest;
    // The attributes are signed as a SET; in the signature they stand under a tag of their own.
    constexpr std::array<std::uint8_t, 1> setTag{tag::set};
    if (!digestOf(digest, content, contentDigest) ||
        !digestOf(digest, setTag, signedData.attributes.subspan(1), hash.value))
        throw std::bad_alloc();
    if (!sameBytes(contentDigest.view(), signedData.messageDigest))
        hash.fault = "The signature is over another content: its message digest differs.";
    return hash;
}

SignerVerdict checkWith(const TrustedCertificate& signer, const SignedData& signedData,
                        const SignatureAlgorithms& algorithms, const SignedHash& hash, std::int64_t time) {
    const VerificationKey& key = *signer.key;
    const auto wrong = [&](std::string problem) { return refuse(SSF_API_SIGNER_NOT_OK, std::move(problem), &signer); };
    if (time < signer.notBefore)
        return refuse(
            SSF_API_CERT_EXPIRED,
            "The certificate of " + signer.subject + " is not valid before " + utcText(signer.notBefore) + ".",
            &signer);
    if (time > signer.notAfter)
        return refuse(SSF_API_CERT_EXPIRED,
                      "The certificate of " + signer.subject + " expired on " + utcText(signer.notAfter) + ".",
                      &signer);
    if (key.type() != algorithms.keyType)
        return wrong("The signature claims to be made with a key of type " +
                     std::string(keyTypeName(algorithms.keyType)) + ", but the key of " + signer.subject +
                     " is of type " + keyTypeName(key.type()) + ".");
    if (key.bits() < shortestKeyBits(key.type()))
        return wrong("The key of " + signer.subject + " has " + std::to_string(key.bits()) + " bits; at least " +
                     std::to_string(shortestKeyBits(key.type())) + " are needed.");
    if (!hash.fault.empty())
        return wrong(std::string(hash.fault));
    if (!key.verify(algorithms.digest, hash.value.view(), signedData.signature))
        return wrong("The signature is not that of " + signer.subject + " over this content.");
    SignerVerdict verdict;
    verdict.signer = &signer;
    verdict.certificate = signer.der;
    return verdict;
}

SignerVerdict checkChained(Bytes certificate, const SignedData& signedData, const SignatureAlgorithms& algorithms,
                           Bytes content, const KeyStore& store) {
    const std::int64_t time = now();
    std::shared_ptr<const TrustedCertificate> signer = store.chained->find(signedData.certificatesField, certificate);
    if (signer == nullptr || time < signer->notBefore || time >= signer->notAfter) {
        ChainOutcome outcome = chainSigner(store, certificate, signedData.carriedCertificates(), time);
        if (outcome.signer == nullptr) {
            SignerVerdict verdict = refuse(outcome.result, std::move(outcome.problem));
            verdict.certificate = certificate;
            return verdict;
        }
        signer = std::move(outcome.signer);
        store.chained->keep(signedData.certificatesField, signer);
    }
    SignerVerdict verdict =
        checkWith(*signer, signedData, algorithms, hashSigned(signedData, algorithms.digest, content), time);
    verdict.chained = std::move(signer);
    return verdict;
}

// More than one candidate only where certificates share issuer and serial number: the first success counts.
SignerVerdict checkTrusted(Candidates candidates, const SignedData& signedData, const SignatureAlgorithms& algorithms,
                           Bytes content) {
    const std::int64_t time = now();
    const SignedHash hash = hashSigned(signedData, algorithms.digest, content);
    SignerVerdict first = checkWith(*candidates.front(), signedData, algorithms, hash, time);
    for (const TrustedCertificate* candidate : candidates.subspan(1)) {
        if (first.result == SSF_API_OK)
            break;
        SignerVerdict next = checkWith(*candidate, signedData, algorithms, hash, time);
        if (next.result == SSF_API_OK)
            return next;
    }
    return first;
}

}  // namespace

Refusal checkAlgorithms(const SignedData& signedData, SignatureAlgorithms& algorithms) {
    const auto digest = digestByOid(signedData.signerDigestAlgorithm.oid);
    if (!digest)
        return {SSF_API_INVALID_MDALG,
                "The digest algorithm " + dottedOid(signedData.signerDigestAlgorithm.oid) + " is not known."};
    const auto refused = [](Digest named) {
        return Refusal{SSF_API_INSECURE_MDALG,
                       std::string("The signature uses ") + digestName(named) + ", which is not secure."};
    };
    if (digestRefused(*digest))
        return refused(*digest);
    if (!sameBytes(signedData.digestAlgorithm.oid, signedData.signerDigestAlgorithm.oid))
        return {SSF_API_DECODE_FAILED, "The signature and its signer name different digest algorithms."};
    const auto signature = signatureAlgorithmByOid(signedData.signatureAlgorithm.oid);
    if (!signature)
        return {SSF_API_INVALID_MDALG, "The signature algorithm " + dottedOid(signedData.signatureAlgorithm.oid) +
                                           " is not supported; RSA (PKCS#1 v1.5), DSA and ECDSA are."};
    if (signature->digest && digestRefused(*signature->digest))
        return refused(*signature->digest);
    if (signature->digest && *signature->digest != *digest)
        return {SSF_API_DECODE_FAILED, "The digest algorithm and the signature algorithm of the signer disagree."};
    if (!signedData.digestAlgorithm.plainParameters || !signedData.signerDigestAlgorithm.plainParameters ||
        !signedData.signatureAlgorithm.plainParameters)
        return {SSF_API_DECODE_FAILED, "An algorithm of the signature has unexpected parameters."};
    algorithms = {*digest, signature->keyType};
    return {};
}

SignerVerdict checkSigner(const SignedData& signedData, const SignatureAlgorithms& algorithms, Bytes content,
                          const KeyStore& store) {
    const Candidates candidates = trustedSigners(signedData, store);
    const CarriedSigner carried = findCarriedSigner(signedData, candidates);
    if (carried.unreadable)
        return refuse(SSF_API_SIGNER_NOT_OK, "The signature carries a certificate that is not in strict DER.");
    if (!candidates.empty() && !carried.other.empty()) {
        SignerVerdict verdict =
            refuse(SSF_API_UNKNOWN_SIGNER, "The signature carries another certificate with the name and number of " +
                                               candidates.front()->subject + " in key store " + store.profile + ".");
        verdict.certificate = carried.other;
        return verdict;
    }
    if (carried.trusted != nullptr)
        return checkTrusted(Candidates(&carried.trusted, 1), signedData, algorithms, content);
    if (!candidates.empty())
        return checkTrusted(candidates, signedData, algorithms, content);
    if (!carried.other.empty() && !store.trusted.empty())
        return checkChained(carried.other, signedData, algorithms, content, store);
    return unknownSigner(signedData, store);
}

}  // namespace quorvanti::provider
