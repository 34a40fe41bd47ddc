// Whether a signature that was read is one of a trusted signer over a content.
#pragma once

#include <memory>
#include <string>

#include "providers/openssl/key_store.h"
#include "providers/openssl/signature_algorithms.h"
#include "providers/openssl/signed_data.h"

namespace quorvanti::provider {

struct SignatureAlgorithms {
    Digest digest = Digest::sha1;
    KeyType keyType = KeyType::other;
};

// Code 0, or why the signature as a whole is refused.
struct Refusal {
    std::int32_t code = 0;
    std::string sentence;
};

// Needs no key store: whether the algorithms are known, not refused and in agreement.
Refusal checkAlgorithms(const SignedData& signedData, SignatureAlgorithms& algorithms);

struct SignerVerdict {
    std::int32_t result = 0;  // SSF code of the signer; 0: its signature over this content, and it is trusted
    std::string problem;      // the sentence when it is not 0
    const TrustedCertificate* signer = nullptr;         // null when the signer is not known
    std::shared_ptr<const TrustedCertificate> chained;  // keeps a signer that is not the key store's
    Bytes certificate;                                  // what a caller may be shown, also of an unknown signer
};

SignerVerdict checkSigner(const SignedData& signedData, const SignatureAlgorithms& algorithms, Bytes content,
                          const KeyStore& store);

}  // namespace quorvanti::provider
