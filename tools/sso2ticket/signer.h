// Who a certificate belongs to.
#pragma once

#include <cstdint>
#include <span>
#include <string>

namespace quorvanti {

struct Signer {
    std::string subject;
    std::string issuer;
    std::string serialNumber;  // decimal
    std::string fingerprint;   // SHA-256
};

// Empty texts when the bytes are no certificate.
Signer describeSigner(std::span<const std::uint8_t> certificate);

}  // namespace quorvanti
