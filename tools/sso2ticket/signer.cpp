#include "tools/sso2ticket/signer.h"

#include "tools/sso2ticket/certificate_info.h"

namespace quorvanti {

Signer describeSigner(std::span<const std::uint8_t> certificate) {
    const Openssl<X509> parsed = parseCertificate(certificate);
    if (parsed == nullptr) {
        return {};
    }
    const CertificateInfo info = describe(parsed.get());
    return {info.subject, info.issuer, info.serialNumber, info.fingerprint};
}

}  // namespace quorvanti
