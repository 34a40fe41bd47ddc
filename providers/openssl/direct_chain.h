// The simplest chain, checked without the toolkit: a signer directly below a trusted certificate. It accepts nothing
// that the toolkit's chain building would not accept; whatever it is not sure of it leaves to that.
#pragma once

#include <cstdint>
#include <memory>
#include <span>

#include "providers/openssl/der_reader.h"
#include "providers/openssl/key_store.h"

namespace quorvanti::provider {

// Null when this check cannot tell, which says nothing about the signer.
std::shared_ptr<const TrustedCertificate> chainDirectly(const KeyStore& store, Bytes signer,
                                                        std::span<const Bytes> carried, std::int64_t time);

}  // namespace quorvanti::provider
