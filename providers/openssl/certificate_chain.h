// Whether a certificate that only a signature carries is to be believed.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>

#include "providers/openssl/der_reader.h"
#include "providers/openssl/key_store.h"

namespace quorvanti::provider {

struct ChainOutcome {
    std::shared_ptr<const TrustedCertificate> signer;  // null: not believed
    std::int32_t result = 0;                           // then the SSF code of the signer
    std::string problem;                               // and the sentence
};

// Chains `signer` to a certificate of the key store by way of the carried certificates. Every certificate of the key
// store is an anchor, whether it signed itself or not. What issues a certificate must be a CA by its basic constraints,
// anchors included; key usage, path lengths, name constraints and unknown critical extensions are obeyed, and where
// extended key usage is given, it must allow signing messages (e-mail protection or any). All certificates of the chain
// must be valid at `time`, and none may be signed with MD2, MD4 or MD5 or have too short a key. A certificate is valid
// from the first moment that it names and until before the last.
ChainOutcome chainSigner(const KeyStore& store, Bytes signer, std::span<const Bytes> carried, std::int64_t time);

// The same, by the toolkit alone. chainSigner() answers alike, sooner where the chain is simple.
ChainOutcome chainByToolkit(const KeyStore& store, Bytes signer, std::span<const Bytes> carried, std::int64_t time);

}  // namespace quorvanti::provider
