#include "providers/openssl/trusted_certificate.h"

#include "providers/openssl/certificate.h"
#include "providers/openssl/certificate_fields.h"
#include "providers/openssl/certificate_text.h"
#include "providers/openssl/distinguished_name.h"
#include "providers/openssl/utc_time.h"

namespace quorvanti::provider {

std::unique_ptr<TrustedCertificate> takeCertificate(std::span<const std::uint8_t> der) {
    auto prepared = std::make_unique<TrustedCertificate>();
    prepared->der.assign(der.begin(), der.end());
    CertificateFields fields;
    if (!readCertificateFields(prepared->der, fields))
        return nullptr;
    prepared->serial = fields.serial;
    prepared->issuer = fields.issuer;
    prepared->subjectName = fields.subject;
    prepared->subjectKeyIdentifier = fields.subjectKeyIdentifier;
    return prepared;
}

std::string certificateInfo(const TrustedCertificate& certificate, std::string_view issuer) {
    std::string info = "serial number " + hexOctets(certificate.serial) + ", issued by ";
    info += issuer;
    return info + ", valid until " + utcText(certificate.notAfter);
}

std::unique_ptr<TrustedCertificate> prepareCertificate(std::span<const std::uint8_t> der) {
    auto prepared = takeCertificate(der);
    if (prepared == nullptr)
        return nullptr;
    prepared->certificate = readCertificate(der);
    X509* certificate = prepared->certificate.get();
    EVP_PKEY* key = certificate != nullptr ? X509_get0_pubkey(certificate) : nullptr;
    if (key == nullptr)
        return nullptr;
    const auto notBefore = secondsOf(X509_get0_notBefore(certificate));
    const auto notAfter = secondsOf(X509_get0_notAfter(certificate));
    if (!notBefore || !notAfter || EVP_PKEY_up_ref(key) != 1)
        return nullptr;
    prepared->key = std::make_unique<const VerificationKey>(EvpPkeyPtr(key));
    prepared->notBefore = *notBefore;
    prepared->notAfter = *notAfter;
    prepared->subject = nameText(X509_get_subject_name(certificate));
    prepared->info = certificateInfo(*prepared, nameText(X509_get_issuer_name(certificate)));
    return prepared;
}

}  // namespace quorvanti::provider
