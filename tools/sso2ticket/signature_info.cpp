#include "tools/sso2ticket/signature_info.h"

#include <algorithm>

namespace quorvanti {

namespace {

void describeSigner(CMS_SignerInfo* signer, SignatureInfo& info) {
    X509_ALGOR* digest = nullptr;
    X509_ALGOR* signature = nullptr;
    CMS_SignerInfo_get0_algs(signer, nullptr, nullptr, &digest, &signature);
    const ASN1_OBJECT* object = nullptr;
    X509_ALGOR_get0(&object, nullptr, nullptr, digest);
    info.digest = objectText(object);
    X509_ALGOR_get0(&object, nullptr, nullptr, signature);
    info.algorithm = objectText(object);
    info.signedAttributes = CMS_signed_get_attr_count(signer) > 0;

    ASN1_OCTET_STRING* identifier = nullptr;
    X509_NAME* issuer = nullptr;
    ASN1_INTEGER* serial = nullptr;
    if (CMS_SignerInfo_get0_signer_id(signer, &identifier, &issuer, &serial) != 1) {
        return;
    }
    if (issuer != nullptr && serial != nullptr) {
        info.issuer = nameText(issuer);
        info.serialNumber = decimalText(serial);
    }
    if (identifier != nullptr) {
        info.keyIdentifier =
            hexOctets({ASN1_STRING_get0_data(identifier), static_cast<std::size_t>(ASN1_STRING_length(identifier))});
    }
}

}  // namespace

SignatureInfo describeSignature(std::span<const std::uint8_t> der) {
    SignatureInfo info;
    const unsigned char* position = der.data();
    const Openssl<CMS_ContentInfo> message(d2i_CMS_ContentInfo(nullptr, &position, static_cast<long>(der.size())));
    if (message == nullptr || OBJ_obj2nid(CMS_get0_type(message.get())) != NID_pkcs7_signed) {
        return info;
    }
    info.readable = true;
    STACK_OF(CMS_SignerInfo)* signers = CMS_get0_SignerInfos(message.get());
    info.signers = signers != nullptr ? std::max(sk_CMS_SignerInfo_num(signers), 0) : 0;
    if (info.signers > 0) {
        describeSigner(sk_CMS_SignerInfo_value(signers, 0), info);
    }
    const CertificateList certificates(CMS_get1_certs(message.get()));
    for (int i = 0; certificates != nullptr && i < sk_X509_num(certificates.get()); ++i) {
        info.certificates.push_back(describe(sk_X509_value(certificates.get(), i)));
    }
    return info;
}

const CertificateInfo* signerCertificate(const SignatureInfo& info) {
    const auto found =
        std::find_if(info.certificates.begin(), info.certificates.end(), [&](const CertificateInfo& certificate) {
            return certificate.issuer == info.issuer && certificate.serialNumber == info.serialNumber;
        });
    return found != info.certificates.end() ? &*found : nullptr;
}

}  // namespace quorvanti
