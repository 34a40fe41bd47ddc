// Certificates as callers hold them.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "providers/openssl/openssl_context.h"
#include "quorvanti/ssf.h"

struct SsfCertificate {
    std::vector<std::uint8_t> der;
    quorvanti::provider::X509Ptr certificate;
    quorvanti::provider::LiveObject alive;
};

namespace quorvanti::provider {

// Null unless the bytes are one DER certificate and nothing else.
X509Ptr readCertificate(std::span<const std::uint8_t> der);

// The same as a handle, or null.
std::unique_ptr<SsfCertificate> makeCertificate(std::span<const std::uint8_t> der);

}  // namespace quorvanti::provider
