// The extensions of a simple certificate.
#pragma once

#include "providers/openssl/der_reader.h"

namespace quorvanti::provider {

// `field` is the content of the [3] of the certificate. True when every extension is one of basic constraints, key
// usage, extended key usage and the key identifiers, each at most once and in strict DER, and when together they leave
// no doubt: no authority, and allowed to sign messages. `authorityKeyIdentifier` stays empty when there is none.
bool readLeafExtensions(Bytes field, Bytes& authorityKeyIdentifier);

}  // namespace quorvanti::provider
