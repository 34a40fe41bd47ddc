// Puts certificates and signatures together piece by piece, so that a test can make one of them different from an
// accepted twin in exactly one thing.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "providers/openssl/openssl_context.h"

namespace quorvanti::test {

using Octets = std::vector<std::uint8_t>;

Octets der(std::uint8_t tag, const Octets& content);
Octets der(std::uint8_t tag, const std::vector<Octets>& parts);
Octets join(const std::vector<Octets>& parts);
Octets oid(const char* dotted);                              // whole element
Octets algorithm(const char* dotted, bool withNull = true);  // AlgorithmIdentifier
Octets number(std::uint8_t value);

inline constexpr const char* oidData = "1.2.840.113549.1.7.1";
inline constexpr const char* oidSignedData = "1.2.840.113549.1.7.2";
inline constexpr const char* oidContentType = "1.2.840.113549.1.9.3";
inline constexpr const char* oidMessageDigest = "1.2.840.113549.1.9.4";
inline constexpr const char* oidSigningTime = "1.2.840.113549.1.9.5";

// Attribute { type, SET of values }
Octets attribute(const char* type, const std::vector<Octets>& values);

// 2026-06-01 00:00:00 UTC; certificates are valid half a year around it unless a test says otherwise.
inline constexpr std::int64_t testTime = 1780272000;
inline constexpr std::int64_t day = 86400;

// One of the keys in tests/providers/openssl/keys: "rsa", "rsa512", "foreign", "dsa", "ec", "authority".
EVP_PKEY* testKey(const std::string& name);

// The signature of `key` over the digest of `data`.
Octets signBytes(const std::string& key, const char* digest, const Octets& data);

struct CertificateParts {
    std::string subject = "issuing system";
    std::string issuer;  // the subject when empty
    std::uint64_t serial = 4711;
    std::int64_t notBefore = testTime - 180 * day;
    std::int64_t notAfter = testTime + 180 * day;
    std::vector<std::pair<const char*, const char*>> extensions;  // name and value as the toolkit reads them
    const char* digest = "SHA256";
};

// The certificate for `key` signed by `issuerKey`, DER.
Octets makeCertificate(const std::string& key, const std::string& issuerKey, const CertificateParts& parts = {});
std::string pemOf(const Octets& certificate);
std::string keyPem(const std::string& key);

Octets digestOfBytes(const char* digest, const Octets& data);

struct SignatureParts {
    // Fills in what the signature by `key` with its certificate usually consists of.
    SignatureParts(std::string keyName, Octets signerCertificate, const char* digestName = "SHA256");

    std::string key;
    std::string digest;
    std::uint8_t version = 1;
    Octets outerType;
    std::vector<Octets> digestAlgorithms;
    Octets contentType;
    std::optional<Octets> embedded;  // whole [0] element
    std::vector<Octets> certificates;
    std::uint8_t signerVersion = 1;
    Octets signer;  // issuerAndSerialNumber or [0] key identifier
    Octets signerDigestAlgorithm;
    bool withAttributes = true;
    std::optional<std::vector<Octets>> attributes;  // instead of the usual ones; in the order in which they are given
    Octets signatureAlgorithm;
    Octets behindSignature;  // unsigned attributes
    Octets behindCertificates;
    int signers = 1;

    std::vector<Octets> usualAttributes(const Octets& content) const;
    Octets signerInfo(const Octets& content) const;
    Octets build(const Octets& content) const;
};

// The names of a certificate, as SignatureParts::signer wants them.
Octets issuerAndSerial(const Octets& certificate);
Octets keyIdentifier(const Octets& certificate);

}  // namespace quorvanti::test
