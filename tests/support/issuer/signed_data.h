// A detached PKCS#7 SignedData put together by hand, for algorithms that the `openssl` command signs with but does not
// pack: DSA with SHA-384 and SHA-512.
#pragma once

#include "tests/support/issuer/ticket_builder.h"

namespace quorvanti::test {

// One DER element.
Bytes der(std::uint8_t tag, const Bytes& contents);
Bytes concatenated(std::initializer_list<Bytes> parts);

struct SignedDataParts {
    Bytes issuerAndSerial;      // the two of them, each DER
    Bytes certificate;          // DER; empty: none is carried
    Bytes hashIdentifier;       // contents of the OID
    Bytes signatureIdentifier;  // contents of the OID
    Bytes attributes;           // the elements of the set; empty: none
    Bytes signature;
};

// The signed attributes for a content with this hash: content type and message digest.
Bytes signedAttributes(const Bytes& hash);
Bytes signedData(const SignedDataParts& parts);

}  // namespace quorvanti::test
