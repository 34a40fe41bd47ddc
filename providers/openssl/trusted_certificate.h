// A certificate that a key store trusts, or that chains to one, prepared so that using it parses nothing again.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "providers/openssl/openssl_context.h"
#include "providers/openssl/verification_key.h"

namespace quorvanti::provider {

struct TrustedCertificate {
    std::vector<std::uint8_t> der;
    std::span<const std::uint8_t> issuer;       // into der: the Name with its tag and length
    std::span<const std::uint8_t> serial;       // into der: content of the INTEGER
    std::span<const std::uint8_t> subjectName;  // into der: as the issuer
    std::span<const std::uint8_t>
        subjectKeyIdentifier;    // into der: content of the OCTET STRING, empty when there is none
    std::int64_t notBefore = 0;  // seconds since 1970 UTC; both ends still count as valid
    std::int64_t notAfter = 0;
    std::string subject;  // RFC 4514, UTF-8
    std::string info;     // serial, issuer and end of validity, for a reader
    X509Ptr certificate;  // null where chaining did without; every certificate of a key store has one
    std::unique_ptr<const VerificationKey> key;

    TrustedCertificate() = default;
    TrustedCertificate(const TrustedCertificate&) = delete;
    TrustedCertificate& operator=(const TrustedCertificate&) = delete;
};

// Takes over the bytes and what can be read in them in place. Null unless they have the outer shape of a certificate.
std::unique_ptr<TrustedCertificate> takeCertificate(std::span<const std::uint8_t> der);

// `info` of the certificate. Its issuer as a text, RFC 4514.
std::string certificateInfo(const TrustedCertificate& certificate, std::string_view issuer);

// Null unless the bytes are one certificate with a key that can be read, and nothing else. Nobody trusts it yet.
std::unique_ptr<TrustedCertificate> prepareCertificate(std::span<const std::uint8_t> der);

}  // namespace quorvanti::provider
