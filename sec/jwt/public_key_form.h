// Tells public keys and certificates by their form.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace quorvanti {

// True for the text or the bytes of a public key or certificate: PEM, DER (SubjectPublicKeyInfo, PKCS#1, X.509), or
// such DER in base64. They are known to everybody: whoever takes them for the key of an HMAC lets everybody sign.
bool isPublicKeyForm(std::span<const std::uint8_t> key);

// The bytes of the first certificate of a PEM text, or of a certificate in bare base64; empty when there is none.
std::vector<std::uint8_t> certificateOfText(std::span<const std::uint8_t> bytes);

}  // namespace quorvanti
