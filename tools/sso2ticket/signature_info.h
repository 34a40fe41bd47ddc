// What a ticket's signature says about itself. Nothing is verified.
#pragma once

#include "tools/sso2ticket/certificate_info.h"

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace quorvanti {

struct SignatureInfo {
    bool readable = false;
    std::string digest;         // "sha256"
    std::string algorithm;      // "rsaEncryption"
    std::string issuer;         // of the signer's certificate
    std::string serialNumber;   // decimal
    std::string keyIdentifier;  // instead of the two before
    bool signedAttributes = false;
    int signers = 0;                            // what is above is the first one's
    std::vector<CertificateInfo> certificates;  // that the signature carries
};

SignatureInfo describeSignature(std::span<const std::uint8_t> der);

// The carried certificate that belongs to the signer, or null.
const CertificateInfo* signerCertificate(const SignatureInfo& info);

}  // namespace quorvanti
