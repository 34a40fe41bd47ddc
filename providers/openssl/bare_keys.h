// The public keys that callers of SsfVerifyEx bring along, read once: they bring the same few again and again.
#pragma once

#include <cstdint>
#include <memory>
#include <span>

#include "providers/openssl/verification_key.h"

namespace quorvanti::provider {

enum class BareKeyForm : std::uint8_t { certificate, publicKey };

// Null when the content is no key of that form. Only what could be read is kept, so that no secret that was handed in
// by mistake stays behind; of what was kept longest goes first, and is wiped.
std::shared_ptr<const VerificationKey> bareKey(BareKeyForm form, std::span<const std::uint8_t> content);

}  // namespace quorvanti::provider
