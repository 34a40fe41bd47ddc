#include "providers/openssl/direct_issuers.h"

#include <openssl/core_names.h>
#include <openssl/x509v3.h>

namespace quorvanti::provider {
namespace {

std::string_view textOf(Bytes bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

// What the toolkit would find in every chain that ends with this certificate.
bool mayIssue(X509* certificate) {
    if (X509_check_purpose(certificate, -1, 0) != 1)
        return false;
    const std::uint32_t flags = X509_get_extension_flags(certificate);
    return (flags & (EXFLAG_INVALID | EXFLAG_CRITICAL | EXFLAG_PROXY | EXFLAG_V1)) == 0 &&
           X509_check_ca(certificate) == 1 && (X509_get_key_usage(certificate) & X509v3_KU_KEY_CERT_SIGN) != 0 &&
           X509_get_ext_by_NID(certificate, NID_name_constraints, -1) < 0;
}

// The toolkit takes fewer ways to write a time for good than it reads.
bool hasUsualValidity(const X509* certificate) {
    time_t anyTime = 0;
    return X509_cmp_time(X509_get0_notBefore(certificate), &anyTime) != 0 &&
           X509_cmp_time(X509_get0_notAfter(certificate), &anyTime) != 0;
}

bool hasUsualKey(const VerificationKey& key) {
    if (key.bits() < shortestKeyBits(key.type()))
        return false;
    if (key.type() == KeyType::rsa)
        return true;
    int explicitCurve = 1;
    return key.type() == KeyType::ec &&
           EVP_PKEY_get_int_param(key.get(), OSSL_PKEY_PARAM_EC_DECODED_FROM_EXPLICIT_PARAMS, &explicitCurve) == 1 &&
           explicitCurve == 0;
}

}  // namespace

void DirectIssuers::add(const TrustedCertificate& certificate) {
    const auto [entry, added] =
        bySubject_.try_emplace(textOf(certificate.subjectName), Entry{&certificate, Standing::unknown});
    if (!added && !sameBytes(entry->second.certificate->der, certificate.der))
        entry->second.standing = Standing::refused;
}

bool DirectIssuers::isDirect(const TrustedCertificate& certificate) const {
    X509* decoded = certificate.certificate.get();
    if (!mayIssue(decoded) || !hasUsualValidity(decoded) || !hasUsualKey(*certificate.key))
        return false;
    for (const auto& [name, other] : bySubject_) {
        if (other.certificate != &certificate &&
            X509_NAME_cmp(X509_get_subject_name(decoded),
                          X509_get_subject_name(other.certificate->certificate.get())) == 0)
            return false;
    }
    return true;
}

const TrustedCertificate* DirectIssuers::find(Bytes subjectName) const {
    const std::lock_guard lock(mutex_);
    const auto found = bySubject_.find(textOf(subjectName));
    if (found == bySubject_.end())
        return nullptr;
    Entry& entry = found->second;
    if (entry.standing == Standing::unknown)
        entry.standing = isDirect(*entry.certificate) ? Standing::direct : Standing::refused;
    return entry.standing == Standing::direct ? entry.certificate : nullptr;
}

}  // namespace quorvanti::provider
