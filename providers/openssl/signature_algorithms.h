// The signature algorithms by their object identifiers, as a table.
#pragma once

#include <optional>
#include <string>

#include "providers/openssl/der_reader.h"
#include "providers/openssl/digests.h"
#include "providers/openssl/verification_key.h"

namespace quorvanti::provider {

struct SignatureAlgorithm {
    KeyType keyType;
    std::optional<Digest> digest;  // none: the identifier names the key's algorithm alone
};

// By the content of the OBJECT IDENTIFIER; none when it is not known here.
std::optional<SignatureAlgorithm> signatureAlgorithmByOid(Bytes oid);

// The usual identifier; empty when there is none. The content of the OBJECT IDENTIFIER.
Bytes oidOfSignature(KeyType keyType, std::optional<Digest> digest);

// An identifier in dotted form, for sentences.
std::string dottedOid(Bytes oid);

}  // namespace quorvanti::provider
