// The fields of a certificate that say who is meant, read in place without decoding the whole.
#pragma once

#include "providers/openssl/der_reader.h"

namespace quorvanti::provider {

struct CertificateFields {
    Bytes serial;                // content of the INTEGER
    Bytes issuer;                // the Name with its tag and length
    Bytes subject;               // the same
    Bytes subjectKeyIdentifier;  // content of the OCTET STRING; empty when there is none
};

// False unless `der` is one certificate, as far as the fields reach in strict DER, with nothing behind its end.
bool readCertificateFields(Bytes der, CertificateFields& fields);

}  // namespace quorvanti::provider
