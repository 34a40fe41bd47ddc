// Reads a detached signature: the one shape of SignedData that a ticket may carry, in strict DER. The result points
// into the signature; nothing is copied and nothing is checked against keys or content yet.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "providers/openssl/der_reader.h"

namespace quorvanti::provider {

struct AlgorithmIdentifier {
    Bytes oid;                     // content of the OBJECT IDENTIFIER
    bool plainParameters = false;  // absent or NULL
};

struct SignedData {
    static constexpr std::size_t mostCertificates = 32;

    AlgorithmIdentifier digestAlgorithm;  // the only one of the whole
    Bytes certificatesField;              // the certificates, end to end

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

    // Calls `use` with each certificate in turn.
    template <class Use>
    void forEachCertificate(Use use) const {
        DerReader reader(certificatesField);
        for (DerElement certificate; reader.read(certificate);)
            use(certificate.whole);
    }
    std::vector<Bytes> carriedCertificates() const;
};

// Empty when `signature` was read, else the sentence that says why it is refused.
std::string_view readSignedData(Bytes signature, SignedData& result);

}  // namespace quorvanti::provider
