// What a certificate says, as text.
#pragma once

#include "tools/sso2ticket/openssl_handles.h"
#include "tools/sso2ticket/output.h"

#include <cstdint>
#include <span>
#include <string>

namespace quorvanti {

struct CertificateInfo {
    std::string subject;
    std::string issuer;
    std::string serialNumber;  // decimal
    std::string fingerprint;   // SHA-256
    std::string key;           // "RSA 3072"
    std::string signatureAlgorithm;
    std::int64_t notBefore = 0;  // seconds since 1970
    std::int64_t notAfter = 0;
};

Openssl<X509> parseCertificate(std::span<const std::uint8_t> der);  // null when the bytes are none
CertificateInfo describe(const X509* certificate);

std::string nameText(const X509_NAME* name);  // RFC 4514, characters beyond ASCII as UTF-8
std::string decimalText(const ASN1_INTEGER* number);
std::string keyText(const EVP_PKEY* key);
std::string objectText(const ASN1_OBJECT* object);  // the name of an algorithm, its numbers when it has none

std::int64_t daysUntil(std::int64_t time);              // from now, rounded down; negative when it has passed
std::string validityText(const CertificateInfo& info);  // "2026-11-20T20:15:00Z to ... (729 days left)"
Json certificateJson(const CertificateInfo& info);

}  // namespace quorvanti
