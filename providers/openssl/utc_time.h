// Points in time as certificates name them, as seconds since 1970-01-01 00:00:00 UTC.
#pragma once

#include <openssl/asn1.h>

#include <cstdint>
#include <optional>
#include <string>

#include "providers/openssl/der_reader.h"

namespace quorvanti::provider {

// None for a time that cannot be read.
std::optional<std::int64_t> secondsOf(const ASN1_TIME* time);

// The same of a time as DER writes it, "YYMMDDHHMMSSZ" or "YYYYMMDDHHMMSSZ"; none for any other form.
std::optional<std::int64_t> secondsOf(const DerElement& time);

// How DER writes it: "YYMMDDHHMMSSZ" for the years 1950 to 2049, which is a UTCTime, else "YYYYMMDDHHMMSSZ".
std::string derTimeText(std::int64_t seconds);

// "2026-01-31 23:59:59Z"
std::string utcText(std::int64_t seconds);

}  // namespace quorvanti::provider
