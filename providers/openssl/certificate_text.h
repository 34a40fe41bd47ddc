// What a certificate says, as text.
#pragma once

#include <openssl/asn1.h>

#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "providers/openssl/certificate.h"

namespace quorvanti::provider {

struct CertificateAttribute {
    const char* name;
    std::optional<std::string> (*read)(const SsfCertificate& certificate);
};

// Null for a name that is not known. Trailing blanks do not count.
const CertificateAttribute* findCertificateAttribute(std::string_view name);

// "01:AB:FF"
std::string hexOctets(std::span<const std::uint8_t> bytes);

std::optional<std::string> decimalText(const ASN1_INTEGER* number);

// "2026-01-31 23:59:59Z"; nothing for a time that cannot be read.
std::optional<std::string> timeText(const ASN1_TIME* time);

// "2026-01-31 23:59:59Z - 2028-01-31 23:59:59Z"
std::optional<std::string> validityText(const X509* certificate);

}  // namespace quorvanti::provider
