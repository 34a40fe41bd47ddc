// Reads a detached signature: the one shape of SignedData that a ticket may carry, in strict DER. The result points
// into the signature; nothing is copied and nothing is checked against keys or content yet.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

#include "providers/openssl/der_reader.h"

namespace quorvanti::provider {

struct AlgorithmIdentifier {
    Bytes oid;                     // content of the OBJECT IDENTIFIER
    bool plainParameters = false;  // absent or NULL
};

struct SignedData {
    static constexpr std::size_t mostCertificates = 32;

    AlgorithmIdentifier digestAlgorithm;  // the only one of the whole
    Bytes certificatesField;              // content of the certificates, end to end
    std::array<Bytes, mostCertificates> certificates{};
    std::size_t certificateCount = 0;

    // The signer: either issuer (the Name with its tag) and serial (content of the INTEGER), or the key identifier.
    Bytes issuer;
    Bytes serial;
    Bytes subjectKeyIdentifier;

    AlgorithmIdentifier signerDigestAlgorithm;
    AlgorithmIdentifier signatureAlgorithm;
    Bytes signature;

    bool hasAttributes = false;
    Bytes attributes;     // the signed attributes with tag and length, the tag as it stands in the signature
    Bytes messageDigest;  // value of that attribute
    std::string_view attributeFault;  // why the signed attributes vouch for nothing; empty when they are right

    std::span<const Bytes> carriedCertificates() const { return {certificates.data(), certificateCount}; }
};

// Empty when `signature` was read, else the sentence that says why it is refused.
std::string_view readSignedData(Bytes signature, SignedData& result);

}  // namespace quorvanti::provider
